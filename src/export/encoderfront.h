// Where the encoder front is, the program that stands in ffmpeg's place in an export.

#pragma once

#include <filesystem>
#include <string>

/// The front that belongs to the running program: beside it, as in a build folder, otherwise in
/// ../libexec/movane, as installed. Empty where neither place has one that can be run. Any thread.
std::string EncoderFrontPath();

/// The same for a program that lies in Folder.
std::string EncoderFrontPath(const std::filesystem::path& Folder);
