#include "desktop/timeline/timelinescale.h"

#include "support/extremes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TimelineScale MakeScale(double DurationSec, double FramesPerSecond = 25.0, double WidthPx = 1000.0)
{
    TimelineScale scale;
    scale.SetExtent(10.0, WidthPx);
    scale.SetSource(DurationSec, FramesPerSecond);
    return scale;
}

std::vector<TimelineTick> TicksOf(const TimelineScale& Scale, double FramesPerSecond = 25.0)
{
    return RulerTicks(Scale, FramesPerSecond, Scale.StartSec(), Scale.EndSec(), 80.0, 7.0);
}

std::vector<std::string> LabelsOf(const std::vector<TimelineTick>& Ticks)
{
    std::vector<std::string> labels;
    for (const TimelineTick& tick : Ticks)
    {
        if (tick.bMajor)
        {
            labels.push_back(tick.Label);
        }
    }
    return labels;
}

// -- Span

TEST(TimelineScale, ShowsTheWholeOfANewSource)
{
    const TimelineScale scale = MakeScale(20.0);
    EXPECT_EQ(scale.StartSec(), 0.0);
    EXPECT_EQ(scale.EndSec(), 20.0);
    EXPECT_TRUE(scale.IsWhole());
}

TEST(TimelineScale, PutsTheSourceIntoItsExtent)
{
    const TimelineScale scale = MakeScale(20.0);
    EXPECT_DOUBLE_EQ(scale.PxOf(0.0), 10.0);
    EXPECT_DOUBLE_EQ(scale.PxOf(10.0), 510.0);
    EXPECT_DOUBLE_EQ(scale.PxOf(20.0), 1010.0);
}

TEST(TimelineScale, ReadsTimesBackFromPixels)
{
    TimelineScale scale = MakeScale(36000.0);
    scale.ZoomAt(700.0, 5000.0);
    for (const double px : {10.0, 10.5, 333.25, 1010.0})
    {
        EXPECT_NEAR(scale.PxOf(scale.SecAt(px)), px, 1e-6);
    }
}

TEST(TimelineScale, KeepsTimesOfPixelsWithinTheSource)
{
    const TimelineScale scale = MakeScale(20.0);
    EXPECT_EQ(scale.SecAt(-1e6), 0.0);
    EXPECT_EQ(scale.SecAt(1e6), 20.0);
}

TEST(TimelineScale, IsEmptyWithoutAPositiveLength)
{
    for (const double durationSec : {0.0, -1.0, NotANumber, Infinity, -Infinity})
    {
        const TimelineScale scale = MakeScale(durationSec);
        EXPECT_TRUE(scale.IsEmpty()) << durationSec;
        EXPECT_EQ(scale.PxOf(5.0), 10.0);
        EXPECT_EQ(scale.SecAt(500.0), 0.0);
    }
}

TEST(TimelineScale, IsEmptyWithoutRoom)
{
    EXPECT_TRUE(MakeScale(20.0, 25.0, 0.0).IsEmpty());
    EXPECT_TRUE(MakeScale(20.0, 25.0, -5.0).IsEmpty());
}

TEST(TimelineScale, KeepsItsSpanWhenTheWidgetGetsWider)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(510.0, 4.0);
    const double startSec = scale.StartSec();
    scale.SetExtent(10.0, 2000.0);
    EXPECT_EQ(scale.StartSec(), startSec);
    EXPECT_DOUBLE_EQ(scale.SpanSec(), 5.0);
}

TEST(TimelineScale, KeepsItsSpanWhenTheSameSourceComesAgain)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(510.0, 4.0);
    scale.SetSource(20.0, 30.0);
    EXPECT_DOUBLE_EQ(scale.SpanSec(), 5.0);
}

// -- Zoom

TEST(TimelineScale, ZoomKeepsTheTimeUnderThePointer)
{
    TimelineScale scale = MakeScale(20.0);
    for (const double factor : {1.25, 2.0, 7.0, 0.9})
    {
        const double sec = scale.SecAt(700.0);
        scale.ZoomAt(700.0, factor);
        EXPECT_NEAR(scale.SecAt(700.0), sec, 1e-9) << factor;
    }
}

TEST(TimelineScale, ZoomingOutEndsAtTheWhole)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(700.0, 8.0);
    scale.ZoomAt(100.0, 0.01);
    EXPECT_EQ(scale.StartSec(), 0.0);
    EXPECT_EQ(scale.EndSec(), 20.0);
}

TEST(TimelineScale, ZoomingInEndsAtAFewFrames)
{
    TimelineScale scale = MakeScale(20.0, 25.0);
    scale.ZoomAt(700.0, 1e9);
    EXPECT_DOUBLE_EQ(scale.SpanSec(), 5.0 / 25.0);
}

TEST(TimelineScale, ASourceShorterThanAFewFramesStaysWhole)
{
    TimelineScale scale = MakeScale(0.04, 25.0);
    scale.ZoomAt(700.0, 10.0);
    EXPECT_EQ(scale.SpanSec(), 0.04);
}

TEST(TimelineScale, RefusesAFactorThatIsNone)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(510.0, 4.0);
    for (const double factor : {0.0, -2.0, NotANumber})
    {
        scale.ZoomAt(510.0, factor);
        EXPECT_DOUBLE_EQ(scale.SpanSec(), 5.0) << factor;
    }
}

// -- Moving the span

TEST(TimelineScale, PanMovesByPixels)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(510.0, 4.0);
    const double startSec = scale.StartSec();
    scale.PanPx(100.0);
    EXPECT_DOUBLE_EQ(scale.StartSec(), startSec + 0.5);
}

TEST(TimelineScale, PanStopsAtTheEndsOfTheSource)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(510.0, 4.0);
    scale.PanPx(-1e9);
    EXPECT_EQ(scale.StartSec(), 0.0);
    scale.PanPx(1e9);
    EXPECT_DOUBLE_EQ(scale.EndSec(), 20.0);
    EXPECT_DOUBLE_EQ(scale.SpanSec(), 5.0);
}

TEST(TimelineScale, TurnsToThePageOfATimeThatLeftTheSpan)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(510.0, 4.0);
    scale.TurnPageTo(12.6);
    EXPECT_DOUBLE_EQ(scale.StartSec(), 12.6 - 0.25);
    scale.TurnPageTo(13.0);
    EXPECT_DOUBLE_EQ(scale.StartSec(), 12.6 - 0.25);
}

TEST(TimelineScale, TheLastPageEndsWithTheSource)
{
    TimelineScale scale = MakeScale(20.0);
    scale.ZoomAt(510.0, 4.0);
    scale.TurnPageTo(19.0);
    EXPECT_DOUBLE_EQ(scale.EndSec(), 20.0);
}

// -- Ruler

TEST(RulerTicks, CountsSecondsOnAShortSource)
{
    const auto ticks = TicksOf(MakeScale(10.0));
    EXPECT_THAT(LabelsOf(ticks), ElementsAre("00:00", "00:01", "00:02", "00:03", "00:04", "00:05",
                                             "00:06", "00:07", "00:08", "00:09", "00:10"));
    EXPECT_THAT(ticks, SizeIs(101)); // tenths between
}

TEST(RulerTicks, CountsMinutesAndHoursOnALongSource)
{
    EXPECT_THAT(LabelsOf(TicksOf(MakeScale(2400.0))),
                ElementsAre("00:00", "05:00", "10:00", "15:00", "20:00", "25:00", "30:00", "35:00",
                            "40:00"));
    EXPECT_THAT(LabelsOf(TicksOf(MakeScale(18000.0))),
                ElementsAre("00:00", "30:00", "1:00:00", "1:30:00", "2:00:00", "2:30:00", "3:00:00",
                            "3:30:00", "4:00:00", "4:30:00", "5:00:00"));
}

TEST(RulerTicks, CountsFramesBelowASecond)
{
    TimelineScale scale = MakeScale(20.0, 25.0);
    scale.ZoomAt(10.0, 1000.0);
    EXPECT_THAT(LabelsOf(TicksOf(scale)), ElementsAre("00:00.000", "00:00.040", "00:00.080",
                                                      "00:00.120", "00:00.160", "00:00.200"));
}

TEST(RulerTicks, PutFramesWhereTheFrameRateHasThem)
{
    constexpr double FramesPerSecond = 30000.0 / 1001.0;
    TimelineScale scale = MakeScale(3600.0, FramesPerSecond);
    scale.ZoomAt(510.0, 36000.0);
    const auto ticks = TicksOf(scale, FramesPerSecond);
    ASSERT_THAT(ticks, testing::Not(IsEmpty()));
    for (const TimelineTick& tick : ticks)
    {
        const double frame = tick.Sec * FramesPerSecond;
        EXPECT_NEAR(frame, std::round(frame), 1e-6);
    }
}

TEST(RulerTicks, CountThousandthsWhileTheFrameRateIsUnknown)
{
    TimelineScale scale = MakeScale(20.0, 0.0);
    scale.ZoomAt(10.0, 1e9);
    EXPECT_THAT(LabelsOf(TicksOf(scale, 0.0)),
                ElementsAre("00:00.00", "00:00.01", "00:00.02", "00:00.03", "00:00.04", "00:00.05",
                            "00:00.06", "00:00.07", "00:00.08", "00:00.09", "00:00.10"));
}

TEST(RulerTicks, StandApartAtEveryZoom)
{
    for (const double durationSec : {0.05, 1.0, 61.0, 3600.0, 86400.0, 1e9})
    {
        for (const double framesPerSecond : {0.0, 1.0, 23.976, 60.0, 1000.0})
        {
            TimelineScale scale = MakeScale(durationSec, framesPerSecond);
            for (int zoom = 0; zoom < 60; ++zoom, scale.ZoomAt(321.0, 1.7))
            {
                double lastPx = -1e9;
                double lastMajorPx = -1e9;
                for (const TimelineTick& tick : TicksOf(scale, framesPerSecond))
                {
                    const double px = scale.PxOf(tick.Sec);
                    ASSERT_GE(px - lastPx, 7.0 - 1e-3) << durationSec << ' ' << scale.SpanSec();
                    ASSERT_TRUE(!tick.bMajor || px - lastMajorPx >= 80.0 - 1e-3) << scale.SpanSec();
                    lastPx = px;
                    lastMajorPx = tick.bMajor ? px : lastMajorPx;
                }
            }
        }
    }
}

TEST(RulerTicks, StayWithinTheSource)
{
    const TimelineScale scale = MakeScale(20.0);
    const auto ticks = RulerTicks(scale, 25.0, -5.0, 1e6, 80.0, 7.0);
    EXPECT_EQ(ticks.front().Sec, 0.0);
    EXPECT_EQ(ticks.back().Sec, 20.0);
}

TEST(RulerTicks, AreNoneWhileNothingIsOpen)
{
    EXPECT_THAT(TicksOf(MakeScale(0.0)), IsEmpty());
}

// -- Labels

TEST(RulerLabel, HasTheDecimalsAskedFor)
{
    EXPECT_EQ(RulerLabel(75.1234, 0), "01:15");
    EXPECT_EQ(RulerLabel(75.1234, 1), "01:15.1");
    EXPECT_EQ(RulerLabel(75.1234, 3), "01:15.123");
}

TEST(RulerLabel, ShowsHoursFromAnHourOn)
{
    EXPECT_EQ(RulerLabel(3599.0, 0), "59:59");
    EXPECT_EQ(RulerLabel(3600.0, 0), "1:00:00");
    EXPECT_EQ(RulerLabel(3723.25, 1), "1:02:03.3");
}

TEST(RulerLabel, CarriesARoundedUpSecond)
{
    EXPECT_EQ(RulerLabel(59.9996, 3), "01:00.000");
    EXPECT_EQ(RulerLabel(3599.6, 0), "1:00:00");
}

TEST(RulerLabel, ShowsNullForWhatIsNoTime)
{
    for (const double sec : {0.0, -1.0, NotANumber, Infinity, -Infinity})
    {
        EXPECT_EQ(RulerLabel(sec, 3), "00:00.000") << sec;
    }
}

// -- Playhead

TEST(IsJump, TellsPlayingFromJumping)
{
    EXPECT_FALSE(IsJump(3.0, 3.0));
    EXPECT_FALSE(IsJump(3.0, 3.04));
    EXPECT_TRUE(IsJump(3.0, 3.5));
    EXPECT_TRUE(IsJump(3.0, 2.96));
}
} // namespace
