// ffmpeg's arguments for an export: the panel's own, and what the front adds to them. Pure.

#pragma once

#include "export/deepcut.h"
#include "export/panelcommand.h"

#include <string>
#include <vector>

/// What the source's looks decide.
struct EncoderPlan
{
    Cut Where;
    bool bPad = false;      ///< its width or height is odd, which the encoder does not take
    bool bOwnTimes = false; ///< each picture keeps its time, off the beat of a guessed rate

    bool operator==(const EncoderPlan&) const = default;
};

/// The arguments behind the program's name. ffmpeg must inherit two descriptors: it writes the file to
/// PartFd, and its progress to ProgressFd, four times a second.
std::vector<std::string>
EncoderArguments(const PanelCommand& Command, const EncoderPlan& Plan, int PartFd, int ProgressFd);
