// Where things stand on the timeline: its rows, the lanes of its clips, and what lies under a point.
//
// From top to bottom: the ruler, the strip with the grips of the In/Out range, the marker flags, the
// lanes of the saved clips. Painting and picking both ask here, so what is seen is what is hit. Sizes
// are pixels of the widget and follow the text scale. Nothing is drawn here; UI thread only.

#pragma once

#include "desktop/timeline/timelinescale.h"
#include "desktop/timeline/timelinestate.h"

#include <QFontMetricsF>
#include <QRectF>
#include <QSizeF>
#include <QString>

#include <optional>
#include <span>
#include <vector>

struct TimelineRows
{
    QRectF Whole;
    QRectF Ruler;
    QRectF Range;
    QRectF Markers;
    QRectF Lanes;
    double LanePitchPx = 0.0; ///< from the top of one lane to the top of the next
    double LanePx = 0.0;
    double InsetPx = 0.0; ///< free at the left and right, so that grips at the ends stay whole
    int LaneCount = 1;

    bool operator==(const TimelineRows&) const = default;
    QRectF Lane(int Index) const;
};

/// The rows in a widget of this size, with as many lanes as fit, at least one and at most MaxLanes.
TimelineRows RowsIn(QSizeF Size);
/// The height of a timeline with this many lanes.
int HeightOfLanes(int LaneCount);
inline constexpr int MaxLanes = 4;

/// A saved clip in its lane.
struct PlacedClip
{
    qsizetype Index = 0;   ///< in TimelineState::Clips
    double StartSec = 0.0; ///< the earlier end, whichever of In and Out it is
    double EndSec = 0.0;
    double MaxEndSec = 0.0; ///< the latest end up to here in this lane
};

/// Clips and markers in the order of time, made once for each change of them.
class TimelineIndex
{
public:
    /// Spreads the clips over the lanes so that none covers another while lanes are free; what finds
    /// none free goes where it covers least. What has no finite time is left out.
    void PlaceClips(const QList<TimelineClip>& Clips, int LaneCount);
    void SortMarkers(const QList<TimelineMarker>& Markers);

    int LaneCount() const { return static_cast<int>(Lanes.size()); }
    /// The clips of a lane that may touch the times from FromSec to ToSec, by their start; some that
    /// end before may be among them, where clips cover each other.
    std::span<const PlacedClip> ClipsIn(int Lane, double FromSec, double ToSec) const;
    /// Indices into TimelineState::Markers, by time.
    std::span<const qsizetype>
    MarkersIn(const QList<TimelineMarker>& Markers, double FromSec, double ToSec) const;

private:
    std::vector<std::vector<PlacedClip>> Lanes;
    std::vector<qsizetype> MarkersByTime;
};

/// The ends of the range.
enum class RangeEnd
{
    In,
    Out,
};

struct TimelineRange
{
    double StartSec = 0.0;
    double EndSec = 0.0;

    bool operator==(const TimelineRange&) const = default;
};

/// What a drag of an end has led to.
struct TimelineDrag
{
    TimelineRange Range;
    double ShownSec = 0.0; ///< whose picture is shown meanwhile
};

/// All that is painted and picked in one moment; borrowed for the call.
struct TimelinePicture
{
    const TimelineState& State;
    const TimelineRows& Rows;
    const TimelineScale& Scale;
    const TimelineIndex& Index;

    // -- What a gesture shows in place of the state's own.
    std::optional<TimelineRange> Range = std::nullopt;
    double PlayheadSec = 0.0;

    std::optional<double> HoverPx = std::nullopt;  ///< where the pointer's line stands
    std::optional<RangeEnd> HotEnd = std::nullopt; ///< the grip under the pointer or in the hand
    bool bFocused = false;

    /// Whether the clip at this index of State.Clips is the selected one.
    bool IsSelected(qsizetype ClipIndex) const
    {
        return State.Clips[ClipIndex].Row == State.SelectedRow;
    }
};

/// A visible marker: its flag, and what of its label finds room before the next flag.
struct PlacedFlag
{
    qsizetype Index = 0; ///< in TimelineState::Markers
    QRectF Flag;
    QRectF Label; ///< empty when there is no room
    QString LabelText;
};

/// The grip of one end: In's lies before its time and Out's behind, so that both can be taken when
/// the range is shorter than a pixel.
QRectF GripRect(const TimelineRows& Rows, const TimelineScale& Scale, RangeEnd End, double Sec);
/// The bar of a clip, cut to a little more than the widget and never narrower than can be seen.
QRectF BarRect(
    const TimelineRows& Rows, const TimelineScale& Scale, int Lane, double StartSec, double EndSec);
/// Text on one line, its end cut off with "…" where it is wider than RoomPx.
QString CutToFit(const QString& Text, const QFontMetricsF& Metrics, double RoomPx);
/// The visible flags from left to right; of those less than half a flag apart the first.
std::vector<PlacedFlag> FlagsIn(const TimelinePicture& Picture);

/// The end of the range whose grip is at Point, or whose line is where nothing else can be picked.
std::optional<RangeEnd> RangeEndAt(const TimelinePicture& Picture, QPointF Point);
/// Index into State.Markers of the flag or the label at Point.
std::optional<qsizetype> MarkerAt(const TimelinePicture& Picture, QPointF Point);
/// Index into State.Clips of the topmost bar at Point.
std::optional<qsizetype> ClipAt(const TimelinePicture& Picture, QPointF Point);
