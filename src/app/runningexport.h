// What is known of an export that is under way, as it is handed to whoever shows it.

#pragma once

#include "export/exportmessages.h"
#include "panel/mvclipcontrolpanel.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

/// Number of an entry of an export queue, counting from 1; never given twice in a queue's life.
using ExportId = std::uint64_t;

struct RunningExport
{
    ExportId Id = 0;
    MvClipControlPanel::SavedClip Clip = {}; ///< as it was when it was queued
    std::filesystem::path OutputPath = {};
    std::optional<ExportPhase> Phase = {};  ///< none while it starts or its encoder tells nothing
    double Fraction = 0.0;                  ///< of the whole work, 0 to 1, never falls
    double ElapsedSec = 0.0;                ///< since the export began
    std::optional<double> SecondsLeft = {}; ///< none while it is unknown
    bool bStopping = false;                 ///< a stop was asked for
};

/// How long the export has run and how long it will still take, for people. Independent of the locale.
///
///     "0:03, 1:30:00 left"     "0:03" while nothing is known of the rest
std::string ProgressTimes(const RunningExport& Export);
