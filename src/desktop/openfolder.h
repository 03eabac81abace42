// Shows a folder in the desktop's file manager.

#pragma once

#include <string>

/// Starts the file manager on a folder, an absolute path, and does not wait for it.
///
/// It is no child of this process: a player that is started from it and plays the file of the running
/// export is not to be taken for the encoder. It does not get FFREPORT, which is meant for the encoder
/// alone: every ffmpeg that somebody starts from that file manager would write a report.
void OpenFolder(const std::string& Path);
