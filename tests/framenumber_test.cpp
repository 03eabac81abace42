#include "media/framenumber.h"

#include "extremes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

TEST(TamedSec, IsWhatCanBeCounted)
{
    for (const double none : {NotANumber, -Infinity, -1.0, -0.0, 0.0})
    {
        EXPECT_EQ(TamedSec(none), 0.0) << none;
    }
    EXPECT_EQ(TamedSec(0.001), 0.001);
    EXPECT_EQ(TamedSec(1e9), 1e9);
    EXPECT_EQ(TamedSec(1e300), 1e9);
    EXPECT_EQ(TamedSec(Infinity), 1e9);
}

TEST(FrameToleranceSec, IsThePlayersButHalfAFrameAtMost)
{
    for (const double rate : {0.0, -1.0, std::nan(""), Infinity, 1.0, 25.0, 100.0})
    {
        EXPECT_EQ(FrameToleranceSec(rate), PlayerToleranceSec) << rate;
    }
    EXPECT_EQ(FrameToleranceSec(200.0), 0.0025);
    EXPECT_EQ(FrameToleranceSec(1000.0), 0.0005);
}

TEST(FrameNumber, OfAFramesOwnTimeIsThatFrame)
{
    for (const double rate :
         {10.0, 23.976, 24.0, 25.0, 30000.0 / 1001.0, 50.0, 60.0, 120.0, 240.0, 1000.0})
    {
        for (const std::int64_t frame : {0, 1, 2, 3, 99, 100, 107892})
        {
            EXPECT_EQ(FrameNumber(static_cast<double>(frame) / rate, rate, 0.0), frame) << rate;
        }
    }
}

TEST(FrameNumber, IsTheSameForTimesInWholeMilliseconds)
{
    const double rate = 30000.0 / 1001.0;
    for (std::int64_t frame = 0; frame < 1000; ++frame)
    {
        const double storedSec = std::round(static_cast<double>(frame) / rate * 1000.0) / 1000.0;
        EXPECT_EQ(FrameNumber(storedSec, rate, 0.0), frame);
    }
}

TEST(FrameNumber, BetweenTwoFramesIsTheLaterOne)
{
    EXPECT_EQ(FrameNumber(0.044, 25.0, 2.0), 1);
    EXPECT_EQ(FrameNumber(0.046, 25.0, 2.0), 2);
    EXPECT_EQ(FrameNumber(0.079, 25.0, 2.0), 2);
}

TEST(FrameNumber, AtTheEndIsTheLastFrame)
{
    EXPECT_EQ(FrameNumber(1.96, 25.0, 2.0), 49);
    EXPECT_EQ(FrameNumber(2.0, 25.0, 2.0), 49);
    EXPECT_EQ(FrameNumber(Infinity, 25.0, 2.0), 49);
}

TEST(FrameNumber, OfAFileWithASingleFrameIsTheFirst)
{
    EXPECT_EQ(FrameNumber(0.04, 25.0, 0.04), 0);
}

TEST(FrameNumber, IsTheFirstWithoutARateOrATime)
{
    EXPECT_EQ(FrameNumber(1.0, 0.0, 2.0), 0);
    EXPECT_EQ(FrameNumber(1.0, -25.0, 2.0), 0);
    EXPECT_EQ(FrameNumber(1.0, std::nan(""), 2.0), 0);
    EXPECT_EQ(FrameNumber(1.0, Infinity, 2.0), 0);
    EXPECT_EQ(FrameNumber(-1.0, 25.0, 2.0), 0);
    EXPECT_EQ(FrameNumber(std::nan(""), 25.0, 2.0), 0);
}
