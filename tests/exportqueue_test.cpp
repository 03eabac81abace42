// The application's queue of exports: order, what is told, and stopping, with a fake ffmpeg.

#include "app/application.h"
#include "fakes/environmentguard.h"
#include "fakes/fakeffmpeg.h"
#include "fakes/filetext.h"
#include "fakes/recordedlog.h"
#include "fakes/tempfolder.h"
#include "host/apppaths.h"
#include "process/wakeup.h"
#include "waitfor.h"

#include <gmock/gmock.h>

#include <poll.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
namespace fs = std::filesystem;

class ExportQueueTest : public testing::Test
{
protected:
    ExportQueueTest()
    {
        WriteFile(Source, "pictures");
        Program.Panel().StatusChanged.connect([this](const std::string& Text)
                                              { Told.push_back(Text); });
        Program.Parts().pMovane->NotificationQueued.connect(
            [this](const Movane::Notification& Shown) { Notifications.push_back(Shown); });
        ExportQueue& queue = Program.Exports();
        queue.Began.connect([this](const RunningExport& Export)
                            { Told.push_back("began " + Export.OutputPath.filename().native()); });
        queue.Ended.connect([this](const EndedExport& Export) { Endings.push_back(Export); });
        queue.Removed.connect([this](const QueuedExport& Entry)
                              { Told.push_back("removed " + Entry.Clip.Name); });
        queue.Idle.connect([this] { Told.emplace_back("idle"); });
    }
    ~ExportQueueTest() override { AppPaths::RemoveRuntimeDir(); }

    MvClipControlPanel::SavedClip Clip(const std::string& Name) const
    {
        MvClipControlPanel::SavedClip clip;
        clip.Name = Name;
        clip.SourcePath = Source.native();
        clip.SourceLabel = Source.filename().native();
        clip.StartSec = 1.0;
        clip.EndSec = 3.0;
        return clip;
    }

    /// Runs frames, as the application does, until something is so.
    void RunUntil(const std::function<bool()>& IsSo)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!IsSo() && std::chrono::steady_clock::now() < deadline)
        {
            std::array<pollfd, 2> wait = {
                {{Wake.Descriptor(), POLLIN, 0}, {Program.Exports().Descriptor(), POLLIN, 0}}};
            poll(wait.data(), wait.size(), 1000);
            Wake.Sleep(0);
            Program.Frame();
        }
        EXPECT_TRUE(IsSo());
    }
    void RunToTheEnd()
    {
        RunUntil([this] { return !Program.Exports().IsRunning(); });
    }
    void FfmpegDoes(const std::string& Command) const
    {
        FakeFfmpeg(Folder.Path(), {.OutputCommand = Command});
    }
    bool IsThere(const std::string& Name) const { return fs::exists(Clips / Name); }

    std::vector<ExportOutcome> Outcomes() const
    {
        std::vector<ExportOutcome> outcomes;
        for (const EndedExport& ended : Endings)
        {
            outcomes.push_back(ended.Outcome);
        }
        return outcomes;
    }

    TempFolder Folder;
    const fs::path Source = Folder.Path() / "source.mp4";
    const fs::path Clips = Folder.Path() / "recordings" / "clips";
    EnvironmentGuard Recordings{"MOVANE_RECORDINGS_DIR", Folder.Path() / "recordings"};
    EnvironmentGuard Runtime{"MOVANE_RUNTIME_DIR", Folder.Path() / "runtime"};
    EnvironmentGuard StateHome{"XDG_STATE_HOME", Folder.Path() / "state"};
    FakeFfmpeg Ffmpeg{Folder.Path()};
    EnvironmentGuard FfmpegOverride{"MOVANE_FFMPEG_BIN", Ffmpeg.Path()};
    RecordedLog HostLog;
    WakeUp Wake;
    std::vector<std::string> Told; ///< status texts and signals, in their order
    std::vector<EndedExport> Endings;
    std::vector<Movane::Notification> Notifications;
    Application Program{{.RequestFrame = [this] { Wake.Post(); }}};
};

TEST_F(ExportQueueTest, TellsOfOneClipWhatThePanelWouldTell)
{
    Program.Exports().Add(Clip("Intro"));
    EXPECT_THAT(Told, IsEmpty());
    RunToTheEnd();
    EXPECT_THAT(Told,
                ElementsAre("Exporting Intro to clip_00000_Intro.mkv...",
                            "began clip_00000_Intro.mkv", "Exported clip_00000_Intro.mkv", "idle"));
    ASSERT_EQ(Notifications.size(), 1U);
    EXPECT_EQ(Notifications[0].Title, "Clip Export");
    EXPECT_EQ(Notifications[0].Message, "Exported clip_00000_Intro.mkv");
    EXPECT_EQ(Notifications[0].Type, Movane::NotificationInfo);
    EXPECT_EQ(Notifications[0].DurationMs, 2200U);
    ASSERT_EQ(Endings.size(), 1U);
    EXPECT_EQ(Endings[0].FilePath, Clips / "clip_00000_Intro.mkv");
}

TEST_F(ExportQueueTest, FindsTheFileOfAClipWhoseNameLooksLikeAStatus)
{
    Program.Exports().Add(Clip("a to b... to c"));
    RunToTheEnd();
    EXPECT_EQ(Endings.at(0).FilePath, Clips / "clip_00000_a_to_b____to_c.mkv");
}

TEST_F(ExportQueueTest, GoesOnBehindAFailureAndSaysSoOnce)
{
    FfmpegDoes("case $out in *Bad*) echo 'Invalid data' >&2; exit 1 ;; esac; : > \"$out\"");
    Program.Exports().Add({Clip("a"), Clip("Bad"), Clip("b")});
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Exported, ExportOutcome::Failed,
                                        ExportOutcome::Exported));
    ASSERT_EQ(Notifications.size(), 1U);
    EXPECT_EQ(Notifications[0].Message,
              "Exported 2 of 3 clips. Bad: Clip export failed: Invalid data");
    EXPECT_EQ(Notifications[0].Type, Movane::NotificationError);
}

TEST_F(ExportQueueTest, EndsAtAFailureWhenAskedTo)
{
    FfmpegDoes("exit 1");
    Program.Exports().bFailFast = true;
    Program.Exports().Add({Clip("a"), Clip("b")});
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Failed));
    EXPECT_THAT(Told, testing::Contains("removed b"));
}

TEST_F(ExportQueueTest, KeepsAClipAsItWasWhenItWasAdded)
{
    Program.Panel().Clips = {Clip("First")};
    Program.Records().Table.SelectRow(0);
    Program.ExportSelectedClip();
    Program.Panel().Clips[0].Name = "Renamed";
    RunToTheEnd();
    EXPECT_TRUE(IsThere("clip_00000_First.mkv"));
    EXPECT_EQ(Program.Records().Table.SelectedRow, 0);
}

TEST_F(ExportQueueTest, LetsThePanelRefuseInItsOwnWords)
{
    Program.ExportSelectedClip();
    EXPECT_THAT(Told, ElementsAre("Select a saved clip to export it."));
    MvClipControlPanel::SavedClip tooShort = Clip("short");
    tooShort.EndSec = 1.04;
    Program.Exports().Add(tooShort);
    RunToTheEnd();
    EXPECT_EQ(Endings.at(0).Message, "Selected clip is too short to export.");
    EXPECT_EQ(Notifications.at(0).Type, Movane::NotificationError);
}

TEST_F(ExportQueueTest, TakesOutWhatWaits)
{
    const std::vector<ExportId> ids = Program.Exports().Add({Clip("a"), Clip("b")});
    EXPECT_TRUE(Program.Exports().Remove(ids.at(1)));
    EXPECT_FALSE(Program.Exports().Remove(ids.at(1)));
    RunToTheEnd();
    EXPECT_FALSE(IsThere("clip_00000_b.mkv"));
    EXPECT_EQ(Told.front(), "removed b");
}

class ExportQueueStop : public ExportQueueTest
{
protected:
    ExportQueueStop() { FfmpegDoes(": > \"$out\"; while :; do /bin/sleep 0.02; done"); }

    void RunUntilFileOf(const std::string& Name)
    {
        RunUntil([this, name = "clip_00000_" + Name + ".mkv"] { return IsThere(name); });
    }
};

TEST_F(ExportQueueStop, EndsTheRunningExportAndGoesOn)
{
    Program.Exports().Add({Clip("a"), Clip("b")});
    RunUntilFileOf("a");
    FfmpegDoes(": > \"$out\"");
    Program.Exports().Stop();
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped, ExportOutcome::Exported));
    EXPECT_FALSE(IsThere("clip_00000_a.mkv"));
    EXPECT_EQ(Notifications.at(0).Message, "Exported 1 of 2 clips, then stopped.");
    EXPECT_EQ(Notifications.at(0).Type, Movane::NotificationInfo);
}

TEST_F(ExportQueueStop, EndsAll)
{
    Program.Exports().Add({Clip("a"), Clip("b"), Clip("c")});
    RunUntilFileOf("a");
    Program.Exports().StopAll();
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped));
    EXPECT_EQ(Notifications.at(0).Message, "Exported 0 of 3 clips, then stopped.");
    EXPECT_TRUE(fs::is_empty(Clips));
}

TEST_F(ExportQueueStop, CountsInTheFirstMomentToo)
{
    Program.Exports().Add(Clip("a"));
    RunUntil([this] { return Program.Exports().Running() != nullptr; });
    Program.Exports().Stop();
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped));
    EXPECT_TRUE(fs::is_empty(Clips));
}

TEST_F(ExportQueueStop, KillsAnEncoderThatDoesNotListen)
{
    FfmpegDoes("trap '' TERM; : > \"$out\"; while :; do /bin/sleep 0.02; done");
    Program.Exports().Add(Clip("a"));
    RunUntilFileOf("a");
    Program.Exports().Stop();
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped));
    EXPECT_TRUE(fs::is_empty(Clips));
}

TEST_F(ExportQueueStop, IsWhatTheEndOfTheApplicationDoes)
{
    Program.Exports().Add({Clip("a"), Clip("b")});
    RunUntilFileOf("a");
    Told.clear();
    Program.Exports().Shutdown();
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_TRUE(fs::is_empty(Clips));
}
} // namespace
