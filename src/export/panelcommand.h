// The arguments that an export gives to ffmpeg, recognised word by word.
//
// The front stands in ffmpeg's place for this one list. Whatever differs in a single word is somebody
// else's call and goes to ffmpeg as it is. Pure functions; any thread.

#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// One export as its argument list says it. Times are whole milliseconds.
struct PanelCommand
{
    std::string SourcePath;
    std::int64_t InMs = 0;
    std::int64_t LengthMs = 0;
    std::string OutputPath;
};

/// Reads the arguments behind the program's name; nullopt for any other list.
std::optional<PanelCommand> ReadPanelCommand(std::span<const char* const> Arguments);

/// A time as ffmpeg reads it: seconds with three decimals, "12.500".
std::string SecondsText(std::int64_t Ms);

/// Reads such a time; nullopt where it has not exactly three decimals.
std::optional<std::int64_t> ReadSecondsText(std::string_view Text);
