// Files that an export leaves when a power cut or a kill of the front ended it.
//
// An export reserves its final name NAME with an empty file and writes NAME.part beside it. Front and ffmpeg keep
// NAME.part locked (flock) as long as one of them lives, so an unlocked one is a leftover. Any thread, any number of
// processes at once.

#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// The suffix of an unfinished export's file.
inline constexpr std::string_view PartEnding = ".part";

/// Removes each unlocked NAME.part in Folder, and NAME if it is an empty file.
///
/// It touches only names of exports ("clip_", five digits, "_") and regular files of this user, and follows no link.
/// A part that holds anything but the beginning of Matroska is not an export's, and stays with its NAME.
/// Ignores a folder that can't be read.
void RemoveAbandonedExports(const std::filesystem::path& Folder);

/// Whether the part file of OutputPath is locked: its front or its ffmpeg lives.
bool IsBeingWritten(const std::filesystem::path& OutputPath);
