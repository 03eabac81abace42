#include "host/mvtimecontrol.h"

#include "support/extremes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace
{
using testing::IsEmpty;
using testing::SizeIs;

constexpr double BoundarySecs[] = {0.0,
                                   -0.0,
                                   -1.0,
                                   1.0,
                                   std::numeric_limits<double>::denorm_min(),
                                   std::numeric_limits<double>::max(),
                                   std::numeric_limits<double>::lowest(),
                                   Infinity,
                                   -Infinity,
                                   NotANumber};

bool IsSameNumber(double A, double B)
{
    return std::isnan(A) ? std::isnan(B) : A == B && std::signbit(A) == std::signbit(B);
}

/// Counts what the observers of a timeline hear.
class ChangeCount
{
public:
    explicit ChangeCount(MvTimeControl& Timeline)
    {
        Timeline.Changed.connect([this] { ++Count; });
    }
    int Count = 0;
};

TEST(MvTimeControl, IsEmptyAtFirst)
{
    const MvTimeControl timeline;
    EXPECT_FALSE(timeline.HasRangeSelection());
    EXPECT_EQ(timeline.RangeStartSec(), 0.0);
    EXPECT_EQ(timeline.RangeEndSec(), 0.0);
    EXPECT_EQ(timeline.DisplayedTimeSec(), 0.0);
    EXPECT_EQ(timeline.DurationSec(), 0.0);
    EXPECT_THAT(timeline.Markers, IsEmpty());
}

TEST(MvTimeControl, ReadsBackTheRangeAsItWasSet)
{
    for (const double startSec : BoundarySecs)
    {
        for (const double endSec : BoundarySecs)
        {
            MvTimeControl timeline;
            timeline.SetRangeSelection(startSec, endSec, false);
            EXPECT_TRUE(timeline.HasRangeSelection());
            EXPECT_TRUE(IsSameNumber(timeline.RangeStartSec(), startSec)) << startSec;
            EXPECT_TRUE(IsSameNumber(timeline.RangeEndSec(), endSec)) << endSec;
        }
    }
}

TEST(MvTimeControl, KeepsAnOutBeforeItsIn)
{
    MvTimeControl timeline;
    timeline.SetRangeSelection(5.0, 2.0, false);
    EXPECT_EQ(timeline.RangeStartSec(), 5.0);
    EXPECT_EQ(timeline.RangeEndSec(), 2.0);
}

TEST(MvTimeControl, KeepsARangePastTheEndOfTheSource)
{
    MvTimeControl timeline;
    timeline.ShowSource("/a", 10.0);
    timeline.SetRangeSelection(-3.0, 99.0, false);
    EXPECT_EQ(timeline.RangeStartSec(), -3.0);
    EXPECT_EQ(timeline.RangeEndSec(), 99.0);
}

TEST(MvTimeControl, ReplacesTheRange)
{
    MvTimeControl timeline;
    timeline.SetRangeSelection(1.0, 2.0, false);
    timeline.SetRangeSelection(3.0, 4.0, false);
    EXPECT_EQ(timeline.RangeStartSec(), 3.0);
    EXPECT_EQ(timeline.RangeEndSec(), 4.0);
}

TEST(MvTimeControl, ClearsTheRangeAndKeepsTheMarkers)
{
    MvTimeControl timeline;
    timeline.SetRangeSelection(1.0, 2.0, false);
    timeline.AddMarkerAtCurrentTime();
    timeline.ClearRangeSelection(false);
    EXPECT_FALSE(timeline.HasRangeSelection());
    EXPECT_EQ(timeline.RangeStartSec(), 0.0);
    EXPECT_EQ(timeline.RangeEndSec(), 0.0);
    EXPECT_THAT(timeline.Markers, SizeIs(1));
}

TEST(MvTimeControl, ShowsTheTimeAsItWasSet)
{
    for (const double timeSec : BoundarySecs)
    {
        MvTimeControl timeline;
        timeline.SetDisplayedTimeSec(timeSec);
        EXPECT_TRUE(IsSameNumber(timeline.DisplayedTimeSec(), timeSec)) << timeSec;
    }
}

TEST(MvTimeControl, AddsMarkersAtTheDisplayedTimeInTheOrderOfAdding)
{
    MvTimeControl timeline;
    timeline.SetDisplayedTimeSec(5.0);
    timeline.AddMarkerAtCurrentTime();
    timeline.SetDisplayedTimeSec(2.0);
    timeline.AddMarkerAtCurrentTime();
    timeline.AddMarkerAtCurrentTime();
    ASSERT_THAT(timeline.Markers, SizeIs(3));
    EXPECT_EQ(timeline.Markers[0].TimeSec, 5.0);
    EXPECT_EQ(timeline.Markers[1].TimeSec, 2.0);
    EXPECT_EQ(timeline.Markers[2].TimeSec, 2.0);
}

TEST(MvTimeControl, LabelsMarkersFromOne)
{
    MvTimeControl timeline;
    for (int i = 1; i <= 11; ++i)
    {
        timeline.AddMarkerAtCurrentTime();
        EXPECT_EQ(timeline.Markers.back().Label, "Marker " + std::to_string(i));
    }
}

TEST(MvTimeControl, TellsItsObserversOfEveryChange)
{
    MvTimeControl timeline;
    const ChangeCount changes(timeline);
    timeline.SetRangeSelection(1.0, 2.0, false);
    EXPECT_EQ(changes.Count, 1);
    timeline.SetRangeSelection(1.0, 2.0, false);
    EXPECT_EQ(changes.Count, 2);
    timeline.ClearRangeSelection(false);
    EXPECT_EQ(changes.Count, 3);
    timeline.AddMarkerAtCurrentTime();
    EXPECT_EQ(changes.Count, 4);
    timeline.SetDisplayedTimeSec(1.0);
    EXPECT_EQ(changes.Count, 5);
    timeline.ShowSource("/a", 1.0);
    EXPECT_EQ(changes.Count, 6);
    timeline.ShowSource("/a", 2.0);
    EXPECT_EQ(changes.Count, 7);
}

TEST(MvTimeControl, ChangesTheRangeQuietlyOnRequest)
{
    MvTimeControl timeline;
    const ChangeCount changes(timeline);
    timeline.SetRangeSelection(1.0, 2.0, true);
    EXPECT_TRUE(timeline.HasRangeSelection());
    timeline.ClearRangeSelection(true);
    EXPECT_FALSE(timeline.HasRangeSelection());
    EXPECT_EQ(changes.Count, 0);
}

TEST(MvTimeControl, ShowsItsObserversTheNewState)
{
    MvTimeControl timeline;
    double startSec = 0.0;
    timeline.Changed.connect([&] { startSec = timeline.RangeStartSec(); });
    timeline.SetRangeSelection(3.0, 4.0, false);
    EXPECT_EQ(startSec, 3.0);
}

TEST(MvTimeControl, StartsANewSourceAtZeroWithoutMarking)
{
    MvTimeControl timeline;
    timeline.ShowSource("/a", 10.0);
    timeline.SetRangeSelection(1.0, 2.0, false);
    timeline.SetDisplayedTimeSec(5.0);
    timeline.AddMarkerAtCurrentTime();
    timeline.ShowSource("/b", 20.0);
    EXPECT_EQ(timeline.DurationSec(), 20.0);
    EXPECT_EQ(timeline.DisplayedTimeSec(), 0.0);
    EXPECT_FALSE(timeline.HasRangeSelection());
    EXPECT_EQ(timeline.RangeStartSec(), 0.0);
    EXPECT_EQ(timeline.RangeEndSec(), 0.0);
    EXPECT_THAT(timeline.Markers, IsEmpty());
    timeline.AddMarkerAtCurrentTime();
    EXPECT_EQ(timeline.Markers.back().Label, "Marker 1");
}

TEST(MvTimeControl, KeepsTheMarkingOfEachSourceForItsReturn)
{
    MvTimeControl timeline;
    timeline.ShowSource("/a", 10.0);
    timeline.SetRangeSelection(1.0, 2.0, false);
    timeline.SetDisplayedTimeSec(1.5);
    timeline.AddMarkerAtCurrentTime();
    timeline.Markers[0].Label = "Renamed";
    timeline.ShowSource("/b", 20.0);
    timeline.SetRangeSelection(3.0, 4.0, false);
    timeline.ShowSource("/c", 30.0);

    timeline.ShowSource("/a", 10.0);
    EXPECT_TRUE(timeline.HasRangeSelection());
    EXPECT_EQ(timeline.RangeStartSec(), 1.0);
    EXPECT_EQ(timeline.RangeEndSec(), 2.0);
    ASSERT_THAT(timeline.Markers, SizeIs(1));
    EXPECT_EQ(timeline.Markers[0].Label, "Renamed");
    EXPECT_EQ(timeline.Markers[0].TimeSec, 1.5);
    EXPECT_EQ(timeline.DisplayedTimeSec(), 0.0);

    timeline.ShowSource("/b", 20.0);
    EXPECT_EQ(timeline.RangeStartSec(), 3.0);
    EXPECT_THAT(timeline.Markers, IsEmpty());
}

TEST(MvTimeControl, KeepsAClearedRangeClearedForTheReturn)
{
    MvTimeControl timeline;
    timeline.ShowSource("/a", 10.0);
    timeline.SetRangeSelection(1.0, 2.0, false);
    timeline.ShowSource("/b", 10.0);
    timeline.ShowSource("/a", 10.0);
    timeline.ClearRangeSelection(false);
    timeline.ShowSource("/b", 10.0);
    timeline.ShowSource("/a", 10.0);
    EXPECT_FALSE(timeline.HasRangeSelection());
}

TEST(MvTimeControl, TakesOnlyTheDurationOfTheSourceThatIsShown)
{
    MvTimeControl timeline;
    timeline.ShowSource("/a", 10.0);
    timeline.SetRangeSelection(1.0, 2.0, false);
    timeline.SetDisplayedTimeSec(5.0);
    timeline.AddMarkerAtCurrentTime();
    timeline.ShowSource("/a", 11.0);
    EXPECT_EQ(timeline.DurationSec(), 11.0);
    EXPECT_EQ(timeline.DisplayedTimeSec(), 5.0);
    EXPECT_TRUE(timeline.HasRangeSelection());
    EXPECT_THAT(timeline.Markers, SizeIs(1));
}

TEST(MvTimeControl, IsAControlThatIsFoundByItsType)
{
    MvTimeControl timeline;
    MvChildWindow* const child = &timeline;
    EXPECT_EQ(dynamic_cast<MvTimeControl*>(child), &timeline);
}
TEST(MvTimeControl, RemovesTheFirstMarkerAtATimeAndTellsOfIt)
{
    MvTimeControl timeline;
    for (const double sec : {1.0, 2.0, 2.0, 3.0})
    {
        timeline.SetDisplayedTimeSec(sec);
        timeline.AddMarkerAtCurrentTime();
    }
    const ChangeCount changes(timeline);
    timeline.RemoveMarkerAt(2.0);
    ASSERT_THAT(timeline.Markers, SizeIs(3));
    EXPECT_EQ(timeline.Markers[1].Label, "Marker 3");
    EXPECT_EQ(changes.Count, 1);
    for (const double sec : {2.5, Infinity, NotANumber})
    {
        timeline.RemoveMarkerAt(sec);
    }
    EXPECT_THAT(timeline.Markers, SizeIs(3));
    EXPECT_EQ(changes.Count, 1);
}

TEST(MvTimeControl, EveryChangeOfTheMarkersMovesTheirRevision)
{
    MvTimeControl timeline;
    std::uint64_t last = timeline.MarkersRevision();
    const auto hasMoved = [&]
    {
        const std::uint64_t before = std::exchange(last, timeline.MarkersRevision());
        return last > before;
    };
    timeline.AddMarkerAtCurrentTime();
    EXPECT_TRUE(hasMoved());
    timeline.RemoveMarkerAt(0.0);
    EXPECT_TRUE(hasMoved());
    timeline.ShowSource("/a", 10.0);
    EXPECT_TRUE(hasMoved());
    timeline.MarkMarkersChanged();
    EXPECT_TRUE(hasMoved());

    timeline.RemoveMarkerAt(1.0);
    timeline.ShowSource("/a", 11.0);
    timeline.SetDisplayedTimeSec(2.0);
    timeline.SetRangeSelection(1.0, 2.0, false);
    timeline.ClearRangeSelection(false);
    EXPECT_FALSE(hasMoved());
}
} // namespace
