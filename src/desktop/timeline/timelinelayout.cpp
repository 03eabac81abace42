#include "desktop/timeline/timelinelayout.h"

#include "desktop/look/theme.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

namespace
{
constexpr double NarrowestBarPx = 2.0;
constexpr double BesideWidgetPx = 1024.0; // more than any label is long

// Far places are cut off: the paint engine counts in fixed point and overflows at a deep zoom.
double DrawablePx(const TimelineRows& Rows, double Px)
{
    return std::clamp(Px, Rows.Whole.left() - BesideWidgetPx, Rows.Whole.right() + BesideWidgetPx);
}

double LongestLabelPx()
{
    return Theme::ScaledPx(140);
}

// A label ends before the next flag, so no text lies over another.
void PlaceLabels(const TimelinePicture& Picture, std::vector<PlacedFlag>& Flags)
{
    const QFontMetricsF metrics(Theme::SmallFont());
    const double gapPx = Theme::ScaledPx(3);
    const double shortestPx = Theme::ScaledPx(20);
    for (std::size_t i = 0; i < Flags.size(); ++i)
    {
        PlacedFlag& flag = Flags[i];
        const double endPx =
            i + 1 < Flags.size() ? Flags[i + 1].Flag.left() : Picture.Rows.Whole.right();
        const double leftPx = flag.Flag.right() + gapPx;
        const double roomPx = std::min(endPx - gapPx - leftPx, LongestLabelPx());
        if (roomPx < shortestPx)
        {
            continue;
        }
        const QString& label = Picture.State.Markers[flag.Index].Label;
        flag.LabelText = CutToFit(label, metrics, roomPx);
        flag.Label = QRectF(leftPx, Picture.Rows.Markers.top(),
                            std::min(metrics.horizontalAdvance(flag.LabelText) + 1.0, roomPx),
                            Picture.Rows.Markers.height());
    }
}

std::size_t LaneFor(const std::vector<double>& LaneEndsSec, double StartSec)
{
    const auto free =
        std::ranges::find_if(LaneEndsSec, [StartSec](double EndSec) { return EndSec <= StartSec; });
    const auto found = free != LaneEndsSec.end() ? free : std::ranges::min_element(LaneEndsSec);
    return static_cast<std::size_t>(std::distance(LaneEndsSec.begin(), found));
}

// How far Px is from the grip and the line of one end; nothing when it is out of reach.
std::optional<double>
DistanceToEnd(const TimelinePicture& Picture, RangeEnd End, double Sec, double Px)
{
    const QRectF grip = GripRect(Picture.Rows, Picture.Scale, End, Sec);
    const double slackPx = Theme::ScaledPx(2);
    if (Px < grip.left() - slackPx || Px > grip.right() + slackPx)
    {
        return std::nullopt;
    }
    return std::abs(Px - grip.center().x());
}
} // namespace

QRectF TimelineRows::Lane(int Index) const
{
    return {Lanes.left(), Lanes.top() + Index * LanePitchPx, Lanes.width(), LanePx};
}

TimelineRows RowsIn(QSizeF Size)
{
    TimelineRows rows;
    const double widthPx = Size.width();
    double topPx = 0.0;
    const auto take = [&](double HeightPx)
    {
        const QRectF row(0.0, topPx, widthPx, HeightPx);
        topPx += HeightPx;
        return row;
    };
    rows.Whole = QRectF(QPointF(), Size);
    rows.InsetPx = Theme::ScaledPx(12);
    rows.LanePx = Theme::ScaledPx(18);
    rows.LanePitchPx = Theme::ScaledPx(20);
    rows.Ruler = take(Theme::ScaledPx(25));
    rows.Range = take(Theme::ScaledPx(13));
    rows.Markers = take(Theme::ScaledPx(18));
    topPx += Theme::ScaledPx(2);
    const double roomPx = std::max(Size.height() - topPx, 0.0);
    rows.LaneCount = std::clamp(static_cast<int>(roomPx / rows.LanePitchPx), 1, MaxLanes);
    rows.Lanes = take(rows.LaneCount * rows.LanePitchPx);
    return rows;
}

QString CutToFit(const QString& Text, const QFontMetricsF& Metrics, double RoomPx)
{
    constexpr qsizetype MostLetters = 200; // measuring a whole book takes seconds
    return Metrics.elidedText(Text.left(MostLetters).simplified(), Qt::ElideRight, RoomPx);
}

int HeightOfLanes(int LaneCount)
{
    const TimelineRows rows = RowsIn({});
    return static_cast<int>(
        std::ceil(rows.Lanes.top() + LaneCount * rows.LanePitchPx + Theme::ScaledPx(4)));
}

void TimelineIndex::PlaceClips(const QList<TimelineClip>& Clips, int LaneCount)
{
    std::vector<PlacedClip> placed;
    for (qsizetype i = 0; i < Clips.size(); ++i)
    {
        const double aSec = Clips[i].StartSec;
        const double bSec = Clips[i].EndSec;
        if (std::isfinite(aSec) && std::isfinite(bSec))
        {
            placed.push_back({i, std::min(aSec, bSec), std::max(aSec, bSec), 0.0});
        }
    }
    std::ranges::stable_sort(placed, {}, &PlacedClip::StartSec);

    const auto laneCount = static_cast<std::size_t>(LaneCount);
    std::vector<double> laneEndsSec(laneCount, std::numeric_limits<double>::lowest());
    Lanes.assign(laneCount, {});
    for (PlacedClip& clip : placed)
    {
        const std::size_t lane = LaneFor(laneEndsSec, clip.StartSec);
        laneEndsSec[lane] = std::max(laneEndsSec[lane], clip.EndSec);
        clip.MaxEndSec = laneEndsSec[lane];
        Lanes[lane].push_back(clip);
    }
}

void TimelineIndex::SortMarkers(const QList<TimelineMarker>& Markers)
{
    MarkersByTime.resize(static_cast<std::size_t>(Markers.size()));
    std::iota(MarkersByTime.begin(), MarkersByTime.end(), qsizetype{0});
    std::erase_if(MarkersByTime,
                  [&](qsizetype Each) { return !std::isfinite(Markers[Each].TimeSec); });
    std::ranges::stable_sort(MarkersByTime, {},
                             [&](qsizetype Each) { return Markers[Each].TimeSec; });
}

std::span<const PlacedClip> TimelineIndex::ClipsIn(int Lane, double FromSec, double ToSec) const
{
    const std::vector<PlacedClip>& clips = Lanes[static_cast<std::size_t>(Lane)];
    // The latest end up to a clip never falls from one clip to the next, so it can be searched for.
    const auto first = std::ranges::lower_bound(clips, FromSec, {}, &PlacedClip::MaxEndSec);
    const auto last = std::ranges::upper_bound(clips, ToSec, {}, &PlacedClip::StartSec);
    return first < last ? std::span(first, last) : std::span<const PlacedClip>();
}

std::span<const qsizetype>
TimelineIndex::MarkersIn(const QList<TimelineMarker>& Markers, double FromSec, double ToSec) const
{
    const auto timeOf = [&](qsizetype Each) { return Markers[Each].TimeSec; };
    const auto first = std::ranges::lower_bound(MarkersByTime, FromSec, {}, timeOf);
    const auto last = std::ranges::upper_bound(MarkersByTime, ToSec, {}, timeOf);
    return first < last ? std::span(first, last) : std::span<const qsizetype>();
}

QRectF GripRect(const TimelineRows& Rows, const TimelineScale& Scale, RangeEnd End, double Sec)
{
    const double gripPx = Theme::ScaledPx(9);
    const double linePx = DrawablePx(Rows, Scale.PxOf(Sec));
    const double leftPx = End == RangeEnd::In ? linePx - gripPx : linePx;
    return {leftPx, Rows.Range.top() + 1.0, gripPx, Rows.Range.height() - 2.0};
}

QRectF BarRect(
    const TimelineRows& Rows, const TimelineScale& Scale, int Lane, double StartSec, double EndSec)
{
    const QRectF row = Rows.Lane(Lane);
    const double leftPx = DrawablePx(Rows, Scale.PxOf(StartSec));
    const double rightPx = DrawablePx(Rows, Scale.PxOf(EndSec));
    return {leftPx, row.top(), std::max(rightPx - leftPx, NarrowestBarPx), row.height()};
}

std::vector<PlacedFlag> FlagsIn(const TimelinePicture& Picture)
{
    const TimelineRows& rows = Picture.Rows;
    const double flagPx = Theme::ScaledPx(10);
    const double topPx = rows.Markers.center().y() - flagPx / 2.0;
    std::vector<PlacedFlag> flags;
    for (const qsizetype i : Picture.Index.MarkersIn(
             Picture.State.Markers, Picture.Scale.SecAt(rows.Whole.left() - LongestLabelPx()),
             Picture.Scale.SecAt(rows.Whole.right())))
    {
        const double leftPx =
            DrawablePx(rows, Picture.Scale.PxOf(Picture.State.Markers[i].TimeSec));
        if (flags.empty() || leftPx - flags.back().Flag.left() >= flagPx / 2.0)
        {
            flags.push_back({i, {leftPx, topPx, flagPx, flagPx}, {}, {}});
        }
    }
    PlaceLabels(Picture, flags);
    return flags;
}

std::optional<RangeEnd> RangeEndAt(const TimelinePicture& Picture, QPointF Point)
{
    const TimelineRows& rows = Picture.Rows;
    if (!Picture.Range || Point.y() < rows.Range.top())
    {
        return std::nullopt;
    }
    if (!rows.Range.contains(Point) && (MarkerAt(Picture, Point) || ClipAt(Picture, Point)))
    {
        return std::nullopt;
    }
    const auto toIn = DistanceToEnd(Picture, RangeEnd::In, Picture.Range->StartSec, Point.x());
    const auto toOut = DistanceToEnd(Picture, RangeEnd::Out, Picture.Range->EndSec, Point.x());
    if (!toIn && !toOut)
    {
        return std::nullopt;
    }
    return toIn && (!toOut || *toIn < *toOut) ? RangeEnd::In : RangeEnd::Out;
}

std::optional<qsizetype> MarkerAt(const TimelinePicture& Picture, QPointF Point)
{
    if (!Picture.Rows.Markers.contains(Point))
    {
        return std::nullopt;
    }
    std::optional<qsizetype> found;
    for (const PlacedFlag& flag : FlagsIn(Picture))
    {
        // Later flags are painted over earlier ones.
        if (Point.x() >= flag.Flag.left() &&
            Point.x() <= std::max(flag.Flag.right(), flag.Label.right()))
        {
            found = flag.Index;
        }
    }
    return found;
}

std::optional<qsizetype> ClipAt(const TimelinePicture& Picture, QPointF Point)
{
    std::optional<qsizetype> found;
    const double fromSec = Picture.Scale.SecAt(Point.x() - NarrowestBarPx);
    const double toSec = Picture.Scale.SecAt(Point.x());
    for (int lane = 0; lane < Picture.Index.LaneCount(); ++lane)
    {
        const QRectF row = Picture.Rows.Lane(lane);
        if (Point.y() < row.top() || Point.y() > row.bottom())
        {
            continue;
        }
        for (const PlacedClip& clip : Picture.Index.ClipsIn(lane, fromSec, toSec))
        {
            const QRectF bar =
                BarRect(Picture.Rows, Picture.Scale, lane, clip.StartSec, clip.EndSec);
            const bool bHit = Point.x() >= bar.left() && Point.x() <= bar.right();
            if (bHit && !(found && Picture.IsSelected(*found)))
            {
                found =
                    clip.Index; // the selected bar is painted over all others, then the later ones
            }
        }
    }
    return found;
}
