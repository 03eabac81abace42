// The search for ffmpeg when MOVANE_FFMPEG_BIN names none: PATH, then two fixed places.
//
// It ignores MOVANE_FFMPEG_BIN, which may name the encoder front itself.

#pragma once

#include <filesystem>
#include <string>

/// The panel's error when there is no ffmpeg.
inline constexpr const char* NoFfmpegSentence =
    "ffmpeg executable not found. Install ffmpeg or set MOVANE_FFMPEG_BIN.";

/// The path of ffmpeg by the variable PATH and the fixed places; empty when there is none.
std::string FindFfmpeg();

/// The same for a given value of PATH: its entries in their order, an empty one is the current folder,
/// a relative one is taken from there; then /usr/bin and /usr/sbin.
std::string FindFfmpeg(const std::string& PathValue);

/// Whether Path is an executable that is not a folder.
bool IsProgram(const std::filesystem::path& Path);
