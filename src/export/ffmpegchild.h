// The ffmpeg of one export, as a child that cannot outlive the front.
//
// It is a process group of its own, reads nothing, has no descriptors but those that it needs, and dies
// with the front (PR_SET_PDEATHSIG), whatever ended that. One thread, which must be the same for the
// child's whole life: the kernel's signal comes when the thread that started it ends.

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
    /// Starts Program. Arguments gets the number of the descriptor that progress goes to, in the child;
    /// KeptFd is inherited under its own number. Null sets errno.
    static std::unique_ptr<FfmpegChild>
    Start(const std::string& Program,
          const std::function<std::vector<std::string>(int ProgressFd)>& Arguments,
          int KeptFd);

    /// Kills what still runs of it and waits for its end.
    ~FfmpegChild();
    FfmpegChild(const FfmpegChild&) = delete;
    FfmpegChild& operator=(const FfmpegChild&) = delete;

    pid_t Pid() const { return Child; }

    /// Readable once it has ended; -1 where the system has no such descriptors.
    int EndFd() const { return End.Get(); }
    bool HasEnded() const;

    /// Its progress and its standard error; neither blocks.
    int ProgressFd() const { return Progress.Get(); }
    int ErrorFd() const { return Errors.Get(); }

    /// Waits for its end. 0 where it exited with 0.
    int Wait();

private:
    FfmpegChild() = default;

    pid_t Child = -1;
    int Status = -1;
    UniqueFd End;
    UniqueFd Progress;
    UniqueFd Errors;
};
