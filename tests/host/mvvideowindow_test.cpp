#include "host/mvvideowindow.h"

#include "host/mvtimecontrol.h"
#include "support/fakevideo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>

namespace
{
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

FakeVideo& AddPlayer(MvVideoWindow& Window)
{
    auto video = std::make_unique<FakeVideo>();
    FakeVideo& result = *video;
    Window.SetVideo(std::move(video));
    return result;
}

class WatchedVideo : public FakeVideo
{
public:
    explicit WatchedVideo(bool& bOutGone)
        : bGone(bOutGone)
    {
    }
    ~WatchedVideo() override { bGone = true; }

private:
    bool& bGone;
};

/// Has no file open after a refusal: the earlier one could not be opened again.
class ForgetfulVideo : public FakeVideo
{
public:
    bool Open(const std::string& Path, std::string& OutError) override
    {
        FilePath.clear();
        pMediaInfo = nullptr;
        return FakeVideo::Open(Path, OutError);
    }
};

TEST(MvVideoWindow, IsMadeOpenAndVisibleWithATimelineAndNoPlayer)
{
    MvVideoWindow window;
    EXPECT_TRUE(window.bOpen);
    EXPECT_TRUE(window.bVisible);
    EXPECT_FALSE(window.bClosing);
    EXPECT_FALSE(window.bFocused);
    EXPECT_EQ(window.pVideo, nullptr);
    EXPECT_EQ(window.LoadError(), "");
    ASSERT_NE(window.GetChildAs<MvTimeControl>(0), nullptr);
    EXPECT_EQ(&window.Timeline(), window.GetChildAs<MvTimeControl>(0));
}

TEST(MvVideoWindow, HoldsThePlayerThatIsSet)
{
    MvVideoWindow window;
    const FakeVideo& video = AddPlayer(window);
    EXPECT_EQ(window.pVideo, &video);
}

TEST(MvVideoWindow, DestroysAPlayerThatIsReplaced)
{
    MvVideoWindow window;
    bool bGone = false;
    window.SetVideo(std::make_unique<WatchedVideo>(bGone));
    const FakeVideo& video = AddPlayer(window);
    EXPECT_TRUE(bGone);
    EXPECT_EQ(window.pVideo, &video);
}

TEST(MvVideoWindow, TakesThePlayerOutForNull)
{
    MvVideoWindow window;
    bool bGone = false;
    window.SetVideo(std::make_unique<WatchedVideo>(bGone));
    window.SetVideo(nullptr);
    EXPECT_TRUE(bGone);
    EXPECT_EQ(window.pVideo, nullptr);
}

TEST(MvVideoWindow, LoadsNothingWithoutAPlayerAndSaysSo)
{
    MvVideoWindow window;
    EXPECT_FALSE(window.LoadVideoFile("/videos/a.mkv", false));
    EXPECT_THAT(window.LoadError(), HasSubstr("no player"));
    EXPECT_EQ(window.Timeline().DurationSec(), 0.0);
}

TEST(MvVideoWindow, OpensAFilePausedWithItsLengthOnTheTimeline)
{
    MvVideoWindow window;
    FakeVideo& video = AddPlayer(window);
    video.NextDurationUs = 12'345'678;
    EXPECT_TRUE(window.LoadVideoFile("/videos/a b.mkv", false));
    EXPECT_THAT(video.OpenedPaths, ElementsAre("/videos/a b.mkv"));
    EXPECT_FALSE(video.bPlaying);
    EXPECT_DOUBLE_EQ(window.Timeline().DurationSec(), 12.345678);
    EXPECT_EQ(window.LoadError(), "");
}

TEST(MvVideoWindow, PlaysAtOnceOnRequest)
{
    MvVideoWindow window;
    const FakeVideo& video = AddPlayer(window);
    EXPECT_TRUE(window.LoadVideoFile("/videos/a.mkv", true));
    EXPECT_TRUE(video.bPlaying);
}

TEST(MvVideoWindow, ShowsAnUnknownLengthAsZero)
{
    struct Case
    {
        std::int64_t DurationUs;
        double ExpectedSec;
    };
    for (const Case& one : {Case{std::numeric_limits<std::int64_t>::min(), 0.0}, Case{-1, 0.0},
                            Case{0, 0.0}, Case{1, 1e-6}, Case{1'000'000, 1.0},
                            Case{std::numeric_limits<std::int64_t>::max(), 9223372036854.775807}})
    {
        MvVideoWindow window;
        AddPlayer(window).NextDurationUs = one.DurationUs;
        ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
        EXPECT_DOUBLE_EQ(window.Timeline().DurationSec(), one.ExpectedSec) << one.DurationUs;
    }
}

TEST(MvVideoWindow, LoadsAFileOfWhichNothingIsKnown)
{
    MvVideoWindow window;
    AddPlayer(window).bGivesMediaInfo = false;
    EXPECT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    EXPECT_EQ(window.Timeline().DurationSec(), 0.0);
}

TEST(MvVideoWindow, KeepsTheOpenFileWithItsMarkingWhenAnotherCannotBeOpened)
{
    MvVideoWindow window;
    FakeVideo& video = AddPlayer(window);
    ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    window.Timeline().SetRangeSelection(1.0, 2.0, false);
    window.Timeline().AddMarkerAtCurrentTime();
    video.OpenError = "The file is not a video.";
    video.NextDurationUs = 1;

    EXPECT_FALSE(window.LoadVideoFile("/videos/b.txt", true));
    EXPECT_EQ(window.LoadError(), "The file is not a video.");
    EXPECT_FALSE(video.bPlaying);
    EXPECT_EQ(video.FilePath, "/videos/a.mkv");
    EXPECT_EQ(window.Timeline().DurationSec(), 10.0);
    EXPECT_EQ(window.Timeline().RangeEndSec(), 2.0);
    EXPECT_THAT(window.Timeline().Markers, SizeIs(1));
}

TEST(MvVideoWindow, ShowsNoMarkingWhenNoFileIsOpenAfterARefusal)
{
    MvVideoWindow window;
    auto pOwned = std::make_unique<ForgetfulVideo>();
    ForgetfulVideo& video = *pOwned;
    window.SetVideo(std::move(pOwned));
    ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    window.Timeline().SetRangeSelection(1.0, 2.0, false);
    window.Timeline().AddMarkerAtCurrentTime();
    video.OpenError = "The file is not a video.";

    EXPECT_FALSE(window.LoadVideoFile("/videos/b.txt", true));
    EXPECT_EQ(window.LoadError(), "The file is not a video.");
    EXPECT_EQ(window.Timeline().DurationSec(), 0.0);
    EXPECT_FALSE(window.Timeline().HasRangeSelection());
    EXPECT_THAT(window.Timeline().Markers, IsEmpty());

    video.OpenError.clear();
    ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    EXPECT_EQ(window.Timeline().RangeEndSec(), 2.0);
    EXPECT_THAT(window.Timeline().Markers, SizeIs(1));
}

TEST(MvVideoWindow, ForgetsTheErrorOfAnEarlierLoad)
{
    MvVideoWindow window;
    FakeVideo& video = AddPlayer(window);
    video.OpenError = "The file is not a video.";
    ASSERT_FALSE(window.LoadVideoFile("/videos/b.txt", false));
    video.OpenError.clear();
    EXPECT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    EXPECT_EQ(window.LoadError(), "");
}

TEST(MvVideoWindow, BringsBackTheMarkingOfASourceThatReturns)
{
    MvVideoWindow window;
    AddPlayer(window);
    ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    window.Timeline().SetRangeSelection(1.0, 2.0, false);
    ASSERT_TRUE(window.LoadVideoFile("/videos/b.mkv", false));
    EXPECT_FALSE(window.Timeline().HasRangeSelection());
    ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    EXPECT_TRUE(window.Timeline().HasRangeSelection());
    EXPECT_EQ(window.Timeline().RangeStartSec(), 1.0);
}

TEST(MvVideoWindow, OpensTheOpenFileAgainFromItsOwnPath)
{
    MvVideoWindow window;
    FakeVideo& video = AddPlayer(window);
    ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    window.Timeline().SetRangeSelection(1.0, 2.0, false);
    EXPECT_TRUE(window.LoadVideoFile(window.pVideo->FilePath, false));
    EXPECT_THAT(video.OpenedPaths, ElementsAre("/videos/a.mkv", "/videos/a.mkv"));
    EXPECT_TRUE(window.Timeline().HasRangeSelection());
}

TEST(MvVideoWindow, SeeksWithThePlayer)
{
    MvVideoWindow window;
    FakeVideo& video = AddPlayer(window);
    ASSERT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    EXPECT_THAT(video.SeekCalls, IsEmpty());
    window.pVideo->SeekTargetUs = 1'500'000;
    window.pVideo->Seek(SeekToTarget);
    ASSERT_THAT(video.SeekCalls, SizeIs(1));
    EXPECT_EQ(video.SeekCalls[0].Request, 4);
    EXPECT_EQ(window.pVideo->CurrentTimeSec(), 1.5);
}

// A jump asks for a video window alone, so a file is opened in windows of every make-up.
TEST(MvVideoWindow, LoadsAFileAlsoWhenChildZeroIsNoTimeline)
{
    MvVideoWindow window;
    const FakeVideo& video = AddPlayer(window);
    window.SetChild(0, std::make_unique<MvChildWindow>());
    EXPECT_TRUE(window.LoadVideoFile("/videos/a.mkv", false));
    EXPECT_EQ(video.FilePath, "/videos/a.mkv");
}
} // namespace
