// Whether exports can run at all, so that a missing ffmpeg is told at once and not after the marking.
//
// The rules are those of the export itself, also where they surprise; a change there belongs here, too.

#pragma once

#include <string>

/// What to tell the user when ffmpeg can't be run: one sentence with the next step, else nothing.
///
/// Override is the value of MOVANE_FFMPEG_BIN; when it is set, Found, which the search for ffmpeg gave,
/// does not count, as in an export.
/// An export looks again by itself, so nothing has to be restarted after an installation.
std::string EncoderProblem(const std::string& Override, const std::string& Found);
