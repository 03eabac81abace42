// The path of the encoder front, the program that an export calls instead of ffmpeg.

#pragma once

#include <filesystem>
#include <string>

/// The front of the running program: beside it (in a build folder), otherwise in ../libexec/movane (installed).
/// Empty when neither place has an executable one. Any thread.
std::string EncoderFrontPath();

/// The same for a program in Folder.
std::string EncoderFrontPath(const std::filesystem::path& Folder);
