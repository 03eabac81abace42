#include "host/jobsystem.h"

#include "base/log.h"

#include <algorithm>
#include <exception>
#include <utility>

JobSystem::JobSystem(unsigned WorkerCount)
{
    const unsigned count = std::max(WorkerCount, 1U);
    Workers.reserve(count);
    try
    {
        for (unsigned i = 0; i < count; ++i)
        {
            Workers.emplace_back([this] { Work(); });
        }
    }
    catch (...)
    {
        Stop(); // joins the workers that did start
        throw;
    }
}

JobSystem::~JobSystem()
{
    Stop();
    SetWakeUp({});
    // Destroying a callback may post another one, so destroy them while the queue still exists.
    for (;;)
    {
        std::deque<MainThreadJob> dropped;
        {
            const std::lock_guard lock(QueueMutex);
            dropped.swap(MainThreadJobs);
        }
        if (dropped.empty())
        {
            return;
        }
    }
}

JobId JobSystem::Enqueue(std::function<void()> Job, const char* Label)
{
    JobId id = 0;
    {
        const std::lock_guard lock(QueueMutex);
        if (!bRunning)
        {
            return 0;
        }
        id = ++LastJobId;
        Jobs.push_back({id, std::move(Job), Label == nullptr ? "" : Label});
    }
    JobWaits.notify_one();
    return id;
}

void JobSystem::EnqueueMainThread(std::function<void()> Job)
{
    {
        const std::lock_guard lock(QueueMutex);
        MainThreadJobs.push_back({++LastMainThreadJob, std::move(Job)});
    }
    const std::lock_guard lock(WakeUpMutex);
    if (WakeUp)
    {
        WakeUp();
    }
}

void JobSystem::PumpMainThread()
{
    std::uint64_t lastOfThisPump = 0;
    {
        const std::lock_guard lock(QueueMutex);
        lastOfThisPump = LastMainThreadJob;
    }
    // Compare numbers, not counts: a callback may pump, too.
    while (const std::optional<std::function<void()>> job = TakeMainThreadJob(lastOfThisPump))
    {
        (*job)();
    }
}

std::optional<std::function<void()>> JobSystem::TakeMainThreadJob(std::uint64_t LastNumber)
{
    const std::lock_guard lock(QueueMutex);
    if (MainThreadJobs.empty() || MainThreadJobs.front().Number > LastNumber)
    {
        return std::nullopt;
    }
    std::function<void()> job = std::move(MainThreadJobs.front().Run);
    MainThreadJobs.pop_front();
    return job;
}

bool JobSystem::IsRunning() const
{
    const std::lock_guard lock(QueueMutex);
    return bRunning;
}

void JobSystem::Stop()
{
    std::deque<QueuedJob> dropped;
    {
        const std::lock_guard lock(QueueMutex);
        bRunning = false;
        // Destroy the job outside the lock: destructors of its captures may call anything.
        dropped.swap(Jobs);
    }
    JobWaits.notify_all();
    for (std::thread& worker : Workers)
    {
        worker.join();
    }
    Workers.clear();
}

void JobSystem::SetWakeUp(std::function<void()> NewWakeUp)
{
    const std::lock_guard lock(WakeUpMutex);
    WakeUp = std::move(NewWakeUp);
}

void JobSystem::Work()
{
    for (;;)
    {
        QueuedJob job;
        {
            std::unique_lock lock(QueueMutex);
            JobWaits.wait(lock, [this] { return !bRunning || !Jobs.empty(); });
            if (!bRunning)
            {
                return;
            }
            job = std::move(Jobs.front());
            Jobs.pop_front();
        }
        RunJob(job);
    }
}

void JobSystem::RunJob(const QueuedJob& Job)
{
    try
    {
        Job.Run();
    }
    catch (const std::exception& error)
    {
        ReportFailure(Job, error.what());
    }
    catch (...)
    {
        ReportFailure(Job, "unknown error");
    }
}

void JobSystem::ReportFailure(const QueuedJob& Job, const char* Text)
{
    try
    {
        LogError("The job \"" + Job.Label + "\" failed: " + Text);
        EnqueueMainThread([this, failure = Failure{Job.Id, Job.Label, Text}]
                          { JobFailed.emit(failure); });
    }
    catch (...)
    {
        // Out of memory even for a log line: go on without one instead of ending the program.
    }
}
