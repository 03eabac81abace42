// The application's queue of exports: order, what is told, and stopping, with a fake ffmpeg.

#include "app/application.h"
#include "app/clipfile.h"
#include "host/apppaths.h"
#include "process/wakeup.h"
#include "support/environmentguard.h"
#include "support/fakeffmpeg.h"
#include "support/filetext.h"
#include "support/recordedlog.h"
#include "support/tempfolder.h"
#include "support/waitfor.h"

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
    /// With a socket, as an application whose exports go through the front.
    explicit ExportQueueTest(bool bSocket = false)
        : Program({.pSocket =
                       bSocket ? std::make_unique<ExportSocket>(AppPaths::RuntimeDir()) : nullptr,
                   .pEncoder = Encoder,
                   .RequestFrame = [this] { Wake.Post(); }})
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
    std::shared_ptr<WorkerChildren> Encoder = std::make_shared<WorkerChildren>();
    Application Program;
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

TEST_F(ExportQueueTest, NamesTheFirstFailuresAndCountsTheOthers)
{
    FfmpegDoes("exit 1");
    Program.Exports().Add({Clip("a"), Clip("b"), Clip("c"), Clip("d"), Clip("e")});
    RunToTheEnd();
    EXPECT_EQ(Notifications.at(0).Message,
              "Exported 0 of 5 clips. a: Clip export failed. b: Clip export failed. c: Clip export "
              "failed. And 2 more failed.");
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
    EXPECT_TRUE(fs::is_empty(Clips));
    Program.Exports().Add(Clip("b"));
    Program.Exports().Stop();
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped, ExportOutcome::Stopped));
    EXPECT_EQ(Told.back(), "idle");
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

// -- With the encoder front

class ExportQueueFront : public ExportQueueTest
{
protected:
    ExportQueueFront()
        : ExportQueueTest(true)
    {
        Program.Exports().Progressed.connect([this](const RunningExport& Export)
                                             { Progress.push_back(Export); });
    }
    void FrontDoes(const std::string& Text) const { WriteFile(Folder.Path() / "lines", Text); }

    EnvironmentGuard Front{"MOVANE_FFMPEG_BIN", FAKE_FRONT};
    EnvironmentGuard Lines{"FAKE_FRONT_LINES", Folder.Path() / "lines"};
    EnvironmentGuard Socket{"MOVANE_EXPORT_SOCKET", Folder.Path() / "runtime" / "export.socket"};
    std::vector<RunningExport> Progress;
};

TEST_F(ExportQueueFront, HandsOnHowFarItIs)
{
    FrontDoes("send progress seek 0.1\nsend progress encode 0.5\nsend progress encode 0.4\n"
              "send progress finish 0.9\nwrite\nsend judged\n");
    Program.Exports().Add(Clip("Intro"));
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Exported));
    ASSERT_FALSE(Progress.empty());
    const RunningExport& last = Progress.back();
    EXPECT_EQ(last.Phase, ExportPhase::Finish);
    EXPECT_EQ(last.Fraction, 0.9);
    EXPECT_EQ(last.OutputPath, Clips / "clip_00000_Intro.mkv");
    EXPECT_TRUE(std::is_sorted(Progress.begin(), Progress.end(),
                               [](const RunningExport& A, const RunningExport& B)
                               { return A.Fraction < B.Fraction; }));
}

TEST_F(ExportQueueFront, GetsOneMessageAtAStopAndSaysThatItStopped)
{
    FrontDoes("send progress encode 0.1\nawait\nsay stopped.\nsend failed stopped.\nexit 1\n");
    Program.Exports().Add(Clip("a"));
    RunUntil([this] { return !Progress.empty() && Progress.back().Fraction > 0.0; });
    Program.Exports().Stop();
    Program.Exports().Stop();
    RunToTheEnd();
    EXPECT_EQ(ReadFile(Clips / "clip_00000_a.mkv.told"), "stop");
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped));
    ASSERT_EQ(Notifications.size(), 1U);
    EXPECT_EQ(Notifications[0].Message, "Clip export failed: stopped.");
    EXPECT_EQ(Notifications[0].Type, Movane::NotificationInfo);
}

TEST_F(ExportQueueFront, IsNotLookedForAmongTheProcesses)
{
    FrontDoes("send progress encode 0.1\nawait\nsay stopped.\nsend failed stopped.\nexit 1\n");
    Program.Exports().Add(Clip("a"));
    RunUntil([this] { return Progress.size() > 3; }); // each look tells of the time
    EXPECT_TRUE(Encoder->IsEmpty());
    Program.Exports().Stop();
    RunToTheEnd();
    EXPECT_TRUE(Encoder->IsEmpty());
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped));
}

TEST_F(ExportQueueFront, ThatCannotConnectIsStoppedBySignal)
{
    const EnvironmentGuard nobody("MOVANE_EXPORT_SOCKET", Folder.Path() / "nobody");
    FrontDoes("make begun\npause\n");
    Program.Exports().Add(Clip("a"));
    RunUntil([this] { return IsThere("begun"); });
    Program.Exports().Stop();
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped));
    EXPECT_FALSE(Encoder->IsEmpty());
}

TEST_F(ExportQueueFront, ThatWasStoppedFromOutsideIsNoFailureEither)
{
    FrontDoes("say stopped.\nsend failed stopped.\nexit 1\n");
    Program.Exports().Add(Clip("a"));
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Stopped));
}

// The panel shows the first line alone: here it ends within the name of a file.
TEST_F(ExportQueueFront, ThatNamesAFileLikeAStopHasFailed)
{
    FrontDoes("say stopped.\nsend failed stopped.?x.mkv can't be read.\nexit 1\n");
    Program.Exports().Add(Clip("a"));
    RunToTheEnd();
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Failed));
}

TEST_F(ExportQueueFront, WhoseNameIsTakenIsTriedWithTheNextNumber)
{
    FrontDoes("once\nmake clip_00000_a.mkv\nsend taken\nsay taken\nexit 1\n");
    Program.Exports().Add(Clip("a"));
    RunToTheEnd();
    EXPECT_THAT(Told, ElementsAre("Exporting a to clip_00000_a.mkv...", "began clip_00000_a.mkv",
                                  "Exporting a to clip_00001_a.mkv...", "Exported clip_00001_a.mkv",
                                  "idle"));
    EXPECT_EQ(ReadFile(Clips / "clip_00000_a.mkv"), "clip_00000_a.mkv");
    ASSERT_EQ(Endings.size(), 1U);
    EXPECT_EQ(Endings[0].FilePath, Clips / "clip_00001_a.mkv");
    EXPECT_EQ(Notifications.size(), 1U);
}

TEST_F(ExportQueueFront, ThatFailsLeavesTheFilesOfOthersAlone)
{
    FrontDoes("make clip_00000_a.mkv\nsend failed Invalid data.\nsay Invalid data.\nexit 1\n");
    Program.Exports().Add(Clip("a"));
    RunToTheEnd();
    EXPECT_EQ(Endings.at(0).Message, "Clip export failed: Invalid data.");
    EXPECT_TRUE(IsThere("clip_00000_a.mkv"));
}

TEST_F(ExportQueueFront, ThatSaysNonsenseIsCutOff)
{
    FrontDoes("send nonsense\nawait\nwrite\n");
    Program.Exports().Add(Clip("a"));
    RunToTheEnd();
    EXPECT_EQ(ReadFile(Clips / "clip_00000_a.mkv.told"), "end");
    EXPECT_THAT(Outcomes(), ElementsAre(ExportOutcome::Exported));
}

TEST_F(ExportQueueFront, IsReachedThroughASocketOfTheUsersAlone)
{
    const fs::path socket = Folder.Path() / "runtime" / "export.socket";
    EXPECT_EQ(fs::status(socket).type(), fs::file_type::socket);
    EXPECT_EQ(fs::status(socket).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

// -- The socket and the names

TEST(ExportSocket, OpensAtAPathTooLongForAnAddressAndLeavesNothing)
{
    const TempFolder folder;
    const fs::path deep = folder.Path() / std::string(200, 'd');
    fs::create_directory(deep);
    {
        const ExportSocket socket(deep);
        EXPECT_EQ(fs::status(socket.Path()).type(), fs::file_type::socket);
    }
    EXPECT_TRUE(fs::is_empty(deep));
}

TEST(ExportSocket, ReplacesASocketThatWasLeftButNoFile)
{
    const TempFolder folder;
    auto left = std::make_unique<ExportSocket>(folder.Path());
    const ExportSocket next(folder.Path());
    EXPECT_EQ(fs::status(next.Path()).type(), fs::file_type::socket);

    const TempFolder other;
    WriteFile(other.Path() / "export.socket", "mine");
    RecordedLog log;
    std::make_unique<ExportSocket>(other.Path()).reset();
    EXPECT_EQ(ReadFile(other.Path() / "export.socket"), "mine");
    EXPECT_EQ(log.TakeLines().size(), 1U);
}

TEST(ClipFile, GetsTheExtensionThatItsNameLacks)
{
    const TempFolder folder;
    for (const char* const lacks : {"", ".", ".m", ".mk"})
    {
        const fs::path file = folder.Path() / (std::string("clip_00000_long") + lacks);
        WriteFile(file, lacks);
        const fs::path whole = AddMissingExtension(file);
        EXPECT_TRUE(whole.native().ends_with("_long.mkv")) << whole;
        EXPECT_EQ(ReadFile(whole), lacks);
        EXPECT_FALSE(fs::exists(file));
    }
    // Each took the next free number.
    EXPECT_TRUE(fs::exists(folder.Path() / "clip_00003_long.mkv"));
}

TEST(ClipFile, KeepsANameThatIsWholeOrNoClips)
{
    const TempFolder folder;
    for (const char* const name : {"clip_00000_a.mkv", "other", "clip_0000x_a", "clip_"})
    {
        WriteFile(folder.Path() / name, name);
        EXPECT_EQ(AddMissingExtension(folder.Path() / name), folder.Path() / name);
    }
}

TEST_F(ExportQueueTest, GivesALongNameItsExtension)
{
    Program.Exports().Add(Clip(std::string(50, 'x')));
    Program.Exports().Add(Clip(std::string(50, 'x')));
    RunToTheEnd();
    EXPECT_EQ(Endings.at(0).FilePath.filename(), "clip_00000_" + std::string(50, 'x') + ".mkv");
    EXPECT_EQ(Endings.at(1).FilePath.filename(), "clip_00001_" + std::string(50, 'x') + ".mkv");
    EXPECT_TRUE(fs::exists(Endings.at(1).FilePath));
}

// -- The time that is left

TEST(TimeLeft, IsUnknownAtFirstAndThenFollowsThePace)
{
    TimeLeft left;
    EXPECT_EQ(left.Update(0.5, 0.5), std::nullopt);
    EXPECT_EQ(left.Update(0.0, 5.0), std::nullopt);
    EXPECT_DOUBLE_EQ(left.Update(0.25, 10.0).value(), 30.0);
    EXPECT_DOUBLE_EQ(left.Update(0.5, 20.0).value(), 20.0);
    // Twice as slow from here on: the whole time is now guessed at 80 s instead of 40 s.
    EXPECT_DOUBLE_EQ(left.Update(0.5, 40.0).value(), 10.0);
    EXPECT_EQ(left.Update(1.0, 41.0), 0.0);
}

TEST(TimeLeft, IsNeverNegative)
{
    TimeLeft left;
    EXPECT_EQ(left.Update(0.99, 10.0).value() >= 0.0, true);
    EXPECT_EQ(left.Update(0.99, 1000.0).value(), 0.0);
}
} // namespace
