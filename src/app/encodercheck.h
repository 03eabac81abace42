// Which ffmpeg an export would run, and what is said where it can't.
//
// The panel's own rules and words, so that both programs say beforehand what an export would say.

#pragma once

#include <string>

/// The ffmpeg that an export would run: Override (the value of MOVANE_FFMPEG_BIN) without white space around it,
/// or when nothing is left of it, the one that the search finds. Empty when there is none.
std::string EncoderPath(const std::string& Override);

/// Why an export can't run that ffmpeg, in the panel's words; empty when it can. An export looks again by itself,
/// so nothing has to be restarted after an installation.
std::string EncoderProblem(const std::string& Path);
