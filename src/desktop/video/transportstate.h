// What the transport bar shows: a snapshot of one player. Plain state.

#pragma once

#include <cstdint>
#include <optional>

struct TransportState
{
    bool bHasFile = false;
    bool bPlaying = false;
    double TimeSec = 0.0;
    double DurationSec = 0.0; ///< 0 when unknown
    // Null until the file's frames are counted.
    std::optional<std::int64_t> Frame = std::nullopt; ///< number of the one that is shown, from 0
    std::optional<std::int64_t> FrameCount = std::nullopt;
    std::optional<std::int64_t> RangeFrames =
        std::nullopt; ///< length of the range; null without one, too
    double Speed = 1.0;
    double VolumePercent = 100.0; ///< 0 to 100
    bool bMuted = false;

    bool operator==(const TransportState&) const = default;
};
