// What an export says that could not be done. Each is one sentence: the thing, then the next step.

#pragma once

#include <string>

/// A file at Path that could not be written, for the reason of an errno. A full disk has words of its
/// own.
std::string CanNotBeWritten(const std::string& Path, int Error);

/// The clip did not fit on its disk.
std::string DiskIsFull(const std::string& Path);

/// Whether words of ffmpeg's speak of a full disk.
bool SpeaksOfFullDisk(const std::string& Words);

/// The last part of a path, for people.
std::string FileNameOf(const std::string& Path);
