#include "base/log.h"

#include "support/recordedlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::SizeIs;

TEST(Log, WritesToStandardErrorWithoutASink)
{
    testing::internal::CaptureStderr();
    LogError("first %s %n");
    LogError("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "movane: first %s %n\nmovane: \n");
}

TEST(Log, GivesTheLineAsItIsToTheSink)
{
    RecordedLog log;
    testing::internal::CaptureStderr();
    LogError("first %s");
    LogError("");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(log.TakeLines(), ElementsAre("first %s", ""));
}

TEST(Log, ReturnsToStandardErrorForAnEmptySink)
{
    int lineCount = 0;
    SetLogSink([&lineCount](const std::string&) { ++lineCount; });
    SetLogSink({});
    testing::internal::CaptureStderr();
    LogError("again");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "movane: again\n");
    EXPECT_EQ(lineCount, 0);
}

TEST(Log, GivesLinesToTheSinkSetLast)
{
    std::vector<std::string> first;
    std::vector<std::string> second;
    SetLogSink([&first](const std::string& Line) { first.push_back(Line); });
    LogError("one");
    SetLogSink([&second](const std::string& Line) { second.push_back(Line); });
    LogError("two");
    SetLogSink({});
    EXPECT_THAT(first, ElementsAre("one"));
    EXPECT_THAT(second, ElementsAre("two"));
}

TEST(Log, CallsTheSinkOneThreadAtATime)
{
    std::vector<std::string> lines; // without a lock of its own
    SetLogSink([&lines](const std::string& Line) { lines.push_back(Line); });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            []
            {
                for (int k = 0; k < 250; ++k)
                {
                    LogError("line");
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    SetLogSink({});
    EXPECT_THAT(lines, SizeIs(1000));
}
} // namespace
