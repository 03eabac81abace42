// Which frame of a film is shown at a time, by the film's frame rate.
//
// Pure functions. Times are seconds from the start of the source, frames count from 0.

#pragma once

#include <cstdint>

/// Sec as arithmetic in whole numbers can take it: 0 for NaN and times before the start, at most 1e9, which is
/// more than any film lasts.
double TamedSec(double Sec);

/// How much earlier than the time asked for the frame may begin that the player shows.
constexpr double PlayerToleranceSec = 0.005;

/// How much earlier than a time the frame may begin that is to be shown at it: the player's tolerance,
/// which also covers files whose times are whole milliseconds, but half a frame at most, or fast films
/// would show the frame before.
double FrameToleranceSec(double FramesPerSecond);

/// The number of the frame that is shown at a time; 0 when the rate is unknown.
///
/// Of a time between two frames the later one is shown, unless the earlier one began no more than
/// FrameToleranceSec before. At the end of the file the last frame stands. DurationSec 0 is an unknown
/// length.
///
///     // 25 frames a second: frame 1 begins at 0.040, frame 2 at 0.080
///     FrameNumber(0.040, 25.0, 2.0) == 1
///     FrameNumber(0.044, 25.0, 2.0) == 1
///     FrameNumber(0.050, 25.0, 2.0) == 2
///     FrameNumber(2.000, 25.0, 2.0) == 49
std::int64_t FrameNumber(double Sec, double FramesPerSecond, double DurationSec);
