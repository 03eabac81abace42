// Why a path can't be opened as a video, found out before anything opens it: a player or ffmpeg never meets a
// folder, a pipe or a device.
//
// Any thread. Each answer is one sentence, which says what to do.

#pragma once

#include <string>

/// Why nobody should open Path as a video; empty when it is a regular file that can be read. The sentence calls
/// the file Path.
std::string ReasonNotToOpen(const std::string& Path);

/// The same; the sentence calls the file Name.
std::string ReasonNotToOpen(const std::string& Path, const std::string& Name);

/// What is wrong with a relative Path while the current folder is deleted.
std::string NoCurrentFolder(const std::string& Path);
