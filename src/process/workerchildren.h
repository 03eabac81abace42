// The child processes of this process's worker threads, and their descendants.
//
// Children of the main thread (a file manager, say) never count. The kernel lists the children of each thread
// (proc(5), /proc/PID/task/TID/children). Each process is held by a descriptor, so that a reused process number
// never means another process. Any thread.

#pragma once

#include "base/uniquefd.h"

#include <map>
#include <mutex>

#include <sys/types.h>

class WorkerChildren
{
public:
    /// Adds the processes that exist now. Those found before stay, even after their parent has ended.
    void Collect();
    void Clear();
    bool IsEmpty() const;

    /// Sends a signal to each running one.
    void Signal(int Number) const;
    /// Kills all at once.
    void Kill();
    /// True while one of them runs.
    bool IsRunning() const;

private:
    void AddBelow(pid_t Pid, pid_t Thread);

    mutable std::mutex MembersMutex;
    std::map<pid_t, UniqueFd> Members; ///< guarded by MembersMutex
};
