#include "desktop/video/videosurface.h"

#include "desktop/video/glsurface.h"
#include "desktop/video/swsurface.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace
{
// In the names of renderers that are the processor.
constexpr std::array Imitations = {"llvmpipe", "softpipe", "swrast", "Software Rasterizer"};

// What draws when an OpenGL context is made; nothing where none can be made.
std::optional<std::string> RendererName()
{
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    if (!context.create() || !context.makeCurrent(&surface))
    {
        return std::nullopt;
    }
    const GLubyte* pName = context.functions()->glGetString(GL_RENDERER);
    std::string name = pName == nullptr ? "" : reinterpret_cast<const char*>(pName);
    context.doneCurrent();
    return name;
}

// Loading OpenGL only to learn that the processor imitates it takes 100 MB and a tenth of a second.
bool HasGraphicsProcessor()
{
    return !QDir("/dev/dri").entryList({"renderD*"}, QDir::System).isEmpty() ||
           QFile::exists("/dev/nvidiactl") || QFile::exists("/dev/dxg");
}

bool IsWithoutScreen()
{
    const QString platform = QGuiApplication::platformName();
    return platform == "offscreen" || platform == "minimal";
}

SurfaceKind KindFor(SurfaceKind Wanted)
{
    if (Wanted == SurfaceKind::Software || IsWithoutScreen() ||
        (Wanted == SurfaceKind::Automatic && !HasGraphicsProcessor()))
    {
        return SurfaceKind::Software;
    }
    const std::optional<std::string> renderer = RendererName();
    const bool bUse =
        renderer.has_value() && (Wanted == SurfaceKind::OpenGl || !IsSoftwareRenderer(*renderer));
    return bUse ? SurfaceKind::OpenGl : SurfaceKind::Software;
}
} // namespace

std::unique_ptr<VideoSurface>
MakeVideoSurface(SurfaceKind Wanted, MpvVideo& Player, QWidget* pParent)
{
    if (KindFor(Wanted) == SurfaceKind::OpenGl)
    {
        return std::make_unique<GlSurface>(Player, pParent);
    }
    return std::make_unique<SwSurface>(Player, pParent);
}

bool IsSoftwareRenderer(std::string_view RendererName)
{
    return std::any_of(Imitations.begin(), Imitations.end(),
                       [&](std::string_view Name)
                       { return RendererName.find(Name) != std::string_view::npos; });
}
