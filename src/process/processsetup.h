// What the process needs before its work begins. Main thread, before any other thread is started.

#pragma once

/// Keeps LC_NUMERIC at C, whatever the environment says: the player and the numbers in the export's
/// command line need a decimal point.
void KeepDecimalPoint();

/// Opens /dev/null for each of the three standard streams that is closed. A file that is opened later
/// would take its number otherwise, and what is printed would go into that file.
void OpenMissingStandardStreams();

/// Makes writing to a closed pipe an error of the write instead of the end of the process: exports go
/// on when nobody reads the output any longer. By a handler that does nothing, since an ignored SIGPIPE
/// would stay ignored in the programs that are run.
void SurviveBrokenPipes();

/// Takes back that SIGCHLD is ignored, which a caller may have handed down: nobody could learn how an
/// ffmpeg ended then, and every export would count as failed.
void LearnHowChildrenEnd();

/// Sets PATH to the system's default when it is unset or empty, which would stand for the current folder.
void SetMissingPath();

/// Turns standard input to /dev/null: ffmpeg would read the terminal and take what is typed for
/// commands.
void PointStandardInputAtNull();

/// Lets all threads share two heaps of the C library. Each of the many threads of a player would get one
/// of its own, which stays at its largest when the player has gone.
void KeepFewHeaps();

/// Sends the host's log lines to standard error.
void LogToStandardError();
