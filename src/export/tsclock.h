// Whether the clock of an MPEG-TS file runs without jumps from beginning to end.
//
// The clock jumps in a cut broadcast and in joined recordings. When ffmpeg reads from the beginning it removes jumps;
// after a seek behind a jump its times differ. Reads a few kilobytes about every seven seconds of the file. Any
// thread.

#pragma once

#include <string>

/// False when the clock goes back, goes ahead by more than ffmpeg accepts, or is not found.
bool HasSteadyTsClock(const std::string& Path);
