// What the transport bar shows: a snapshot of one player. Plain state.

#pragma once

struct TransportState
{
    bool bHasFile = false;
    bool bPlaying = false;
    double TimeSec = 0.0;
    double DurationSec = 0.0;     ///< 0 when unknown
    double FramesPerSecond = 0.0; ///< 0 when unknown
    double Speed = 1.0;
    double VolumePercent = 100.0; ///< 0 to 100
    bool bMuted = false;

    bool operator==(const TransportState&) const = default;
};
