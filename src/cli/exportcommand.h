// "movane export": marked ranges of a video become files, through the panel's own actions.
//
// The program builds the application without a screen (core, one video window with a player, the
// panel with its widgets), sets range and name as a user would, saves and exports clip after clip, and
// sleeps while ffmpeg works. Everything but ffmpeg and the signals happens on the calling thread.

#pragma once

#include "cli/commandline.h"

/// Exit codes. A program that a signal stopped ends with 128 plus the signal's number.
enum class ExitCode : int
{
    AllExported = 0,
    SomeFailed = 1,
    CallWrong = 2, ///< told before anything was exported or written
};

/// Runs the command to its end and returns the exit code. To be called once, on the main thread,
/// before any other thread is started. It takes over standard input and the stop signals, sets
/// MOVANE_RECORDINGS_DIR when the options name a folder, and leaves no child process and no runtime
/// folder behind.
int RunExport(const ExportOptions& Options);
