// Runs a program as a child in its own process group, with its output in files, for tests.
//
// The test process becomes the reaper of orphans (prctl(2), PR_SET_CHILD_SUBREAPER), so whatever the
// program leaves running is found.

#pragma once

#include "support/filetext.h"
#include "support/waitfor.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

class ProgramRun
{
public:
    struct Setup
    {
        std::string Program;
        std::vector<std::string> Arguments;
        std::map<std::string, std::string> Environment; ///< all of it
        std::filesystem::path WorkingFolder;
        std::filesystem::path OutputFolder; ///< where its output is kept; must exist
        /// Runs in the child just before the program takes its place.
        std::function<void()> BeforeStart = [] {};
    };

    struct End
    {
        int ExitCode = -1; ///< -1 when a signal ended it
        std::string Out;
        std::string Err;
        int Signal = 0; ///< that ended it
    };

    explicit ProgramRun(const Setup& How)
        : OutFile(How.OutputFolder / "stdout")
        , ErrFile(How.OutputFolder / "stderr")
    {
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        Child = fork();
        if (Child == 0)
        {
            Become(How);
        }
        setpgid(Child, Child);
    }
    ~ProgramRun()
    {
        if (Child > 0)
        {
            kill(-Child, SIGKILL);
            waitpid(Child, nullptr, 0);
        }
    }
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    pid_t Pid() const { return Child; }
    void Signal(int Number) const { kill(Child, Number); }
    void SignalGroup(int Number) const { kill(-Child, Number); }

    /// True once the program has ended; Finish still tells how.
    bool HasEnded() const
    {
        siginfo_t info = {};
        return waitid(P_PID, static_cast<id_t>(Child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == Child;
    }

    /// Waits for the program's end. A program that does not end fails the test.
    End Finish()
    {
        EXPECT_TRUE(WaitFor([this] { return HasEnded(); })) << "the program does not end";
        if (!HasEnded())
        {
            kill(-Child, SIGKILL);
        }
        int status = 0;
        waitpid(Child, &status, 0);
        Child = -1;
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(OutFile), ReadFile(ErrFile),
                WIFSIGNALED(status) ? WTERMSIG(status) : 0};
    }

    /// The command names of the processes that ended programs have left running, without those that
    /// are dying.
    static std::vector<std::string> LeftChildren()
    {
        while (waitpid(-1, nullptr, WNOHANG) > 0)
        {
        }
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator("/proc"))
        {
            if (entry.path().filename().native().find_first_not_of("0123456789") !=
                std::string::npos)
            {
                continue;
            }
            // "PID (NAME) STATE PARENT ...", proc(5); nothing when the process has just gone.
            std::string stat;
            std::ifstream file(entry.path() / "stat");
            std::getline(file, stat, '\0'); // may fail in the middle, and then gives nothing
            const std::size_t nameEnd = stat.rfind(')');
            if (nameEnd == std::string::npos)
            {
                continue;
            }
            std::istringstream fields(stat.substr(nameEnd + 1));
            char state = 0;
            pid_t parent = 0;
            fields >> state >> parent;
            if (parent == getpid() && state != 'Z' && state != 'X')
            {
                names.push_back(stat.substr(0, nameEnd + 1));
            }
        }
        return names;
    }

private:
    [[noreturn]] void Become(const Setup& How) const
    {
        setpgid(0, 0);
        const auto redirect = [](const std::filesystem::path& File, int Flags, int Target)
        { dup2(open(File.c_str(), Flags | O_CLOEXEC, 0600), Target); };
        redirect(OutFile, O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
        redirect(ErrFile, O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
        std::vector<char*> arguments = {const_cast<char*>(How.Program.c_str())};
        for (const std::string& argument : How.Arguments)
        {
            arguments.push_back(const_cast<char*>(argument.c_str()));
        }
        arguments.push_back(nullptr);
        clearenv();
        for (const auto& [name, value] : How.Environment)
        {
            setenv(name.c_str(), value.c_str(), 1);
        }
        if (chdir(How.WorkingFolder.c_str()) == 0)
        {
            // A caller in the background may have them ignored.
            for (const int number : {SIGHUP, SIGINT, SIGTERM})
            {
                std::signal(number, SIG_DFL);
            }
            How.BeforeStart();
            execv(How.Program.c_str(), arguments.data());
        }
        _exit(127);
    }

    std::filesystem::path OutFile;
    std::filesystem::path ErrFile;
    pid_t Child = -1;
};
