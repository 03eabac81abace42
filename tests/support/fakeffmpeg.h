// A shell script in ffmpeg's place: it writes down the arguments that it gets, then does as told.

#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

class FakeFfmpeg
{
public:
    struct Behaviour
    {
        int ExitCode = 0;
        std::string ErrorText = {};          ///< goes to standard error
        bool bWritesOutput = true;           ///< makes the file that its last argument names
        std::string OutputCommand = {};      ///< in place of that, a shell command on "$out"
        std::filesystem::path WaitsFor = {}; ///< ends only when this file is there
    };

    /// Writes the script as "ffmpeg" into Folder, which must exist, with its records beside it.
    explicit FakeFfmpeg(const std::filesystem::path& Folder)
        : FakeFfmpeg(Folder, Behaviour())
    {
    }
    FakeFfmpeg(const std::filesystem::path& Folder, const Behaviour& How)
        : Program(Folder / "ffmpeg")
        , ArgumentsFile(Folder / "arguments")
        , RunsFile(Folder / "runs")
    {
        std::ofstream(Folder / "errortext", std::ios::binary) << How.ErrorText;
        std::string outputCommand = How.OutputCommand;
        if (outputCommand.empty())
        {
            outputCommand = How.bWritesOutput ? ": > \"$out\"" : ":";
        }
        std::ofstream script(Program);
        script << "#!/bin/sh\n"
               << "printf '%s\\0' \"$@\" > " << Word(ArgumentsFile) << "\n"
               << "printf x >> " << Word(RunsFile) << "\n"
               << "for out do :; done\n"
               << "/bin/cat " << Word(Folder / "errortext") << " >&2\n";
        if (!How.WaitsFor.empty())
        {
            script << "until [ -e " << Word(How.WaitsFor) << " ]; do /bin/sleep 0.01; done\n";
        }
        script << outputCommand << "\n"
               << "exit " << How.ExitCode << "\n";
        script.close();
        std::filesystem::permissions(Program, std::filesystem::perms::owner_all);
    }

    /// The script's path.
    std::string Path() const { return Program.native(); }

    /// How often it has run.
    std::size_t Runs() const { return Contents(RunsFile).size(); }

    /// The arguments of its last run, one by one.
    std::vector<std::string> Arguments() const
    {
        std::istringstream text(Contents(ArgumentsFile));
        std::vector<std::string> arguments;
        for (std::string argument; std::getline(text, argument, '\0');)
        {
            arguments.push_back(argument);
        }
        return arguments;
    }

private:
    // The tests' own folders hold no apostrophe.
    static std::string Word(const std::filesystem::path& File) { return "'" + File.native() + "'"; }

    static std::string Contents(const std::filesystem::path& File)
    {
        std::ostringstream text;
        text << std::ifstream(File, std::ios::binary).rdbuf();
        return text.str();
    }

    std::filesystem::path Program;
    std::filesystem::path ArgumentsFile;
    std::filesystem::path RunsFile;
};
