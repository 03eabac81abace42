// Recognises the panel's arguments for ffmpeg, word by word.
//
// The front exports only calls with exactly this list of arguments. A list that differs in any word goes to ffmpeg
// unchanged. Pure functions; any thread.

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// One export, read from its arguments. Times are whole milliseconds.
struct PanelCommand
{
    std::string SourcePath;
    std::int64_t InMs = 0;
    std::int64_t LengthMs = 0;
    std::string OutputPath;
};

/// Reads the arguments after the program's name; nullopt for any other list.
std::optional<PanelCommand> ReadPanelCommand(std::span<const char* const> Arguments);

/// A time as ffmpeg reads it: seconds with three decimals, "12.500".
std::string SecondsText(std::int64_t Ms);

/// Reads such a time; nullopt unless it has exactly three decimals.
std::optional<std::int64_t> ReadSecondsText(std::string_view Text);
