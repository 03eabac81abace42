#include "cli/commandline.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace
{
constexpr const char* Description = "Marks, names and exports clips of video.";

constexpr const char* ExportFooter =
    R"(A clip is written [NAME=]IN-OUT, a time as 75, 75.5, 1:15, 1:15.5 or 01:02:03.25:
  --clip Intro=0-1:15.5     a clip with a name; the last '=' ends the name
  --clip 1:15-1:20          the program names it (Clip 1, Clip 2, ...)
  --clip End=1:00:00-       to the end of the source; likewise =-10 from its beginning

A table has the columns START,END,NAME and no header line; START, END and NAME may be blank.
The clips of --clip are exported first, then those of --clips. Each becomes a Matroska file in the
folder "clips" of the recordings folder (by default the folder Movane in your videos folder).

A source whose name begins with '-' stands behind "--". With --json, a line on standard output is
an object whose "type" is "status", "notification", "progress", "result" or "plan"
(--dry-run).

Exit code: 0 all clips are exported, 1 some failed, 2 the call was wrong and nothing was touched,
129, 130, 131 or 143 stopped by SIGHUP, SIGINT, SIGQUIT or SIGTERM.
MOVANE_FFMPEG_BIN names another ffmpeg, MOVANE_RUNTIME_DIR another folder for temporary files.)";

// Some texts of the library have several lines, and none a full stop.
std::string Sentence(std::string Text)
{
    std::replace(Text.begin(), Text.end(), '\n', ' ');
    return Text + " (see movane --help).";
}

// One value for each use of the option. Otherwise CLI11 would take the following arguments as values, too, and split a
// value in brackets at its commas.
void AddRepeatedOption(CLI::App& App,
                       const std::string& Name,
                       std::vector<std::string>& OutValues,
                       const std::string& ValueName,
                       const std::string& Help)
{
    App.add_option(Name, OutValues, Help)
        ->type_name(ValueName)
        ->expected(1)
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

CLI::App* AddExportCommand(CLI::App& App, ExportOptions& OutOptions)
{
    CLI::App* const command = App.add_subcommand("export", "Export clips of a video file");
    command->allow_extras(false); // CLI11 would inherit the app's setting
    command->add_option("SOURCE", OutOptions.SourcePath, "The video file")
        ->type_name("")
        ->required();
    AddRepeatedOption(*command, "--clip", OutOptions.ClipArguments, "[NAME=]IN-OUT",
                      "A clip to export; may be given again");
    AddRepeatedOption(*command, "--clips", OutOptions.TablePaths, "FILE.csv",
                      "A table of clips to export; may be given again");
    command->add_option("--recordings-dir", OutOptions.RecordingsDir, "The recordings folder")
        ->type_name("DIR");
    command->add_flag("--json", OutOptions.bJson, "Print one JSON object a line, for programs");
    command->add_flag("--dry-run", OutOptions.bDryRun,
                      "Print each clip's file and command, and touch nothing");
    CLI::Option* const keepGoing = command->add_flag_callback(
        "--keep-going", [] {}, "Export the other clips when one fails (this is the default)");
    command->add_flag("--fail-fast", OutOptions.bFailFast, "End at the first clip that fails")
        ->excludes(keepGoing);
    command->footer(ExportFooter);
    return command;
}

void AddWindowOptions(CLI::App& App, WindowOptions& OutOptions)
{
    App.add_option("FILE", OutOptions.FilePaths, "Videos to open, each in a window")->type_name("");
    App.add_option("--video", OutOptions.Video, "How the picture is drawn: auto, gl or sw")
        ->type_name("HOW")
        ->check(CLI::IsMember({"auto", "gl", "sw"}))
        ->default_val("auto");
}
} // namespace

CommandLine ParseCommandLine(int ArgumentCount, const char* const* Arguments)
{
    CommandLine commandLine;
    CLI::App app(Description, "movane");
    app.set_version_flag("--version", std::string("movane ") + MOVANE_VERSION);
    const CLI::App* const exportCommand = AddExportCommand(app, commandLine.Export);
    AddWindowOptions(app, commandLine.Window);
    try
    {
        app.parse(ArgumentCount, Arguments);
    }
    catch (const CLI::Success& request)
    {
        std::ostringstream text;
        app.exit(request, text, text);
        commandLine.Chosen = CommandLine::Command::PrintText;
        commandLine.Text = text.str();
        return commandLine;
    }
    catch (const CLI::ParseError& error)
    {
        commandLine.Text = Sentence(error.what());
        return commandLine;
    }
    if (exportCommand->parsed() && !commandLine.Window.FilePaths.empty())
    {
        commandLine.Text = Sentence("The following argument was not expected: " +
                                    commandLine.Window.FilePaths.front());
        return commandLine;
    }
    commandLine.Chosen =
        exportCommand->parsed() ? CommandLine::Command::Export : CommandLine::Command::OpenWindow;
    return commandLine;
}
