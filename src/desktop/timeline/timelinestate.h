// What the timeline widget draws: a snapshot of one video's marking. Plain state; times in seconds from
// the start of the source.

#pragma once

#include <QColor>
#include <QList>
#include <QString>

#include <optional>
#include <tuple>

struct TimelineMarker
{
    double TimeSec = 0.0;
    QString Label;
    QColor Color;
};

/// A saved clip of the shown source. Its Out may lie before its In.
struct TimelineClip
{
    int Row = -1; ///< in the clip table
    QString Name;
    QColor Color;
    double StartSec = 0.0;
    double EndSec = 0.0;
};

struct TimelineState
{
    double DurationSec = 0.0; ///< 0 while no video is open
    double PlayheadSec = 0.0;
    double FramesPerSecond = 0.0; ///< 0 when unknown
    bool bHasRange = false;
    double RangeStartSec = 0.0;
    double RangeEndSec = 0.0;
    std::optional<double> PendingInSec;  ///< In was set and Out was not yet
    std::optional<double> PendingOutSec; ///< Out was set and In was not yet
    QList<TimelineMarker> Markers;
    QList<TimelineClip> Clips;
    int SelectedRow = -1; ///< of the clip that is selected, -1 for none

    /// Two states are the same only with the very same lists, which copies of a state share: no marker and
    /// no clip is looked at. Whoever changes one thing in a list makes it another list.
    bool operator==(const TimelineState& Other) const
    {
        const auto values = [](const TimelineState& State)
        {
            return std::tie(State.DurationSec, State.PlayheadSec, State.FramesPerSecond,
                            State.bHasRange, State.RangeStartSec, State.RangeEndSec,
                            State.PendingInSec, State.PendingOutSec, State.SelectedRow);
        };
        return values(*this) == values(Other) && Markers.isSharedWith(Other.Markers) &&
               Clips.isSharedWith(Other.Clips);
    }
};
