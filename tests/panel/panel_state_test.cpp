// The panel's state: the clip record, the palette, which clip is selected, which window is the target.

#include "panel/panelfixture.h"

#include <array>
#include <climits>
#include <cstring>
#include <latch>
#include <thread>
#include <type_traits>

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
static_assert(!std::is_copy_constructible_v<MvClipControlPanel>);
static_assert(!std::is_copy_assignable_v<MvClipControlPanel>);
static_assert(!std::is_move_constructible_v<MvClipControlPanel>);
static_assert(!std::is_move_assignable_v<MvClipControlPanel>);
static_assert(!std::is_polymorphic_v<MvClipControlPanel>);

class Selection : public PanelTest
{
};

class TargetWindow : public PanelTest
{
protected:
    /// A window that qualifies as the target.
    static MvVideoWindow Qualifying()
    {
        MvVideoWindow window;
        window.bOpen = true;
        window.bVisible = true;
        return window;
    }

    /// Registers a window at the end of the list.
    void Add(unsigned long WindowID, MvWindow* pWindow) const
    {
        Application.pMovane->WindowIDs.push_back(WindowID);
        Host().Windows[WindowID] = pWindow;
    }

    TargetWindow() { TakeVideoWindowAway(); }
};

class TargetTimeline : public PanelTest
{
};
} // namespace

TEST(SavedClipRecord, HasAmberWithoutItsNameAtFirst)
{
    const MvClipControlPanel::SavedClip clip;
    EXPECT_EQ(clip.Name, "");
    EXPECT_EQ(clip.SourcePath, "");
    EXPECT_EQ(clip.SourceLabel, "");
    EXPECT_EQ(clip.ColorName, "");
    EXPECT_EQ(clip.ColorR, 0.98F);
    EXPECT_EQ(clip.ColorG, 0.56F);
    EXPECT_EQ(clip.ColorB, 0.22F);
    EXPECT_EQ(clip.ColorA, 1.0F);
    EXPECT_EQ(clip.StartSec, 0.0);
    EXPECT_EQ(clip.EndSec, 0.0);
}

TEST(SavedClipRecord, KeepsItsFieldsInOrder)
{
    const MvClipControlPanel::SavedClip clip = {"n",  "p",  "l",  "c", 0.1F,
                                                0.2F, 0.3F, 0.4F, 5.0, 6.0};
    EXPECT_EQ(clip.Name, "n");
    EXPECT_EQ(clip.SourcePath, "p");
    EXPECT_EQ(clip.SourceLabel, "l");
    EXPECT_EQ(clip.ColorName, "c");
    EXPECT_EQ(clip.ColorR, 0.1F);
    EXPECT_EQ(clip.ColorG, 0.2F);
    EXPECT_EQ(clip.ColorB, 0.3F);
    EXPECT_EQ(clip.ColorA, 0.4F);
    EXPECT_EQ(clip.StartSec, 5.0);
    EXPECT_EQ(clip.EndSec, 6.0);
}

TEST(ClipPalette, HasSixColoursInTheirOrder)
{
    const std::vector<MvClipControlPanel::ColorPreset> expected = {
        {"Amber", 0.98F, 0.56F, 0.22F}, {"Cyan", 0.28F, 0.84F, 0.98F},
        {"Green", 0.36F, 0.92F, 0.52F}, {"Yellow", 0.98F, 0.86F, 0.32F},
        {"Pink", 0.94F, 0.42F, 0.68F},  {"Violet", 0.72F, 0.58F, 1.0F}};
    const auto& palette = MvClipControlPanel::ClipPalette();
    ASSERT_EQ(palette.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_STREQ(palette[i].Name, expected[i].Name);
        EXPECT_EQ(palette[i].R, expected[i].R) << expected[i].Name;
        EXPECT_EQ(palette[i].G, expected[i].G) << expected[i].Name;
        EXPECT_EQ(palette[i].B, expected[i].B) << expected[i].Name;
    }
}

TEST(ClipPalette, IsBuiltOnce)
{
    EXPECT_EQ(&MvClipControlPanel::ClipPalette(), &MvClipControlPanel::ClipPalette());
}

// ctest runs each test in a process of its own, so no call comes before these.
TEST(ClipPalette, IsBuiltOnceThoughManyThreadsAskAtOnceForTheFirstTime)
{
    using Palette = std::vector<MvClipControlPanel::ColorPreset>;
    constexpr std::size_t Count = 16;
    std::array<const Palette*, Count> palettes{};
    std::array<std::size_t, Count> sizes{};
    std::latch allRun(Count);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < Count; ++i)
    {
        threads.emplace_back(
            [&, i]
            {
                allRun.arrive_and_wait();
                palettes.at(i) = &MvClipControlPanel::ClipPalette();
                sizes.at(i) = palettes.at(i)->size();
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_THAT(palettes, Each(&MvClipControlPanel::ClipPalette()));
    EXPECT_THAT(sizes, Each(6U));
}

TEST(FreshPanel, HasNothingButACounterAndALiveFlag)
{
    const MvClipControlPanel panel;
    EXPECT_EQ(panel.pNameInput, nullptr);
    EXPECT_EQ(panel.pClipTable, nullptr);
    EXPECT_EQ(panel.pStatusLabel, nullptr);
    EXPECT_EQ(panel.pSourceLabel, nullptr);
    EXPECT_EQ(panel.pRangeLabel, nullptr);
    EXPECT_EQ(panel.pMarkersLabel, nullptr);
    EXPECT_EQ(panel.pParentWindow, nullptr);
    EXPECT_EQ(panel.TableModel, nullptr);
    EXPECT_TRUE(panel.Clips.empty());
    EXPECT_EQ(panel.StatusText, "");
    EXPECT_TRUE(panel.StatusChanged.slots.empty());
    EXPECT_EQ(panel.NextClipOrdinal, 1);
    EXPECT_FALSE(panel.bSyncingNameInput);
    ASSERT_NE(panel.ExportLifetime, nullptr);
    EXPECT_TRUE(panel.ExportLifetime->load());
    EXPECT_EQ(panel.ExportGeneration.load(), 0U);
    EXPECT_FALSE(panel.bExportInProgress);
    EXPECT_FALSE(panel.bExportResultReady);
    EXPECT_FALSE(panel.bExportResultSuccess);
    EXPECT_EQ(panel.ExportResultMessage, "");
}

TEST(FreshPanel, ActsWithoutAnyWidgetOrHost)
{
    ResetHost();
    MvClipControlPanel panel;
    panel.SaveCurrentRangeAsClip();
    panel.RenameSelectedClip();
    panel.DeleteSelectedClip();
    panel.AddCurrentMarker();
    panel.ClearCurrentRange();
    panel.LoadSelectedClip();
    panel.JumpToSelectedClip();
    panel.JumpOutSelectedClip();
    panel.ExportSelectedClip();
    panel.PumpExportResult();
    panel.UpdateLiveLabels();
    panel.SyncNameInputFromSelection();
    panel.RebuildTableModel();
    panel.UpdateTableColumnLayout();
    EXPECT_EQ(panel.StatusText, "Select a saved clip to export it.");
    EXPECT_THAT(Host().Log, IsEmpty());
}

TEST(DyingPanel, StoresFalseAndReleasesTheFlag)
{
    std::shared_ptr<std::atomic<bool>> lifetime;
    {
        const MvClipControlPanel panel;
        lifetime = panel.ExportLifetime;
    }
    EXPECT_FALSE(lifetime->load());
    EXPECT_EQ(lifetime.use_count(), 1);
}

TEST_F(Selection, IsNoneWithoutATable)
{
    AddClip("a");
    Panel->pClipTable = nullptr;
    EXPECT_EQ(Panel->SelectedClipIndex(), -1);
    EXPECT_EQ(Panel->SelectedClip(), nullptr);
}

TEST_F(Selection, TakesTheSelectedRowElseTheCurrentRow)
{
    struct Case
    {
        int SelectedRow;
        int CurrentRow;
        int Index;
    };
    const std::vector<Case> cases = {
        {-1, -1, -1}, {-1, 0, 0},       {-1, 2, 2},      {-1, 3, -1},       {-2, 1, 1},
        {0, -1, 0},   {0, 2, 0},        {2, 0, 2},       {3, 0, -1},        {5, 1, -1},
        {-1, -7, -1}, {INT_MAX, 1, -1}, {INT_MIN, 1, 1}, {-1, INT_MAX, -1},
    };
    AddClip("a");
    AddClip("b");
    AddClip("c");
    for (const Case& c : cases)
    {
        Table.SelectedRow = c.SelectedRow;
        Table.CurrentRow = c.CurrentRow;
        EXPECT_EQ(Panel->SelectedClipIndex(), c.Index) << c.SelectedRow << ' ' << c.CurrentRow;
        const SavedClip* const expected =
            c.Index < 0 ? nullptr : &Panel->Clips[static_cast<std::size_t>(c.Index)];
        EXPECT_EQ(Panel->SelectedClip(), expected);
        EXPECT_EQ(std::as_const(*Panel).SelectedClip(), expected);
    }
}

TEST_F(TargetWindow, IsNoneWithoutACore)
{
    p = nullptr;
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), nullptr);
    EXPECT_EQ(Panel->ResolveTargetTimeline(), nullptr);
}

TEST_F(TargetWindow, IsNoneWithoutAnApplication)
{
    Application.pMovane.reset();
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), nullptr);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(TargetWindow, IsTheFocusedOneThoughAnEarlierOneQualifies)
{
    MvVideoWindow first = Qualifying();
    MvVideoWindow second = Qualifying();
    second.bFocused = true;
    Add(5, &first);
    Add(6, &second);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &second);
}

TEST_F(TargetWindow, IsTheFirstInListOrderWhenNoneIsFocused)
{
    MvVideoWindow first = Qualifying();
    MvVideoWindow second = Qualifying();
    Add(9, &first);
    Add(2, &second);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &first);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(9)", "GetWindow(2)"));
}

TEST_F(TargetWindow, IsTheFirstOfTwoFocusedOnesAndEndsTheWalk)
{
    MvVideoWindow unfocused = Qualifying();
    MvVideoWindow first = Qualifying();
    MvVideoWindow second = Qualifying();
    first.bFocused = true;
    second.bFocused = true;
    Add(4, &unfocused);
    Add(5, &first);
    Add(6, &second);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &first);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(4)", "GetWindow(5)"));
}

TEST_F(TargetWindow, MustBeVisibleAndOpenAndNotClosing)
{
    for (const bool bVisible : {false, true})
    {
        for (const bool bOpen : {false, true})
        {
            for (const bool bClosing : {false, true})
            {
                TakeVideoWindowAway();
                MvVideoWindow window;
                window.bVisible = bVisible;
                window.bOpen = bOpen;
                window.bClosing = bClosing;
                window.bFocused = true;
                MvVideoWindow fit = Qualifying();
                Add(5, &window);
                Add(6, &fit);
                const bool bQualifies = bVisible && bOpen && !bClosing;
                EXPECT_EQ(Panel->ResolveTargetVideoWindow(), bQualifies ? &window : &fit)
                    << bVisible << bOpen << bClosing;
            }
        }
    }
}

TEST_F(TargetWindow, PassesOverMissingWindowsAndOtherKinds)
{
    MvWindow other;
    other.bOpen = true;
    other.bVisible = true;
    MvVideoWindow fit = Qualifying();
    Add(4, nullptr);
    Add(5, &other);
    Add(6, &fit);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &fit);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(4)", "GetWindow(5)", "GetWindow(6)"));
}

TEST_F(TargetWindow, IsAskedForByItsWholeID)
{
    MvVideoWindow other = Qualifying();
    MvVideoWindow fit = Qualifying();
    Host().Windows[UINT_MAX] = &other;
    Add(ULONG_MAX, &fit);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &fit);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(" + std::to_string(ULONG_MAX) + ")"));
}

TEST_F(TargetWindow, FallsBackToWindow3WhateverItsState)
{
    MvVideoWindow hidden;
    MvVideoWindow closing = Qualifying();
    closing.bClosing = true;
    Add(5, &hidden);
    Add(3, &closing);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &closing);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(5)", "GetWindow(3)", "GetWindow(3)"));
}

TEST_F(TargetWindow, FallsBackToWindow3OfAnEmptyList)
{
    MvVideoWindow hidden;
    Host().Windows[3] = &hidden;
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &hidden);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(3)"));
}

TEST_F(TargetWindow, IsNoneWhenWindow3IsOfAnotherKindOrMissing)
{
    MvWindow other;
    Host().Windows[3] = &other;
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), nullptr);
    Host().Windows.clear();
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), nullptr);
}

TEST_F(TargetWindow, PrefersAnyQualifyingWindowToWindow3)
{
    MvVideoWindow three;
    three.bFocused = true;
    MvVideoWindow fit = Qualifying();
    Add(3, &three);
    Add(8, &fit);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &fit);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(3)", "GetWindow(8)"));
}

TEST_F(TargetTimeline, IsChild0OfTheTargetWindow)
{
    EXPECT_EQ(Panel->ResolveTargetTimeline(), &Timeline);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)"));
}

TEST_F(TargetTimeline, IsNoneWithoutAWindow)
{
    TakeVideoWindowAway();
    EXPECT_EQ(Panel->ResolveTargetTimeline(), nullptr);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(3)"));
}

TEST_F(TargetTimeline, IsNoneWhenChild0IsMissing)
{
    Host().Children.clear();
    Host().Children[{&VideoWindow, 1}] = &Timeline;
    EXPECT_EQ(Panel->ResolveTargetTimeline(), nullptr);
}

TEST_F(TargetTimeline, IsNoneWhenChild0IsOfAnotherKindThoughThereIsAWindow)
{
    MvChildWindow other;
    Host().Children[{&VideoWindow, 0}] = &other;
    EXPECT_EQ(Panel->ResolveTargetTimeline(), nullptr);
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), &VideoWindow);
}
