// What a media file says of itself, on files made by the real ffmpeg.

#include "media/mediafile.h"

#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace
{
// Makes a file in Place with these arguments of ffmpeg, and returns its path.
std::string MakeFile(const TempFolder& Place, const std::string& Arguments, const std::string& Name)
{
    std::string path = (Place.Path() / Name).native();
    const std::string command =
        "ffmpeg -y -nostdin -loglevel error " + Arguments + " '" + path + "' </dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << command; // NOLINT(concurrency-mt-unsafe)
    return path;
}

const std::string Picture = "-f lavfi -i testsrc2=size=64x64:rate=25:duration=2 -preset ultrafast";

// A Matroska file that was written where its header could not be completed.
std::string MakePiped(const TempFolder& Place)
{
    std::string path = (Place.Path() / "piped.mkv").native();
    const std::string command = "ffmpeg -nostdin -loglevel error " + Picture +
                                " -f matroska - </dev/null | cat > '" + path + "'";
    EXPECT_EQ(std::system(command.c_str()), 0); // NOLINT(concurrency-mt-unsafe)
    return path;
}
} // namespace

TEST(IsMatroskaWithoutDuration, IsTrueForOneThatWasWrittenIntoAPipe)
{
    const TempFolder place;
    EXPECT_TRUE(IsMatroskaWithoutDuration(MakePiped(place)));
}

TEST(IsMatroskaWithoutDuration, IsFalseForAFinishedOneAndForOtherFiles)
{
    const TempFolder place;
    EXPECT_FALSE(IsMatroskaWithoutDuration(MakeFile(place, Picture, "finished.mkv")));
    EXPECT_FALSE(IsMatroskaWithoutDuration(MakeFile(place, Picture, "other.ts")));
    EXPECT_FALSE(IsMatroskaWithoutDuration((place.Path() / "absent.mkv").native()));
}

TEST(CountsLengthFromZero, IsTrueWhereTheHeaderTellsTheEnd)
{
    const TempFolder place;
    for (const char* pName : {"whole.mkv", "whole.mp4", "whole.mov", "whole.nut"})
    {
        EXPECT_TRUE(CountsLengthFromZero(MakeFile(place, Picture, pName))) << pName;
    }
}

// Fragments have no length in the header: what the player tells is counted from their start.
TEST(CountsLengthFromZero, IsFalseForFragmentsAndOtherFiles)
{
    const TempFolder place;
    const std::string source = MakeFile(place, Picture, "source.mkv");
    const std::string fragments =
        MakeFile(place, "-itsoffset 2 -i " + source + " -c copy -movflags frag_keyframe+delay_moov",
                 "late.mp4");
    EXPECT_FALSE(CountsLengthFromZero(fragments));
    EXPECT_FALSE(CountsLengthFromZero(MakePiped(place)));
    EXPECT_FALSE(CountsLengthFromZero(MakeFile(place, Picture, "other.ts")));
    EXPECT_FALSE(CountsLengthFromZero((place.Path() / "absent.mkv").native()));
}
