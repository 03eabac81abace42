// The ffmpeg of one export, as a child that cannot outlive the front.
//
// It has a process group of its own, an empty standard input and only the descriptors that it needs. The kernel kills
// it when the front ends (PR_SET_PDEATHSIG). Use it on one thread, which must live as long as the child: the kernel
// kills the child when the thread that started it ends.

#pragma once

#include "base/uniquefd.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

class FfmpegChild
{
public:
    /// Starts Program. Arguments gets the child's descriptor for progress; the child inherits KeptFd under its own
    /// number. On failure returns null and sets errno.
    static std::unique_ptr<FfmpegChild>
    Start(const std::string& Program,
          const std::function<std::vector<std::string>(int ProgressFd)>& Arguments,
          int KeptFd);

    /// Kills the process group and waits for its end.
    ~FfmpegChild();
    FfmpegChild(const FfmpegChild&) = delete;
    FfmpegChild& operator=(const FfmpegChild&) = delete;

    pid_t Pid() const { return Child; }

    /// Readable once it has ended; -1 if the kernel has no such descriptors.
    int EndFd() const { return End.Get(); }
    bool HasEnded() const;

    /// Its progress and its standard error; neither blocks.
    int ProgressFd() const { return Progress.Get(); }
    int ErrorFd() const { return Errors.Get(); }

    /// Waits for its end and returns its wait status, 0 for an exit code of 0.
    int Wait();

private:
    FfmpegChild() = default;

    pid_t Child = -1;
    int Status = -1;
    UniqueFd End;
    UniqueFd Progress;
    UniqueFd Errors;
};
