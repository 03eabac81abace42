// What a media file says of itself, on files made by the real ffmpeg.

#include "media/mediafile.h"
#include "player/mpvvideo.h"

#include "fakes/failingread.h"
#include "fakes/tempfolder.h"
#include "fakes/tinydisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
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
const std::string Tone = "-f lavfi -i sine=duration=1";

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

TEST(IsMatroskaWithoutPicture, IsFalseForAVideo)
{
    const TempFolder place;
    EXPECT_FALSE(IsMatroskaWithoutPicture(MakeFile(place, Picture, "video.mkv")));
}

TEST(IsMatroskaWithoutPicture, IsTrueForSoundAlone)
{
    const TempFolder place;
    EXPECT_TRUE(IsMatroskaWithoutPicture(MakeFile(place, Tone, "sound.mkv")));
}

TEST(IsMatroskaWithoutPicture, IsTrueForWhatIsLeftWhenInLiesPastTheLastPicture)
{
    const TempFolder place;
    const std::string source =
        MakeFile(place, "-f lavfi -i sine=duration=6 " + Picture + " -c:a aac", "source.mkv");
    EXPECT_TRUE(IsMatroskaWithoutPicture(MakeFile(
        place, "-i '" + source + "' -ss 3 -t 2 -map 0:v:0? -map 0:a? -c:a copy", "late.mkv")));
}

TEST(IsMatroskaWithoutPicture, IsTrueForAHeaderAlone)
{
    const TempFolder place;
    const std::string source = MakeFile(place, Picture, "source.mkv");
    EXPECT_TRUE(IsMatroskaWithoutPicture(
        MakeFile(place, "-i '" + source + "' -ss 3 -t 2 -map 0:v:0?", "empty.mkv")));
}

TEST(IsMatroskaWithoutPicture, IsFalseForOtherFiles)
{
    const TempFolder place;
    EXPECT_FALSE(IsMatroskaWithoutPicture((place.Path() / "absent.mkv").native()));
    EXPECT_FALSE(IsMatroskaWithoutPicture(MakeFile(place, Tone, "sound.ogg")));
}

TEST(IsMatroskaWithoutPicture, IsFalseForOneThatCannotBeReadToItsEnd)
{
    const TempFolder place;
    const std::string source = MakeFile(place, Picture, "source.mkv");
    for (const std::string& path :
         {MakeFile(place, Tone, "sound.mkv"),
          MakeFile(place, "-i '" + source + "' -ss 3 -t 2 -map 0:v:0?", "empty.mkv")})
    {
        const auto size = static_cast<off_t>(std::filesystem::file_size(path));
        for (off_t from = 0; from <= size; from += from < 1000 ? 1 : 100)
        {
            const FailingRead disk(path, from, EIO);
            EXPECT_FALSE(IsMatroskaWithoutPicture(path)) << path << " from " << from;
        }
    }
}

TEST(IsMatroskaWithoutPicture, IsFalseForOneThatCannotBeUnderstood)
{
    const TempFolder place;
    const std::string path = (place.Path() / "garbage.mkv").native();
    std::ofstream(path, std::ios::binary) << "\x1A\x45\xDF\xA3" << std::string(1000, 'x');
    EXPECT_FALSE(IsMatroskaWithoutPicture(path));
}

// Its player may have read one second or the whole by the time that it is asked.
TEST(MpvVideo, TakesTheLengthForUnknownWhereTheFileDoesNotTellIt)
{
    const TempFolder place;
    const std::string path = MakePiped(place);
    for (int i = 0; i < 10; ++i)
    {
        std::string error;
        const std::unique_ptr<MpvVideo> video = MpvVideo::Create({}, error);
        ASSERT_NE(video, nullptr) << error;
        ASSERT_TRUE(video->Open(path, error)) << error;
        EXPECT_EQ(video->pMediaInfo->DurationUs, 0);
    }
}

TEST(IsCutShort, IsFalseForAFinishedOneAndForOtherFiles)
{
    const TempFolder place;
    EXPECT_FALSE(IsCutShort(MakeFile(place, Picture, "finished.mkv")));
    EXPECT_FALSE(IsCutShort(MakeFile(place, Picture, "other.ts")));
    EXPECT_FALSE(IsCutShort((place.Path() / "absent.mkv").native()));
    EXPECT_FALSE(IsCutShort(place.Path().native()));
}

TEST(IsCutShort, IsTrueForAnEmptyFileOnAFullDiskAlone)
{
    const TempFolder place;
    const std::filesystem::path folder = place.Path() / "disk";
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "empty.mkv").close();
    EXPECT_FALSE(IsCutShort((folder / "empty.mkv").native()));
    const TinyDisk disk(folder, "4k");
    if (!disk.IsMounted())
    {
        GTEST_SKIP() << "a disk of its own can't be mounted here";
    }
    std::ofstream(folder / "filler") << std::string(4096, 'x');
    std::ofstream(folder / "empty.mkv").close();
    EXPECT_TRUE(IsCutShort((folder / "empty.mkv").native()));
}

TEST(IsCutShort, IsTrueForOneThatDoesNotSayHowLongItIs)
{
    const TempFolder place;
    EXPECT_TRUE(IsCutShort(MakePiped(place)));
}

TEST(IsCutShort, IsFalseForOneThatCannotBeRead)
{
    const TempFolder place;
    const std::string path = MakeFile(place, Picture, "finished.mkv");
    for (const off_t from : {0, 4, 5, 20, 45})
    {
        const FailingRead disk(path, from, EIO);
        EXPECT_FALSE(IsCutShort(path)) << from;
    }
}

TEST(IsCutShort, IsTrueWhereverTheFileIsCut)
{
    const TempFolder place;
    const std::string path = MakeFile(place, Picture, "cut.mkv");
    for (std::uintmax_t size = std::filesystem::file_size(path) - 1; size >= 4; size = size * 3 / 4)
    {
        std::filesystem::resize_file(path, size);
        EXPECT_TRUE(IsCutShort(path)) << size;
    }
}
