// The panel on the real host: its windows, timeline, table, input, job system and paths.

#include "fakes/environmentguard.h"
#include "fakes/fakeffmpeg.h"
#include "fakes/fakevideo.h"
#include "fakes/recordedlog.h"
#include "fakes/tempfolder.h"
#include "host/apppaths.h"
#include "host/core.h"
#include "host/ttf.h"
#include "panel/mvclipcontrolpanel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>

using ::testing::DoubleNear;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Gt;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{
class PanelOnHost : public ::testing::Test
{
protected:
    PanelOnHost()
    {
        Application.pMovane = std::make_unique<Movane>();
        Application.pRend = std::make_unique<Rend>();
        Application.pRend->pTTF = &Font;
        Application.pCoreSDL = std::make_unique<CoreSDL>();
        p = &Application;

        auto window = std::make_unique<MvVideoWindow>();
        auto video = std::make_unique<FakeVideo>();
        pWindow = window.get();
        pVideo = video.get();
        pWindow->SetVideo(std::move(video));
        Application.pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(window));
        Application.pMovane->NotificationQueued.connect(
            [this](const Movane::Notification& NewNotification)
            { Notifications.push_back(NewNotification); });

        Panel->pNameInput = &NameInput;
        Panel->pClipTable = &Table;
        Panel->pStatusLabel = &StatusLabel;
        Panel->pSourceLabel = &SourceLabel;
        Panel->pRangeLabel = &RangeLabel;
        Panel->pMarkersLabel = &MarkersLabel;
        Panel->pParentWindow = &ParentWindow;
        Panel->TableModel = std::make_unique<MvTableModel>();
        Table.SelectionChanged.connect([this] { Panel->SyncNameInputFromSelection(); });
    }

    ~PanelOnHost() override
    {
        Application.pJobSystem.reset(); // its worker works in the folders that go now
        Panel.reset();
        p = nullptr;
        AppPaths::RemoveRuntimeDir();
    }

    /// Makes a file and opens it in the window.
    std::string Open(const std::string& Name)
    {
        const std::string file = Folder.Path() / Name;
        std::ofstream(file).close();
        EXPECT_TRUE(pWindow->LoadVideoFile(file, false));
        return file;
    }

    void Save(const std::string& Name, double StartSec, double EndSec)
    {
        NameInput.SetText(Name, true);
        pWindow->Timeline().SetRangeSelection(StartSec, EndSec, false);
        Panel->SaveCurrentRangeAsClip();
    }

    /// Starts the job system with a wake-up for RunUntilExported.
    void StartJobSystem()
    {
        Application.pJobSystem = std::make_unique<JobSystem>();
        Application.pJobSystem->SetWakeUp(
            [this]
            {
                const std::lock_guard lock(PostedMutex);
                bPosted = true;
                Posted.notify_all();
            });
    }

    /// Sleeps until a callback is posted, then runs frames as the application does.
    void RunOneWakeUp()
    {
        {
            std::unique_lock lock(PostedMutex);
            ASSERT_TRUE(
                Posted.wait_for(lock, std::chrono::seconds(30), [this] { return bPosted; }));
            bPosted = false;
        }
        Application.pJobSystem->PumpMainThread();
        Panel->PumpExportResult();
        Panel->UpdateLiveLabels();
    }

    std::vector<std::string> Column(std::size_t Index) const
    {
        std::vector<std::string> cells;
        for (const MvTableModel::Row& row : Panel->TableModel->GetRows())
        {
            cells.push_back(row.at(Index));
        }
        return cells;
    }

    TempFolder Folder;
    EnvironmentGuard Recordings{"MOVANE_RECORDINGS_DIR", Folder.Path() / "recordings"};
    EnvironmentGuard Runtime{"MOVANE_RUNTIME_DIR", Folder.Path() / "runtime"};
    EnvironmentGuard StateHome{"XDG_STATE_HOME", Folder.Path() / "state"};
    FakeFfmpeg Ffmpeg{Folder.Path()};
    EnvironmentGuard FfmpegOverride{"MOVANE_FFMPEG_BIN", Ffmpeg.Path()};
    RecordedLog HostLog;

    std::mutex PostedMutex;
    std::condition_variable Posted;
    bool bPosted = false; // guarded by PostedMutex

    Core Application;
    TTF Font;
    MvWindow ParentWindow;
    MvTable Table;
    MvTextInput NameInput;
    MvLabel StatusLabel;
    MvLabel SourceLabel;
    MvLabel RangeLabel;
    MvLabel MarkersLabel;
    MvVideoWindow* pWindow = nullptr;
    FakeVideo* pVideo = nullptr;
    std::vector<Movane::Notification> Notifications;
    std::unique_ptr<MvClipControlPanel> Panel = std::make_unique<MvClipControlPanel>();
};
} // namespace

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
