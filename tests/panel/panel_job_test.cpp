// The export's job and the way of its result back: the command line, the judgement, the hand-off.

#include "panel/exportfixture.h"
#include "support/waitfor.h"

#include <chrono>
#include <sstream>
#include <thread>

#include <unistd.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
std::string Contents(const std::filesystem::path& File)
{
    std::ostringstream text;
    text << std::ifstream(File, std::ios::binary).rdbuf();
    return text.str();
}

// Tells whether a thread of this process sleeps, as one does that waits for a mutex.
bool IsAsleep(pid_t Thread)
{
    const std::string stat = Contents("/proc/self/task/" + std::to_string(Thread) + "/stat");
    return stat.find(") S ") != std::string::npos;
}

class FfmpegCommand : public ExportTest
{
protected:
    /// Exports a range and returns the command line's start and duration, "-ss ... -t ...".
    std::string Times(double StartSec, double EndSec) const
    {
        Clip().StartSec = StartSec;
        Clip().EndSec = EndSec;
        Platform().Commands.clear();
        Platform().SystemResult = 1;
        ExportToTheEnd();
        const std::string command = Platform().Commands.at(0);
        const std::size_t begin = command.find("-ss ");
        return command.substr(begin, command.find(" -map") - begin);
    }
};

class ExportJob : public ExportTest
{
protected:
    void WriteErrorLog(const std::string& Text) const
    {
        std::ofstream(ErrorLog(), std::ios::binary) << Text;
    }
};

class ExportHandOff : public ExportTest
{
protected:
    const std::string Success = "Exported clip_00000_Intro.mkv";
};

class ExportStatusRecord : public ExportTest
{
protected:
    void ExpectStatus(bool bInProgress, const std::string& Message) const
    {
        const auto [bGotInProgress, gotMessage] = Panel->GetExportStatus();
        EXPECT_EQ(bGotInProgress, bInProgress);
        EXPECT_EQ(gotMessage, Message);
    }
};
} // namespace

TEST(ShellWord, IsSingleQuotedWithItsApostrophesOutside)
{
    struct Case
    {
        std::string Text;
        std::string Word;
    };
    const std::vector<Case> cases = {
        {"", "''"},
        {"a", "'a'"},
        {"it's.mp4", R"('it'"'"'s.mp4')"},
        {"'", R"(''"'"'')"},
        {"''", R"(''"'"''"'"'')"},
        {"a b\n$(c) `d` \\ \"e\" %d", "'a b\n$(c) `d` \\ \"e\" %d'"},
        {"\xC3\xA9\xFF", "'\xC3\xA9\xFF'"},
        {std::string("a\0'", 3), std::string("'a\0'\"'\"''", 9)},
    };
    for (const Case& c : cases)
    {
        EXPECT_EQ(MvClipControlPanel::ShellQuote(c.Text), c.Word) << c.Text;
    }
}

TEST_F(FfmpegCommand, IsThisLine)
{
    Platform().SystemResult = 1;
    Clip().SourcePath = MakeFile("it's.mp4");
    ExportToTheEnd();
    const std::string folder = Folder.Path();
    EXPECT_THAT(Platform().Commands,
                ElementsAre("'" + Ffmpeg.Path() + "' -y -hide_banner -loglevel error -i '" +
                            folder +
                            "/it'\"'\"'s.mp4' -ss 10.000 -t 2.000 -map 0:v:0? -map 0:a? -c:v "
                            "libx264 -preset veryfast -crf 18 -pix_fmt yuv420p -c:a copy '" +
                            folder + "/recordings/clips/clip_00000_Intro.mkv' 2> '" + folder +
                            "/runtime/temp/clip-export.log'"));
}

TEST_F(FfmpegCommand, HandsOverPathsByteForByte)
{
    for (const std::string& name :
         {std::string("it's.mp4"), std::string("a b.mp4"), std::string("$(touch pwned)"),
          std::string("`touch pwned`"), std::string("a\nb"), std::string("-dash"),
          std::string("%d \"q\" \\ ; rm x"), std::string("\xC3\xA9"), std::string("\xFF\xFE")})
    {
        Clip().SourcePath = MakeFile(name);
        ExportToTheEnd();
        EXPECT_EQ(Ffmpeg.Arguments().at(5), Clip().SourcePath);
    }
}

TEST_F(FfmpegCommand, WritesIntoFoldersWithAnyName)
{
    const std::string folder = Folder.Path() / "it's a $(folder)\n";
    std::filesystem::create_directories(folder + "/temp");
    Host().RecordingsDir = folder;
    Host().RuntimeDir = folder;
    FfmpegDoes({.ErrorText = "warning"});
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00000_Intro.mkv");
    EXPECT_EQ(Ffmpeg.Arguments().back(), folder + "/clips/clip_00000_Intro.mkv");
    EXPECT_TRUE(std::filesystem::exists(folder + "/clips/clip_00000_Intro.mkv"));
    EXPECT_TRUE(std::filesystem::is_empty(folder + "/temp"));
}

TEST_F(FfmpegCommand, RunsAProgramWithAnyName)
{
    const std::filesystem::path folder = Folder.Path() / "it's a $(program)";
    std::filesystem::create_directories(folder);
    const FakeFfmpeg program(folder);
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", folder / "program");
    // The script's own text holds no apostrophe, so it stays where it is and is linked.
    std::filesystem::create_symlink(Ffmpeg.Path(), folder / "program");
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00000_Intro.mkv");
    EXPECT_EQ(Ffmpeg.Runs(), 1U);
}

TEST_F(FfmpegCommand, WritesTimesWithThreeDigits)
{
    EXPECT_EQ(Times(12.5, 14.0), "-ss 12.500 -t 1.500");
    EXPECT_EQ(Times(0.0, 1.0), "-ss 0.000 -t 1.000");
    EXPECT_EQ(Times(1.0 / 3.0, 1.0), "-ss 0.333 -t 0.667");
    EXPECT_EQ(Times(10.0, 10.05), "-ss 10.000 -t 0.050");
    EXPECT_EQ(Times(0.0, 0.05), "-ss 0.000 -t 0.050");
    EXPECT_EQ(Times(123456.7891, 1234567.0), "-ss 123456.789 -t 1111110.211");
    EXPECT_EQ(Times(0.00049, 1e6 + 0.00049), "-ss 0.000 -t 1000000.000");
}

TEST_F(FfmpegCommand, RoundsTheLengthByItself)
{
    EXPECT_EQ(Times(10.0004, 12.0006), "-ss 10.000 -t 2.000");
}

TEST_F(FfmpegCommand, KeepsTheWholeLengthOfAClipThatStartsBeforeTheSource)
{
    EXPECT_EQ(Times(-1.0, 2.0), "-ss 0.000 -t 3.000");
    EXPECT_EQ(Times(-0.0, 2.0), "-ss 0.000 -t 2.000");
    EXPECT_EQ(Times(-5.0, -4.0), "-ss 0.000 -t 1.000");
}

TEST_F(ExportJob, ChecksTheLengthAgainAndTouchesNothing)
{
    WriteErrorLog("of somebody else");
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "RecordingsDir()") // the request's own check has passed by then
        {
            Clip().EndSec = Clip().StartSec + 0.04;
        }
    };
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: clip is too short.");
    EXPECT_THAT(Platform().Commands, IsEmpty());
    EXPECT_EQ(Contents(ErrorLog()), "of somebody else");
}

TEST_F(ExportJob, SucceedsWithStatus0AndAnOutput)
{
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00000_Intro.mkv");
    EXPECT_TRUE(std::filesystem::exists(Output()));
    EXPECT_TRUE(Panel->bExportResultSuccess);
}

TEST_F(ExportJob, TakesAnyEntryForAnOutput)
{
    FfmpegDoes({.OutputCommand = "/bin/mkdir \"$out\""});
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00000_Intro.mkv");
}

TEST_F(ExportJob, FailsWithStatus0AndNoOutput)
{
    FfmpegDoes({.bWritesOutput = false});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    EXPECT_FALSE(Panel->bExportResultSuccess);
    FfmpegDoes({.ErrorText = "Output file is empty\n", .bWritesOutput = false});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: Output file is empty");
}

TEST_F(ExportJob, TakesADanglingLinkForNoOutput)
{
    FfmpegDoes({.OutputCommand = "/bin/ln -s nowhere \"$out\""});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
}

TEST_F(ExportJob, FailsWithAnyOtherStatusThoughThereIsAnOutput)
{
    for (const int result : {1, 9, 256, -1, 127 << 8})
    {
        Platform().SystemResult = result;
        Platform().InPlaceOfCommand = [this] { std::ofstream(Output()).close(); };
        EXPECT_EQ(ExportToTheEnd(), "Clip export failed.") << result;
        std::filesystem::remove(Output());
    }
}

TEST_F(ExportJob, LeavesAPartlyWrittenOutput)
{
    FfmpegDoes({.ExitCode = 1, .ErrorText = "No space left on device\n"});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: No space left on device");
    EXPECT_TRUE(std::filesystem::exists(Output()));
    EXPECT_EQ(Export(), "Exporting Intro to clip_00001_Intro.mkv...");
}

TEST_F(ExportJob, ReportsTheTrimmedFirstLineOfTheErrorLog)
{
    struct Case
    {
        std::string ErrorText;
        std::string Message;
    };
    const std::string longLine(100000, 'x');
    const std::vector<Case> cases = {
        {"  Invalid data found  \nmore\n", "Clip export failed: Invalid data found"},
        {"no newline", "Clip export failed: no newline"},
        {"line\r\nmore", "Clip export failed: line"},
        {"\t a  b \t\n", "Clip export failed: a  b"},
        {"\v\n", "Clip export failed: \v"},
        {"100% %s %n\n", "Clip export failed: 100% %s %n"},
        {std::string("a\0b\n", 4), std::string("Clip export failed: a\0b", 23)},
        {"\xFF\xFE\n", "Clip export failed: \xFF\xFE"},
        {longLine + "\n", "Clip export failed: " + longLine},
        {"", "Clip export failed."},
        {"\n", "Clip export failed."},
        {"\nInvalid data found\n", "Clip export failed."},
        {" \t\r\nInvalid data found\n", "Clip export failed."},
    };
    for (const Case& c : cases)
    {
        FfmpegDoes({.ExitCode = 1, .ErrorText = c.ErrorText, .bWritesOutput = false});
        EXPECT_EQ(ExportToTheEnd(), c.Message);
        EXPECT_FALSE(std::filesystem::exists(ErrorLog()));
    }
}

TEST_F(ExportJob, ReportsAProgramThatDoesNotStart)
{
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", MakeFile("empty program"));
    std::filesystem::permissions(Folder.Path() / "empty program",
                                 std::filesystem::perms::owner_all);
    std::ofstream(Folder.Path() / "empty program") << "#!/no/such/shell\n";
    const std::string message = ExportToTheEnd();
    EXPECT_EQ(message.rfind("Clip export failed: ", 0), 0U) << message; // the shell says why
}

TEST_F(ExportJob, RemovesAnEarlierErrorLogBeforeItRuns)
{
    WriteErrorLog("of an earlier export");
    Platform().SystemResult = 1;
    bool bLogThere = true;
    Platform().InPlaceOfCommand = [&] { bLogThere = std::filesystem::exists(ErrorLog()); };
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    EXPECT_FALSE(bLogThere);
}

TEST_F(ExportJob, LeavesNoErrorLogAfterASuccess)
{
    FfmpegDoes({.ErrorText = "deprecated pixel format\n"});
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00000_Intro.mkv");
    EXPECT_FALSE(std::filesystem::exists(ErrorLog()));
}

TEST_F(ExportJob, FailsPlainlyWithoutAFolderForTheErrorLog)
{
    std::filesystem::remove(ErrorLog().parent_path());
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    EXPECT_EQ(Ffmpeg.Runs(), 0U); // the shell can't open the log
    EXPECT_FALSE(std::filesystem::exists(ErrorLog().parent_path()));
}

TEST_F(ExportJob, FailsPlainlyWhenTheErrorLogCanNotBeRemovedNorRead)
{
    std::filesystem::create_directories(ErrorLog() / "not empty");
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
}

TEST_F(ExportJob, ThrowsWhenTheOutputCanNotBeAskedForAndStaysRunning)
{
    FfmpegDoes({.OutputCommand = "/bin/ln -s \"$out\" \"$out\""});
    Export();
    EXPECT_THROW(Host().RunJob(), std::filesystem::filesystem_error);
    EXPECT_THAT(Host().MainThreadJobs, IsEmpty());
    EXPECT_EQ(State(), (ExportState{1, true, false, false, ""}));
    EXPECT_EQ(Export(), "Clip export already in progress.");
}

TEST_F(ExportJob, ThrowsOutOfARequestThatRunsOnTheSpot)
{
    Host().bJobSystemRuns = false;
    FfmpegDoes({.OutputCommand = "/bin/ln -s \"$out\" \"$out\""});
    EXPECT_THROW(Panel->ExportSelectedClip(), std::filesystem::filesystem_error);
    EXPECT_EQ(State(), (ExportState{1, true, false, false, ""}));
}

TEST_F(ExportJob, WorksOnACopyOfTheClip)
{
    Export();
    const std::string source = Clip().SourcePath;
    Clip().SourcePath = "/elsewhere";
    Clip().StartSec = 0.0;
    Clip().Name = "other";
    Panel->Clips.clear();
    FinishJob();
    EXPECT_EQ(Ffmpeg.Arguments().at(5), source);
    EXPECT_EQ(Ffmpeg.Arguments().at(7), "10.000");
    EXPECT_EQ(Panel->ExportResultMessage, "Exported clip_00000_Intro.mkv");
}

TEST_F(ExportJob, PostsItsResultWithoutAskingWhetherTheJobSystemRuns)
{
    Export();
    Host().bJobSystemRuns = false;
    p = nullptr;
    Log().clear();
    Host().RunJob();
    EXPECT_THAT(Log(), ElementsAre("EnqueueMainThread()"));
    EXPECT_EQ(Host().MainThreadJobs.size(), 1U);
}

TEST_F(ExportHandOff, ChangesNothingBeforeTheCallbackRuns)
{
    Export();
    Host().RunJob();
    EXPECT_EQ(State(), (ExportState{1, true, false, false, ""}));
}

TEST_F(ExportHandOff, StoresTheResultAndTouchesNoWidget)
{
    Export();
    Host().RunJob();
    Log().clear();
    const std::string status = Panel->StatusText;
    Host().RunMainThreadJob();
    EXPECT_EQ(State(), (ExportState{1, false, true, true, Success}));
    EXPECT_EQ(Panel->StatusText, status);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ExportHandOff, AnnouncesASuccessAsInformation)
{
    Export();
    FinishJob();
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), ElementsAre("Status(" + Success + ")",
                                   "QueueNotification(0, Clip Export, " + Success + ", 2200)"));
}

TEST_F(ExportHandOff, AnnouncesAFailureAsAnErrorAndLonger)
{
    FfmpegDoes({.ExitCode = 1, .ErrorText = "bad\n"});
    Export();
    FinishJob();
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), ElementsAre("Status(Clip export failed: bad)",
                                   "QueueNotification(3, Clip Export, Clip export failed: bad, "
                                   "3200)"));
}

TEST_F(ExportHandOff, ShowsAResultOnceAndKeepsIt)
{
    Export();
    FinishJob();
    Panel->PumpExportResult();
    EXPECT_EQ(State(), (ExportState{1, false, false, true, Success}));
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(State(), (ExportState{1, false, false, true, Success}));
}

TEST_F(ExportHandOff, ShowsAResultOnceThoughItIsPumpedForMeanwhile)
{
    Panel->StatusChanged.connect([this](const std::string&) { Panel->PumpExportResult(); });
    Export();
    FinishJob();
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), ElementsAre("Status(" + Success + ")",
                                   "QueueNotification(0, Clip Export, " + Success + ", 2200)"));
}

TEST_F(ExportHandOff, ShowsNothingWhenNoResultWaits)
{
    Panel->StatusText = "earlier";
    Panel->PumpExportResult();
    Export();
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_EQ(State(), (ExportState{1, true, false, false, ""}));
}

TEST_F(ExportHandOff, HoldsNoMutexWhileItTells)
{
    std::vector<std::string> withMutex;
    Host().OnCall = [&](const std::string& Call)
    {
        if (!IsMutexFree())
        {
            withMutex.push_back(Call);
        }
    };
    ExportToTheEnd();
    EXPECT_THAT(withMutex, IsEmpty());
    EXPECT_EQ(Panel->StatusText, Success);
}

TEST_F(ExportHandOff, SetsTheStatusWithoutAnApplicationToNotify)
{
    Export();
    FinishJob();
    Application.pMovane.reset();
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), ElementsAre("Status(" + Success + ")"));
}

TEST_F(ExportHandOff, SetsTheStatusWithoutACore)
{
    Export();
    FinishJob();
    p = nullptr;
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), ElementsAre("Status(" + Success + ")"));
}

TEST_F(ExportHandOff, HoldsTheLifetimeFlagOnlyWeakly)
{
    Export();
    EXPECT_EQ(Panel->ExportLifetime.use_count(), 1);
    const std::weak_ptr<std::atomic<bool>> lifetime = Panel->ExportLifetime;
    Panel.reset();
    EXPECT_TRUE(lifetime.expired());
    FinishJob();
}

TEST_F(ExportHandOff, DropsAResultWhenSomebodyElseKeepsADeadPanelsFlag)
{
    Export();
    const std::shared_ptr<std::atomic<bool>> lifetime = Panel->ExportLifetime;
    Panel.reset();
    FinishJob();
    EXPECT_FALSE(lifetime->load());
    EXPECT_EQ(lifetime.use_count(), 1);
}

TEST_F(ExportHandOff, DropsAResultWhenTheFlagIsFalse)
{
    Export();
    Panel->ExportLifetime->store(false);
    FinishJob();
    EXPECT_EQ(State(), (ExportState{1, true, false, false, ""}));
}

TEST_F(ExportHandOff, DropsAResultWhenTheFlagWasReleased)
{
    Export();
    Panel->ExportLifetime.reset();
    FinishJob();
    EXPECT_EQ(State(), (ExportState{1, true, false, false, ""}));
}

TEST_F(ExportHandOff, DropsAResultOfAnEarlierGeneration)
{
    Export();
    ++Panel->ExportGeneration;
    FinishJob();
    EXPECT_EQ(State(), (ExportState{2, true, false, false, ""}));
}

TEST_F(ExportHandOff, TakesOnlyTheNewerOfTwoResults)
{
    Export();
    Panel->bExportInProgress = false; // so that a second one may start
    Clip().Name = "Outro";
    Export();
    Host().RunJob();
    Host().RunJob();
    Host().RunMainThreadJob();
    EXPECT_EQ(State(), (ExportState{2, true, false, false, ""}));
    Host().RunMainThreadJob();
    EXPECT_EQ(State(), (ExportState{2, false, true, true, "Exported clip_00000_Outro.mkv"}));
}

TEST_F(ExportHandOff, LeavesTheNewerOfTwoResultsAloneWhenTheOlderComesLater)
{
    FfmpegDoes({.ExitCode = 1, .ErrorText = "bad\n"});
    Export();
    Host().RunJob();
    Panel->bExportInProgress = false; // so that a second one may start
    FfmpegDoes({});
    Clip().Name = "Outro";
    Export();
    Host().RunJob();
    std::swap(Host().MainThreadJobs.at(0), Host().MainThreadJobs.at(1));
    Host().RunMainThreadJob();
    const ExportState newer{2, false, true, true, "Exported clip_00000_Outro.mkv"};
    EXPECT_EQ(State(), newer);
    Host().RunMainThreadJob();
    EXPECT_EQ(State(), newer);
}

TEST_F(ExportHandOff, ComparesWholeGenerations)
{
    constexpr std::uint64_t Beyond32Bits = std::uint64_t{1} << 32;
    Panel->ExportGeneration = Beyond32Bits - 1;
    Export();
    FinishJob();
    EXPECT_EQ(State(), (ExportState{Beyond32Bits, false, true, true, Success}));
    Clip().Name = "Outro";
    Export();
    Panel->ExportGeneration += Beyond32Bits;
    FinishJob();
    EXPECT_EQ(State(), (ExportState{2 * Beyond32Bits + 1, true, false, false, ""}));
}

TEST_F(ExportHandOff, AnnouncesTheResultThatItShowedThoughAListenerChangesIt)
{
    Panel->StatusChanged.connect(
        [this](const std::string& Text)
        {
            if (Text == Success)
            {
                Panel->ExportSelectedClip();
                Panel->ExportResultMessage = "changed";
            }
        });
    Export();
    FinishJob();
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_EQ(Log().back(), "QueueNotification(0, Clip Export, " + Success + ", 2200)");
    EXPECT_EQ(State(), (ExportState{2, true, false, false, "changed"}));
    EXPECT_EQ(Panel->StatusText, "Exporting Intro to clip_00001_Intro.mkv...");
}

TEST_F(ExportHandOff, LetsThePanelGoWhileFfmpegRunsOnItsThread)
{
    const std::filesystem::path mayEnd = Folder.Path() / "may end";
    FfmpegDoes({.WaitsFor = mayEnd});
    Export();
    std::thread worker([] { Host().RunJob(); });
    Panel->Clips.clear();
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    Panel.reset();
    std::ofstream(mayEnd).close();
    worker.join();
    Log().clear();
    Host().RunMainThreadJob();
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(Output()));
}

TEST_F(ExportHandOff, LetsThePanelWorkWhileFfmpegRunsOnItsThread)
{
    const std::filesystem::path mayEnd = Folder.Path() / "may end";
    FfmpegDoes({.WaitsFor = mayEnd});
    Export();
    std::thread worker([] { Host().RunJob(); });
    NameInput.Text = "renamed";
    Panel->RenameSelectedClip();
    Panel->DeleteSelectedClip();
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    std::ofstream(mayEnd).close();
    worker.join();
    Host().RunMainThreadJob();
    Panel->PumpExportResult();
    EXPECT_EQ(Panel->StatusText, Success);
}

TEST_F(ExportStatusRecord, IsTheStatusLineWhileAnExportRuns)
{
    Export();
    ExpectStatus(true, "Exporting Intro to clip_00000_Intro.mkv...");
    Panel->SetStatusTextInternal("Saved", true);
    ExpectStatus(true, "Saved");
    Host().RunJob();
    ExpectStatus(true, "Saved");
}

TEST_F(ExportStatusRecord, IsTheResultFromTheCallbackOn)
{
    Export();
    FinishJob();
    ExpectStatus(false, "Exported clip_00000_Intro.mkv");
    Panel->PumpExportResult();
    ExpectStatus(false, "Exported clip_00000_Intro.mkv");
    Panel->SetStatusTextInternal("Saved", true);
    ExpectStatus(false, "Exported clip_00000_Intro.mkv");
    Export();
    ExpectStatus(true, "Exporting Intro to clip_00001_Intro.mkv...");
}

TEST_F(ExportStatusRecord, WaitsForTheMutex)
{
    std::unique_lock lock(Panel->ExportMutex);
    std::atomic<pid_t> thread = 0;
    auto status = std::async(std::launch::async,
                             [&]
                             {
                                 thread = gettid();
                                 return Panel->GetExportStatus();
                             });
    const auto isReady = [&]
    { return status.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
    ASSERT_TRUE(WaitFor([&] { return isReady() || (thread != 0 && IsAsleep(thread)); }));
    EXPECT_FALSE(isReady());
    Panel->ExportResultMessage = "done";
    lock.unlock();
    EXPECT_EQ(status.get().Message, "done");
}
