#include "desktop/video/glsurface.h"

#include "desktop/look/theme.h"
#include "player/mpvvideo.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <array>
#include <mpv/render_gl.h>
#include <utility>

namespace
{
void* AddressOf(void* /*pContext*/, const char* pName)
{
    QOpenGLContext* const pGl = QOpenGLContext::currentContext();
    return pGl == nullptr ? nullptr : reinterpret_cast<void*>(pGl->getProcAddress(pName));
}
} // namespace

GlSurface::GlSurface(MpvVideo& NewPlayer, QWidget* pParent)
    : QOpenGLWidget(pParent)
    , pPlayer(&NewPlayer)
    , Text(*this)
{
    NewPlayer.SetWhileWaiting([this] { TakePicture(); });
}

GlSurface::~GlSurface()
{
    Detach();
}

void GlSurface::Detach()
{
    if (pPlayer == nullptr)
    {
        return;
    }
    std::exchange(pPlayer, nullptr)->SetWhileWaiting({});
    // Here and not when the OpenGL context goes, which is after this part of the object is gone.
    if (context() != nullptr)
    {
        disconnect(context(), nullptr, this, nullptr);
    }
    StopRender();
    update();
}

void GlSurface::SetState(const SurfaceState& NewState)
{
    SurfaceState said = NewState;
    if (bFailed && said.Message.isEmpty())
    {
        said.Message = "The player can't draw with this OpenGL: start movane with --video=sw.";
    }
    Text.SetState(said);
    update();
}

QSize GlSurface::sizeHint() const
{
    return {Theme::ScaledPx(640), Theme::ScaledPx(360)};
}

void GlSurface::initializeGL()
{
    if (pPlayer == nullptr)
    {
        return;
    }
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { StopRender(); });
    mpv_opengl_init_params gl{};
    gl.get_proc_address = &AddressOf;
    std::array<mpv_render_param, 3> params = {
        {{MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_OPENGL)},
         {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &gl},
         {MPV_RENDER_PARAM_INVALID, nullptr}}};
    if (!Render.Start(pPlayer->Handle(), params.data(), [this] { TakePicture(); }))
    {
        bFailed = true;
        SetState(Text.State());
    }
    else
    {
        // Queued, because who hears of it opens a file, which must not happen within a paint.
        QMetaObject::invokeMethod(
            this, [this] { Ready.emit(); }, Qt::QueuedConnection);
    }
}

void GlSurface::StopRender()
{
    if (Render.IsRunning())
    {
        makeCurrent();
        Render.Stop();
        doneCurrent();
    }
}

// Taken apart from drawing, so that the player goes on while nothing is painted.
void GlSurface::TakePicture()
{
    if (!Render.IsRunning())
    {
        return;
    }
    makeCurrent();
    if (Render.HasNewPicture())
    {
        Render.Take();
        update();
    }
    doneCurrent();
}

void GlSurface::DrawPicture()
{
    const QSize target = (QSizeF(size()) * devicePixelRatioF()).toSize();
    mpv_opengl_fbo frame{};
    frame.fbo = static_cast<int>(defaultFramebufferObject());
    frame.w = target.width();
    frame.h = target.height();
    int flip = 1;
    int zero = 0;
    std::array<mpv_render_param, 4> params = {{{MPV_RENDER_PARAM_OPENGL_FBO, &frame},
                                               {MPV_RENDER_PARAM_FLIP_Y, &flip},
                                               {MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &zero},
                                               {MPV_RENDER_PARAM_INVALID, nullptr}}};
    Render.Draw(params.data());
}

void GlSurface::paintGL()
{
    if (Text.State().bHasFile && Render.IsRunning())
    {
        DrawPicture();
        return;
    }
    QOpenGLFunctions* const pGl = context()->functions();
    pGl->glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
    pGl->glClear(GL_COLOR_BUFFER_BIT);
}
