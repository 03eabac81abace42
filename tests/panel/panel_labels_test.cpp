// The time format, the names of sources, the three live labels, the name input.

#include "panel/panelfixture.h"
#include "support/extremes.h"

#include <stdexcept>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class LiveLabels : public PanelTest
{
};

class NameInputSync : public PanelTest
{
};
} // namespace

TEST(TimeLabel, IsMinutesAndSecondsBelowOneHourAndHoursFromThere)
{
    struct Case
    {
        double TimeSec;
        const char* Text;
    };
    const std::vector<Case> cases = {
        {0.0, "00:00"},        {-0.0, "00:00"},         {-5.0, "00:00"},
        {-0.6, "00:00"},       {-1e300, "00:00"},       {NotANumber, "00:00"},
        {Infinity, "00:00"},   {-Infinity, "00:00"},    {0.49, "00:00"},
        {0.5, "00:01"},        {1.5, "00:02"},          {2.5, "00:03"},
        {1.0, "00:01"},        {59.0, "00:59"},         {59.49, "00:59"},
        {59.5, "01:00"},       {60.0, "01:00"},         {61.0, "01:01"},
        {599.0, "09:59"},      {600.0, "10:00"},        {3599.0, "59:59"},
        {3599.4, "59:59"},     {3599.5, "1:00:00"},     {3600.0, "1:00:00"},
        {3661.0, "1:01:01"},   {3725.0, "1:02:05"},     {45296.0, "12:34:56"},
        {86399.0, "23:59:59"}, {360000.0, "100:00:00"}, {9e15, "2500000000000:00:00"},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(MvClipControlPanel::FormatTimeLabel(c.TimeSec), c.Text) << c.TimeSec;
    }
}

TEST(BaseName, IsTheLastElementElseThePathItself)
{
    struct Case
    {
        std::string Path;
        std::string Name;
    };
    const std::vector<Case> cases = {
        {"", "Unknown Source"},
        {"/media/a/b.mkv", "b.mkv"},
        {"b.mkv", "b.mkv"},
        {"a/b", "b"},
        {"/media/a/", "/media/a/"},
        {"a//", "a//"},
        {"/", "/"},
        {"..", ".."},
        {"/a/.hidden", ".hidden"},
        {"/a b/c d.mkv ", "c d.mkv "},
        {"/a\\b", "a\\b"},
        {"/a/\xC3\xA9t\xC3\xA9.mkv", "\xC3\xA9t\xC3\xA9.mkv"},
        {"/a/\xFF\xFE", "\xFF\xFE"},
        {std::string("/a/b\0c", 6), std::string("b\0c", 3)},
        {std::string("/a\0b/", 5), std::string("/a\0b/", 5)},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(MvClipControlPanel::BaseNameFromPath(c.Path), c.Name) << c.Path;
    }
}

TEST_F(LiveLabels, ShowSourceRangeAndMarkers)
{
    SetRange(5.0, 70.0);
    TimelineAnswer().DisplayedTimeSec = 42.0;
    Timeline.Markers.resize(3);
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: holiday.mp4");
    EXPECT_EQ(RangeLabel.Text, "Current Range: 00:05 -> 01:10   LEN 01:05");
    EXPECT_EQ(MarkersLabel.Text, "Markers: 3   Current: 00:42");
}

TEST_F(LiveLabels, ResolveTheirTargetAfreshForEachLabel)
{
    SetRange(5.0, 70.0);
    Panel->UpdateLiveLabels();
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetWindow(7)", "GetChild(0)",
                                   "HasRangeSelection()", "RangeStartSec()", "RangeEndSec()",
                                   "GetWindow(7)", "GetChild(0)", "DisplayedTimeSec()"));
}

TEST_F(LiveLabels, FollowATargetThatGoesAwayBetweenTwoLabels)
{
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "HasRangeSelection()")
        {
            TakeVideoWindowAway();
        }
    };
    SetRange(5.0, 70.0);
    Panel->UpdateLiveLabels();
    EXPECT_EQ(RangeLabel.Text, "Current Range: 00:05 -> 01:10   LEN 01:05");
    EXPECT_EQ(MarkersLabel.Text, "Markers: video timeline unavailable.");
}

TEST_F(LiveLabels, AskForNoRangeThatIsNotSet)
{
    Panel->pSourceLabel = nullptr;
    Panel->pMarkersLabel = nullptr;
    Panel->UpdateLiveLabels();
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "HasRangeSelection()"));
}

TEST_F(LiveLabels, TellThatNoVideoIsOpen)
{
    VideoWindow.pVideo = nullptr;
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: No active video source");
}

TEST_F(LiveLabels, TellThatTheVideoHasNoFile)
{
    Video.FilePath.clear();
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: No active video source");
}

TEST_F(LiveLabels, AskForARangeButStillShowMarkersAndTime)
{
    Timeline.Markers.resize(1234);
    TimelineAnswer().DisplayedTimeSec = 3725.0;
    Panel->UpdateLiveLabels();
    EXPECT_EQ(RangeLabel.Text, "Current Range: Set In/Out on the video timeline first.");
    EXPECT_EQ(MarkersLabel.Text, "Markers: 1234   Current: 1:02:05");
}

TEST_F(LiveLabels, ShowTheLengthOfAnOutBeforeItsInAsNone)
{
    SetRange(70.0, 5.0);
    Panel->UpdateLiveLabels();
    EXPECT_EQ(RangeLabel.Text, "Current Range: 01:10 -> 00:05   LEN 00:00");
}

TEST_F(LiveLabels, RoundTheLengthByItself)
{
    SetRange(0.5, 2.4);
    Panel->UpdateLiveLabels();
    EXPECT_EQ(RangeLabel.Text, "Current Range: 00:01 -> 00:02   LEN 00:02");
}

TEST_F(LiveLabels, TellThatThereIsNoTimeline)
{
    Host().Children.clear();
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: holiday.mp4");
    EXPECT_EQ(RangeLabel.Text, "Current Range: Set In/Out on the video timeline first.");
    EXPECT_EQ(MarkersLabel.Text, "Markers: video timeline unavailable.");
}

TEST_F(LiveLabels, TellThatThereIsNoWindow)
{
    TakeVideoWindowAway();
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: No active video source");
    EXPECT_EQ(RangeLabel.Text, "Current Range: Set In/Out on the video timeline first.");
    EXPECT_EQ(MarkersLabel.Text, "Markers: video timeline unavailable.");
}

TEST_F(LiveLabels, TellTheSameWithoutACore)
{
    p = nullptr;
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: No active video source");
    EXPECT_EQ(RangeLabel.Text, "Current Range: Set In/Out on the video timeline first.");
    EXPECT_EQ(MarkersLabel.Text, "Markers: video timeline unavailable.");
}

TEST_F(LiveLabels, AreWrittenOnEveryCall)
{
    Panel->UpdateLiveLabels();
    SourceLabel.Text = RangeLabel.Text = MarkersLabel.Text = "of somebody else";
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: holiday.mp4");
    EXPECT_EQ(RangeLabel.Text, "Current Range: Set In/Out on the video timeline first.");
    EXPECT_EQ(MarkersLabel.Text, "Markers: 0   Current: 00:00");
}

TEST_F(LiveLabels, AreLeftOutOneByOne)
{
    Panel->pSourceLabel = nullptr;
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "");
    EXPECT_NE(RangeLabel.Text, "");
    EXPECT_NE(MarkersLabel.Text, "");

    RangeLabel.Text = MarkersLabel.Text = "";
    Panel->pRangeLabel = nullptr;
    Panel->UpdateLiveLabels();
    EXPECT_EQ(RangeLabel.Text, "");
    EXPECT_NE(MarkersLabel.Text, "");

    Log().clear();
    Panel->pMarkersLabel = nullptr;
    Panel->UpdateLiveLabels();
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(NameInputSync, ShowsTheNameOfTheSelectedClip)
{
    AddClip("Intro");
    Select(0);
    Panel->SyncNameInputFromSelection();
    EXPECT_EQ(NameInput.Text, "Intro");
    EXPECT_THAT(Log(), ElementsAre("SetText(Intro, false)"));
}

TEST_F(NameInputSync, EmptiesTheInputWithoutASelection)
{
    NameInput.Text = "typed";
    Panel->SyncNameInputFromSelection();
    EXPECT_EQ(NameInput.Text, "");
    EXPECT_THAT(Log(), ElementsAre("SetText(, false)"));
}

TEST_F(NameInputSync, WritesAlsoTheTextThatIsThere)
{
    AddClip("Intro");
    Select(0);
    NameInput.Text = "Intro";
    Panel->SyncNameInputFromSelection();
    EXPECT_THAT(Log(), ElementsAre("SetText(Intro, false)"));
}

TEST_F(NameInputSync, NeedsAnInput)
{
    Panel->pNameInput = nullptr;
    Panel->SyncNameInputFromSelection();
    EXPECT_FALSE(Panel->bSyncingNameInput);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(NameInputSync, IsSuppressedWhileThePanelWrites)
{
    NameInput.Text = "typed";
    Panel->bSyncingNameInput = true;
    Panel->SyncNameInputFromSelection();
    EXPECT_EQ(NameInput.Text, "typed");
    EXPECT_TRUE(Panel->bSyncingNameInput);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(NameInputSync, GoesOnAfterAWriteThatThrew)
{
    Host().OnCall = [](const std::string&) { throw std::runtime_error("an observer failed"); };
    EXPECT_THROW(Panel->SyncNameInputFromSelection(), std::runtime_error);
    EXPECT_FALSE(Panel->bSyncingNameInput);
}

TEST_F(NameInputSync, IsNotEnteredAgainByAChangeDuringTheWrite)
{
    std::vector<bool> flags;
    Host().OnCall = [&](const std::string&)
    {
        flags.push_back(Panel->bSyncingNameInput);
        Panel->SyncNameInputFromSelection();
    };
    Panel->SyncNameInputFromSelection();
    EXPECT_THAT(Log(), ElementsAre("SetText(, false)"));
    EXPECT_THAT(flags, ElementsAre(true));
    EXPECT_FALSE(Panel->bSyncingNameInput);
}
