// Whether the clock of an MPEG-TS file runs through from its beginning to its end.
//
// A broadcast that was cut, or two recordings put together, has a clock that jumps. ffmpeg takes jumps
// out while it reads from the beginning; after a seek behind one it counts from another place. Reads a
// few kilobytes at places all over the file, about one for every seven seconds. Any thread.

#pragma once

#include <string>

/// False where the clock goes back, or ahead by more than ffmpeg lets pass, and where no clock is found.
bool HasSteadyTsClock(const std::string& Path);
