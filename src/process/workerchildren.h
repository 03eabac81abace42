// The programs that the worker threads of this process run, and everything below them.
//
// What the main thread starts (a file manager, say) never counts. Found through the kernel's lists of
// children (proc(5), /proc/PID/task/TID/children), and held by descriptors, so that a number that is
// given again means nobody else. Any thread.

#pragma once

#include "base/uniquefd.h"

#include <map>
#include <mutex>

#include <sys/types.h>

class WorkerChildren
{
public:
    /// Adds what is there now. What was found before stays, also when the program above it has ended.
    void Collect();
    void Clear();
    bool IsEmpty() const;

    /// Sends a signal to each that runs.
    void Signal(int Number) const;
    /// Ends all of it at once.
    void Kill();
    /// True while one of them has not ended.
    bool IsRunning() const;

private:
    void AddBelow(pid_t Pid, pid_t Thread);

    mutable std::mutex MembersMutex;
    std::map<pid_t, UniqueFd> Members; ///< guarded by MembersMutex
};
