// The host in somebody else's program: runs a job and prints what it has posted.

#include "host/jobsystem.h"

#include <condition_variable>
#include <iostream>
#include <mutex>

int main()
{
    std::mutex wakeUpMutex;
    std::condition_variable wokenUp;
    bool bWokenUp = false;
    JobSystem jobs;
    jobs.SetWakeUp(
        [&]
        {
            const std::lock_guard lock(wakeUpMutex);
            bWokenUp = true;
            wokenUp.notify_one();
        });
    jobs.Enqueue([&jobs] { jobs.EnqueueMainThread([] { std::cout << "posted by a job\n"; }); },
                 "greeting");
    {
        std::unique_lock lock(wakeUpMutex);
        wokenUp.wait(lock, [&] { return bWokenUp; });
    }
    jobs.PumpMainThread();
    return 0;
}
