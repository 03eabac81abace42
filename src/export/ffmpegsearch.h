// The rule by which an export finds ffmpeg where nobody named one: PATH, then two fixed places.
//
// MOVANE_FFMPEG_BIN is not looked at: it may name the encoder front itself.

#pragma once

#include <filesystem>
#include <string>

/// What an export says where there is none.
inline constexpr const char* NoFfmpegSentence =
    "ffmpeg executable not found. Install ffmpeg or set MOVANE_FFMPEG_BIN.";

/// The path of the ffmpeg that the variable PATH and the fixed places give; empty when there is none.
std::string FindFfmpeg();

/// The same for a given value of PATH: its entries in their order, an empty one is the current folder,
/// a relative one is taken from there; then /usr/bin and /usr/sbin.
std::string FindFfmpeg(const std::string& PathValue);

/// Whether something that is no folder lies at Path and may be executed.
bool IsProgram(const std::filesystem::path& Path);
