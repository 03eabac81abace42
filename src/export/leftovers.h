// What exports leave behind that were ended by a power cut, or whose front was killed.
//
// An export holds its final name with an empty file and writes NAME.part beside it, which its front and
// its ffmpeg keep locked (flock) as long as one of them lives. An unlocked one therefore belongs to
// nobody. Any thread, any number of processes at once.

#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// What the name of an unfinished export ends with, behind its final name.
inline constexpr std::string_view PartEnding = ".part";

/// Removes the pairs in Folder whose NAME.part nobody has locked: the part, and NAME where that is
/// an empty file.
///
/// Only names that exports give are looked at ("clip_", five digits, "_"), only plain files that belong
/// to this user, and no link is followed. A folder that can't be read is left alone.
void RemoveAbandonedExports(const std::filesystem::path& Folder);

/// Whether somebody keeps the part of the export to OutputPath locked: its front or its ffmpeg lives.
bool IsBeingWritten(const std::filesystem::path& OutputPath);
