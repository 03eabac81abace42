// The program's arguments, turned into a record.
//
// Only how the arguments are written is judged here. No file is touched and nothing is printed.

#pragma once

#include "app/windowoptions.h"

#include <optional>
#include <string>
#include <vector>

/// What "movane export" was asked to do.
struct ExportOptions
{
    std::string SourcePath;
    std::vector<std::string> ClipArguments;   ///< the values of --clip, in their order
    std::vector<std::string> TablePaths;      ///< the values of --clips, in their order
    std::optional<std::string> RecordingsDir; ///< none when the user leaves it to the program
    bool bJson = false;
    bool bFailFast = false; ///< the first failure ends the rest
    bool bDryRun = false;   ///< says what would be done, and touches nothing
};

struct CommandLine
{
    enum class Command
    {
        PrintText, ///< help or version: Text is to be printed
        Refuse,    ///< the call was wrong: Text is one sentence that says how
        Export,
        OpenWindow,
    };

    Command Chosen = Command::Refuse;
    std::string Text;
    ExportOptions Export;
    WindowOptions Window;
};

/// Reads the arguments of main. Never throws on what a user has written.
CommandLine ParseCommandLine(int ArgumentCount, const char* const* Arguments);
