// "movane export": marked ranges of a video become files, through the panel's own actions.
//
// The program takes the application without a screen and one video window with a player, sets range and
// name as a user would, saves every clip, and lets the application's queue export them while it sleeps.
// Everything but ffmpeg and the signals happens on the calling thread.

#pragma once

#include "cli/commandline.h"

/// Runs the command to its end and returns the exit code (process/exitcode.h). To be called once, on the main thread,
/// before any other thread is started. It takes over standard input and the stop signals, sets
/// MOVANE_RECORDINGS_DIR when the options name a folder, and leaves no child process and no runtime
/// folder behind.
int RunExport(const ExportOptions& Options);
