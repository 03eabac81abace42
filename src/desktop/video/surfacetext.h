// What a video surface says where there is no picture, or over it.
//
// A child widget of the surface, as large as that and above it. It isn't drawn by the surface itself,
// because after the player has drawn with OpenGL a QPainter draws nothing there. UI thread only.

#pragma once

#include "desktop/video/videosurface.h"

#include <QWidget>

class SurfaceText : public QWidget
{
public:
    /// Covers Surface from now on.
    explicit SurfaceText(QWidget& Surface);

    /// Shows the place to drop a video, the message, both or nothing, and tells a screen reader so.
    void SetState(const SurfaceState& NewState);
    const SurfaceState& State() const { return Shown; }

protected:
    void paintEvent(QPaintEvent* pEvent) override;

private:
    void Describe();

    QWidget& Described;
    SurfaceState Shown;
};
