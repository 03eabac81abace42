// Loading a clip onto the timeline and jumping to its In and Out.

#include "panel/panelfixture.h"

#include <cmath>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

namespace
{
class Navigation : public PanelTest
{
protected:
    Navigation()
    {
        AddClip("Intro", 2.0, 5.0);
        Select(0);
        Video.SeekTargetUs = 777;
    }

    std::string Load() const { return StatusOf(&MvClipControlPanel::LoadSelectedClip); }
    std::string Jump() const { return StatusOf(&MvClipControlPanel::JumpToSelectedClip); }
    std::string JumpOut() const { return StatusOf(&MvClipControlPanel::JumpOutSelectedClip); }

    SavedClip& Clip() const { return Panel->Clips[0]; }

    /// Gives the clip a source that exists and is not the one that is open.
    std::string GiveOtherSource() const
    {
        Clip().SourcePath = MakeFile("other.mp4");
        return Clip().SourcePath;
    }

    /// Lets an observer of the window change the clip while a file is opened.
    void ChangeClipAtLoad() const
    {
        Host().OnCall = [this](const std::string& Call)
        {
            if (Call.starts_with("LoadVideoFile"))
            {
                Clip() = SavedClip();
            }
        };
    }

    void ExpectVideoUntouched() const
    {
        EXPECT_EQ(Video.SeekTargetUs, 777);
        EXPECT_EQ(Video.FilePath, "/media/holiday.mp4");
        EXPECT_FALSE(TimelineAnswer().bHasRange);
    }

    const std::string NoTimeline = "Select a clip and ensure a video timeline is available.";
    const std::string NoWindow = "Select a clip and ensure a video window is available.";
};

using LoadClip = Navigation;
using JumpToClip = Navigation;
using SeekPosition = Navigation;
using ClipSource = Navigation;
} // namespace

TEST_F(LoadClip, MarksTheRangeThenSeeksToIn)
{
    EXPECT_EQ(Load(), "Loaded Intro onto the video timeline.");
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                                   "SetRangeSelection(2, 5, false)", "Seek(4) to 2000000",
                                   "Status(Loaded Intro onto the video timeline.)"));
    EXPECT_EQ(Video.SeekTargetUs, 2000000);
}

TEST_F(LoadClip, OpensAnotherSourceFirst)
{
    const std::string source = GiveOtherSource();
    Load();
    EXPECT_THAT(Log(),
                ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                            "LoadVideoFile(" + source + ", false)",
                            "SetDefaultVideoFile(" + source + ")", "SetRangeSelection(2, 5, false)",
                            "Seek(4) to 2000000", "Status(Loaded Intro onto the video timeline.)"));
}

TEST_F(LoadClip, SeeksTheVideoThatLoadingLeft)
{
    GiveOtherSource();
    MvVideo replacement;
    Host().OnCall = [&](const std::string& Call)
    {
        if (Call.starts_with("LoadVideoFile"))
        {
            VideoWindow.pVideo = &replacement;
        }
    };
    Load();
    EXPECT_EQ(replacement.SeekTargetUs, 2000000);
    EXPECT_EQ(Video.SeekTargetUs, 777);
}

TEST_F(LoadClip, WorksOnTheClipAsItWasThoughItChangesMeanwhile)
{
    const std::string source = GiveOtherSource();
    ChangeClipAtLoad();
    EXPECT_EQ(Load(), "Loaded Intro onto the video timeline.");
    EXPECT_THAT(Log(),
                ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                            "LoadVideoFile(" + source + ", false)",
                            "SetDefaultVideoFile(" + source + ")", "SetRangeSelection(2, 5, false)",
                            "Seek(4) to 2000000", "Status(Loaded Intro onto the video timeline.)"));
}

TEST_F(LoadClip, MarksAnOutBeforeItsInAsItIs)
{
    Clip().StartSec = 5.0;
    Clip().EndSec = -1.5;
    Load();
    EXPECT_EQ(TimelineAnswer().RangeStartSec, 5.0);
    EXPECT_EQ(TimelineAnswer().RangeEndSec, -1.5);
}

TEST_F(LoadClip, ResolvesAllThreeThoughTheFirstIsMissing)
{
    Select(-1);
    EXPECT_EQ(Load(), NoTimeline);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                                   "Status(" + NoTimeline + ")"));
    ExpectVideoUntouched();
}

TEST_F(LoadClip, RefusesWithoutATimeline)
{
    Host().Children.clear();
    EXPECT_EQ(Load(), NoTimeline);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                                   "Status(" + NoTimeline + ")"));
    ExpectVideoUntouched();
}

TEST_F(LoadClip, RefusesWithoutAWindow)
{
    TakeVideoWindowAway();
    EXPECT_EQ(Load(), NoTimeline);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(3)", "GetWindow(3)", "Status(" + NoTimeline + ")"));
    ExpectVideoUntouched();
}

TEST_F(LoadClip, RefusesWhenTheWindowGoesBehindItsTimeline)
{
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "GetChild(0)")
        {
            TakeVideoWindowAway();
        }
    };
    EXPECT_EQ(Load(), NoTimeline);
    ExpectVideoUntouched();
}

TEST_F(LoadClip, RefusesWithoutAVideo)
{
    VideoWindow.pVideo = nullptr;
    EXPECT_EQ(Load(), NoTimeline);
    ExpectVideoUntouched();
}

TEST_F(LoadClip, ReportsAMissingSourceAndTouchesNothing)
{
    Clip().SourcePath = Folder.Path() / "gone.mp4";
    EXPECT_EQ(Load(), "Clip source file is missing: " + Clip().SourcePath);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                                   "Status(" + Panel->StatusText + ")"));
    ExpectVideoUntouched();
}

TEST_F(LoadClip, ReportsASourceThatDoesNotOpenAndTouchesNothing)
{
    const std::string source = GiveOtherSource();
    Host().bLoadSucceeds = false;
    EXPECT_EQ(Load(), "Failed to load clip source: other.mp4");
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                                   "LoadVideoFile(" + source + ", false)",
                                   "Status(Failed to load clip source: other.mp4)"));
    ExpectVideoUntouched();
}

TEST_F(JumpToClip, SeeksToInAndLeavesTheRangeAlone)
{
    EXPECT_EQ(Jump(), "Jumped to Intro");
    EXPECT_THAT(Log(),
                ElementsAre("GetWindow(7)", "Seek(4) to 2000000", "Status(Jumped to Intro)"));
    EXPECT_FALSE(TimelineAnswer().bHasRange);
}

TEST_F(JumpToClip, SeeksToOutAndLeavesTheRangeAlone)
{
    EXPECT_EQ(JumpOut(), "Jumped to Out for Intro");
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "Seek(4) to 5000000",
                                   "Status(Jumped to Out for Intro)"));
    EXPECT_FALSE(TimelineAnswer().bHasRange);
}

TEST_F(JumpToClip, NeedsNoTimeline)
{
    Host().Children.clear();
    EXPECT_EQ(Jump(), "Jumped to Intro");
    EXPECT_EQ(JumpOut(), "Jumped to Out for Intro");
}

TEST_F(JumpToClip, OpensAnotherSourceFirst)
{
    const std::string source = GiveOtherSource();
    Jump();
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "LoadVideoFile(" + source + ", false)",
                                   "SetDefaultVideoFile(" + source + ")", "Seek(4) to 2000000",
                                   "Status(Jumped to Intro)"));
    Video.FilePath = "/media/holiday.mp4";
    JumpOut();
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "LoadVideoFile(" + source + ", false)",
                                   "SetDefaultVideoFile(" + source + ")", "Seek(4) to 5000000",
                                   "Status(Jumped to Out for Intro)"));
}

TEST_F(JumpToClip, SeeksTheVideoThatLoadingLeft)
{
    for (const Action action :
         {&MvClipControlPanel::JumpToSelectedClip, &MvClipControlPanel::JumpOutSelectedClip})
    {
        VideoWindow.pVideo = &Video;
        Video.FilePath = "/media/holiday.mp4";
        GiveOtherSource();
        MvVideo replacement;
        Host().OnCall = [&](const std::string& Call)
        {
            if (Call.starts_with("LoadVideoFile"))
            {
                VideoWindow.pVideo = &replacement;
            }
        };
        StatusOf(action);
        EXPECT_NE(replacement.SeekTargetUs, 0);
        EXPECT_EQ(Video.SeekTargetUs, 777);
    }
}

TEST_F(JumpToClip, WorksOnTheClipAsItWasThoughItChangesMeanwhile)
{
    const std::string source = GiveOtherSource();
    ChangeClipAtLoad();
    EXPECT_EQ(JumpOut(), "Jumped to Out for Intro");
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "LoadVideoFile(" + source + ", false)",
                                   "SetDefaultVideoFile(" + source + ")", "Seek(4) to 5000000",
                                   "Status(Jumped to Out for Intro)"));
}

TEST_F(JumpToClip, TellsTheSourceThatDidNotOpenThoughTheClipChangesMeanwhile)
{
    GiveOtherSource();
    ChangeClipAtLoad();
    Host().bLoadSucceeds = false;
    EXPECT_EQ(Jump(), "Failed to load clip source: other.mp4");
}

TEST_F(JumpToClip, RefusesWithoutASelectionButResolvesTheWindow)
{
    Select(-1);
    for (const Action action :
         {&MvClipControlPanel::JumpToSelectedClip, &MvClipControlPanel::JumpOutSelectedClip})
    {
        EXPECT_EQ(StatusOf(action), NoWindow);
        EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "Status(" + NoWindow + ")"));
    }
    ExpectVideoUntouched();
}

TEST_F(JumpToClip, RefusesWithoutAWindow)
{
    TakeVideoWindowAway();
    EXPECT_EQ(Jump(), NoWindow);
    EXPECT_EQ(JumpOut(), NoWindow);
    ExpectVideoUntouched();
}

TEST_F(JumpToClip, RefusesWithoutAVideo)
{
    VideoWindow.pVideo = nullptr;
    EXPECT_EQ(Jump(), NoWindow);
    EXPECT_EQ(JumpOut(), NoWindow);
    ExpectVideoUntouched();
}

TEST_F(JumpToClip, ReportsAMissingSourceAndTouchesNothing)
{
    Clip().SourcePath = Folder.Path() / "gone.mp4";
    const std::string status = "Clip source file is missing: " + Clip().SourcePath;
    EXPECT_EQ(Jump(), status);
    EXPECT_EQ(JumpOut(), status);
    ExpectVideoUntouched();
}

TEST_F(JumpToClip, ReportsASourceThatDoesNotOpenAndTouchesNothing)
{
    GiveOtherSource();
    Host().bLoadSucceeds = false;
    EXPECT_EQ(Jump(), "Failed to load clip source: other.mp4");
    EXPECT_EQ(JumpOut(), "Failed to load clip source: other.mp4");
    ExpectVideoUntouched();
}

TEST_F(SeekPosition, IsRoundedToMicrosecondsHalvesAwayFromZero)
{
    struct Case
    {
        double Sec;
        std::int64_t TargetUs;
    };
    for (const Case& c : std::vector<Case>{{0.0, 0},
                                           {0.0000025, 3},
                                           {-0.0000025, -3},
                                           {0.0000005, 1},
                                           {0.0000024, 2},
                                           {1.0000004, 1000000},
                                           {-1.5, -1500000},
                                           {1.0 / 3.0, 333333},
                                           {9000000000.25, 9000000000250000}})
    {
        Clip().StartSec = c.Sec;
        Clip().EndSec = c.Sec;
        Jump();
        EXPECT_EQ(Video.SeekTargetUs, c.TargetUs) << c.Sec;
        Video.SeekTargetUs = 777;
        JumpOut();
        EXPECT_EQ(Video.SeekTargetUs, c.TargetUs) << c.Sec;
        Video.SeekTargetUs = 777;
        Load();
        EXPECT_EQ(Video.SeekTargetUs, c.TargetUs) << c.Sec;
    }
}

TEST_F(SeekPosition, StaysOneMillisecondBeforeTheEndOfTheMedia)
{
    struct Case
    {
        std::int64_t DurationUs;
        double Sec;
        std::int64_t TargetUs;
    };
    for (const Case& c : std::vector<Case>{{10000000, 12.0, 9999000},
                                           {10000000, 10.0, 9999000},
                                           {10000000, 9.999001, 9999000},
                                           {10000000, 9.999, 9999000},
                                           {10000000, 9.998999, 9998999},
                                           {10000000, 0.0, 0},
                                           {9000000000, 8000.0, 8000000000}, // beyond 32 bits
                                           {9000000000, 1e6, 8999999000},
                                           {10000000, -1.0, 0},
                                           {500, 12.0, 0},
                                           {500, 0.0001, 0},
                                           {1, 12.0, 0},
                                           {1000, 12.0, 0},
                                           {1001, 12.0, 1},
                                           {0, 12.0, 12000000},
                                           {0, -1.0, -1000000},
                                           {-1, 12.0, 12000000},
                                           {-10000000, -1.0, -1000000}})
    {
        MvMediaInfo info;
        info.DurationUs = c.DurationUs;
        Video.pMediaInfo = &info;
        Clip().EndSec = c.Sec;
        JumpOut();
        EXPECT_EQ(Video.SeekTargetUs, c.TargetUs) << c.DurationUs << ' ' << c.Sec;
        Clip().StartSec = c.Sec;
        Video.SeekTargetUs = 777;
        Jump();
        EXPECT_EQ(Video.SeekTargetUs, c.TargetUs) << c.DurationUs << ' ' << c.Sec;
        Video.SeekTargetUs = 777;
        Load();
        EXPECT_EQ(Video.SeekTargetUs, c.TargetUs) << c.DurationUs << ' ' << c.Sec;
    }
}

TEST_F(SeekPosition, IsClampedToTheMediaThatLoadingLeft)
{
    GiveOtherSource();
    MvMediaInfo info;
    info.DurationUs = 3000000;
    Host().OnCall = [&](const std::string& Call)
    {
        if (Call.starts_with("LoadVideoFile"))
        {
            Video.pMediaInfo = &info;
        }
    };
    JumpOut();
    EXPECT_EQ(Video.SeekTargetUs, 2999000);
}

TEST_F(ClipSource, OfNoPathPlaysOnWhateverIsOpen)
{
    Clip().SourcePath.clear();
    EXPECT_TRUE(Panel->EnsureClipSourceLoaded(Clip(), &VideoWindow));
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(Load(), "Loaded Intro onto the video timeline.");
}

TEST_F(ClipSource, ThatIsOpenIsNotLoadedAgainThoughItsFileIsGone)
{
    EXPECT_TRUE(Panel->EnsureClipSourceLoaded(Clip(), &VideoWindow));
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ClipSource, IsComparedByteForByte)
{
    const std::string source = GiveOtherSource();
    Video.FilePath = Folder.Path() / "." / "other.mp4";
    EXPECT_TRUE(Panel->EnsureClipSourceLoaded(Clip(), &VideoWindow));
    EXPECT_THAT(Log(), ElementsAre("LoadVideoFile(" + source + ", false)",
                                   "SetDefaultVideoFile(" + source + ")"));
}

TEST_F(ClipSource, IsComparedAndToldBeyondANulByte)
{
    const std::string nul("\0more", 5);
    Clip().Name = "a" + nul;
    Clip().SourcePath = MakeFile("a.mp4") + nul; // the file system knows it up to the NUL
    Video.FilePath = Folder.Path() / "a.mp4";
    EXPECT_EQ(Load(), "Loaded a" + nul + " onto the video timeline.");
    EXPECT_EQ(Video.FilePath, Clip().SourcePath);
    EXPECT_EQ(Log().at(4), "SetDefaultVideoFile(" + Clip().SourcePath + ")");
    EXPECT_EQ(Jump(), "Jumped to a" + nul);
    EXPECT_THAT(Log(), Not(Contains(StartsWith("LoadVideoFile"))));
    Host().bLoadSucceeds = false;
    Video.FilePath = "other";
    EXPECT_EQ(Jump(), "Failed to load clip source: a.mp4" + nul);
    Clip().SourcePath = "/gone" + nul;
    EXPECT_EQ(Jump(), "Clip source file is missing: /gone" + nul);
}

TEST_F(ClipSource, NeedsAWindowWithAVideo)
{
    const std::string status = "Status(Video window is not available for the selected clip.)";
    Clip().SourcePath.clear();
    EXPECT_FALSE(Panel->EnsureClipSourceLoaded(Clip(), nullptr));
    VideoWindow.pVideo = nullptr;
    EXPECT_FALSE(Panel->EnsureClipSourceLoaded(Clip(), &VideoWindow));
    EXPECT_THAT(Log(), ElementsAre(status, status));
}

TEST_F(ClipSource, MayBeAnyEntryThatTheWindowOpens)
{
    Clip().SourcePath = Folder.Path();
    EXPECT_TRUE(Panel->EnsureClipSourceLoaded(Clip(), &VideoWindow));
}

TEST_F(ClipSource, ThatCanNotBeAskedForIsAnException)
{
    for (const std::string& source :
         {MakeLinkLoop("loop.mp4"), (Folder.Path() / std::string(300, 'x')).string()})
    {
        Clip().SourcePath = source;
        Log().clear();
        EXPECT_THROW(Panel->EnsureClipSourceLoaded(Clip(), &VideoWindow),
                     std::filesystem::filesystem_error);
        EXPECT_THROW(Panel->LoadSelectedClip(), std::filesystem::filesystem_error);
        EXPECT_THROW(Panel->JumpToSelectedClip(), std::filesystem::filesystem_error);
        EXPECT_THROW(Panel->JumpOutSelectedClip(), std::filesystem::filesystem_error);
        ExpectVideoUntouched();
        EXPECT_EQ(Panel->StatusText, "");
    }
}

TEST_F(ClipSource, ThatIsADanglingLinkIsMissing)
{
    const std::filesystem::path link = Folder.Path() / "link.mp4";
    std::filesystem::create_symlink(Folder.Path() / "nowhere", link);
    Clip().SourcePath = link;
    EXPECT_EQ(Load(), "Clip source file is missing: " + link.native());
}
