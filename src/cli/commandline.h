// The program's arguments, turned into a record.
//
// Checks only their syntax: touches no file and prints nothing.

#pragma once

#include "app/windowoptions.h"

#include <optional>
#include <string>
#include <vector>

/// The options of "movane export".
struct ExportOptions
{
    std::string SourcePath;
    std::vector<std::string> ClipArguments;   ///< the values of --clip, in their order
    std::vector<std::string> TablePaths;      ///< the values of --clips, in their order
    std::optional<std::string> RecordingsDir; ///< none: the program's default
    bool bJson = false;
    bool bFailFast = false; ///< end at the first failure
    bool bDryRun = false;   ///< print what would be done, touch nothing
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

/// Reads the arguments of main. Never throws on a user's mistake.
CommandLine ParseCommandLine(int ArgumentCount, const char* const* Arguments);
