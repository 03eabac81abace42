#include "desktop/video/surfacetext.h"

#include "desktop/look/theme.h"

#include <QPainter>
#include <QVBoxLayout>

namespace
{
constexpr int TextFlags = Qt::AlignCenter | Qt::TextWordWrap;

QString HintText()
{
    return QStringLiteral("Drop a video here, or press Ctrl+O to open one.");
}

// A sheet with a play mark, drawn as a place where a file may land.
void DrawDropMark(QPainter& Painter, const QRectF& Box)
{
    Painter.setPen(QPen(Theme::TextDim, Box.height() / 24.0, Qt::DashLine, Qt::RoundCap));
    Painter.setBrush(Qt::NoBrush);
    Painter.drawRoundedRect(Box, Box.height() / 8.0, Box.height() / 8.0);
    const double reach = Box.height() * 0.22;
    const QPointF middle = Box.center();
    Painter.setPen(Qt::NoPen);
    Painter.setBrush(Theme::TextDim);
    Painter.drawPolygon(
        QPolygonF({middle + QPointF(-0.8 * reach, -reach), middle + QPointF(reach, 0.0),
                   middle + QPointF(-0.8 * reach, reach)}));
}

// The mark and the hint below it in the middle of the area; where it is low the hint alone, and nothing
// rather than half a line.
void DrawHint(QPainter& Painter, const QRect& Area)
{
    const int gapPx = Theme::ScaledPx(16);
    const int markHeightPx = Theme::ScaledPx(56);
    const int textHeightPx = Painter.boundingRect(Area, TextFlags, HintText()).height();
    const int bothPx = markHeightPx + gapPx + textHeightPx;
    QRect text = Area;
    if (bothPx <= Area.height())
    {
        const double markWidthPx = markHeightPx * 1.5;
        const double leftPx = Area.x() + (Area.width() - markWidthPx) / 2.0;
        const int topPx = Area.y() + (Area.height() - bothPx) / 2;
        DrawDropMark(Painter, QRectF(leftPx, topPx, markWidthPx, markHeightPx));
        text = QRect(Area.x(), topPx + markHeightPx + gapPx, Area.width(), textHeightPx);
    }
    if (textHeightPx <= text.height())
    {
        Painter.setPen(Theme::TextDim);
        Painter.drawText(text, TextFlags, HintText());
    }
}

// A bar along the upper edge, legible on any picture.
int DrawMessage(QPainter& Painter, const QRect& Area, const QString& Message)
{
    const int roomPx = Theme::ScaledPx(12);
    const QRect within = Area.adjusted(roomPx, roomPx, -roomPx, -roomPx);
    const QRect text = Painter.boundingRect(within, Qt::AlignHCenter | Qt::TextWordWrap, Message);
    QColor ground = Theme::Window;
    ground.setAlphaF(0.9F);
    const QRect bar(Area.left(), Area.top(), Area.width(), text.height() + 2 * roomPx);
    Painter.fillRect(bar, ground);
    Painter.setPen(Theme::Error);
    Painter.drawText(bar.adjusted(roomPx, 0, -roomPx, 0), TextFlags, Message);
    return bar.height();
}
} // namespace

SurfaceText::SurfaceText(QWidget& Surface)
    : QWidget(&Surface)
    , Described(Surface)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* const layout = new QVBoxLayout(&Surface);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(this);
    Describe();
}

void SurfaceText::SetState(const SurfaceState& NewState)
{
    if (Shown == NewState)
    {
        return;
    }
    Shown = NewState;
    Describe();
    setVisible(!Shown.bHasFile || !Shown.Message.isEmpty());
    update();
}

void SurfaceText::Describe()
{
    const QString hint = Shown.bHasFile ? QString() : HintText();
    Described.setAccessibleName(QStringLiteral("Video"));
    Described.setAccessibleDescription((Shown.Message + " " + hint).trimmed());
}

void SurfaceText::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(Theme::NormalFont());
    QRect rest = rect();
    if (!Shown.bHasFile)
    {
        painter.fillRect(rest, Theme::Surface);
    }
    if (!Shown.Message.isEmpty())
    {
        rest.setTop(DrawMessage(painter, rest, Shown.Message));
    }
    if (!Shown.bHasFile)
    {
        const int roomPx = Theme::ScaledPx(12);
        DrawHint(painter, rest.adjusted(roomPx, roomPx, -roomPx, -roomPx));
    }
}
