// Whether a finished file is what was asked for, once, before it gets its name.
//
// The file's header tells: how long each stream is, and whether the file is as long as it says. The
// source is only asked where that does not settle it, so a judgement costs milliseconds whatever the
// length of the clip. One thread.

#pragma once

#include "export/panelcommand.h"
#include "export/sourcefile.h"

#include <optional>
#include <string>
#include <vector>

/// What the header of a Matroska file says.
struct ClipFacts
{
    bool bWhole = false;            ///< it has all the bytes that it says
    std::optional<double> VideoSec; ///< where the picture ends; none without one
    std::vector<double> SoundSec;   ///< where each sound ends; 0 for one with nothing in it
    double EndSec() const;          ///< where the last of them ends
};

/// Reads a file through its descriptor; nullopt where it is no Matroska file, or an empty one.
std::optional<ClipFacts> ReadClip(int Fd);

/// Whether a sound is missing, or ends before the source's own does.
bool LacksSound(const std::optional<ClipFacts>& Clip,
                const PanelCommand& Command,
                SourceFile& Source);

/// Why the file is not what was asked for, in one sentence; nullopt where it is.
std::optional<std::string>
JudgeClip(const std::optional<ClipFacts>& Clip, const PanelCommand& Command, SourceFile& Source);

/// Why there can be no picture, whatever ffmpeg says of it; nullopt where the source has one, or sound,
/// between In and Out, or none at all, or does not tell.
std::optional<std::string> WhyNoPicture(const PanelCommand& Command, SourceFile& Source);
