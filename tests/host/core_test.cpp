#include "host/core.h"

#include "host/ttf.h"
#include "support/threadevent.h"
#include "support/watchedwindow.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{
TEST(Core, IsNotThereBeforeItIsMade)
{
    EXPECT_EQ(p, nullptr);
}

TEST(Core, HoldsNothingAtFirst)
{
    const Core core;
    EXPECT_EQ(core.pMovane, nullptr);
    EXPECT_EQ(core.pRend, nullptr);
    EXPECT_EQ(core.pCoreSDL, nullptr);
    EXPECT_EQ(core.pJobSystem, nullptr);
}

TEST(Core, StopsItsJobsWhileEverythingElseStillStands)
{
    ThreadEvent begun;
    bool bWindowGone = false;
    bool bJobSawWindowGone = true;
    {
        Core core;
        core.pMovane = std::make_unique<Movane>();
        core.pMovane->AddWindow(3, std::make_unique<WatchedWindow>(bWindowGone));
        core.pJobSystem = std::make_unique<JobSystem>();
        JobSystem* const jobs = core.pJobSystem.get();
        jobs->Enqueue(
            [&, jobs]
            {
                begun.Set();
                while (jobs->IsRunning()) // until the end of the core has begun
                {
                    std::this_thread::yield();
                }
                bJobSawWindowGone = bWindowGone;
            },
            "last job");
        EXPECT_TRUE(begun.Wait()); // or the stop drops the job
    }
    EXPECT_TRUE(bWindowGone);
    EXPECT_FALSE(bJobSawWindowGone);
}

TEST(Core, GivesTheLayoutAFontlessRendererAndASurface)
{
    const Rend rend;
    EXPECT_EQ(rend.pTTF, nullptr);
    EXPECT_GT(rend.FontSmallPx, 0);
    const CoreSDL surface;
    EXPECT_GT(surface.Width, 0);
    EXPECT_GT(surface.Height, 0);
}

TEST(Ttf, TakesSixTenthsOfTheTextSizeForACell)
{
    struct Case
    {
        int Px;
        int ExpectedPx;
    };
    TTF font;
    for (const Case& one : {Case{0, 0}, Case{1, 1}, Case{8, 5}, Case{10, 6}, Case{13, 8},
                            Case{14, 8}, Case{220, 132}})
    {
        EXPECT_EQ(font.GetCellWidth(one.Px), one.ExpectedPx) << one.Px;
    }
}
} // namespace
