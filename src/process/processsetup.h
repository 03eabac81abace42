// What the process needs before its work begins. Main thread, before any other thread is started.

#pragma once

/// Keeps LC_NUMERIC at C, whatever the environment says: the player and the numbers in the export's
/// command line need a decimal point.
void KeepDecimalPoint();

/// Opens /dev/null for each standard stream that is closed. Otherwise a file that is opened later would get the
/// stream's number, and printed text would go into that file.
void OpenMissingStandardStreams();

/// Makes writing to a closed pipe fail instead of ending the process: exports go on when nobody reads the output
/// any longer. Installs an empty handler, because child processes would inherit an ignored SIGPIPE.
void SurviveBrokenPipes();

/// Sets SIGCHLD to its default. If a caller handed it down as ignored, the exit status of ffmpeg would be lost
/// and every export would count as failed.
void LearnHowChildrenEnd();

/// Sets PATH to the system's default when it is unset or empty: an empty PATH means the current folder.
void SetMissingPath();

/// Points standard input at /dev/null: ffmpeg reads the terminal and would take typed keys as commands.
void PointStandardInputAtNull();

/// Limits the C library to two heaps. Otherwise each of a player's many threads gets its own, which keeps its
/// largest size after the player is gone.
void KeepFewHeaps();

/// Sends the host's log lines to standard error.
void LogToStandardError();
