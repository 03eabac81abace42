// Worker threads for jobs that take long, and the way back to the UI thread.
//
// Jobs run first in first out. Callbacks posted with EnqueueMainThread run on the thread that calls
// PumpMainThread, which is the UI thread. A job that throws ends neither its worker nor the program:
// the failure is logged and announced through JobFailed.
//
// The rule for stopping: Stop takes no further job, waits for the ones that run, and drops the ones
// that have not begun. Callbacks are never lost by it: those that were posted before and those that
// the last jobs post run in the next pumps; only what is still waiting when the object is destroyed
// goes with it, without being run.

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

/// Number of a job, counting from 1; 0 stands for a job that was not taken.
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

    /// Posts a callback for the UI thread. It is taken also while the system stops and after that.
    /// Any thread.
    void EnqueueMainThread(std::function<void()> Job);

    /// Runs the callbacks that wait, in the order of posting; one that is posted meanwhile runs in the
    /// next pump. An exception of a callback leaves the pump, and the callbacks behind it stay for the
    /// next one. UI thread only.
    void PumpMainThread();

    /// True from the making until Stop is called. Any thread.
    bool IsRunning() const;

    /// Stops by the rule above; a second call does nothing. UI thread only, never from a job.
    void Stop();

    /// Sets what is called, on the posting thread, after each EnqueueMainThread: it wakes an event loop
    /// that sleeps. It must be quick, and neither throw nor call back into the job system. An empty
    /// function takes it away, and on return the earlier one is no longer running. Any thread.
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
