// Something that happens once, on one thread, and that another waits for with a deadline.

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

class ThreadEvent
{
public:
    void Set()
    {
        // Notified under the lock: the waiter may destroy the event as soon as it has seen it.
        const std::lock_guard lock(EventMutex);
        bSet = true;
        Happened.notify_all();
    }

    /// True once the event has happened, false when half a minute has passed without it.
    [[nodiscard]] bool Wait()
    {
        std::unique_lock lock(EventMutex);
        return Happened.wait_for(lock, std::chrono::seconds(30), [this] { return bSet; });
    }

    bool IsSet()
    {
        const std::lock_guard lock(EventMutex);
        return bSet;
    }

private:
    std::mutex EventMutex;
    std::condition_variable Happened;
    bool bSet = false; // guarded by EventMutex
};
