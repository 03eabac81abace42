#include "media/threadroom.h"

#include <future>
#include <system_error>
#include <thread>
#include <vector>

bool HasRoomForThreads()
{
    constexpr int Count = 8;
    std::promise<void> allTried;
    const std::shared_future<void> end = allTried.get_future().share();
    std::vector<std::thread> threads;
    bool bStarted = true;
    try
    {
        for (int i = 0; i < Count; ++i)
        {
            threads.emplace_back([end] { end.wait(); });
        }
    }
    catch (const std::system_error&)
    {
        bStarted = false;
    }
    allTried.set_value();
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    return bStarted;
}
