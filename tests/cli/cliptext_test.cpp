#include "cli/cliptext.h"

#include "app/typedtime.h"

#include <gmock/gmock.h>

#include <utility>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{
std::vector<ClipRequest> RowsOf(const std::string& Text)
{
    std::vector<ClipRequest> requests;
    std::string error;
    EXPECT_TRUE(ParseClipTable(Text, "clips.csv", requests, error)) << error;
    return requests;
}

std::vector<std::string> NamesOf(const std::string& Text)
{
    std::vector<std::string> names;
    for (const ClipRequest& request : RowsOf(Text))
    {
        names.push_back(request.Name);
    }
    return names;
}

std::string TableError(const std::string& Text)
{
    std::vector<ClipRequest> requests;
    std::string error;
    EXPECT_FALSE(ParseClipTable(Text, "clips.csv", requests, error));
    return error;
}

ClipRequest ClipOf(const std::string& Argument)
{
    ClipRequest request;
    std::string error;
    EXPECT_TRUE(ParseClipArgument(Argument, request, error)) << error;
    return request;
}

std::string ClipError(const std::string& Argument)
{
    ClipRequest request;
    std::string error;
    EXPECT_FALSE(ParseClipArgument(Argument, request, error));
    return error;
}

// -- Times

TEST(ParseTime, ReadsTimesAsPeopleWriteThem)
{
    const std::pair<const char*, double> table[] = {{"0", 0.0},
                                                    {"75", 75.0},
                                                    {"75.5", 75.5},
                                                    {"75.1", 75.1},
                                                    {"007", 7.0},
                                                    {"1:15", 75.0},
                                                    {"1:5", 65.0},
                                                    {"1:15.5", 75.5},
                                                    {"90:00", 5400.0},
                                                    {"0:59.999", 59.999},
                                                    {"01:02:03.25", 3723.25},
                                                    {"100:00:00", 360000.0},
                                                    {"0.000000000000000000001", 1e-21},
                                                    {"999999999", 999999999.0},
                                                    {" 1:15\t", 75.0}};
    for (const auto& [text, sec] : table)
    {
        EXPECT_EQ(ParseTime(text), sec) << text;
    }
}

TEST(ParseTime, RefusesEverythingElse)
{
    const std::string table[] = {"",
                                 " ",
                                 "nan",
                                 "inf",
                                 "infinity",
                                 "0x10",
                                 "1e3",
                                 "1E3",
                                 "1.5e1",
                                 "+1",
                                 "-1",
                                 "1,5",
                                 "1.",
                                 ".5",
                                 ".",
                                 "1.2.3",
                                 "1:005",
                                 "1:",
                                 ":1",
                                 ":",
                                 "::",
                                 "1::2",
                                 "1:2:3:4",
                                 "1.5:20",
                                 "1:2.5:3",
                                 "1 2",
                                 "1 :2",
                                 "1s",
                                 "1h2m",
                                 "x",
                                 "1:x",
                                 "1\n",
                                 "1000000000",
                                 "99999999999999999999",
                                 std::string("1\0", 2),
                                 "\xC2\xB2",
                                 "\xEF\xBC\x91"};
    for (const std::string& text : table)
    {
        EXPECT_EQ(ParseTime(text), std::nullopt) << text;
    }
}

TEST(ParseTime, RefusesSixtyBehindALargerUnit)
{
    for (const char* text : {"1:60", "1:75", "1:60.5", "1:60:00", "1:00:60"})
    {
        EXPECT_EQ(ParseTime(text), std::nullopt) << text;
    }
}

// -- The --clip argument

TEST(ClipArgument, MayLeaveTheNameOut)
{
    const ClipRequest clip = ClipOf("1:15-80.5");
    EXPECT_EQ(clip.Name, "");
    EXPECT_EQ(clip.InSec, 75.0);
    EXPECT_EQ(clip.OutSec, 80.5);
}

TEST(ClipArgument, NamesTheClipBeforeTheEqualsSign)
{
    const ClipRequest clip = ClipOf("Intro=0-5");
    EXPECT_EQ(clip.Name, "Intro");
    EXPECT_EQ(clip.InSec, 0.0);
    EXPECT_EQ(clip.OutSec, 5.0);
}

TEST(ClipArgument, SplitsAtTheLastEqualsSign)
{
    EXPECT_EQ(ClipOf("a=b - c=1-2").Name, "a=b - c");
}

TEST(ClipArgument, LeavesTheBytesOfANameAlone)
{
    const std::string name = " $(x) `y` 'z' \"q\" \n %d \xFF\xC3 ";
    EXPECT_EQ(ClipOf(name + "=1-2").Name, name);
}

TEST(ClipArgument, TakesABlankInForTheBeginning)
{
    const ClipRequest clip = ClipOf("-10");
    EXPECT_EQ(clip.InSec, std::nullopt);
    EXPECT_EQ(clip.OutSec, 10.0);
}

TEST(ClipArgument, TakesABlankOutForTheEnd)
{
    const ClipRequest clip = ClipOf("x=1:00 - ");
    EXPECT_EQ(clip.InSec, 60.0);
    EXPECT_EQ(clip.OutSec, std::nullopt);
}

TEST(ClipArgument, TakesADashAloneForTheWholeSource)
{
    const ClipRequest clip = ClipOf("-");
    EXPECT_EQ(clip.InSec, std::nullopt);
    EXPECT_EQ(clip.OutSec, std::nullopt);
}

TEST(ClipArgument, KeepsAnOutBeforeItsIn)
{
    const ClipRequest clip = ClipOf("5-3");
    EXPECT_EQ(clip.InSec, 5.0);
    EXPECT_EQ(clip.OutSec, 3.0);
}

TEST(ClipArgument, IsNamedInItsOrigin)
{
    EXPECT_EQ(ClipOf("a=1-2").Origin, "--clip \"a=1-2\"");
}

TEST(ClipArgument, WithoutARangeSaysHowAClipIsWritten)
{
    for (const char* argument : {"", "Intro", "Intro=", "5", "a-b=5", "1:15"})
    {
        EXPECT_EQ(ClipError(argument),
                  "--clip \"" + std::string(argument) +
                      "\": a clip is written [NAME=]IN-OUT, such as Intro=1:15-1:20.5.");
    }
}

TEST(ClipArgument, WithABadTimeNamesTheTime)
{
    const std::string how =
        " is not a time: write seconds, M:SS or H:MM:SS, such as 75.5 or 1:15.5.";
    EXPECT_EQ(ClipError("a=x-5"), "--clip \"a=x-5\": \"x\"" + how);
    EXPECT_EQ(ClipError("5-1:75"), "--clip \"5-1:75\": \"1:75\"" + how);
    EXPECT_EQ(ClipError("1-2-3"), "--clip \"1-2-3\": \"2-3\"" + how);
    EXPECT_EQ(ClipError("nan-5"), "--clip \"nan-5\": \"nan\"" + how);
}

// -- Tables

TEST(ClipTable, HasTheColumnsStartEndName)
{
    const std::vector<ClipRequest> rows = RowsOf("1.5,2,Intro\n1:00,01:00:00.5,The End\n");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].InSec, 1.5);
    EXPECT_EQ(rows[0].OutSec, 2.0);
    EXPECT_EQ(rows[0].Name, "Intro");
    EXPECT_EQ(rows[1].InSec, 60.0);
    EXPECT_EQ(rows[1].OutSec, 3600.5);
    EXPECT_EQ(rows[1].Name, "The End");
}

TEST(ClipTable, MayLeaveTheNameOutOrEmpty)
{
    EXPECT_THAT(NamesOf("1,2\n3,4,\n5,6,\"\"\n"), ElementsAre("", "", ""));
}

TEST(ClipTable, TakesBlankTimesForTheEndsOfTheSource)
{
    const std::vector<ClipRequest> rows = RowsOf(",10,a\n10,,b\n , ,c\n\"\",\"\",d\n");
    ASSERT_EQ(rows.size(), 4U);
    EXPECT_EQ(rows[0].InSec, std::nullopt);
    EXPECT_EQ(rows[0].OutSec, 10.0);
    EXPECT_EQ(rows[1].InSec, 10.0);
    EXPECT_EQ(rows[1].OutSec, std::nullopt);
    EXPECT_EQ(rows[2].InSec, std::nullopt);
    EXPECT_EQ(rows[2].OutSec, std::nullopt);
    EXPECT_EQ(rows[3].OutSec, std::nullopt);
}

TEST(ClipTable, ReadsQuotedNames)
{
    EXPECT_THAT(NamesOf("1,2,\"a, b\"\n1,2,\"say \"\"hi\"\"\"\n1,2,\"two\nlines\"\n1,2, \"c\" \n"),
                ElementsAre("a, b", "say \"hi\"", "two\nlines", "c"));
}

TEST(ClipTable, ReadsQuotedTimes)
{
    EXPECT_EQ(RowsOf("\"1:15\",\"80\",x").at(0).InSec, 75.0);
}

TEST(ClipTable, KeepsAQuoteInsideAPlainName)
{
    EXPECT_THAT(NamesOf("1,2,5\" tape\n"), ElementsAre("5\" tape"));
}

TEST(ClipTable, LeavesTheBytesOfANameAlone)
{
    EXPECT_THAT(NamesOf("1,2, a=b-c \xFF \n"), ElementsAre(" a=b-c \xFF "));
}

TEST(ClipTable, TakesWindowsLineEnds)
{
    EXPECT_THAT(NamesOf("1,2,a\r\n3,4,\"b\"\r\n5,6,c"), ElementsAre("a", "b", "c"));
}

TEST(ClipTable, SkipsTheByteOrderMark)
{
    EXPECT_THAT(NamesOf("\xEF\xBB\xBF"
                        "1,2,a\n"),
                ElementsAre("a"));
}

TEST(ClipTable, SkipsBlankLines)
{
    EXPECT_THAT(NamesOf("\n1,2,a\n\r\n  \n3,4,b\n\n"), ElementsAre("a", "b"));
}

TEST(ClipTable, NeedsNoLineEndAtTheEnd)
{
    EXPECT_THAT(NamesOf("1,2,a"), ElementsAre("a"));
    EXPECT_THAT(NamesOf("1,2,"), ElementsAre(""));
}

TEST(ClipTable, MayBeEmpty)
{
    EXPECT_TRUE(RowsOf("").empty());
    EXPECT_TRUE(RowsOf("\xEF\xBB\xBF").empty());
}

TEST(ClipTable, AddsToTheClipsThatAreThere)
{
    std::vector<ClipRequest> requests(1);
    std::string error;
    EXPECT_TRUE(ParseClipTable("1,2\n", "clips.csv", requests, error));
    EXPECT_EQ(requests.size(), 2U);
}

TEST(ClipTable, NamesFileAndLineOfARowInItsOrigin)
{
    const std::vector<ClipRequest> rows = RowsOf("1,2,\"a\nb\"\n\n3,4,c\n");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].Origin, "clips.csv, line 1");
    EXPECT_EQ(rows[1].Origin, "clips.csv, line 4");
}

TEST(ClipTable, RefusesABadTimeWithItsLine)
{
    EXPECT_EQ(TableError("1,2,a\n1,1:75,b\n"),
              "clips.csv, line 2: \"1:75\" is not a time: write seconds, M:SS or H:MM:SS, such as "
              "75.5 or 1:15.5.");
}

TEST(ClipTable, RefusesAHeaderLine)
{
    EXPECT_THAT(TableError("start,end,name\n1,2,a\n"),
                StartsWith("clips.csv, line 1: \"start\" is not a time"));
}

TEST(ClipTable, RefusesTooFewAndTooManyColumns)
{
    EXPECT_EQ(TableError("\n5\n"), "clips.csv, line 2: a row is START,END,NAME (quote a name that "
                                   "holds a comma), and this one has 1 column.");
    EXPECT_EQ(TableError("1,2,a,b\n"), "clips.csv, line 1: a row is START,END,NAME (quote a name "
                                       "that holds a comma), and this one has 4 columns.");
}

TEST(ClipTable, RefusesAQuoteThatIsNotClosed)
{
    EXPECT_EQ(TableError("1,2,a\n3,4,\"b\n5,6,c\n"), "clips.csv, line 2: a quote is not closed.");
    EXPECT_EQ(TableError("1,2,\""), "clips.csv, line 1: a quote is not closed.");
}

TEST(ClipTable, RefusesTextBehindAClosingQuote)
{
    EXPECT_THAT(TableError("1,2,\"a\"b\n"),
                HasSubstr("line 1: there is text after a closing quote"));
}
} // namespace
