// Worker threads for jobs that take long, and the way back to the UI thread.
//
// Jobs run first in first out. Callbacks posted with EnqueueMainThread run on the thread that calls
// PumpMainThread, which is the UI thread. A job that throws ends neither its worker nor the program:
// the failure is logged and announced through JobFailed.
//
// The rule for stopping: Stop takes no further job, waits for running jobs, and drops those that have not begun.
// No callback is lost by it: callbacks posted before, and by the last jobs, run in the next pumps. Callbacks that
// still wait when the object is destroyed are destroyed with it and do not run.

#pragma once

#include "host/signal.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/// Number of a job, counting from 1; 0 for a job that was refused.
using JobId = std::uint64_t;

class JobSystem
{
public:
    /// What became of a job that threw.
    struct Failure
    {
        JobId Id = 0;
        std::string Label;
        std::string Text; ///< what() of the exception
    };

    /// Starts WorkerCount workers (at least one).
    explicit JobSystem(unsigned WorkerCount = 1);
    /// Stops and joins; see the rule above.
    ~JobSystem();
    JobSystem(const JobSystem&) = delete;
    JobSystem& operator=(const JobSystem&) = delete;

    /// Queues a job and returns its number, 0 when the system is not running. Label names the job in
    /// the log and is copied. Any thread.
    JobId Enqueue(std::function<void()> Job, const char* Label);

    /// Posts a callback for the UI thread, also while the system stops and after that. Any thread.
    void EnqueueMainThread(std::function<void()> Job);

    /// Runs the waiting callbacks in the order of posting. Callbacks posted meanwhile run in the next pump. When
    /// a callback throws, the exception leaves the pump and the callbacks after it wait for the next pump. UI
    /// thread only.
    void PumpMainThread();

    /// True from the making until Stop is called. Any thread.
    bool IsRunning() const;

    /// Stops by the rule above; a second call does nothing. UI thread only, never from a job.
    void Stop();

    /// Sets the function that wakes a sleeping event loop. It is called on the posting thread after each
    /// EnqueueMainThread; it must be quick, not throw, and not call the job system. An empty function unsets it.
    /// On return the earlier function is no longer running. Any thread.
    void SetWakeUp(std::function<void()> NewWakeUp);

    /// Emitted on the UI thread, in a pump, for each job that threw.
    Signal<Failure> JobFailed;

private:
    struct QueuedJob
    {
        JobId Id = 0;
        std::function<void()> Run;
        std::string Label;
    };

    struct MainThreadJob
    {
        std::uint64_t Number = 0; ///< counting from 1
        std::function<void()> Run;
    };

    std::optional<std::function<void()>> TakeMainThreadJob(std::uint64_t LastNumber);
    void Work();
    void RunJob(const QueuedJob& Job);
    void ReportFailure(const QueuedJob& Job, const char* Text);

    mutable std::mutex QueueMutex;
    std::condition_variable JobWaits;
    // -- Guarded by QueueMutex.
    std::deque<QueuedJob> Jobs;
    std::deque<MainThreadJob> MainThreadJobs;
    std::uint64_t LastMainThreadJob = 0;
    JobId LastJobId = 0;
    bool bRunning = true;

    std::mutex WakeUpMutex;
    // -- Guarded by WakeUpMutex, which is never held together with QueueMutex.
    std::function<void()> WakeUp;

    // -- UI thread only.
    std::vector<std::thread> Workers;
};
