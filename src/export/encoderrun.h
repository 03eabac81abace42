// One export by the front, from its arguments to the file under its final name.
//
// It reserves the name, lets ffmpeg write beside it, judges the file and renames it. On failure it kills ffmpeg and
// removes both files. A stop is a signal to the front (SIGINT, SIGTERM, SIGHUP, SIGQUIT, unless ignored), a message
// of the application, or the application's death.

#pragma once

#include "export/panelcommand.h"

#include <string>

/// Exports the clip with the ffmpeg at FfmpegPath and returns the program's exit code. Unless it is 0, one sentence
/// was written to standard error.
///
/// SocketPath  the application's socket, or empty.
int RunEncoder(const PanelCommand& Command,
               const std::string& FfmpegPath,
               const std::string& SocketPath);
