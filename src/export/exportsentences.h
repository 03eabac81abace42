// Errors of the front. Each is one sentence: the thing, then the next step.

#pragma once

#include <string>

/// The file at Path can't be written; Error is an errno. For a full disk it is DiskIsFull.
std::string CanNotBeWritten(const std::string& Path, int Error);

/// The clip's disk is full.
std::string DiskIsFull(const std::string& Path);

/// Whether output of ffmpeg reports a full disk.
bool SpeaksOfFullDisk(const std::string& Words);

/// The last part of a path, for people.
std::string FileNameOf(const std::string& Path);
