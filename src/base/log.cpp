#include "base/log.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace
{
std::mutex sinkMutex;
std::function<void(const std::string&)> sink; // guarded by sinkMutex
} // namespace

void LogError(const std::string& Line)
{
    const std::lock_guard lock(sinkMutex);
    if (sink)
    {
        sink(Line);
        return;
    }
    std::fputs(("movane: " + Line + "\n").c_str(), stderr);
}

void SetLogSink(std::function<void(const std::string& Line)> NewSink)
{
    const std::lock_guard lock(sinkMutex);
    sink = std::move(NewSink);
}
