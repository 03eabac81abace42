// The panel on the real host: its windows, timeline, table, input, job system and paths.

#include "panel/panelonhost.h"

#include <gmock/gmock.h>

using ::testing::DoubleNear;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(PanelOnHost, SavesRangesIntoTheTable)
{
    Open("holiday.mp4");
    Save("Intro", 5.0, 70.0);
    Save("", 1.0, 2.0);
    EXPECT_THAT(
        Panel->TableModel->GetRows(),
        ElementsAre(ElementsAre("Intro", "00:05", "01:10", "01:05", "Amber", "holiday.mp4"),
                    ElementsAre("Clip 2", "00:01", "00:02", "00:01", "Cyan", "holiday.mp4")));
    EXPECT_EQ(Table.SelectedRow, 1);
    EXPECT_EQ(StatusLabel.Text, "Saved Clip 2 from holiday.mp4");
    EXPECT_EQ(NameInput.Text, "Clip 2");
}

TEST_F(PanelOnHost, LaysTheColumnsOut)
{
    Panel->RebuildTableModel();
    ASSERT_THAT(Table.ColumnFractions(), SizeIs(6));
    EXPECT_THAT(Table.ColumnFractions(), Each(Gt(0.0)));
    double sum = 0.0;
    for (const double fraction : Table.ColumnFractions())
    {
        sum += fraction;
    }
    EXPECT_THAT(sum, DoubleNear(1.0, 1e-12));
    EXPECT_EQ(Table.MinColumnWidthPx, 44.0);
}

TEST_F(PanelOnHost, RenamesAndDeletesTheRowThatTheUserSelects)
{
    Open("holiday.mp4");
    for (const char* name : {"a", "b", "c"})
    {
        Save(name, 1.0, 2.0);
    }
    Table.SelectRow(1);
    EXPECT_EQ(NameInput.Text, "b");
    NameInput.SetText(" B ", false);
    Panel->RenameSelectedClip();
    EXPECT_THAT(Column(0), ElementsAre("a", "B", "c"));
    Panel->DeleteSelectedClip();
    EXPECT_THAT(Column(0), ElementsAre("a", "c"));
    EXPECT_EQ(Table.SelectedRow, 1);
    EXPECT_EQ(NameInput.Text, "c");
    Table.SelectRow(-1);
    EXPECT_EQ(NameInput.Text, "");
}

TEST_F(PanelOnHost, IsNotDrivenRoundByTheInputsOwnSignal)
{
    Open("holiday.mp4");
    Save("a", 1.0, 2.0);
    std::vector<std::string> heard;
    std::vector<bool> flags;
    NameInput.Changed.connect(
        [&](const std::string& Text)
        {
            heard.push_back(Text);
            flags.push_back(Panel->bSyncingNameInput);
            Panel->SyncNameInputFromSelection();
        });
    Panel->SyncNameInputFromSelection();
    EXPECT_THAT(heard, ElementsAre("a"));
    EXPECT_THAT(flags, ElementsAre(true));
    EXPECT_FALSE(Panel->bSyncingNameInput);

    // A save tells the input just once, too.
    heard.clear();
    Save("b", 1.0, 2.0);
    EXPECT_THAT(heard, ElementsAre("b"));
    EXPECT_EQ(NameInput.Text, "b");
}

TEST_F(PanelOnHost, ShowsSourceRangeAndMarkersOfTheTimeline)
{
    Open("holiday.mp4");
    pWindow->Timeline().SetRangeSelection(5.0, 70.0, false);
    pWindow->Timeline().SetDisplayedTimeSec(3725.0);
    Panel->AddCurrentMarker();
    EXPECT_EQ(StatusLabel.Text, "Added marker at 1:02:05");
    EXPECT_EQ(SourceLabel.Text, "Source: holiday.mp4");
    EXPECT_EQ(RangeLabel.Text, "Current Range: 00:05 -> 01:10   LEN 01:05");
    EXPECT_EQ(MarkersLabel.Text, "Markers: 1   Current: 1:02:05");
    Panel->ClearCurrentRange();
    EXPECT_FALSE(pWindow->Timeline().HasRangeSelection());
    EXPECT_EQ(RangeLabel.Text, "Current Range: Set In/Out on the video timeline first.");
}

TEST_F(PanelOnHost, LoadsAClipOfAnotherSource)
{
    const std::string first = Open("first.mp4");
    Save("a", 2.0, 5.0);
    const std::string second = Open("second.mp4");
    EXPECT_FALSE(pWindow->Timeline().HasRangeSelection());
    Panel->LoadSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Loaded a onto the video timeline.");
    EXPECT_THAT(pVideo->OpenedPaths, ElementsAre(first, second, first));
    EXPECT_EQ(pWindow->Timeline().RangeStartSec(), 2.0);
    EXPECT_EQ(pWindow->Timeline().RangeEndSec(), 5.0);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 2.0);
    EXPECT_FALSE(pVideo->bPlaying);
    EXPECT_EQ(AppPaths::DefaultVideoFile(), first);
}

TEST_F(PanelOnHost, JumpsToOneMillisecondBeforeTheEndAtMost)
{
    Open("first.mp4"); // 10 s
    Save("a", 2.0, 12.0);
    Panel->JumpOutSelectedClip();
    EXPECT_EQ(pVideo->CurrentTimeSec(), 9.999);
    Panel->JumpToSelectedClip();
    EXPECT_EQ(pVideo->CurrentTimeSec(), 2.0);
}

TEST_F(PanelOnHost, KeepsTheOpenFileWhenTheClipsSourceDoesNotOpen)
{
    Open("first.mp4");
    Save("a", 2.0, 5.0);
    const std::string second = Open("second.mp4");
    pVideo->OpenError = "no video";
    Panel->LoadSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Failed to load clip source: first.mp4");
    EXPECT_EQ(pVideo->FilePath, second);
    EXPECT_FALSE(pWindow->Timeline().HasRangeSelection());
}

TEST_F(PanelOnHost, ActsOnTheFocusedWindow)
{
    auto window = std::make_unique<MvVideoWindow>();
    window->bFocused = true;
    MvVideoWindow* const focused = window.get();
    Application.pMovane->AddWindow(8, std::move(window));
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), focused);
    EXPECT_EQ(Panel->ResolveTargetTimeline(), &focused->Timeline());
    focused->bClosing = true;
    EXPECT_EQ(Panel->ResolveTargetVideoWindow(), pWindow);
}

TEST_F(PanelOnHost, OutlivesItsWindow)
{
    Open("first.mp4");
    Save("a", 2.0, 5.0);
    Application.pMovane->RemoveWindow(Movane::FirstVideoWindowID);
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: No active video source");
    EXPECT_EQ(MarkersLabel.Text, "Markers: video timeline unavailable.");
    Panel->SaveCurrentRangeAsClip();
    EXPECT_EQ(StatusLabel.Text, "No active MvVideoWindow to save a clip from.");
    Panel->LoadSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Select a clip and ensure a video timeline is available.");
    Panel->JumpToSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Select a clip and ensure a video window is available.");
}

TEST_F(PanelOnHost, ExportsOnAWorkerDownToTheNotification)
{
    StartJobSystem();
    const std::string source = Open("first.mp4");
    Save("Intro", 2.0, 5.0);
    Panel->ExportSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    RunOneWakeUp();
    EXPECT_EQ(StatusLabel.Text, "Exported clip_00000_Intro.mkv");
    EXPECT_FALSE(Panel->GetExportStatus().bInProgress);
    ASSERT_THAT(Notifications, SizeIs(1));
    EXPECT_EQ(Notifications[0].Type, Movane::NotificationInfo);
    EXPECT_EQ(Notifications[0].Title, "Clip Export");
    EXPECT_EQ(Notifications[0].Message, "Exported clip_00000_Intro.mkv");
    EXPECT_EQ(Notifications[0].DurationMs, 2200U);

    const std::vector<std::string> arguments = Ffmpeg.Arguments();
    EXPECT_EQ(arguments.at(5), source);
    EXPECT_EQ(arguments.at(7), "2.000");
    EXPECT_EQ(arguments.at(9), "3.000");
    const std::filesystem::path output =
        Folder.Path() / "recordings" / "clips" / "clip_00000_Intro.mkv";
    EXPECT_EQ(arguments.back(), output);
    EXPECT_TRUE(std::filesystem::exists(output));
    EXPECT_TRUE(std::filesystem::is_empty(AppPaths::RuntimeDir() + "/temp"));
}

TEST_F(PanelOnHost, ReportsAFailedExportFromTheErrorLog)
{
    FakeFfmpeg(Folder.Path(), {.ExitCode = 1, .ErrorText = "Invalid data found\n"});
    StartJobSystem();
    Open("first.mp4");
    Save("Intro", 2.0, 5.0);
    Panel->ExportSelectedClip();
    RunOneWakeUp();
    EXPECT_EQ(StatusLabel.Text, "Clip export failed: Invalid data found");
    ASSERT_THAT(Notifications, SizeIs(1));
    EXPECT_EQ(Notifications[0].Type, Movane::NotificationError);
    EXPECT_EQ(Notifications[0].DurationMs, 3200U);
}

TEST_F(PanelOnHost, ExportsOneClipAfterTheOther)
{
    StartJobSystem();
    Open("first.mp4");
    for (const char* name : {"a", "b", "a"})
    {
        Save(name, 2.0, 5.0);
        Panel->ExportSelectedClip();
        RunOneWakeUp();
    }
    std::vector<std::string> messages;
    for (const Movane::Notification& notification : Notifications)
    {
        messages.push_back(notification.Message);
    }
    EXPECT_THAT(messages, ElementsAre("Exported clip_00000_a.mkv", "Exported clip_00000_b.mkv",
                                      "Exported clip_00001_a.mkv"));
}

TEST_F(PanelOnHost, MayDieWhileItsExportRuns)
{
    const std::filesystem::path mayEnd = Folder.Path() / "may end";
    FakeFfmpeg(Folder.Path(), {.WaitsFor = mayEnd});
    StartJobSystem();
    Open("first.mp4");
    Save("Intro", 2.0, 5.0);
    Panel->ExportSelectedClip();
    Panel = std::make_unique<MvClipControlPanel>();
    Panel->pStatusLabel = &StatusLabel;
    std::ofstream(mayEnd).close();
    RunOneWakeUp();
    EXPECT_EQ(StatusLabel.Text, "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_THAT(Notifications, IsEmpty());
    EXPECT_EQ(Panel->GetExportStatus().Message, "");
}

TEST_F(PanelOnHost, StaysRunningWhenItsJobThrows)
{
    FakeFfmpeg(Folder.Path(), {.OutputCommand = "/bin/ln -s \"$out\" \"$out\""});
    StartJobSystem();
    Open("first.mp4");
    Save("Intro", 2.0, 5.0);
    Panel->ExportSelectedClip();
    RunOneWakeUp();
    EXPECT_THAT(HostLog.TakeLines(), SizeIs(1));
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    EXPECT_THAT(Notifications, IsEmpty());
}

TEST_F(PanelOnHost, ExportsOnTheSpotAfterTheJobSystemHasStopped)
{
    StartJobSystem();
    Application.pJobSystem->Stop();
    Open("first.mp4");
    Save("Intro", 2.0, 5.0);
    Panel->ExportSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_EQ(Ffmpeg.Runs(), 1U);
    Panel->PumpExportResult();
    EXPECT_EQ(StatusLabel.Text, "Exported clip_00000_Intro.mkv");
}
