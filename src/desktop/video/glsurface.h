// A video surface that draws with OpenGL.
//
// The render context lives as long as the widget's OpenGL context, which exists from the first time
// that the window is shown.

#pragma once

#include "desktop/video/mpvrender.h"
#include "desktop/video/surfacetext.h"
#include "desktop/video/videosurface.h"

#include <QOpenGLWidget>

class GlSurface final : public QOpenGLWidget, public VideoSurface
{
public:
    GlSurface(MpvVideo& NewPlayer, QWidget* pParent);
    ~GlSurface() override;

    QWidget* Widget() override { return this; }
    SurfaceKind Kind() const override { return SurfaceKind::OpenGl; }
    bool IsReady() const override { return Render.IsRunning(); }
    void SetState(const SurfaceState& NewState) override;
    void Detach() override;

    QSize sizeHint() const override;

protected:
    void initializeGL() override;
    void paintGL() override;

private:
    void TakePicture();
    void StopRender();
    void DrawPicture();

    MpvVideo* pPlayer; ///< null once detached
    SurfaceText Text;
    MpvRender Render;
    bool bFailed = false; ///< the player does not take this OpenGL
};
