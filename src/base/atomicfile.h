// Files that matter are written whole or not at all; folders for them are private to the user.
// Any thread.

#pragma once

#include <filesystem>
#include <string>

/// Makes a folder with all missing parents, each with mode 0700. A folder that exists is no error and
/// keeps its mode. False leaves the reason in errno.
bool MakePrivateFolders(const std::filesystem::path& Folder);

/// Returns the content of a file, what could be read of it; empty when it can't be opened or is a
/// folder. errno is 0 when that is all of it, else it holds the reason.
std::string ReadWholeFile(const std::string& Path);

/// Replaces the file at Path by one with that content, making missing folders.
///
/// It is written under a temporary name beside it, flushed to the disk and renamed, so a reader and a
/// power cut find the old file or the new one. False sets OutError to one sentence that names the
/// file; the old file is as it was then.
bool WriteFileAtomically(const std::string& Path,
                         const std::string& Content,
                         std::string& OutError);
