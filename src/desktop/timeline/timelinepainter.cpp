#include "desktop/timeline/timelinepainter.h"

#include "desktop/look/theme.h"
#include "desktop/look/timetext.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <limits>

namespace
{
QColor WithAlpha(QColor Color, int Alpha)
{
    Color.setAlpha(Alpha);
    return Color;
}

// A colour seen through the timeline's ground, but opaque: Qt fills translucent areas with several
// threads, which for many thin ones costs more than it gains.
QColor Faint(const QColor& Color)
{
    constexpr float Part = 0.3F;
    const auto mix = [](float A, float B) { return A * Part + B * (1.0F - Part); };
    return QColor::fromRgbF(mix(Color.redF(), Theme::Surface.redF()),
                            mix(Color.greenF(), Theme::Surface.greenF()),
                            mix(Color.blueF(), Theme::Surface.blueF()));
}

QColor InkOn(const QColor& Ground)
{
    return qGray(Ground.rgb()) > 110 ? Theme::Window : Theme::Text;
}

QRectF LineRect(const TimelinePicture& Picture, double Sec, double TopPx, double WidthPx)
{
    const double leftPx = Picture.Scale.PxOf(Sec);
    return {leftPx, TopPx, WidthPx, Picture.Rows.Whole.bottom() - TopPx};
}

bool IsInSight(const TimelinePicture& Picture, double Px)
{
    // Also refuses what is no number.
    return Px >= Picture.Rows.Whole.left() - Theme::ScaledPx(20) &&
           Px <= Picture.Rows.Whole.right() + Theme::ScaledPx(20);
}

void PaintGround(QPainter& Painter, const TimelinePicture& Picture)
{
    const TimelineRows& rows = Picture.Rows;
    const bool bEmpty = Picture.Scale.IsEmpty();
    Painter.fillRect(rows.Whole, bEmpty ? Theme::Window : Theme::Surface);
    Painter.fillRect(rows.Ruler, Theme::Window);
    const double linePx = 1.0;
    Painter.fillRect(QRectF(0.0, rows.Ruler.bottom() - linePx, rows.Whole.width(), linePx),
                     bEmpty ? Theme::Raised : Theme::Line);
}

// -- Ruler

QRectF PillRect(const TimelinePicture& Picture, const QFontMetricsF& Metrics, const QString& Text)
{
    const double widthPx = Metrics.horizontalAdvance(Text) + Theme::ScaledPx(10);
    const double roomPx = std::max(Picture.Rows.Whole.width() - widthPx, 0.0);
    const double leftPx = std::clamp(*Picture.HoverPx - widthPx / 2.0, 0.0, roomPx);
    return {leftPx, 0.0, widthPx, Metrics.height() + Theme::ScaledPx(2)};
}

QString HoverText(const TimelinePicture& Picture)
{
    return TimeText(Picture.Scale.SecAt(*Picture.HoverPx));
}

// No label where the hover time stands.
void PaintRuler(QPainter& Painter, const TimelinePicture& Picture)
{
    const QRectF& ruler = Picture.Rows.Ruler;
    const QFontMetricsF metrics(Painter.font());
    const QString widest = Picture.Scale.DurationSec() < 3600.0 ? "00:00.000" : "00:00:00.000";
    const QRectF pill = Picture.HoverPx ? PillRect(Picture, metrics, HoverText(Picture)) : QRectF();
    const auto ticks =
        RulerTicks(Picture.Scale, Picture.State.FramesPerSecond, Picture.Scale.SecAt(ruler.left()),
                   Picture.Scale.SecAt(ruler.right()),
                   metrics.horizontalAdvance(widest) + Theme::ScaledPx(24), Theme::ScaledPx(7));
    for (const TimelineTick& tick : ticks)
    {
        const double px = Picture.Scale.PxOf(tick.Sec);
        const double heightPx = tick.bMajor ? Theme::ScaledPx(7) : Theme::ScaledPx(4);
        Painter.fillRect(QRectF(px, ruler.bottom() - heightPx, 1.0, heightPx),
                         tick.bMajor ? Theme::TextDim : Theme::Line);
        const QString label = QString::fromStdString(tick.Label);
        const double widthPx = metrics.horizontalAdvance(label) + 2.0;
        // The labels of the two ends stay within the widget, if that moves them off their ticks.
        const double lastPx = std::max(ruler.right() - widthPx - 2.0, 2.0);
        const double leftPx = std::clamp(px - widthPx / 2.0, 2.0, lastPx);
        const QRectF place(leftPx, 1.0, widthPx, metrics.height());
        if (tick.bMajor && IsInSight(Picture, px) && !place.intersects(pill))
        {
            Painter.setPen(Theme::TextDim);
            Painter.drawText(place, Qt::AlignCenter, label);
        }
    }
}

// -- Range

void PaintGrip(QPainter& Painter,
               const TimelinePicture& Picture,
               RangeEnd End,
               double Sec,
               const QColor& Color)
{
    const QRectF grip = GripRect(Picture.Rows, Picture.Scale, End, Sec);
    if (!IsInSight(Picture, grip.center().x()))
    {
        return;
    }
    Painter.fillRect(LineRect(Picture, Sec, Picture.Rows.Range.top(), Theme::ScaledPx(1)), Color);
    Painter.fillRect(grip, Picture.HotEnd == End ? Color.lighter(130) : Color);
    const double notchPx = grip.height() / 4.0;
    Painter.fillRect(QRectF(grip.center().x() - Theme::ScaledPx(1) / 2.0, grip.top() + notchPx,
                            Theme::ScaledPx(1), grip.height() - 2.0 * notchPx),
                     Theme::Window);
}

void PaintRangeBand(QPainter& Painter, const TimelinePicture& Picture)
{
    if (!Picture.Range)
    {
        return;
    }
    const TimelineRows& rows = Picture.Rows;
    const auto [aSec, bSec] = *Picture.Range;
    const QRectF span = BarRect(rows, Picture.Scale, 0, std::min(aSec, bSec), std::max(aSec, bSec));
    const QColor color = bSec < aSec ? Theme::Warning : Theme::Accent;
    const QRectF band(span.left(), rows.Range.top(), span.width(),
                      rows.Whole.bottom() - rows.Range.top());
    Painter.fillRect(band, WithAlpha(color, 34));
    Painter.fillRect(
        QRectF(band.topLeft() + QPointF(0.0, 1.0), QSizeF(band.width(), rows.Range.height() - 2.0)),
        WithAlpha(color, 110));
}

void PaintRangeEnds(QPainter& Painter, const TimelinePicture& Picture)
{
    if (!Picture.Range)
    {
        return;
    }
    const auto [startSec, endSec] = *Picture.Range;
    const QColor color = endSec < startSec ? Theme::Warning : Theme::Accent;
    PaintGrip(Painter, Picture, RangeEnd::In, startSec, color);
    PaintGrip(Painter, Picture, RangeEnd::Out, endSec, color);
}

// An end that waits for the other: the bracket of that end, open to the side of the range to come.
void PaintPending(QPainter& Painter,
                  const TimelinePicture& Picture,
                  RangeEnd End,
                  std::optional<double> Sec)
{
    if (!Sec || !IsInSight(Picture, Picture.Scale.PxOf(*Sec)))
    {
        return;
    }
    const QRectF line = LineRect(Picture, *Sec, Picture.Rows.Range.top() + 1.0, Theme::ScaledPx(2));
    const double armPx = Theme::ScaledPx(8);
    const double leftPx = End == RangeEnd::In ? line.left() : line.right() - armPx;
    Painter.fillRect(line, Theme::Accent);
    Painter.fillRect(QRectF(leftPx, line.top(), armPx, Theme::ScaledPx(2)), Theme::Accent);
    Painter.fillRect(QRectF(leftPx, line.bottom() - Theme::ScaledPx(2), armPx, Theme::ScaledPx(2)),
                     Theme::Accent);
}

// -- Markers

void PaintMarkers(QPainter& Painter, const TimelinePicture& Picture)
{
    const double poleTopPx = Picture.Rows.Markers.top();
    for (const PlacedFlag& flag : FlagsIn(Picture))
    {
        const TimelineMarker& marker = Picture.State.Markers[flag.Index];
        const QColor color = WithAlpha(marker.Color, 255);
        Painter.fillRect(LineRect(Picture, marker.TimeSec, poleTopPx, 1.0), Faint(color));
        Painter.setRenderHint(QPainter::Antialiasing);
        Painter.setPen(Qt::NoPen);
        Painter.setBrush(color);
        Painter.drawPolygon(QPolygonF({flag.Flag.topLeft(),
                                       {flag.Flag.right(), flag.Flag.center().y()},
                                       flag.Flag.bottomLeft()}));
        Painter.setRenderHint(QPainter::Antialiasing, false);
        Painter.setPen(Theme::TextDim);
        Painter.drawText(flag.Label, Qt::AlignLeft | Qt::AlignVCenter, flag.LabelText);
    }
}

// -- Clips

// A name takes the room up to TextEndPx, where another bar may begin.
void PaintName(QPainter& Painter, const QRectF& Bar, double TextEndPx, const QString& Name)
{
    const double paddingPx = Theme::ScaledPx(4);
    const double leftPx = std::max(Bar.left(), 0.0) + paddingPx;
    const double roomPx = std::min(Bar.right(), TextEndPx) - paddingPx - leftPx;
    if (roomPx < Theme::ScaledPx(16))
    {
        return;
    }
    const QString text = CutToFit(Name, QFontMetricsF(Painter.font()), roomPx);
    Painter.drawText(QRectF(leftPx, Bar.top(), roomPx, Bar.height()),
                     Qt::AlignLeft | Qt::AlignVCenter, text);
}

// Two plain fills make bar and edge: a stroked outline takes ten times as long.
void PaintBar(QPainter& Painter,
              const TimelineClip& Clip,
              bool bSelected,
              const QRectF& Bar,
              double TextEndPx)
{
    const bool bReversed = Clip.EndSec < Clip.StartSec;
    const QColor own = WithAlpha(Clip.Color, 255);
    const double edgePx = bSelected ? Theme::ScaledPx(2) : 1.0;
    if (Bar.width() <= 3.0 * edgePx)
    {
        Painter.fillRect(Bar, own);
        return;
    }
    const QColor fill = bReversed ? Theme::Window : bSelected ? own : own.darker(112);
    const QColor edge = bSelected ? Theme::Text : bReversed ? own : own.darker(160);
    Painter.fillRect(Bar, edge);
    Painter.fillRect(Bar.adjusted(edgePx, edgePx, -edgePx, -edgePx), fill);
    Painter.setPen(InkOn(fill));
    PaintName(Painter, Bar, TextEndPx, Clip.Name);
}

struct BarToPaint
{
    qsizetype Index = 0; ///< in TimelineState::Clips
    QRectF Bar;
};

// Paints one lane but its selected bars, which are left for later since they go over all others.
void PaintLane(QPainter& Painter,
               const TimelinePicture& Picture,
               int Lane,
               std::vector<BarToPaint>& OutSelected)
{
    const QRectF& whole = Picture.Rows.Whole;
    const auto clips = Picture.Index.ClipsIn(Lane, Picture.Scale.SecAt(whole.left()),
                                             Picture.Scale.SecAt(whole.right()));
    const auto barOf = [&](const PlacedClip& Placed)
    { return BarRect(Picture.Rows, Picture.Scale, Lane, Placed.StartSec, Placed.EndSec); };

    double paintedLeftPx = std::numeric_limits<double>::lowest();
    double paintedRightPx = std::numeric_limits<double>::lowest();
    for (std::size_t i = 0; i < clips.size(); ++i)
    {
        const QRectF bar = barOf(clips[i]);
        const TimelineClip& clip = Picture.State.Clips[clips[i].Index];
        if (Picture.IsSelected(clips[i].Index))
        {
            OutSelected.push_back({clips[i].Index, bar});
            continue;
        }
        // Sub-pixel neighbours: the pixel has its colour already.
        if (bar.left() - paintedLeftPx < 1.0 && bar.right() <= paintedRightPx + 1.0)
        {
            continue;
        }
        const double textEndPx = i + 1 < clips.size() ? barOf(clips[i + 1]).left() : bar.right();
        PaintBar(Painter, clip, false, bar, textEndPx);
        paintedLeftPx = bar.left();
        paintedRightPx = std::max(paintedRightPx, bar.right());
    }
}

void PaintClips(QPainter& Painter, const TimelinePicture& Picture)
{
    std::vector<BarToPaint> selected;
    for (int lane = 0; lane < Picture.Index.LaneCount(); ++lane)
    {
        PaintLane(Painter, Picture, lane, selected);
    }
    for (const auto& [index, bar] : selected)
    {
        PaintBar(Painter, Picture.State.Clips[index], true, bar, bar.right());
    }
}

// -- Lines over all

void PaintPlayhead(QPainter& Painter, const TimelinePicture& Picture)
{
    const double px = Picture.Scale.PxOf(Picture.PlayheadSec);
    if (!IsInSight(Picture, px))
    {
        return;
    }
    const double halfPx = Theme::ScaledPx(5);
    const double bottomPx = Picture.Rows.Ruler.bottom();
    const double topPx = bottomPx - Theme::ScaledPx(8);
    Painter.fillRect(LineRect(Picture, Picture.PlayheadSec, topPx, Theme::ScaledPx(1)),
                     Theme::Text);
    Painter.setRenderHint(QPainter::Antialiasing);
    Painter.setPen(Qt::NoPen);
    Painter.setBrush(Theme::Text);
    const double middlePx = px + Theme::ScaledPx(1) / 2.0;
    Painter.drawPolygon(
        QPolygonF({{middlePx - halfPx, topPx}, {middlePx + halfPx, topPx}, {middlePx, bottomPx}}));
    Painter.setRenderHint(QPainter::Antialiasing, false);
}

void PaintHover(QPainter& Painter, const TimelinePicture& Picture)
{
    if (!Picture.HoverPx)
    {
        return;
    }
    const QRectF& ruler = Picture.Rows.Ruler;
    const QString text = HoverText(Picture);
    const QRectF pill = PillRect(Picture, QFontMetricsF(Painter.font()), text);
    Painter.fillRect(
        QRectF(*Picture.HoverPx, pill.bottom(), 1.0, Picture.Rows.Whole.bottom() - pill.bottom()),
        WithAlpha(Theme::TextDim, 130));
    Painter.setRenderHint(QPainter::Antialiasing);
    Painter.setPen(Qt::NoPen);
    Painter.setBrush(Theme::Raised);
    Painter.drawRoundedRect(pill & ruler, Theme::ScaledPx(3), Theme::ScaledPx(3));
    Painter.setRenderHint(QPainter::Antialiasing, false);
    Painter.setPen(Theme::Text);
    Painter.drawText(pill, Qt::AlignCenter, text);
}

void PaintFocus(QPainter& Painter, const TimelinePicture& Picture)
{
    if (!Picture.bFocused)
    {
        return;
    }
    const double edgePx = Theme::ScaledPx(1);
    const double insetPx = edgePx / 2.0;
    Painter.setPen(QPen(Theme::Accent, edgePx, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    Painter.setBrush(Qt::NoBrush);
    Painter.drawRect(Picture.Rows.Whole.adjusted(insetPx, insetPx, -insetPx, -insetPx));
}
} // namespace

void PaintMarking(QPainter& Painter, const TimelinePicture& Picture)
{
    Painter.save();
    Painter.setFont(Theme::SmallFont());
    PaintGround(Painter, Picture);
    if (!Picture.Scale.IsEmpty())
    {
        PaintRangeBand(Painter, Picture);
        PaintMarkers(Painter, Picture);
        PaintClips(Painter, Picture);
        PaintRangeEnds(Painter, Picture);
        PaintPending(Painter, Picture, RangeEnd::In, Picture.State.PendingInSec);
        PaintPending(Painter, Picture, RangeEnd::Out, Picture.State.PendingOutSec);
    }
    Painter.restore();
}

void PaintHands(QPainter& Painter, const TimelinePicture& Picture)
{
    Painter.save();
    Painter.setFont(Theme::SmallFont());
    if (!Picture.Scale.IsEmpty())
    {
        PaintRuler(Painter, Picture);
        PaintPlayhead(Painter, Picture);
        PaintHover(Painter, Picture);
    }
    PaintFocus(Painter, Picture);
    Painter.restore();
}
