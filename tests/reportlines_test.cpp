#include "media/reportlines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

const std::string statsFront = "frame=  242 fps=199 q=24.0 size=     512kB ";

std::vector<std::string> Collect(LineCollector& Lines, const std::vector<std::string>& Pieces)
{
    std::vector<std::string> found;
    for (const std::string& piece : Pieces)
    {
        Lines.Take(piece, [&](std::string_view Line) { found.emplace_back(Line); });
    }
    return found;
}

double OutSec(const std::string& Time)
{
    const auto stats =
        ParseStatsLine(statsFront + "time=" + Time + " bitrate= 515.6kbits/s speed=1x");
    return stats.has_value() ? stats->OutSec.value_or(-1.0) : -2.0;
}

double Speed(const std::string& Text)
{
    const auto stats =
        ParseStatsLine(statsFront + "time=00:00:08.13 bitrate= 515.6kbits/s speed=" + Text);
    return stats.has_value() ? stats->Speed : -1.0;
}
} // namespace

TEST(StatsLine, GivesTimeAndSpeed)
{
    const auto stats =
        ParseStatsLine("frame=  300 fps=218 q=-1.0 Lsize=    1411kB time=01:02:10.01 "
                       "bitrate=1153.9kbits/s dup=0 drop=3 speed=7.28x    ");
    ASSERT_TRUE(stats.has_value());
    EXPECT_DOUBLE_EQ(stats->OutSec.value(), 3730.01);
    EXPECT_DOUBLE_EQ(stats->Speed, 7.28);
}

TEST(StatsLine, IsKnownWithoutPictures)
{
    EXPECT_TRUE(ParseStatsLine("size=     512kB time=00:00:08.13 bitrate= 515.6kbits/s speed=6x"));
    EXPECT_TRUE(ParseStatsLine("Lsize=     512kB time=00:00:08.13 bitrate= 515.6kbits/s speed=6x"));
}

TEST(StatsLine, MustBeginAsFfmpegBeginsIt)
{
    for (const char* const line :
         {"", " ", "frame=", "time=00:00:08.13", "frames: 3 time=00:00:08.13",
          "    title           : frame=  1 time=00:00:08.13 speed=6x",
          "ffmpeg -i frame= time=00:00:01.00",
          "[libx264 @ 0x5] frame I:2     Avg QP: 7.45  size: 12574", "frame=    3 fps=0.0 q=0.0"})
    {
        EXPECT_FALSE(ParseStatsLine(line).has_value()) << line;
    }
}

TEST(StatsLine, WithoutATimeHasNone)
{
    for (const char* const time :
         {"N/A", "", "-", ":", "::", "00:00", "00:00:", "1:2:x", "00:60:00", "00:00:60.00",
          "00:00:-1", "00:00:nan", "00:00:inf", "+1:00:00", "99999999999:00:00", "--00:00:01"})
    {
        EXPECT_EQ(OutSec(time), -1.0) << time;
    }
}

TEST(StatsLine, CountsATimeBeforeTheClipAsItsStart)
{
    EXPECT_EQ(OutSec("-00:00:00.02"), 0.0);
    EXPECT_EQ(OutSec("00:00:00.00"), 0.0);
    EXPECT_EQ(OutSec("-577014:32:22.77"), 0.0);
}

TEST(StatsLine, TakesTheSpeedInEveryFormItIsWrittenIn)
{
    EXPECT_DOUBLE_EQ(Speed("6.69x"), 6.69);
    EXPECT_DOUBLE_EQ(Speed("   7x    "), 7.0);
    EXPECT_DOUBLE_EQ(Speed("1.2e+03x"), 1200.0);
    EXPECT_DOUBLE_EQ(Speed("0.00105x"), 0.00105);
}

TEST(StatsLine, GivesNoSpeedWhenItIsUnknown)
{
    for (const char* const speed : {"N/A", "", "x", "6.69", "-1x", "nanx", "infx", "1e999x", "0x"})
    {
        EXPECT_EQ(Speed(speed), 0.0) << speed;
    }
}

TEST(DurationLine, GivesTheLengthOfTheSource)
{
    EXPECT_DOUBLE_EQ(
        ParseDurationLine("  Duration: 00:02:00.50, start: 0.000000, bitrate: 2050 kb/s").value(),
        120.5);
}

TEST(DurationLine, IsNoOtherLine)
{
    for (const char* const line :
         {"", "  Duration: N/A, start: 0.0", "  Duration: 00:00:00.00, start: 0.0",
          "    Duration        : 00:01:00.00", "    DURATION        : 00:02:00.000000000",
          "  Duration: -00:01:00.00", "Metadata: Duration: 00:01:00.00", "  Duration:"})
    {
        EXPECT_FALSE(ParseDurationLine(line).has_value()) << line;
    }
}

TEST(FilePosition, IsTheNumberOfTheFirstLine)
{
    EXPECT_EQ(ParseFilePosition("pos:\t6291456\nflags:\t0100000\nmnt_id:\t29\n"), 6291456U);
    EXPECT_EQ(ParseFilePosition("pos:\t0\n"), 0U);
    EXPECT_EQ(ParseFilePosition("pos:\t18446744073709551615\n"), 18446744073709551615U);
    EXPECT_EQ(ParseFilePosition("pos:\t12"), 12U);
}

TEST(FilePosition, IsNothingInAnyOtherText)
{
    for (const char* const text :
         {"", "pos:", "pos:\t\n", "pos:\t-1\n", "pos:\t12a\n", "pos:\t0x10\n",
          "pos:\t18446744073709551616\n", "flags:\t02\npos:\t3\n"})
    {
        EXPECT_FALSE(ParseFilePosition(text).has_value()) << text;
    }
}

TEST(LineCollector, EndsALineAtEitherLineEnd)
{
    LineCollector lines;
    EXPECT_THAT(Collect(lines, {"one\ntwo\rthree\r\n\n\rfour"}),
                ElementsAre("one", "two", "three"));
}

TEST(LineCollector, PutsPiecesTogether)
{
    LineCollector lines;
    EXPECT_THAT(Collect(lines, {"o", "", "n", "e\nt", "wo", "\r"}), ElementsAre("one", "two"));
}

TEST(LineCollector, KeepsZeroBytes)
{
    LineCollector lines;
    EXPECT_THAT(Collect(lines, {std::string("a\0b\n", 4)}), ElementsAre(std::string("a\0b", 3)));
}

TEST(LineCollector, LeavesOutALineThatIsTooLong)
{
    const std::string longest(LineCollector::MaxLineBytes, 'x');
    LineCollector whole;
    EXPECT_THAT(Collect(whole, {longest + "x\nnext\n" + longest + "\n"}),
                ElementsAre("next", longest));
    LineCollector pieces;
    EXPECT_THAT(Collect(pieces, {longest, "x", "x", "x\nnext\n", longest, "\n"}),
                ElementsAre("next", longest));
}

TEST(LineCollector, SkipsUpToTheNextLineEnd)
{
    LineCollector lines;
    Collect(lines, {"beg"});
    lines.SkipLine();
    EXPECT_THAT(Collect(lines, {"un", "\rnext\n"}), ElementsAre("next"));
}

TEST(LineCollector, ClearForgetsTheBegunLine)
{
    LineCollector lines;
    EXPECT_THAT(Collect(lines, {"begun"}), IsEmpty());
    lines.Clear();
    EXPECT_THAT(Collect(lines, {"next\n"}), ElementsAre("next"));
}
