#include "host/movane.h"

#include "host/mvvideowindow.h"
#include "support/watchedwindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned long MaxWindowID = std::numeric_limits<unsigned long>::max();

TEST(Movane, HasNoWindowsAtFirst)
{
    Movane movane;
    EXPECT_THAT(movane.WindowIDs, IsEmpty());
    for (const unsigned long windowID : {0UL, 1UL, Movane::FirstVideoWindowID, MaxWindowID})
    {
        EXPECT_EQ(movane.GetWindow(windowID), nullptr) << windowID;
    }
}

TEST(Movane, FindsAnAddedWindowUnderItsID)
{
    for (const unsigned long windowID : {0UL, 1UL, 3UL, MaxWindowID - 1, MaxWindowID})
    {
        Movane movane;
        auto window = std::make_unique<MvWindow>();
        MvWindow* const expected = window.get();
        EXPECT_EQ(movane.AddWindow(windowID, std::move(window)), expected);
        EXPECT_EQ(movane.GetWindow(windowID), expected) << windowID;
        EXPECT_EQ(movane.GetWindow(windowID + 1), nullptr) << windowID;
    }
}

TEST(Movane, ListsWindowIDsInTheOrderOfAdding)
{
    Movane movane;
    for (const unsigned long windowID : {7UL, 3UL, MaxWindowID, 0UL})
    {
        movane.AddWindow(windowID, std::make_unique<MvWindow>());
    }
    EXPECT_THAT(movane.WindowIDs, ElementsAre(7UL, 3UL, MaxWindowID, 0UL));
}

TEST(Movane, RefusesATakenIDAndKeepsTheEarlierWindow)
{
    Movane movane;
    MvWindow* const first = movane.AddWindow(3, std::make_unique<MvWindow>());
    EXPECT_EQ(movane.AddWindow(3, std::make_unique<MvWindow>()), nullptr);
    EXPECT_EQ(movane.GetWindow(3), first);
    EXPECT_THAT(movane.WindowIDs, ElementsAre(3UL));
}

TEST(Movane, RefusesANullWindowAndLeavesItsIDFree)
{
    Movane movane;
    EXPECT_EQ(movane.AddWindow(3, nullptr), nullptr);
    EXPECT_THAT(movane.WindowIDs, IsEmpty());
    EXPECT_NE(movane.AddWindow(3, std::make_unique<MvWindow>()), nullptr);
}

TEST(Movane, DestroysARemovedWindowAndKeepsTheOrderOfTheOthers)
{
    Movane movane;
    bool bGone = false;
    movane.AddWindow(1, std::make_unique<MvWindow>());
    movane.AddWindow(2, std::make_unique<WatchedWindow>(bGone));
    movane.AddWindow(3, std::make_unique<MvWindow>());
    movane.RemoveWindow(2);
    EXPECT_TRUE(bGone);
    EXPECT_EQ(movane.GetWindow(2), nullptr);
    EXPECT_THAT(movane.WindowIDs, ElementsAre(1UL, 3UL));
}

TEST(Movane, FreesTheIDOfARemovedWindow)
{
    Movane movane;
    movane.AddWindow(1, std::make_unique<MvWindow>());
    movane.AddWindow(2, std::make_unique<MvWindow>());
    movane.RemoveWindow(1);
    EXPECT_NE(movane.AddWindow(1, std::make_unique<MvWindow>()), nullptr);
    EXPECT_THAT(movane.WindowIDs, ElementsAre(2UL, 1UL));
}

TEST(Movane, RemovesNothingForAnUnknownID)
{
    Movane movane;
    MvWindow* const window = movane.AddWindow(1, std::make_unique<MvWindow>());
    movane.RemoveWindow(0);
    movane.RemoveWindow(MaxWindowID);
    EXPECT_EQ(movane.GetWindow(1), window);
    EXPECT_THAT(movane.WindowIDs, ElementsAre(1UL));
}

TEST(Movane, DestroysItsWindowsWithItself)
{
    bool bGone = false;
    {
        Movane movane;
        movane.AddWindow(1, std::make_unique<WatchedWindow>(bGone));
        EXPECT_FALSE(bGone);
    }
    EXPECT_TRUE(bGone);
}

TEST(Movane, GivesAWindowAsWhatItIs)
{
    Movane movane;
    MvWindow* const window = movane.AddWindow(3, std::make_unique<MvVideoWindow>());
    EXPECT_EQ(movane.GetWindowAs<MvVideoWindow>(3), window);
    EXPECT_EQ(movane.GetWindowAs<MvWindow>(3), window);
}

TEST(Movane, GivesNullForAWindowOfAnotherKindOrNone)
{
    Movane movane;
    movane.AddWindow(1, std::make_unique<MvWindow>());
    EXPECT_EQ(movane.GetWindowAs<MvVideoWindow>(1), nullptr);
    EXPECT_EQ(movane.GetWindowAs<MvVideoWindow>(2), nullptr);
}

TEST(Movane, NumbersTheNotificationTypesFromInfoToError)
{
    EXPECT_EQ(static_cast<int>(Movane::NotificationInfo), 0);
    EXPECT_EQ(static_cast<int>(Movane::NotificationSuccess), 1);
    EXPECT_EQ(static_cast<int>(Movane::NotificationWarning), 2);
    EXPECT_EQ(static_cast<int>(Movane::NotificationError), 3);
}

TEST(Movane, TakesWindowThreeForTheFirstVideoWindow)
{
    EXPECT_EQ(Movane::FirstVideoWindowID, 3UL);
}

TEST(Movane, DeliversANotificationWithTypeAndDisplayTimeToEveryListener)
{
    constexpr std::uint64_t MaxMs = std::numeric_limits<std::uint64_t>::max();
    for (const auto type : {Movane::NotificationInfo, Movane::NotificationSuccess,
                            Movane::NotificationWarning, Movane::NotificationError})
    {
        for (const std::uint64_t durationMs : {std::uint64_t{0}, std::uint64_t{2200}, MaxMs})
        {
            Movane movane;
            std::vector<Movane::Notification> heard;
            const auto listener = [&heard](Movane::Notification One) { heard.push_back(One); };
            movane.NotificationQueued.connect(listener);
            movane.NotificationQueued.connect(listener);
            movane.QueueNotification(type, "Title 100%s", "Message\n%n", durationMs);
            ASSERT_EQ(heard.size(), 2U);
            for (const Movane::Notification& one : heard)
            {
                EXPECT_EQ(one.Type, type);
                EXPECT_EQ(one.Title, "Title 100%s");
                EXPECT_EQ(one.Message, "Message\n%n");
                EXPECT_EQ(one.DurationMs, durationMs);
            }
        }
    }
}

TEST(Movane, DropsANotificationThatNobodyShows)
{
    Movane movane;
    movane.QueueNotification(Movane::NotificationInfo, "Title", "early", 1);
    std::vector<std::string> heard;
    movane.NotificationQueued.connect([&heard](Movane::Notification One)
                                      { heard.push_back(One.Message); });
    movane.QueueNotification(Movane::NotificationInfo, "Title", "late", 1);
    EXPECT_THAT(heard, ElementsAre("late"));
}
} // namespace
