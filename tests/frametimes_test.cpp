#include "media/frametimes.h"

#include "fakes/numberedfilms.h"
#include "waitfor.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
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
        times.push_back(std::stod(line));
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
