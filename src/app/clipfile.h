// The name of an exported file.

#pragma once

#include <filesystem>

/// Gives a finished export the ending ".mkv" that its name lacks: a long name of a clip is cut with the
/// extension, or a part of it.
///
/// Replaces nothing: where the whole name is taken the next free number is used. Returns where the file
/// is now, which is File itself when nothing is missing, no number is free or the file system refuses.
std::filesystem::path AddMissingExtension(const std::filesystem::path& File);
