// The program: sets the process up, reads its arguments and runs the command.

#include "cli/commandline.h"
#include "cli/exportcommand.h"
#include "desktop/application.h"
#include "process/exitcode.h"
#include "process/processsetup.h"
#include "process/sentences.h"

#include <exception>
#include <string>

int main(int argc, char** argv)
{
    try
    {
        OpenMissingStandardStreams();
        SurviveBrokenPipes();
        LearnHowChildrenEnd();
        SetMissingPath();
        KeepDecimalPoint();
        LogToStandardError();
        const CommandLine commandLine = ParseCommandLine(argc, argv);
        switch (commandLine.Chosen)
        {
        case CommandLine::Command::PrintText:
            return PrintText(commandLine.Text) ? 0 : 1;
        case CommandLine::Command::Refuse:
            PrintError(commandLine.Text);
            return static_cast<int>(ExitCode::CallWrong);
        case CommandLine::Command::Export:
            return RunExport(commandLine.Export);
        case CommandLine::Command::OpenWindow:
            return RunDesktop(commandLine.Window);
        }
    }
    catch (const std::exception& error)
    {
        // The system has no memory, threads or descriptors left.
        PrintError(std::string("The program can't go on (") + error.what() +
                   "): end some programs and try again.");
    }
    return 1;
}
