#pragma once

#include <cstdint>
#include <functional>

using JobId = std::uint64_t;

class JobSystem
{
public:
    bool IsRunning() const;
    JobId Enqueue(std::function<void()> Job, const char* Label);
    void EnqueueMainThread(std::function<void()> Job);
};
