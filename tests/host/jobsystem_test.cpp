#include "host/jobsystem.h"

#include "support/recordedlog.h"
#include "support/threadevent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace
{
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Waits until a system with one worker has done everything that was queued before.
[[nodiscard]] bool Settle(JobSystem& Jobs)
{
    ThreadEvent done;
    return Jobs.Enqueue([&done] { done.Set(); }, "settle") != 0 && done.Wait();
}

/// Keeps a job running until the system stops, or half a minute has passed.
void WaitForStop(const JobSystem& Jobs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (Jobs.IsRunning() && std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::yield();
    }
}

/// Calls a function when the last copy of a capture goes.
std::shared_ptr<int> CallAtEnd(std::function<void()> AtEnd)
{
    return {new int(0), [atEnd = std::move(AtEnd)](int* pNumber)
            {
                delete pNumber;
                atEnd();
            }};
}

// -- Jobs

TEST(JobSystem, IsRunningFromItsMaking)
{
    const JobSystem jobs;
    EXPECT_TRUE(jobs.IsRunning());
}

TEST(JobSystem, NumbersJobsFromOne)
{
    JobSystem jobs;
    for (JobId expected = 1; expected <= 5; ++expected)
    {
        EXPECT_EQ(jobs.Enqueue([] {}, "job"), expected);
    }
}

TEST(JobSystem, RunsJobsInTheOrderOfQueueing)
{
    JobSystem jobs;
    std::vector<int> order;
    for (int i = 0; i < 100; ++i)
    {
        jobs.Enqueue([&order, i] { order.push_back(i); }, "job");
    }
    ASSERT_TRUE(Settle(jobs));
    ASSERT_THAT(order, SizeIs(100));
    for (int i = 0; i < 100; ++i)
    {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(JobSystem, RunsJobsOnAThreadOfItsOwn)
{
    JobSystem jobs;
    std::thread::id jobThread;
    jobs.Enqueue([&jobThread] { jobThread = std::this_thread::get_id(); }, "job");
    ASSERT_TRUE(Settle(jobs));
    EXPECT_NE(jobThread, std::thread::id());
    EXPECT_NE(jobThread, std::this_thread::get_id());
}

TEST(JobSystem, RunsAsManyJobsAtOnceAsItHasWorkers)
{
    for (const unsigned workerCount : {2U, 4U})
    {
        JobSystem jobs(workerCount);
        std::atomic<unsigned> meetingCount{0};
        ThreadEvent allMet;
        std::atomic<unsigned> metCount{0};
        std::vector<ThreadEvent> done(workerCount);
        for (unsigned i = 0; i < workerCount; ++i)
        {
            jobs.Enqueue(
                [&, i]
                {
                    if (++meetingCount == workerCount)
                    {
                        allMet.Set();
                    }
                    metCount += allMet.Wait() ? 1U : 0U;
                    done[i].Set();
                },
                "meeting");
        }
        for (ThreadEvent& one : done)
        {
            ASSERT_TRUE(one.Wait());
        }
        EXPECT_EQ(metCount, workerCount);
    }
}

TEST(JobSystem, HasAWorkerAlsoWhenNoneIsAskedFor)
{
    JobSystem jobs(0);
    EXPECT_TRUE(jobs.IsRunning());
    EXPECT_TRUE(Settle(jobs));
}

// Under a sanitizer each thread takes memory of the sanitizer's own, which must not fail.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(JobSystem, IsNotMadeWithFewerWorkersThanAskedFor)
{
    rlimit earlier = {};
    getrlimit(RLIMIT_AS, &earlier);
    std::ifstream statm("/proc/self/statm");
    rlim_t pages = 0;
    statm >> pages;
    // Enough for a stack or two more, and for those that ended threads have left.
    const rlimit limit = {pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (20U << 20U),
                          earlier.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &limit), 0);
    EXPECT_THROW(JobSystem(200), std::system_error);
    setrlimit(RLIMIT_AS, &earlier);
    EXPECT_TRUE(JobSystem(2).IsRunning());
}
#endif

TEST(JobSystem, TakesAJobFromAJob)
{
    JobSystem jobs;
    ThreadEvent done;
    int depth = 0;
    std::function<void()> step = [&]
    {
        if (++depth == 10)
        {
            done.Set();
            return;
        }
        jobs.Enqueue(step, "step");
    };
    jobs.Enqueue(step, "step");
    ASSERT_TRUE(done.Wait());
    EXPECT_EQ(depth, 10);
}

TEST(JobSystem, DestroysWhatAJobCapturedOnceItHasRun)
{
    JobSystem jobs;
    auto capture = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = capture;
    jobs.Enqueue([capture = std::move(capture)] {}, "job");
    ASSERT_TRUE(Settle(jobs));
    EXPECT_TRUE(watch.expired());
}

TEST(JobSystem, LetsWhatAJobCapturedUseTheSystemWhenItGoes)
{
    JobSystem jobs;
    ThreadEvent lastRan;
    JobId lastId = 0;
    auto capture = CallAtEnd(
        [&]
        {
            EXPECT_TRUE(jobs.IsRunning());
            jobs.EnqueueMainThread([] {});
            lastId = jobs.Enqueue([&lastRan] { lastRan.Set(); }, "last");
        });
    jobs.Enqueue([capture = std::move(capture)] {}, "job");
    ASSERT_TRUE(lastRan.Wait());
    EXPECT_EQ(lastId, 2U);
}

// -- Jobs that fail

TEST(JobSystem, LogsAJobThatThrowsWithItsLabelAndText)
{
    RecordedLog log;
    JobSystem jobs;
    jobs.Enqueue([] { throw std::runtime_error("disk full 100%s"); }, "copy \"a\"");
    ASSERT_TRUE(Settle(jobs));
    EXPECT_THAT(log.TakeLines(),
                ElementsAre(AllOf(HasSubstr("copy \"a\""), HasSubstr("disk full 100%s"))));
}

TEST(JobSystem, AnnouncesAJobThatThrowsInAPump)
{
    RecordedLog log;
    JobSystem jobs;
    std::vector<JobSystem::Failure> failures;
    std::thread::id thread;
    jobs.JobFailed.connect(
        [&](JobSystem::Failure One)
        {
            failures.push_back(One);
            thread = std::this_thread::get_id();
        });
    jobs.Enqueue([] {}, "good");
    const JobId id = jobs.Enqueue([] { throw std::runtime_error("disk full"); }, "copy");
    ASSERT_TRUE(Settle(jobs));
    EXPECT_THAT(failures, IsEmpty());
    jobs.PumpMainThread();
    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0].Id, id);
    EXPECT_EQ(failures[0].Label, "copy");
    EXPECT_EQ(failures[0].Text, "disk full");
    EXPECT_EQ(thread, std::this_thread::get_id());
    jobs.PumpMainThread();
    EXPECT_THAT(failures, SizeIs(1));
    EXPECT_THAT(log.TakeLines(), SizeIs(1));
}

TEST(JobSystem, SurvivesWhateverAJobThrows)
{
    struct Case
    {
        const char* Label;
        std::function<void()> Job;
        const char* ExpectedText; ///< null when only its presence counts
    };
    const std::vector<Case> cases = {
        {"number", [] { throw 7; }, "unknown error"},
        {"text", [] { throw "text"; }, "unknown error"},
        {"empty text", [] { throw std::runtime_error(""); }, ""},
        {"memory", [] { throw std::bad_alloc(); }, nullptr},
        {"empty function", {}, nullptr},
    };
    RecordedLog log;
    JobSystem jobs;
    std::vector<JobSystem::Failure> failures;
    jobs.JobFailed.connect([&failures](JobSystem::Failure One) { failures.push_back(One); });
    for (const Case& one : cases)
    {
        jobs.Enqueue(one.Job, one.Label);
    }
    ASSERT_TRUE(Settle(jobs));
    EXPECT_TRUE(jobs.IsRunning());
    jobs.PumpMainThread();
    ASSERT_THAT(failures, SizeIs(cases.size()));
    for (std::size_t i = 0; i < cases.size(); ++i)
    {
        EXPECT_EQ(failures[i].Id, i + 1);
        EXPECT_EQ(failures[i].Label, cases[i].Label);
        if (cases[i].ExpectedText != nullptr)
        {
            EXPECT_EQ(failures[i].Text, cases[i].ExpectedText);
        }
    }
    EXPECT_THAT(log.TakeLines(), SizeIs(cases.size()));
}

TEST(JobSystem, CopiesTheLabel)
{
    RecordedLog log;
    JobSystem jobs;
    ThreadEvent labelGone;
    std::string failedLabel;
    jobs.JobFailed.connect([&](JobSystem::Failure One) { failedLabel = One.Label; });
    std::string label = "copy";
    jobs.Enqueue(
        [&labelGone]
        {
            EXPECT_TRUE(labelGone.Wait());
            throw std::runtime_error("late");
        },
        label.c_str());
    label.replace(0, 4, "xxxx");
    labelGone.Set();
    ASSERT_TRUE(Settle(jobs));
    jobs.PumpMainThread();
    EXPECT_EQ(failedLabel, "copy");
    EXPECT_THAT(log.TakeLines(), SizeIs(1));
}

TEST(JobSystem, TakesANullLabelForAnEmptyOne)
{
    RecordedLog log;
    JobSystem jobs;
    std::vector<std::string> labels;
    jobs.JobFailed.connect([&labels](JobSystem::Failure One) { labels.push_back(One.Label); });
    jobs.Enqueue([] { throw std::runtime_error("text"); }, nullptr);
    ASSERT_TRUE(Settle(jobs));
    jobs.PumpMainThread();
    EXPECT_THAT(labels, ElementsAre(""));
    EXPECT_THAT(log.TakeLines(), SizeIs(1));
}

TEST(JobSystem, WakesTheLoopForAJobThatThrows)
{
    RecordedLog log;
    JobSystem jobs;
    ThreadEvent woken;
    jobs.SetWakeUp([&woken] { woken.Set(); });
    jobs.Enqueue([] { throw std::runtime_error("text"); }, "job");
    EXPECT_TRUE(woken.Wait());
    jobs.Stop();
    EXPECT_THAT(log.TakeLines(), SizeIs(1));
}

TEST(JobSystem, AnnouncesAlsoTheJobThatThrewWhileTheSystemStopped)
{
    RecordedLog log;
    JobSystem jobs;
    ThreadEvent begun;
    std::vector<std::string> texts;
    jobs.JobFailed.connect([&texts](JobSystem::Failure One) { texts.push_back(One.Text); });
    jobs.Enqueue(
        [&]
        {
            begun.Set();
            WaitForStop(jobs);
            throw std::runtime_error("at the end");
        },
        "job");
    ASSERT_TRUE(begun.Wait());
    jobs.Stop();
    jobs.PumpMainThread();
    EXPECT_THAT(texts, ElementsAre("at the end"));
    EXPECT_THAT(log.TakeLines(), SizeIs(1));
}

// -- Callbacks

TEST(JobSystem, PumpsNothingWhenNothingWaits)
{
    JobSystem jobs;
    EXPECT_NO_THROW(jobs.PumpMainThread());
}

TEST(JobSystem, RunsCallbacksInAPumpAloneInTheOrderOfPosting)
{
    JobSystem jobs;
    std::vector<int> order;
    for (int i = 0; i < 3; ++i)
    {
        jobs.EnqueueMainThread([&order, i] { order.push_back(i); });
    }
    ASSERT_TRUE(Settle(jobs));
    EXPECT_THAT(order, IsEmpty());
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre(0, 1, 2));
    jobs.PumpMainThread();
    EXPECT_THAT(order, SizeIs(3));
}

TEST(JobSystem, RunsAJobsCallbackOnTheThreadThatPumps)
{
    JobSystem jobs;
    std::thread::id thread;
    jobs.Enqueue(
        [&] { jobs.EnqueueMainThread([&thread] { thread = std::this_thread::get_id(); }); }, "job");
    ASSERT_TRUE(Settle(jobs));
    jobs.PumpMainThread();
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(JobSystem, RunsACallbackPostedInAPumpInTheNext)
{
    JobSystem jobs;
    std::vector<int> order;
    jobs.EnqueueMainThread(
        [&]
        {
            order.push_back(1);
            jobs.EnqueueMainThread([&order] { order.push_back(3); });
        });
    jobs.EnqueueMainThread([&order] { order.push_back(2); });
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre(1, 2));
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(JobSystem, RunsACallbackThatPostsItselfOnceAPump)
{
    JobSystem jobs;
    int runCount = 0;
    std::function<void()> again = [&]
    {
        ++runCount;
        jobs.EnqueueMainThread(again);
    };
    jobs.EnqueueMainThread(again);
    for (int pumpCount = 1; pumpCount <= 3; ++pumpCount)
    {
        jobs.PumpMainThread();
        EXPECT_EQ(runCount, pumpCount);
    }
}

TEST(JobSystem, RunsEachCallbackOnceWhenACallbackPumps)
{
    JobSystem jobs;
    std::vector<int> order;
    jobs.EnqueueMainThread(
        [&]
        {
            order.push_back(1);
            jobs.PumpMainThread();
            order.push_back(4);
        });
    jobs.EnqueueMainThread([&order] { order.push_back(2); });
    jobs.EnqueueMainThread([&order] { order.push_back(3); });
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre(1, 2, 3, 4));
}

TEST(JobSystem, RunsACallbackPostedInAPumpWithinAPumpInTheNext)
{
    JobSystem jobs;
    std::vector<int> order;
    jobs.EnqueueMainThread(
        [&]
        {
            order.push_back(1);
            jobs.PumpMainThread();
        });
    jobs.EnqueueMainThread(
        [&]
        {
            order.push_back(2);
            jobs.EnqueueMainThread([&order] { order.push_back(3); });
        });
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre(1, 2));
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(JobSystem, KeepsTheCallbacksBehindOneThatThrows)
{
    JobSystem jobs;
    std::vector<int> order;
    jobs.EnqueueMainThread([&order] { order.push_back(1); });
    jobs.EnqueueMainThread([] { throw std::runtime_error("callback"); });
    jobs.EnqueueMainThread([&order] { order.push_back(3); });
    EXPECT_THROW(jobs.PumpMainThread(), std::runtime_error);
    EXPECT_THAT(order, ElementsAre(1));
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre(1, 3));
    jobs.PumpMainThread();
    EXPECT_THAT(order, SizeIs(2));
}

TEST(JobSystem, DestroysWhatACallbackCapturedBeforeTheNextOneRuns)
{
    JobSystem jobs;
    auto capture = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = capture;
    bool bGone = false;
    jobs.EnqueueMainThread([capture = std::move(capture)] {});
    jobs.EnqueueMainThread([&] { bGone = watch.expired(); });
    jobs.PumpMainThread();
    EXPECT_TRUE(bGone);
}

TEST(JobSystem, LetsWhatACallbackCapturedPostWhenItGoes)
{
    JobSystem jobs;
    int runCount = 0;
    auto capture = CallAtEnd([&] { jobs.EnqueueMainThread([&runCount] { ++runCount; }); });
    jobs.EnqueueMainThread([capture = std::move(capture)] {});
    jobs.PumpMainThread();
    EXPECT_EQ(runCount, 0);
    jobs.PumpMainThread();
    EXPECT_EQ(runCount, 1);
}

// -- The wake-up

TEST(JobSystem, CallsTheWakeUpForEachCallbackOnThePostingThread)
{
    JobSystem jobs;
    std::vector<std::thread::id> threads;
    jobs.SetWakeUp([&threads] { threads.push_back(std::this_thread::get_id()); });
    jobs.EnqueueMainThread([] {});
    jobs.EnqueueMainThread([] {});
    EXPECT_THAT(threads, ElementsAre(std::this_thread::get_id(), std::this_thread::get_id()));
    threads.clear();

    std::thread::id worker;
    jobs.Enqueue(
        [&]
        {
            worker = std::this_thread::get_id();
            jobs.EnqueueMainThread([] {});
        },
        "job");
    ASSERT_TRUE(Settle(jobs));
    EXPECT_THAT(threads, ElementsAre(worker));
}

TEST(JobSystem, WakesTheLoopWhenTheCallbackIsThereToRun)
{
    JobSystem jobs;
    for (int i = 0; i < 100; ++i)
    {
        ThreadEvent woken;
        jobs.SetWakeUp([&woken] { woken.Set(); });
        bool bRan = false;
        jobs.Enqueue([&] { jobs.EnqueueMainThread([&bRan] { bRan = true; }); }, "job");
        ASSERT_TRUE(woken.Wait());
        jobs.PumpMainThread();
        EXPECT_TRUE(bRan);
        jobs.SetWakeUp({});
    }
}

TEST(JobSystem, WakesNobodyForAJobThatPostsNothing)
{
    JobSystem jobs;
    std::atomic<int> wakeCount{0};
    jobs.SetWakeUp([&wakeCount] { ++wakeCount; });
    ASSERT_TRUE(Settle(jobs));
    EXPECT_EQ(wakeCount, 0);
}

TEST(JobSystem, CallsAWakeUpNoMoreOnceItIsTakenAway)
{
    JobSystem jobs;
    int wakeCount = 0;
    jobs.SetWakeUp([&wakeCount] { ++wakeCount; });
    jobs.SetWakeUp({});
    jobs.EnqueueMainThread([] {});
    EXPECT_EQ(wakeCount, 0);
}

TEST(JobSystem, WaitsForARunningWakeUpBeforeItIsTakenAway)
{
    JobSystem jobs;
    ThreadEvent entered;
    std::atomic<bool> bLeft{false};
    jobs.SetWakeUp(
        [&]
        {
            entered.Set();
            for (int i = 0; i < 1000; ++i) // long enough to be overtaken by a taking away
            {
                std::this_thread::yield();
            }
            bLeft = true;
        });
    jobs.Enqueue([&jobs] { jobs.EnqueueMainThread([] {}); }, "job");
    ASSERT_TRUE(entered.Wait());
    jobs.SetWakeUp({});
    EXPECT_TRUE(bLeft);
}

// -- Stopping

TEST(JobSystem, StopsWithoutAnyJob)
{
    JobSystem jobs(3);
    jobs.Stop();
    EXPECT_FALSE(jobs.IsRunning());
}

TEST(JobSystem, StopsOnceAndForAll)
{
    JobSystem jobs;
    jobs.Stop();
    jobs.Stop();
    EXPECT_FALSE(jobs.IsRunning());
}

TEST(JobSystem, TakesNoJobAfterStop)
{
    JobSystem jobs;
    ASSERT_TRUE(Settle(jobs));
    jobs.Stop();
    bool bRan = false;
    auto capture = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = capture;
    EXPECT_EQ(jobs.Enqueue([&bRan, capture = std::move(capture)] { bRan = true; }, "late"), 0U);
    EXPECT_TRUE(watch.expired());
    EXPECT_FALSE(bRan);
}

TEST(JobSystem, LetsWhatARefusedJobCapturedUseTheSystemWhenItGoes)
{
    JobSystem jobs;
    jobs.Stop();
    bool bPosted = false;
    auto capture = CallAtEnd(
        [&]
        {
            EXPECT_FALSE(jobs.IsRunning());
            jobs.EnqueueMainThread([&bPosted] { bPosted = true; });
        });
    EXPECT_EQ(jobs.Enqueue([capture = std::move(capture)] {}, "late"), 0U);
    jobs.PumpMainThread();
    EXPECT_TRUE(bPosted);
}

TEST(JobSystem, WaitsForTheRunningJobs)
{
    JobSystem jobs(3);
    std::vector<ThreadEvent> begun(3);
    std::atomic<int> finishedCount{0};
    for (ThreadEvent& one : begun)
    {
        jobs.Enqueue(
            [&]
            {
                one.Set();
                WaitForStop(jobs);
                ++finishedCount;
            },
            "running");
    }
    for (ThreadEvent& one : begun)
    {
        ASSERT_TRUE(one.Wait());
    }
    jobs.Stop();
    EXPECT_EQ(finishedCount, 3);
}

TEST(JobSystem, DropsTheJobsThatHaveNotBegun)
{
    JobSystem jobs;
    ThreadEvent begun;
    bool bRan = false;
    auto capture = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = capture;
    jobs.Enqueue(
        [&]
        {
            begun.Set();
            WaitForStop(jobs);
        },
        "running");
    jobs.Enqueue([&bRan, capture = std::move(capture)] { bRan = true; }, "waiting");
    ASSERT_TRUE(begun.Wait());
    jobs.Stop();
    EXPECT_FALSE(bRan);
    EXPECT_TRUE(watch.expired());
}

TEST(JobSystem, LetsWhatADroppedJobCapturedUseTheSystemWhenItGoes)
{
    JobSystem jobs;
    ThreadEvent begun;
    bool bPosted = false;
    jobs.Enqueue(
        [&]
        {
            begun.Set();
            WaitForStop(jobs);
        },
        "running");
    auto capture = CallAtEnd(
        [&]
        {
            EXPECT_EQ(jobs.Enqueue([] {}, "late"), 0U);
            jobs.EnqueueMainThread([&bPosted] { bPosted = true; });
        });
    jobs.Enqueue([capture = std::move(capture)] {}, "waiting");
    ASSERT_TRUE(begun.Wait());
    jobs.Stop();
    jobs.PumpMainThread();
    EXPECT_TRUE(bPosted);
}

TEST(JobSystem, TakesNoJobFromAJobWhileItStops)
{
    JobSystem jobs;
    ThreadEvent begun;
    JobId id = 99;
    jobs.Enqueue(
        [&]
        {
            begun.Set();
            WaitForStop(jobs);
            id = jobs.Enqueue([] { ADD_FAILURE() << "a late job ran"; }, "late");
        },
        "running");
    ASSERT_TRUE(begun.Wait());
    jobs.Stop();
    EXPECT_EQ(id, 0U);
}

TEST(JobSystem, KeepsTheCallbacksOfBeforeWhileAndAfterStop)
{
    JobSystem jobs;
    ThreadEvent begun;
    std::vector<std::string> order;
    jobs.EnqueueMainThread([&order] { order.emplace_back("before"); });
    jobs.Enqueue(
        [&]
        {
            begun.Set();
            WaitForStop(jobs);
            jobs.EnqueueMainThread([&order] { order.emplace_back("while"); });
        },
        "running");
    ASSERT_TRUE(begun.Wait());
    jobs.Stop();
    jobs.EnqueueMainThread([&order] { order.emplace_back("after"); });
    EXPECT_THAT(order, IsEmpty());
    jobs.PumpMainThread();
    EXPECT_THAT(order, ElementsAre("before", "while", "after"));
}

TEST(JobSystem, StopsInACallback)
{
    JobSystem jobs;
    std::vector<int> order;
    jobs.EnqueueMainThread(
        [&]
        {
            jobs.Stop();
            order.push_back(1);
        });
    jobs.EnqueueMainThread([&order] { order.push_back(2); });
    jobs.PumpMainThread();
    EXPECT_FALSE(jobs.IsRunning());
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(JobSystem, StopsAndWaitsWhenItIsDestroyed)
{
    ThreadEvent begun;
    bool bFinished = false;
    {
        JobSystem jobs;
        jobs.Enqueue(
            [&]
            {
                begun.Set();
                WaitForStop(jobs);
                bFinished = true;
            },
            "running");
        ASSERT_TRUE(begun.Wait());
    }
    EXPECT_TRUE(bFinished);
}

TEST(JobSystem, DropsWaitingCallbacksOnlyWhenItIsDestroyed)
{
    bool bRan = false;
    auto capture = std::make_shared<int>(0);
    const std::weak_ptr<int> watch = capture;
    {
        JobSystem jobs;
        jobs.EnqueueMainThread([&bRan, capture = std::move(capture)] { bRan = true; });
        jobs.Stop();
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_FALSE(bRan);
    EXPECT_TRUE(watch.expired());
}

// -- Many threads

TEST(JobSystem, RunsEveryJobAndCallbackOfManyThreadsOnce)
{
    constexpr std::size_t ThreadCount = 8;
    constexpr std::size_t PerThreadCount = 200;
    JobSystem jobs(3);
    std::atomic<std::size_t> jobRunCount{0};
    std::vector<std::vector<std::size_t>> callbacks(ThreadCount); // of the pumping thread alone
    std::vector<std::vector<JobId>> ids(ThreadCount);
    std::size_t callbackCount = 0;

    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < ThreadCount; ++t)
    {
        threads.emplace_back(
            [&, t]
            {
                for (std::size_t i = 0; i < PerThreadCount; ++i)
                {
                    ids[t].push_back(jobs.Enqueue(
                        [&]
                        {
                            ++jobRunCount;
                            jobs.EnqueueMainThread([&callbackCount] { ++callbackCount; });
                        },
                        "job"));
                    jobs.EnqueueMainThread([&callbacks, t, i] { callbacks[t].push_back(i); });
                }
            });
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(50);
    while (callbackCount < ThreadCount * PerThreadCount &&
           std::chrono::steady_clock::now() < deadline)
    {
        jobs.PumpMainThread();
        std::this_thread::yield();
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    jobs.Stop();
    jobs.PumpMainThread();

    EXPECT_EQ(jobRunCount, ThreadCount * PerThreadCount);
    EXPECT_EQ(callbackCount, ThreadCount * PerThreadCount);
    std::set<JobId> allIds;
    for (std::size_t t = 0; t < ThreadCount; ++t)
    {
        allIds.insert(ids[t].begin(), ids[t].end());
        ASSERT_THAT(callbacks[t], SizeIs(PerThreadCount));
        for (std::size_t i = 0; i < PerThreadCount; ++i)
        {
            EXPECT_EQ(callbacks[t][i], i); // each thread's own, in its order
        }
    }
    EXPECT_THAT(allIds, SizeIs(ThreadCount * PerThreadCount));
    EXPECT_EQ(*allIds.begin(), 1U);
    EXPECT_EQ(*allIds.rbegin(), ThreadCount * PerThreadCount);
}

TEST(JobSystem, StopsWhileManyThreadsPost)
{
    for (int round = 0; round < 20; ++round)
    {
        JobSystem jobs(2);
        std::atomic<int> takenCount{0};
        std::atomic<int> runCount{0};
        ThreadEvent someTaken;
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
        {
            threads.emplace_back(
                [&]
                {
                    while (jobs.Enqueue([&runCount] { ++runCount; }, "job") != 0)
                    {
                        jobs.EnqueueMainThread([] {});
                        if (++takenCount == 10)
                        {
                            someTaken.Set();
                        }
                    }
                });
        }
        EXPECT_TRUE(someTaken.Wait());
        jobs.Stop();
        const int runAtStopCount = runCount;
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        EXPECT_EQ(runCount, runAtStopCount); // nothing ran after Stop had returned
        EXPECT_LE(runCount, takenCount);
    }
}
} // namespace
