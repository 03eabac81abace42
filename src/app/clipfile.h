// The name of an exported file.

#pragma once

#include <filesystem>

/// Completes the extension ".mkv" of a finished export: the panel cuts a long name, with the extension or a part of
/// it.
///
/// Replaces no file: if the complete name is taken, uses the next free number. Returns the file's path, which is
/// still File when its extension is complete, no number is free, or the file system refuses.
std::filesystem::path AddMissingExtension(const std::filesystem::path& File);
