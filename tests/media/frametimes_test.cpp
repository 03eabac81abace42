#include "media/frametimes.h"

#include "support/numberedfilms.h"
#include "support/waitfor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace
{
// As a player sees them: ffprobe decodes, and counts from the start of the container.
std::vector<double> ProbedSec(const std::string& Path)
{
    std::istringstream lines(OutputOf(
        "ffprobe -v error -select_streams V:0 -show_entries format=start_time -show_entries "
        "frame=best_effort_timestamp_time -of default=nokey=1:noprint_wrappers=1 '" +
        Path + "'"));
    std::vector<double> times;
    for (std::string line; std::getline(lines, line);)
    {
        // An MPEG program does not tell the time of each frame.
        times.push_back(line == "N/A" ? std::nan("") : std::stod(line));
    }
    const double startSec = times.back(); // the container's entry comes last
    times.pop_back();
    for (double& sec : times)
    {
        sec -= startSec;
    }
    return times;
}

double SecOf(const FrameClock& Clock, std::int64_t Ticks)
{
    return static_cast<double>(Ticks) * static_cast<double>(Clock.Num) /
           static_cast<double>(Clock.Den);
}

class FrameTimesOf : public ::testing::TestWithParam<std::string>
{
};

std::string PlainName(const ::testing::TestParamInfo<std::string>& Info)
{
    return Info.param;
}

const std::atomic<bool> bNeverStop{false};
} // namespace

TEST_P(FrameTimesOf, AreThoseOfTheDecodedFrames)
{
    for (const std::string& rate : FilmRatesAndIrregular())
    {
        SCOPED_TRACE(rate);
        const std::string path = NumberedFilm(rate, GetParam());
        const std::vector<double> expected = ProbedSec(path);
        ASSERT_EQ(expected.size(), FilmFrames);
        const std::unique_ptr<FrameReader> reader = FrameReader::Open(path, bNeverStop);
        ASSERT_NE(reader, nullptr);
        while (reader->ReadOn(1000))
        {
        }
        const std::vector<std::int64_t>& ticks = reader->Window().Ticks;
        ASSERT_EQ(ticks.size(), expected.size());
        for (std::size_t i = 0; i < ticks.size(); ++i)
        {
            EXPECT_NEAR(SecOf(reader->Clock(), ticks[i]), expected[i], 2e-5) << i;
        }
    }
}

// Frames that are never shown, fields, an edit list, late beginnings, times that are not told.
TEST(FrameTimes, OfOddFilmsAreThoseOfTheDecodedFrames)
{
    const TempFolder folder;
    const auto path = [&](const char* pName) { return (folder.Path() / pName).string(); };
    const std::string picture = "-f lavfi -i testsrc2=size=96x64:rate=25:duration=3 ";
    const std::string sound = "-f lavfi -i sine=duration=3 ";
    const std::string log = " -passlogfile " + path("log") + " ";
    const std::string altRef =
        picture + "-c:v libvpx -auto-alt-ref 1 -lag-in-frames 16 -b:v 200k -cpu-used 4" + log;
    MakeMedia(picture + sound + "-c:v libx264 -bf 3 -g 25 -c:a aac", path("base.mp4"));
    MakeMedia("-ss 1.3 -i " + path("base.mp4") + " -c copy", path("edit.mp4"));
    MakeMedia("-i " + path("base.mp4") + " -c copy -movflags frag_keyframe+empty_moov",
              path("fragments.mp4"));
    MakeMedia("-i " + path("base.mp4") + " -c copy -output_ts_offset 10", path("late.mkv"));
    MakeMedia("-i " + path("base.mp4") + " -c copy -output_ts_offset 1000", path("late.ts"));
    MakeMedia("-i " + path("base.mp4") + " -c copy", path("flash.flv"));
    MakeMedia(picture + sound + "-c:v mpeg2video -flags +ildct+ilme -bf 2 -g 12 -c:a mp2",
              path("fields.ts"));
    MakeMedia(picture + sound + "-c:v mpeg2video -bf 2 -c:a mp2", path("program.mpg"));
    MakeMedia(altRef + "-pass 1 -f null", "/dev/null");
    MakeMedia(altRef + "-pass 2", path("hidden.webm"));
    for (const char* const name : {"base.mp4", "edit.mp4", "fragments.mp4", "late.mkv", "late.ts",
                                   "flash.flv", "fields.ts", "program.mpg", "hidden.webm"})
    {
        SCOPED_TRACE(name);
        const std::vector<double> expected = ProbedSec(path(name));
        const std::unique_ptr<FrameReader> reader = FrameReader::Open(path(name), bNeverStop);
        ASSERT_NE(reader, nullptr);
        while (reader->ReadOn(1000))
        {
        }
        const std::vector<std::int64_t>& ticks = reader->Window().Ticks;
        ASSERT_EQ(ticks.size(), expected.size());
        for (std::size_t i = 0; i < ticks.size(); ++i)
        {
            const double sec = SecOf(reader->Clock(), ticks[i]);
            EXPECT_TRUE(std::isnan(expected[i]) || std::abs(sec - expected[i]) < 2e-5)
                << i << ": " << sec << ", not " << expected[i];
        }
    }
    const std::string packets =
        OutputOf("ffprobe -v error -show_entries packet=pts -of csv=p=0 " + path("hidden.webm"));
    EXPECT_GT(std::count(packets.begin(), packets.end(), '\n'), 75) << "no frame is hidden";
}

TEST_P(FrameTimesOf, AreTheSameAfterASeek)
{
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    for (const std::string& rate : FilmRatesAndIrregular())
    {
        SCOPED_TRACE(rate + ", seed " + std::to_string(seed));
        const std::string path = NumberedFilm(rate, GetParam());
        const std::unique_ptr<FrameReader> whole = FrameReader::Open(path, bNeverStop);
        const std::unique_ptr<FrameReader> part = FrameReader::Open(path, bNeverStop);
        ASSERT_TRUE(whole != nullptr && part != nullptr);
        while (whole->ReadOn(1000))
        {
        }
        const std::vector<std::int64_t>& ticks = whole->Window().Ticks;
        for (int i = 0; i < 30; ++i)
        {
            const std::size_t index = random() % ticks.size();
            for (const FrameSide side : {FrameSide::LastBefore, FrameSide::FirstFrom})
            {
                const std::int64_t limit = ticks[index] + (random() % 2 == 0 ? 0 : 1);
                FrameWindow::Lack lack = FrameWindow::Lack::Nothing;
                const std::optional<FramePlace> expected = whole->Window().Find(side, limit, lack);
                const std::optional<FramePlace> found = part->Find(side, limit);
                ASSERT_TRUE(expected && found);
                EXPECT_EQ(found->Ticks, expected->Ticks);
                EXPECT_EQ(found->BeforeTicks, expected->BeforeTicks);
                EXPECT_EQ(found->AfterTicks, expected->AfterTicks);
                EXPECT_EQ(found->bFirst, expected->bFirst);
                EXPECT_EQ(found->bLast, expected->bLast);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Containers,
                         FrameTimesOf,
                         ::testing::ValuesIn(FilmContainers()),
                         PlainName);

// -- Ranges and counts.

namespace
{
bool IsCounted(FrameTimes& Frames)
{
    return WaitFor([&] { return Frames.Count().has_value(); });
}

double SecOfMs(std::int64_t Ms)
{
    return static_cast<double>(Ms) / 1000.0;
}
} // namespace

TEST_P(FrameTimesOf, AreTheEndsOfTheRangeThatIsMadeOfThem)
{
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    for (const std::string& rate : FilmRatesAndIrregular())
    {
        SCOPED_TRACE(rate + ", seed " + std::to_string(seed));
        FrameTimes frames(NumberedFilm(rate, GetParam()));
        ASSERT_TRUE(IsCounted(frames));
        std::vector<FramePlace> places = {*frames.ShownAt(0)};
        while (!places.back().bLast)
        {
            places.push_back(*frames.After(frames.UsOf(places.back().Ticks)));
        }
        ASSERT_EQ(places.size(), FilmFrames);
        for (int i = 0; i < 200; ++i)
        {
            const std::size_t a = random() % places.size();
            const std::size_t b = random() % places.size();
            const FramePlace& first = places[std::min(a, b)];
            const FramePlace& last = places[std::max(a, b)];
            const FrameTimes::Range range = frames.RangeOf(first, last);
            const double inSec = SecOfMs(range.InMs);
            const double outSec = SecOfMs(range.OutMs);
            EXPECT_EQ(range.InMs, frames.MsOf(first.Ticks));
            EXPECT_EQ(frames.FirstOfClip(inSec)->Ticks, first.Ticks);
            EXPECT_EQ(frames.LastOfClip(inSec, outSec)->Ticks, last.Ticks);
            const auto count = static_cast<std::int64_t>(std::max(a, b) - std::min(a, b) + 1);
            EXPECT_EQ(frames.CountOfClip(inSec, outSec), count);
            // A millisecond more would let the frame in that follows.
            if (!last.bLast)
            {
                EXPECT_EQ(frames.CountOfClip(inSec, outSec + 0.001), count + 1);
            }
        }
    }
}

TEST(FrameTimes, TellWhichFrameIsOnAtATime)
{
    FrameTimes frames(NumberedFilm("30000/1001", "mp4"));
    ASSERT_TRUE(IsCounted(frames));
    const auto numberAt = [&](std::int64_t Us) { return *frames.NumberAt(Us); };
    const auto usOf = [&](std::int64_t Us) { return frames.UsOf(frames.ShownAt(Us)->Ticks); };
    EXPECT_EQ(numberAt(0), 0);
    EXPECT_EQ(numberAt(-1'000'000), 0);
    // Frame 5 begins at 0.1668333: from 0.166 on it is meant.
    EXPECT_EQ(numberAt(165'999), 4);
    EXPECT_EQ(numberAt(166'000), 5);
    EXPECT_EQ(numberAt(166'833), 5);
    EXPECT_EQ(numberAt(199'999), 5);
    EXPECT_EQ(usOf(166'000), 166'833);
    EXPECT_EQ(usOf(165'999), 133'466);
    EXPECT_EQ(numberAt(1'000'000'000), FilmFrames - 1);
    EXPECT_EQ(usOf(1'000'000'000), frames.UsOf(frames.Last()->Ticks));
    EXPECT_EQ(frames.Before(0)->Ticks, frames.ShownAt(0)->Ticks);
    EXPECT_EQ(frames.After(1'000'000'000)->Ticks, frames.Last()->Ticks);
    EXPECT_EQ(frames.Count(), FilmFrames);
}

TEST(FrameTimes, AnswerWhileTheFileIsStillRead)
{
    const std::string path = NumberedFilm("25", "mkv");
    for (int i = 0; i < 20; ++i)
    {
        FrameTimes frames(path);
        const std::optional<FramePlace> place = frames.ShownAt(2'000'000);
        ASSERT_TRUE(place);
        EXPECT_EQ(frames.UsOf(place->AfterTicks) - frames.UsOf(place->Ticks), 40'000);
    }
}

TEST(FrameTimes, SayWhenTheyAreCounted)
{
    std::atomic<bool> bCounted = false;
    FrameTimes frames(NumberedFilm("25", "mkv"), [&] { bCounted = true; });
    EXPECT_TRUE(WaitFor([&] { return bCounted.load(); }));
    EXPECT_EQ(frames.Count(), FilmFrames);
}

TEST(FrameTimes, AreNoneWhereThereIsNoVideo)
{
    const TempFolder folder;
    const std::string text = (folder.Path() / "text.mp4").string();
    std::ofstream(text) << "not a video\n";
    const std::string list = (folder.Path() / "list.mp4").string();
    std::ofstream(list) << "ffconcat version 1.0\nfile " << NumberedFilm("25", "mp4") << '\n';
    const std::string sound = (folder.Path() / "sound.mp4").string();
    MakeMedia(
        "-f lavfi -i sine=duration=1 -f lavfi -i color=size=16x16:duration=0.04 -map 0 -map 1 "
        "-c:v png -disposition:v attached_pic",
        sound);
    for (const std::string& path : {text, list, sound, text + ".gone"})
    {
        FrameTimes frames(path);
        EXPECT_FALSE(frames.IsOpen()) << path;
        EXPECT_FALSE(frames.ShownAt(0)) << path;
        EXPECT_FALSE(frames.Last()) << path;
        EXPECT_FALSE(frames.Count()) << path;
        EXPECT_FALSE(frames.CountOfClip(0.0, 1.0)) << path;
    }
}

// A pipe that nobody writes to is opened for ever, as a file is on a network disk that is gone.
TEST(FrameTimes, OfADiskThatDoesNotAnswerHoldNobodyUp)
{
    const TempFolder folder;
    const std::string pipe = (folder.Path() / "pipe.mp4").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto begin = std::chrono::steady_clock::now();
    {
        FrameTimes frames(pipe, {}, std::chrono::milliseconds(100));
        EXPECT_FALSE(frames.IsOpen());
        for (int i = 0; i < 1000; ++i)
        {
            EXPECT_FALSE(frames.ShownAt(i));
        }
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    // Lets the thread go, which ends with the pipe.
    const int writer = open(pipe.c_str(), O_WRONLY);
    EXPECT_GE(writer, 0);
    close(writer);
}
