// What the program's end says to whoever started it.

#pragma once

/// A program that a signal stopped ends with 128 plus the signal's number.
enum class ExitCode : int
{
    Done = 0,
    Failed = 1,    ///< an export failed, or the program could not go on
    CallWrong = 2, ///< told before anything was exported or written
};
