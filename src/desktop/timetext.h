// A time and a frame as people read them.
//
// Pure functions. Times are seconds from the start of the source, frames count from 0.

#pragma once

#include <QString>

#include <cstdint>

/// Writes a time as "H:MM:SS.mmm", rounded to the nearest millisecond; the hours take as many digits
/// as they need. A time before the start, and one that is no number, reads as the start.
///
///     TimeText(75.5) == "0:01:15.500"
QString TimeText(double Sec);

/// The number of the frame that the player shows when it stands at a time; 0 when the rate is unknown.
///
/// Of a time between two frames the player shows the later one, unless the earlier one began less than
/// 5 ms before; so does this. At the end of the file the last frame stands. DurationSec 0 is an unknown
/// length.
///
///     // 25 frames a second: frame 1 begins at 0.040, frame 2 at 0.080
///     FrameNumber(0.040, 25.0, 2.0) == 1
///     FrameNumber(0.044, 25.0, 2.0) == 1
///     FrameNumber(0.050, 25.0, 2.0) == 2
///     FrameNumber(2.000, 25.0, 2.0) == 49
std::int64_t FrameNumber(double Sec, double FramesPerSecond, double DurationSec);
