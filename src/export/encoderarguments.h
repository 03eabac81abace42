// ffmpeg's arguments for an export: the panel's own, and what the front adds to them. Pure.

#pragma once

#include "export/deepcut.h"
#include "export/panelcommand.h"

#include <string>
#include <vector>

/// How an export is run, decided by a look into the source.
struct EncoderPlan
{
    Cut Where;
    bool bPad = false;      ///< pad an odd width or height, which the encoder refuses
    bool bOwnTimes = false; ///< each picture keeps its time instead of that of a guessed rate

    bool operator==(const EncoderPlan&) const = default;
};

/// The arguments after the program's name. ffmpeg must inherit two descriptors: PartFd for the file, and ProgressFd
/// for its progress, four times a second.
std::vector<std::string>
EncoderArguments(const PanelCommand& Command, const EncoderPlan& Plan, int PartFd, int ProgressFd);
