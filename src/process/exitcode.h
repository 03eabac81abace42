// The program's exit codes.

#pragma once

/// A program that a signal stopped ends with 128 plus the signal's number.
enum class ExitCode : int
{
    Done = 0,
    Failed = 1,    ///< an export failed, or the program could not go on
    CallWrong = 2, ///< and nothing was exported or written
};
