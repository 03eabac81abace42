// A time as people read it, in seconds from the start of the source.

#pragma once

#include <QString>

/// Writes a time as "H:MM:SS.mmm", rounded to the nearest millisecond; the hours take as many digits
/// as they need. A time before the start, and one that is no number, reads as the start.
///
///     TimeText(75.5) == "0:01:15.500"
QString TimeText(double Sec);
