// The state of the running export, for display.

#pragma once

#include "export/exportmessages.h"
#include "panel/mvclipcontrolpanel.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

/// Number of an entry of an export queue, counting from 1; never reused.
using ExportId = std::uint64_t;

struct RunningExport
{
    ExportId Id = 0;
    MvClipControlPanel::SavedClip Clip = {}; ///< as it was when it was queued
    std::filesystem::path OutputPath = {};
    std::optional<ExportPhase> Phase =
        {};                  ///< none while it starts, or if its encoder sends no progress
    double Fraction = 0.0;   ///< of the whole work, 0 to 1, never decreases
    double ElapsedSec = 0.0; ///< since the export began
    std::optional<double> SecondsLeft = {}; ///< none while it is unknown
    bool bStopping = false;                 ///< a stop was asked for
};

/// How long the export has run and how long it will still take, for people. Independent of the locale.
///
///     "0:03, 1:30:00 left"     "0:03" while nothing is known of the rest
std::string ProgressTimes(const RunningExport& Export);
