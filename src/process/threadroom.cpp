#include "process/threadroom.h"

#include <atomic>
#include <exception>
#include <thread>
#include <vector>

bool HasRoomForThreads()
{
    constexpr int Count = 8;
    std::atomic<bool> bAllTried = false;
    std::vector<std::thread> threads;
    bool bStarted = true;
    try
    {
        threads.reserve(Count); // or growing fails while threads stand
        for (int i = 0; i < Count; ++i)
        {
            threads.emplace_back([&bAllTried] { bAllTried.wait(false); });
        }
    }
    catch (const std::exception&) // of the system's limits, or of memory
    {
        bStarted = false;
    }
    bAllTried = true;
    bAllTried.notify_all();
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    return bStarted;
}

std::string NoRoomForThreads(const std::string& Failure)
{
    return Failure +
           ", there are too many processes or too little memory: end some programs and try again.";
}
