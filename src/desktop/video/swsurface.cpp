#include "desktop/video/swsurface.h"

#include "desktop/look/theme.h"
#include "player/mpvvideo.h"

#include <QPainter>

#include <array>
#include <mpv/render.h>
#include <utility>

namespace
{
constexpr std::size_t PixelBytes = 3;
// The player wants lines to start at such addresses, or it copies the whole picture, and to be whole pixels long.
constexpr std::size_t AlignmentBytes = 64;
constexpr std::size_t LineStepBytes = AlignmentBytes * PixelBytes;

bool StandsOnItsSide(int Degrees)
{
    return Degrees % 180 > 45 && Degrees % 180 < 135;
}
} // namespace

SwSurface::SwSurface(MpvVideo& NewPlayer, QWidget* pParent)
    : QWidget(pParent)
    , pPlayer(&NewPlayer)
    , Text(*this)
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    std::array<mpv_render_param, 2> params = {
        {{MPV_RENDER_PARAM_API_TYPE, const_cast<char*>(MPV_RENDER_API_TYPE_SW)},
         {MPV_RENDER_PARAM_INVALID, nullptr}}};
    Render.Start(NewPlayer.Handle(), params.data(), [this] { TakePicture(); });
    NewPlayer.LeaveRotationToSurface();
    NewPlayer.SetWhileWaiting([this] { TakePicture(); });
}

SwSurface::~SwSurface()
{
    Detach();
}

void SwSurface::Detach()
{
    if (pPlayer == nullptr)
    {
        return;
    }
    std::exchange(pPlayer, nullptr)->SetWhileWaiting({});
    Render.Stop();
    update();
}

void SwSurface::SetState(const SurfaceState& NewState)
{
    Text.SetState(NewState);
    update();
}

QSize SwSurface::sizeHint() const
{
    return {Theme::ScaledPx(640), Theme::ScaledPx(360)};
}

// Taken apart from drawing, so that the player goes on while nothing is painted.
void SwSurface::TakePicture()
{
    if (Render.HasNewPicture())
    {
        Render.Take();
        bImageIsOld = true;
        update();
    }
}

// The image is as the file has it, and turned when it is painted. The player fits it into the image, so a
// picture that will stand on its side gets an image that stands on its side.
void SwSurface::FitImage(int Degrees)
{
    const QSize shown = (QSizeF(size()) * devicePixelRatioF()).toSize();
    const QSize wanted = StandsOnItsSide(Degrees) ? shown.transposed() : shown;
    if (wanted == Image.size())
    {
        return;
    }
    const std::size_t lineBytes =
        (static_cast<std::size_t>(wanted.width()) * PixelBytes + LineStepBytes - 1) /
        LineStepBytes * LineStepBytes;
    const std::size_t sizeBytes = lineBytes * static_cast<std::size_t>(wanted.height());
    Pixels.reset(static_cast<uchar*>(std::aligned_alloc(AlignmentBytes, sizeBytes)));
    Image = QImage(Pixels.get(), wanted.width(), wanted.height(), static_cast<qsizetype>(lineBytes),
                   QImage::Format_RGB888);
    bImageIsOld = true;
}

void SwSurface::DrawPicture()
{
    std::array<int, 2> sizePx = {Image.width(), Image.height()};
    auto lineBytes = static_cast<std::size_t>(Image.bytesPerLine());
    int zero = 0;
    // Format_RGB888 as it lies in memory. Not "bgr0", whose fourth byte the player leaves 0: the picture would
    // be transparent in a window with an alpha channel, as Wayland's have it.
    std::array<mpv_render_param, 6> params = {
        {{MPV_RENDER_PARAM_SW_SIZE, sizePx.data()},
         {MPV_RENDER_PARAM_SW_FORMAT, const_cast<char*>("rgb24")},
         {MPV_RENDER_PARAM_SW_STRIDE, &lineBytes},
         {MPV_RENDER_PARAM_SW_POINTER, Pixels.get()},
         {MPV_RENDER_PARAM_BLOCK_FOR_TARGET_TIME, &zero},
         {MPV_RENDER_PARAM_INVALID, nullptr}}};
    Render.Draw(params.data());
    bImageIsOld = false;
}

void SwSurface::PaintTurned(QPainter& Painter, int Degrees)
{
    if (Degrees % 90 != 0)
    {
        Painter.fillRect(rect(), Qt::black); // the corners
    }
    if (Degrees != 0)
    {
        // About the middle, whole pixels to whole pixels for right angles.
        const QSizeF image = Image.deviceIndependentSize();
        const QSizeF shown = StandsOnItsSide(Degrees) ? image.transposed() : image;
        Painter.translate(shown.width() / 2.0, shown.height() / 2.0);
        Painter.rotate(Degrees);
        Painter.translate(-image.width() / 2.0, -image.height() / 2.0);
    }
    Painter.drawImage(QPoint(0, 0), Image);
}

void SwSurface::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    if (Text.State().bHasFile && Render.IsRunning())
    {
        const int degrees = pPlayer->RotationDegrees();
        FitImage(degrees);
        if (bImageIsOld)
        {
            DrawPicture();
        }
        Image.setDevicePixelRatio(devicePixelRatioF());
        PaintTurned(painter, degrees);
    }
    else
    {
        painter.fillRect(rect(), Qt::black);
    }
}
