// One export by the front, from its arguments to the file under its final name.
//
// The name is reserved, ffmpeg writes beside it, the file is judged and renamed; on any other way out
// ffmpeg is dead and the pair of files gone. A stop is a signal to the front (SIGINT, SIGTERM, SIGHUP,
// SIGQUIT, unless ignored), the application's message, or the application's death.

#pragma once

#include "export/panelcommand.h"

#include <string>

/// Exports the clip with the ffmpeg at FfmpegPath and returns the program's exit code. Where that is not
/// 0, one sentence has gone to standard error.
///
/// SocketPath  the application's socket, or empty.
int RunEncoder(const PanelCommand& Command,
               const std::string& FfmpegPath,
               const std::string& SocketPath);
