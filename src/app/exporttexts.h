// What both programs say of exports beyond the panel's own words.

#pragma once

#include <cstddef>
#include <string>

/// What the status says of an export that was stopped.
inline constexpr const char* ExportStoppedText = "Clip export failed: stopped.";

/// What became of several exports, one sentence: "Exported 1 of 2 clips, then stopped."
///
/// Stop  empty when all had their turn, else what is said of the end, such as "stopped" or "stopped by SIGINT".
std::string ExportSummary(std::size_t ExportedCount, std::size_t Count, const std::string& Stop);
