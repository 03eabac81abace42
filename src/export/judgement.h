// The check of a finished file, before it gets its name.
//
// The file's header gives the length of each stream and the file's size. The source is read only when the header does
// not settle it, so a check takes milliseconds whatever the clip's length. One thread.

#pragma once

#include "export/panelcommand.h"
#include "export/sourcefile.h"

#include <optional>
#include <string>
#include <vector>

/// What the header of a Matroska file says.
struct ClipFacts
{
    bool bWhole = false;            ///< it is as large as its header says
    std::optional<double> VideoSec; ///< where the picture ends; none without one
    std::vector<double> SoundSec;   ///< where each sound ends; 0 for one with nothing in it
    double EndSec() const;          ///< where the last of them ends
};

/// Reads a file through its descriptor; nullopt if it is not Matroska or is empty.
std::optional<ClipFacts> ReadClip(int Fd);

/// Whether a sound is missing, or ends before the source's own does.
bool LacksSound(const std::optional<ClipFacts>& Clip,
                const PanelCommand& Command,
                SourceFile& Source);

/// Why the file is not the wanted clip, in one sentence; nullopt if it is.
std::optional<std::string>
JudgeClip(const std::optional<ClipFacts>& Clip, const PanelCommand& Command, SourceFile& Source);

/// Why the clip has no picture, independent of ffmpeg's message. Nullopt when the source has a picture or sound between
/// In and Out, has no video at all, or when that is unknown.
std::optional<std::string> WhyNoPicture(const PanelCommand& Command, SourceFile& Source);
