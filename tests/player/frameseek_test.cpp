// What the player shows, in every rate and container, against the numbers in the frames.

#include "player/mpvvideo.h"
#include "support/numberedfilms.h"
#include "support/waitfor.h"

#include <gtest/gtest.h>
#include <mpv/client.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <string>

namespace
{
// The number of the frame that the player shows, -1 for none.
int ShownNumber(const MpvVideo& Video)
{
    std::array<const char*, 3> command = {"screenshot-raw", "video", nullptr};
    mpv_node result = {};
    if (mpv_command_ret(Video.Handle(), command.data(), &result) < 0)
    {
        return -1;
    }
    int number = -1;
    for (int i = 0; i < result.u.list->num; ++i)
    {
        const mpv_node& value = result.u.list->values[i];
        if (value.format == MPV_FORMAT_BYTE_ARRAY)
        {
            const int brightness = static_cast<const unsigned char*>(value.u.ba->data)[0];
            number =
                static_cast<int>(std::lround((brightness * 219.0 / 255.0 + 16.0 - 30.0) / 2.0));
        }
    }
    mpv_free_node_contents(&result);
    return number;
}

class FramesInThePlayer : public ::testing::TestWithParam<std::string>
{
protected:
    FramesInThePlayer()
    {
        std::string error;
        pVideo = MpvVideo::Create({}, error);
    }
    bool Shows(int Number) const
    {
        return pVideo->WaitForSeek(Deadline) &&
               WaitFor([&] { return ShownNumber(*pVideo) == Number; });
    }
    void SeekTo(std::int64_t Us) const
    {
        pVideo->SeekTargetUs = Us;
        pVideo->Seek(SeekToTarget);
    }
    /// The time of a frame, and its place.
    FramePlace PlaceOf(int Number) const
    {
        FrameTimes& frames = *pVideo->Frames();
        FramePlace place = *frames.ShownAt(0);
        for (int i = 0; i < Number; ++i)
        {
            place = *frames.After(frames.UsOf(place.Ticks));
        }
        return place;
    }

    std::unique_ptr<MpvVideo> pVideo;
};

std::string PlainName(const ::testing::TestParamInfo<std::string>& Info)
{
    return Info.param;
}
} // namespace

TEST_P(FramesInThePlayer, AreShownFromTheirTimeToTheNextOnes)
{
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    std::string error;
    for (const std::string& rate : FilmRatesAndIrregular())
    {
        SCOPED_TRACE(rate + ", seed " + std::to_string(seed));
        ASSERT_TRUE(pVideo->Open(NumberedFilm(rate, GetParam()), error)) << error;
        const FrameTimes& frames = *pVideo->Frames();
        EXPECT_EQ(std::llround(pVideo->CurrentTimeSec() * 1e6), frames.UsOf(PlaceOf(0).Ticks));
        for (int i = 0; i < 4; ++i)
        {
            const int number = static_cast<int>(random() % (FilmFrames - 2)) + 1;
            const FramePlace place = PlaceOf(number);
            const std::int64_t us = frames.UsOf(place.Ticks);
            for (const std::int64_t target :
                 {us, frames.MsOf(place.Ticks) * 1000, (us + frames.UsOf(place.AfterTicks)) / 2})
            {
                SeekTo(target);
                ASSERT_TRUE(Shows(number))
                    << number << " at " << target << " shows " << ShownNumber(*pVideo);
                EXPECT_EQ(std::llround(pVideo->CurrentTimeSec() * 1e6), us);
            }
            pVideo->Seek(StepFrameForward);
            ASSERT_TRUE(Shows(number + 1)) << number;
            EXPECT_EQ(std::llround(pVideo->CurrentTimeSec() * 1e6), frames.UsOf(place.AfterTicks));
            pVideo->Seek(StepFrameBack);
            pVideo->Seek(StepFrameBack);
            ASSERT_TRUE(Shows(number - 1)) << number;
            EXPECT_EQ(std::llround(pVideo->CurrentTimeSec() * 1e6), frames.UsOf(place.BeforeTicks));
        }
        pVideo->Seek(SeekToEnd);
        ASSERT_TRUE(Shows(FilmFrames - 1));
        pVideo->Seek(StepFrameForward);
        ASSERT_TRUE(Shows(FilmFrames - 1));
        pVideo->Seek(SeekToStart);
        ASSERT_TRUE(Shows(0));
    }
}

INSTANTIATE_TEST_SUITE_P(Containers,
                         FramesInThePlayer,
                         ::testing::ValuesIn(FilmContainers()),
                         PlainName);
