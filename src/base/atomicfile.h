// Files that matter are written whole or not at all; folders for them are private to the user.
// Any thread.

#pragma once

#include <filesystem>
#include <string>

/// Makes a folder with all missing parents, each with mode 0700. An existing folder keeps its mode and counts
/// as success. On failure returns false, with the reason in errno.
bool MakePrivateFolders(const std::filesystem::path& Folder);

/// Returns as much of the file's content as could be read; empty for a folder and for a file that can't be
/// opened. errno is 0 when that is the whole file, else the reason.
std::string ReadWholeFile(const std::string& Path);

/// Replaces the file at Path by one with that content, making missing folders.
///
/// Writes a temporary file beside it, flushes that to the disk and renames it, so that a reader, or a start
/// after a power cut, finds the old file or the new one. On failure returns false, sets OutError to one sentence
/// that names the file, and leaves the old file unchanged.
bool WriteFileAtomically(const std::string& Path,
                         const std::string& Content,
                         std::string& OutError);
