// A video surface that draws in memory: no OpenGL, nothing but the processor.
//
// The player draws into an image of as many pixels as the screen shows, when the widget is painted.

#pragma once

#include "desktop/video/mpvrender.h"
#include "desktop/video/surfacetext.h"
#include "desktop/video/videosurface.h"

#include <QImage>
#include <QWidget>

#include <cstdlib>
#include <memory>

class SwSurface final : public QWidget, public VideoSurface
{
public:
    SwSurface(MpvVideo& NewPlayer, QWidget* pParent);
    ~SwSurface() override;

    QWidget* Widget() override { return this; }
    SurfaceKind Kind() const override { return SurfaceKind::Software; }
    bool IsReady() const override { return Render.IsRunning(); }
    void SetState(const SurfaceState& NewState) override;
    void Detach() override;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* pEvent) override;

private:
    struct Free
    {
        void operator()(void* pBlock) const { std::free(pBlock); }
    };

    void TakePicture();
    void FitImage(int Degrees);
    void DrawPicture();
    void PaintTurned(QPainter& Painter, int Degrees);

    MpvVideo* pPlayer; ///< null once detached
    SurfaceText Text;
    MpvRender Render;
    std::unique_ptr<uchar, Free> Pixels;
    QImage Image; ///< on Pixels
    bool bImageIsOld = true;
};
