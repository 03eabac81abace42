#include "cli/commandline.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
CommandLine Parse(std::vector<const char*> Arguments)
{
    Arguments.insert(Arguments.begin(), "movane");
    return ParseCommandLine(static_cast<int>(Arguments.size()), Arguments.data());
}

TEST(CommandLineOfExport, GivesAClipOptionOneValue)
{
    const CommandLine line = Parse({"export", "--clip", "1-2", "a.mp4"});
    EXPECT_EQ(line.Chosen, CommandLine::Command::Export);
    EXPECT_EQ(line.Export.SourcePath, "a.mp4");
    EXPECT_THAT(line.Export.ClipArguments, ElementsAre("1-2"));
}

TEST(CommandLineOfExport, GoesOnUnlessItIsToldToEndAtAFailure)
{
    EXPECT_FALSE(Parse({"export", "a.mp4"}).Export.bFailFast);
    EXPECT_FALSE(Parse({"export", "a.mp4", "--keep-going"}).Export.bFailFast);
    EXPECT_TRUE(Parse({"export", "a.mp4", "--fail-fast"}).Export.bFailFast);
    EXPECT_EQ(Parse({"export", "a.mp4", "--fail-fast", "--keep-going"}).Chosen,
              CommandLine::Command::Refuse);
}

TEST(CommandLineOfExport, KeepsClipsAndTablesInTheirOrder)
{
    const CommandLine line = Parse({"export", "a.mp4", "--clip", "1-2", "--clips", "b.csv",
                                    "--clip=3-4", "--clips=a.csv", "--json"});
    EXPECT_THAT(line.Export.ClipArguments, ElementsAre("1-2", "3-4"));
    EXPECT_THAT(line.Export.TablePaths, ElementsAre("b.csv", "a.csv"));
    EXPECT_TRUE(line.Export.bJson);
    EXPECT_FALSE(line.Export.RecordingsDir.has_value());
}

TEST(CommandLineOfExport, TakesAValueThatBeginsWithADash)
{
    EXPECT_THAT(Parse({"export", "a.mp4", "--clip", "-10", "--clip=-5"}).Export.ClipArguments,
                ElementsAre("-10", "-5"));
}

TEST(CommandLineOfExport, DoesNotSplitAValueInBrackets)
{
    const CommandLine line = Parse({"export", "[a,b]", "--clip", "[a,b]", "--clips", "[c,d]"});
    EXPECT_EQ(line.Export.SourcePath, "[a,b]");
    EXPECT_THAT(line.Export.ClipArguments, ElementsAre("[a,b]"));
    EXPECT_THAT(line.Export.TablePaths, ElementsAre("[c,d]"));
}

TEST(CommandLineOfExport, TellsAnEmptyRecordingsFolderFromNone)
{
    EXPECT_EQ(Parse({"export", "a.mp4", "--recordings-dir", ""}).Export.RecordingsDir, "");
}

TEST(CommandLineOfTheWindow, TakesFilesInTheirOrder)
{
    const CommandLine line = Parse({"b,[1].mp4", "a.mp4"});
    EXPECT_EQ(line.Chosen, CommandLine::Command::OpenWindow);
    EXPECT_THAT(line.Window.FilePaths, ElementsAre("b,[1].mp4", "a.mp4"));
}

TEST(CommandLineOfTheWindow, NeedsNoFile)
{
    const CommandLine line = Parse({});
    EXPECT_EQ(line.Chosen, CommandLine::Command::OpenWindow);
    EXPECT_THAT(line.Window.FilePaths, IsEmpty());
}

TEST(CommandLineOfTheWindow, TakesAFileNamedLikeAnOptionOrACommandBehindTwoDashes)
{
    EXPECT_THAT(Parse({"--", "-x.mp4", "export"}).Window.FilePaths,
                ElementsAre("-x.mp4", "export"));
}
} // namespace
