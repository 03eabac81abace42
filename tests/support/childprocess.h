// A second process of the same program, for what only another process can do: hold a lock, die.

#pragma once

#include <cstdlib>
#include <functional>

#include <sys/wait.h>
#include <unistd.h>

/// Runs Work in a child process that then dies at once, without any cleaning up, and waits for it.
/// False when there was no child or Work answered false in it.
inline bool RunInDyingProcess(const std::function<bool()>& Work)
{
    const pid_t child = fork();
    if (child == 0)
    {
        _exit(Work() ? 0 : 1);
    }
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

/// Like RunInDyingProcess, but the child ends as a program ends, with its cleaning up.
inline bool RunInEndingProcess(const std::function<bool()>& Work)
{
    return RunInDyingProcess([&Work]() -> bool { std::exit(Work() ? 0 : 1); });
}

/// A child process that has done some work and lives, with what it holds, until the end of this object.
class LivingProcess
{
public:
    explicit LivingProcess(const std::function<bool()>& Work)
    {
        int toChild[2] = {-1, -1};
        int toParent[2] = {-1, -1};
        if (pipe(toChild) != 0 || pipe(toParent) != 0)
        {
            return;
        }
        Child = fork();
        if (Child == 0)
        {
            close(toChild[1]);
            close(toParent[0]);
            char answer = Work() ? 1 : 0;
            const bool bTold = write(toParent[1], &answer, 1) == 1;
            while (bTold && read(toChild[0], &answer, 1) > 0) // until the parent closes its end
            {
            }
            _exit(0);
        }
        close(toChild[0]);
        close(toParent[1]);
        char answer = 0;
        bReady = Child > 0 && read(toParent[0], &answer, 1) == 1 && answer == 1;
        close(toParent[0]);
        EndPipe = toChild[1];
    }

    ~LivingProcess()
    {
        close(EndPipe);
        if (Child > 0)
        {
            waitpid(Child, nullptr, 0);
        }
    }

    LivingProcess(const LivingProcess&) = delete;
    LivingProcess& operator=(const LivingProcess&) = delete;

    /// True when the child has done its work with success.
    bool IsReady() const { return bReady; }

private:
    pid_t Child = -1;
    int EndPipe = -1;
    bool bReady = false;
};
