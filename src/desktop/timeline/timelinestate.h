// What the timeline widget draws: a snapshot of one video's marking. Plain state; times in seconds from
// the start of the source.

#pragma once

#include <QColor>
#include <QList>
#include <QString>

#include <optional>
#include <vector>

struct TimelineMarker
{
    double TimeSec = 0.0;
    QString Label;
    QColor Color;

    bool operator==(const TimelineMarker&) const = default;
};

/// A saved clip of the shown source. Its Out may lie before its In.
struct TimelineClip
{
    int Row = -1; ///< in the clip table
    QString Name;
    QColor Color;
    double StartSec = 0.0;
    double EndSec = 0.0;
    bool bSelected = false;

    bool operator==(const TimelineClip&) const = default;
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
    std::vector<TimelineMarker> Markers;
    QList<TimelineClip> Clips; ///< shared between copies, and then compared without a look at each

    bool operator==(const TimelineState&) const = default;
};
