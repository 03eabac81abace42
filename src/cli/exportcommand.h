// "movane export": exports ranges of a video with the panel's own actions.
//
// It makes the application without a screen and one video window with a player, sets range and name as a user would,
// saves every clip, and sleeps while the application's queue exports them. All but ffmpeg and the signals runs on the
// calling thread.

#pragma once

#include "cli/commandline.h"

/// Runs the command and returns the exit code (process/exitcode.h). Call it once, on the main thread, before starting
/// any other thread. It takes over standard input and the stop signals, sets MOVANE_RECORDINGS_DIR when the options
/// name a folder, and leaves no child process and no runtime folder behind.
int RunExport(const ExportOptions& Options);
