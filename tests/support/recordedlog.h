// Takes the lines of the log while it lives. A line that no test took fails the test at the end.

#pragma once

#include "base/log.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <utility>
#include <vector>

class RecordedLog
{
public:
    RecordedLog()
    {
        SetLogSink(
            [this](const std::string& Line)
            {
                const std::lock_guard lock(LinesMutex);
                Lines.push_back(Line);
            });
    }

    ~RecordedLog()
    {
        SetLogSink({});
        for (const std::string& line : Lines)
        {
            ADD_FAILURE() << "unexpected line in the log: " << line;
        }
    }

    RecordedLog(const RecordedLog&) = delete;
    RecordedLog& operator=(const RecordedLog&) = delete;

    /// The lines since the last call, which count as expected from now on. Any thread.
    std::vector<std::string> TakeLines()
    {
        const std::lock_guard lock(LinesMutex);
        return std::exchange(Lines, {});
    }

private:
    std::mutex LinesMutex;
    std::vector<std::string> Lines; // guarded by LinesMutex
};
