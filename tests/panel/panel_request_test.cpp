// The request to export a clip: its checks in their order, the search for ffmpeg, the start.

#include "panel/exportfixture.h"
#include "support/extremes.h"

#include <cmath>
#include <optional>

#include <sys/stat.h>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class ExportRequest : public ExportTest
{
protected:
    ExportRequest()
    {
        Panel->ExportGeneration = 5;
        Panel->bExportResultSuccess = true;
        Panel->ExportResultMessage = "earlier";
    }

    /// The request must end in Status and change no field of the export.
    void ExpectRefusal(const std::string& Status) const
    {
        const ExportState before = State();
        EXPECT_EQ(Export(), Status);
        EXPECT_EQ(State(), before);
        EXPECT_THAT(Host().Jobs, IsEmpty());
        EXPECT_THAT(Platform().Commands, IsEmpty());
    }
};

/// Changes the process's current folder for the life of the guard.
class CurrentFolderGuard
{
public:
    explicit CurrentFolderGuard(const std::filesystem::path& Path)
        : Earlier(std::filesystem::current_path())
    {
        std::filesystem::current_path(Path);
    }
    ~CurrentFolderGuard() { std::filesystem::current_path(Earlier); }
    CurrentFolderGuard(const CurrentFolderGuard&) = delete;
    CurrentFolderGuard& operator=(const CurrentFolderGuard&) = delete;

private:
    std::filesystem::path Earlier;
};

class FfmpegSearch : public ExportTest
{
protected:
    FfmpegSearch()
    {
        Platform().HiddenFiles = {"/usr/bin/ffmpeg", "/usr/sbin/ffmpeg"};
        Platform().SystemResult = 1;
    }

    /// Exports without running anything and returns the program that would have run, or the status
    /// text of a refusal.
    std::string Found() const
    {
        Platform().Commands.clear();
        Platform().AskedPaths.clear();
        const std::string status = Export();
        if (Host().Jobs.empty())
        {
            return status;
        }
        FinishJob();
        Panel->PumpExportResult();
        const std::string command = Platform().Commands.at(0);
        return command.substr(1, command.find("' -y ") - 1);
    }

    /// Makes an executable file and returns its path.
    std::string MakeProgram(const std::string& Name) const
    {
        const std::string program = MakeFile(Name);
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        return program;
    }

    std::string InFolder(const std::string& Name) const { return Folder.Path() / Name; }

    EnvironmentGuard NoOverride{"MOVANE_FFMPEG_BIN"};
    EnvironmentGuard EmptyPath{"PATH"};
    CurrentFolderGuard InTestFolder{Folder.Path()};
    const std::string NotFound =
        "ffmpeg executable not found. Install ffmpeg or set MOVANE_FFMPEG_BIN.";
    const std::string NotExecutable = "MOVANE_FFMPEG_BIN is not executable: ";
};
} // namespace

TEST_F(ExportRequest, RefusesWithoutASelection)
{
    Select(-1);
    ExpectRefusal("Select a saved clip to export it.");
    EXPECT_THAT(Log(), ElementsAre("Status(Select a saved clip to export it.)"));
}

TEST_F(ExportRequest, RefusesWhileAnExportRuns)
{
    Panel->bExportInProgress = true;
    ExpectRefusal("Clip export already in progress.");
    EXPECT_THAT(Log(), ElementsAre("Status(Clip export already in progress.)"));
}

TEST_F(ExportRequest, RefusesClipsShorterThanFiftyMilliseconds)
{
    struct Case
    {
        double StartSec;
        double EndSec;
    };
    for (const Case& c : std::vector<Case>{{10.0, 10.04},
                                           {0.0, std::nextafter(0.05, 0.0)},
                                           {0.0004, 0.0503}, // 0.050 between rounded times
                                           {10.0, 10.0},
                                           {10.0, 5.0},
                                           {-1.0, -2.0},
                                           {NotANumber, 10.0},
                                           {10.0, NotANumber},
                                           {Infinity, Infinity},
                                           {0.0, -Infinity}})
    {
        Clip().StartSec = c.StartSec;
        Clip().EndSec = c.EndSec;
        ExpectRefusal("Selected clip is too short to export.");
        EXPECT_THAT(Log(), ElementsAre("Status(Selected clip is too short to export.)"));
    }
}

TEST_F(ExportRequest, TakesClipsOfFiftyMilliseconds)
{
    struct Case
    {
        double StartSec;
        double EndSec;
    };
    for (const Case& c : std::vector<Case>{{0.0, 0.05}, {10.0, 10.05}, {-1.0, -0.5}})
    {
        Clip().StartSec = c.StartSec;
        Clip().EndSec = c.EndSec;
        EXPECT_EQ(Export(), "Exporting Intro to clip_00000_Intro.mkv...") << c.EndSec;
        Panel->bExportInProgress = false;
    }
}

TEST_F(ExportRequest, RefusesAMissingSourceByItsLabel)
{
    Clip().SourceLabel = "my label";
    Clip().SourcePath = Folder.Path() / "gone.mp4";
    ExpectRefusal("Clip source file is missing: my label");
    Clip().SourcePath = "";
    ExpectRefusal("Clip source file is missing: my label");
    EXPECT_THAT(Log(), ElementsAre("Status(Clip source file is missing: my label)"));
}

TEST_F(ExportRequest, RefusesWithoutAnOutputPath)
{
    MakeFile("recordings/clips");
    ExpectRefusal("Could not create clip export path.");
    EXPECT_THAT(Log(),
                ElementsAre("RecordingsDir()", "Status(Could not create clip export path.)"));
}

TEST_F(ExportRequest, RefusesWithoutFfmpeg)
{
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", "/no such ffmpeg");
    ExpectRefusal("MOVANE_FFMPEG_BIN is not executable: /no such ffmpeg");
    EXPECT_THAT(Log(), ElementsAre("RecordingsDir()",
                                   "Status(MOVANE_FFMPEG_BIN is not executable: /no such ffmpeg)"));
}

TEST_F(ExportRequest, StopsAtTheFirstFailedCheck)
{
    // All of them fail at first; then one after the other is put right.
    Select(-1);
    Panel->bExportInProgress = true;
    Clip().EndSec = Clip().StartSec;
    Clip().SourcePath = "";
    MakeFile("recordings/clips");
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", "/");
    ExpectRefusal("Select a saved clip to export it.");
    Select(0);
    ExpectRefusal("Clip export already in progress.");
    Panel->bExportInProgress = false;
    ExpectRefusal("Selected clip is too short to export.");
    Clip().EndSec = 12.0;
    ExpectRefusal("Clip source file is missing: source.mp4");
    Clip().SourcePath = Source;
    ExpectRefusal("Could not create clip export path.");
    std::filesystem::remove_all(Folder.Path() / "recordings");
    ExpectRefusal("MOVANE_FFMPEG_BIN is not executable: /");
    const EnvironmentGuard good("MOVANE_FFMPEG_BIN", Ffmpeg.Path());
    EXPECT_EQ(Export(), "Exporting Intro to clip_00000_Intro.mkv...");
}

TEST_F(ExportRequest, HoldsTheMutexWhenItTellsThatAnExportRuns)
{
    std::vector<std::string> withMutex;
    Panel->StatusChanged.connect(
        [&](const std::string& Text)
        {
            if (!IsMutexFree())
            {
                withMutex.push_back(Text);
            }
        });
    Export();
    Export();
    Panel->bExportInProgress = false;
    Clip().EndSec = 0.0;
    Export();
    EXPECT_THAT(withMutex, ElementsAre("Clip export already in progress."));
}

TEST_F(ExportRequest, ThrowsWhenTheSourceCanNotBeAskedForAndChangesNothing)
{
    const ExportState before = State();
    for (const std::string& source :
         {MakeLinkLoop("loop.mp4"), (Folder.Path() / std::string(300, 'x')).string()})
    {
        Clip().SourcePath = source;
        EXPECT_THROW(Panel->ExportSelectedClip(), std::filesystem::filesystem_error);
        EXPECT_EQ(State(), before);
        EXPECT_EQ(Panel->StatusText, "");
        EXPECT_THAT(Log(), IsEmpty());
        EXPECT_TRUE(IsMutexFree());
    }
}

TEST_F(ExportRequest, TakesAnyEntryForASource)
{
    Clip().SourcePath = Folder.Path();
    EXPECT_EQ(Export(), "Exporting Intro to clip_00000_Intro.mkv...");
}

TEST_F(ExportRequest, TellsBeforeItEnqueues)
{
    Export();
    EXPECT_THAT(Log(), ElementsAre("RecordingsDir()", "RuntimeDir()",
                                   "Status(Exporting Intro to clip_00000_Intro.mkv...)",
                                   "IsRunning()", "Enqueue(clip export)"));
    EXPECT_EQ(Host().Jobs.size(), 1U);
    EXPECT_THAT(Platform().Commands, IsEmpty());
}

TEST_F(ExportRequest, IsRunningWhenItTells)
{
    std::optional<ExportState> atStatus;
    bool bMutexFree = false;
    Host().OnCall = [&](const std::string& Call)
    {
        if (Call.starts_with("Status"))
        {
            bMutexFree = IsMutexFree();
            atStatus = State();
        }
    };
    Export();
    EXPECT_EQ(atStatus, (ExportState{6, true, false, false, ""}));
    EXPECT_TRUE(bMutexFree);
}

TEST_F(ExportRequest, ClearsAResultThatCameAfterThePump)
{
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "RecordingsDir()")
        {
            Panel->bExportResultReady = true;
        }
    };
    Export();
    EXPECT_EQ(State(), (ExportState{6, true, false, false, ""}));
}

TEST_F(ExportRequest, CountsOneGenerationForEachStart)
{
    Export();
    EXPECT_EQ(State(), (ExportState{6, true, false, false, ""}));
    FinishJob();
    EXPECT_EQ(State(), (ExportState{6, false, true, true, "Exported clip_00000_Intro.mkv"}));
    Export();
    EXPECT_EQ(State(), (ExportState{7, true, false, false, ""}));
}

TEST_F(ExportRequest, ShowsAWaitingResultBeforeItStarts)
{
    Export();
    FinishJob();
    Export();
    EXPECT_THAT(Log(),
                ElementsAre("Status(Exported clip_00000_Intro.mkv)",
                            "QueueNotification(0, Clip Export, Exported clip_00000_Intro.mkv, "
                            "2200)",
                            "RecordingsDir()", "RuntimeDir()",
                            "Status(Exporting Intro to clip_00001_Intro.mkv...)", "IsRunning()",
                            "Enqueue(clip export)"));
}

TEST_F(ExportRequest, ShowsAWaitingResultBeforeItRefuses)
{
    Export();
    FinishJob();
    Select(-1);
    Export();
    EXPECT_THAT(Log(),
                ElementsAre("Status(Exported clip_00000_Intro.mkv)",
                            "QueueNotification(0, Clip Export, Exported clip_00000_Intro.mkv, "
                            "2200)",
                            "Status(Select a saved clip to export it.)"));
}

TEST_F(ExportRequest, TakesTheClipThatIsSelectedAfterAWaitingResultWasShown)
{
    AddClip("Outro", 1.0, 2.0).SourcePath = Source;
    Export();
    FinishJob();
    Panel->StatusChanged.connect(
        [this](const std::string& Text)
        {
            if (Text.starts_with("Exported"))
            {
                Panel->DeleteSelectedClip();
            }
        });
    EXPECT_EQ(Export(), "Exporting Outro to clip_00000_Outro.mkv...");
    FinishJob();
    EXPECT_EQ(Export(), "Select a saved clip to export it.");
}

TEST_F(ExportRequest, ExportsTheClipThatItTellsThoughAListenerChangesIt)
{
    Panel->StatusChanged.connect([this](const std::string&) { Panel->Clips.assign(1, {}); });
    EXPECT_EQ(Export(), "Exporting Intro to clip_00000_Intro.mkv...");
    FinishJob();
    EXPECT_EQ(Ffmpeg.Arguments().at(5), Source);
    EXPECT_EQ(Ffmpeg.Arguments().at(7), "10.000");
    EXPECT_EQ(Ffmpeg.Arguments().at(9), "2.000");
}

TEST_F(ExportRequest, ShowsAWaitingResultBeforeItThrows)
{
    Export();
    FinishJob();
    Clip().SourcePath = MakeLinkLoop("loop.mp4");
    EXPECT_THROW(Panel->ExportSelectedClip(), std::filesystem::filesystem_error);
    EXPECT_EQ(Panel->StatusText, "Exported clip_00000_Intro.mkv");
    EXPECT_FALSE(Panel->bExportInProgress);
}

TEST_F(ExportRequest, NamesTheClipAsItIs)
{
    Clip().Name = "it's %d/\xC3\xA9";
    EXPECT_EQ(Export(), "Exporting it's %d/\xC3\xA9 to clip_00000_its_d.mkv...");
}

TEST_F(ExportRequest, KeepsNulBytesInWhatItTells)
{
    Clip().Name = std::string("a\0b", 3);
    EXPECT_EQ(Export(), "Exporting " + Clip().Name + " to clip_00000_ab.mkv...");
    FinishJob();
    Clip().SourceLabel = std::string("c\0d", 3);
    Clip().SourcePath.clear();
    EXPECT_EQ(Export(), "Clip source file is missing: " + Clip().SourceLabel);
}

TEST_F(ExportRequest, RunsOnTheSpotWhenTheJobSystemDoesNotRun)
{
    Host().bJobSystemRuns = false;
    EXPECT_EQ(Export(), "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_THAT(Log(),
                ElementsAre("RecordingsDir()", "RuntimeDir()",
                            "Status(Exporting Intro to clip_00000_Intro.mkv...)", "IsRunning()"));
    EXPECT_EQ(Ffmpeg.Runs(), 1U);
    EXPECT_EQ(State(), (ExportState{6, false, true, true, "Exported clip_00000_Intro.mkv"}));

    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(),
                ElementsAre("Status(Exported clip_00000_Intro.mkv)",
                            "QueueNotification(0, Clip Export, Exported clip_00000_Intro.mkv, "
                            "2200)"));
}

TEST_F(ExportRequest, KeepsNulBytesOfAResultOnTheSpot)
{
    Host().bJobSystemRuns = false;
    FfmpegDoes({.ExitCode = 1, .ErrorText = std::string("a\0b", 3)});
    Export();
    EXPECT_EQ(Panel->ExportResultMessage, "Clip export failed: " + std::string("a\0b", 3));
}

TEST_F(ExportRequest, RunsOnTheSpotWithoutAJobSystem)
{
    Application.pJobSystem.reset();
    EXPECT_EQ(Export(), "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_THAT(Log(), ElementsAre("RecordingsDir()", "RuntimeDir()",
                                   "Status(Exporting Intro to clip_00000_Intro.mkv...)"));
    EXPECT_EQ(State(), (ExportState{6, false, true, true, "Exported clip_00000_Intro.mkv"}));
}

TEST_F(ExportRequest, RunsOnTheSpotWithoutACore)
{
    p = nullptr;
    EXPECT_EQ(Export(), "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_EQ(State(), (ExportState{6, false, true, true, "Exported clip_00000_Intro.mkv"}));
    Log().clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Log(), ElementsAre("Status(Exported clip_00000_Intro.mkv)"));
}

TEST_F(ExportRequest, DropsAResultOnTheSpotWhoseFlagWentFalse)
{
    Host().bJobSystemRuns = false;
    Platform().SystemResult = 1;
    Platform().InPlaceOfCommand = [this] { Panel->ExportLifetime->store(false); };
    Export();
    EXPECT_EQ(State(), (ExportState{6, true, false, false, ""}));
}

TEST_F(ExportRequest, DropsAResultOnTheSpotWhoseGenerationIsOver)
{
    Host().bJobSystemRuns = false;
    Platform().SystemResult = 1;
    Platform().InPlaceOfCommand = [this] { ++Panel->ExportGeneration; };
    Export();
    EXPECT_EQ(State(), (ExportState{7, true, false, false, ""}));
}

TEST_F(FfmpegSearch, TakesTheTrimmedOverride)
{
    const std::string program = MakeProgram("opt/ff/ffmpeg");
    for (const std::string& value : {program, " " + program + "\n", "\t\r" + program + "  "})
    {
        const EnvironmentGuard override("MOVANE_FFMPEG_BIN", value);
        EXPECT_EQ(Found(), program);
    }
}

TEST_F(FfmpegSearch, LooksNoFurtherThanTheOverride)
{
    MakeProgram("bin/ffmpeg");
    const std::string program = MakeProgram("other");
    const EnvironmentGuard path("PATH", InFolder("bin"));
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", program);
    EXPECT_EQ(Found(), program);
    EXPECT_THAT(Platform().AskedPaths, IsEmpty());
}

TEST_F(FfmpegSearch, TakesAnOverrideOfBlanksForNone)
{
    const std::string program = MakeProgram("bin/ffmpeg");
    const EnvironmentGuard path("PATH", InFolder("bin"));
    for (const char* value : {"", "   ", " \t\r\n"})
    {
        const EnvironmentGuard override("MOVANE_FFMPEG_BIN", value);
        EXPECT_EQ(Found(), program);
    }
}

TEST_F(FfmpegSearch, RefusesAnOverrideThatCanNotRunThoughThereAreOthers)
{
    Platform().HiddenFiles.clear();
    Platform().PretendedFiles = {"/usr/bin/ffmpeg"};
    MakeProgram("bin/ffmpeg");
    const EnvironmentGuard path("PATH", InFolder("bin"));
    std::filesystem::create_symlink(InFolder("nowhere"), InFolder("dangling"));
    for (const std::string& value :
         {InFolder(""), MakeFile("notexecutable"), InFolder("missing"), InFolder("dangling"),
          MakeLinkLoop("loop"), InFolder(std::string(300, 'x')), std::string("\v")})
    {
        const EnvironmentGuard override("MOVANE_FFMPEG_BIN", " " + value + " \n");
        EXPECT_EQ(Found(), NotExecutable + value);
    }
    EXPECT_THAT(Platform().AskedPaths, IsEmpty());
}

TEST_F(FfmpegSearch, TakesEntriesThatAreNoRegularFiles)
{
    const std::string pipe = InFolder("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0700), 0);
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", pipe);
    EXPECT_EQ(Found(), pipe);
}

TEST_F(FfmpegSearch, FollowsLinksAndKeepsTheirName)
{
    std::filesystem::create_symlink(MakeProgram("program"), InFolder("link"));
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", InFolder("link"));
    EXPECT_EQ(Found(), InFolder("link"));
}

TEST_F(FfmpegSearch, KeepsARelativeOverrideRelative)
{
    MakeProgram("bin/myffmpeg");
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", "bin/myffmpeg");
    EXPECT_EQ(Found(), "bin/myffmpeg");
}

TEST_F(FfmpegSearch, GoesThroughThePathThenTheFixedPlaces)
{
    const EnvironmentGuard path("PATH", InFolder("a") + "::" + InFolder("b"));
    EXPECT_EQ(Found(), NotFound);
    EXPECT_THAT(Platform().AskedPaths,
                ElementsAre(InFolder("a/ffmpeg"), InFolder("ffmpeg"), InFolder("b/ffmpeg"),
                            "/usr/bin/ffmpeg", "/usr/sbin/ffmpeg"));
}

TEST_F(FfmpegSearch, TakesTheFirstInThePath)
{
    MakeProgram("b/ffmpeg");
    MakeProgram("c/ffmpeg");
    const EnvironmentGuard path("PATH", InFolder("a") + ":" + InFolder("b") + ":" + InFolder("c"));
    EXPECT_EQ(Found(), InFolder("b/ffmpeg"));
    EXPECT_THAT(Platform().AskedPaths, ElementsAre(InFolder("a/ffmpeg"), InFolder("b/ffmpeg")));
}

TEST_F(FfmpegSearch, LooksInTheCurrentFolderForEveryEmptyEntry)
{
    struct Case
    {
        std::string Path;
        std::vector<std::string> Asked;
    };
    const std::string here = InFolder("ffmpeg");
    for (const Case& c : std::vector<Case>{{"", {here}},
                                           {":", {here, here}},
                                           {":/no", {here, "/no/ffmpeg"}},
                                           {"/no:", {"/no/ffmpeg", here}},
                                           {"/no", {"/no/ffmpeg"}},
                                           {":::", {here, here, here, here}}})
    {
        const EnvironmentGuard path("PATH", c.Path);
        EXPECT_EQ(Found(), NotFound);
        std::vector<std::string> expected = c.Asked;
        expected.emplace_back("/usr/bin/ffmpeg");
        expected.emplace_back("/usr/sbin/ffmpeg");
        EXPECT_EQ(Platform().AskedPaths, expected) << c.Path;
    }
}

TEST_F(FfmpegSearch, FindsTheCurrentFoldersBeforeTheFixedOnesWithoutAPath)
{
    Platform().HiddenFiles.clear();
    Platform().PretendedFiles = {"/usr/bin/ffmpeg"};
    MakeProgram("ffmpeg");
    EXPECT_EQ(Found(), InFolder("ffmpeg"));
}

TEST_F(FfmpegSearch, KeepsARelativeEntryRelativeAndUntrimmed)
{
    MakeProgram("bin/ffmpeg");
    MakeProgram(" bin /ffmpeg");
    const EnvironmentGuard path("PATH", "bin");
    EXPECT_EQ(Found(), "bin/ffmpeg");
    const EnvironmentGuard blanks("PATH", " bin ");
    EXPECT_EQ(Found(), " bin /ffmpeg");
}

TEST_F(FfmpegSearch, LeavesAnEntryAsItStands)
{
    MakeProgram("bin/ffmpeg");
    std::filesystem::create_directories(InFolder("other"));
    const EnvironmentGuard path("PATH", "~:$HOME:\"bin\":other/..//bin/.");
    EXPECT_EQ(Found(), "other/..//bin/./ffmpeg");
    EXPECT_THAT(Platform().AskedPaths, ElementsAre("~/ffmpeg", "$HOME/ffmpeg", "\"bin\"/ffmpeg",
                                                   "other/..//bin/./ffmpeg"));
    const EnvironmentGuard slash("PATH", "bin//");
    EXPECT_EQ(Found(), "bin//ffmpeg");
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", "other/..//bin/./ffmpeg");
    EXPECT_EQ(Found(), "other/..//bin/./ffmpeg");
}

TEST_F(FfmpegSearch, PassesOverWhatCanNotRun)
{
    std::filesystem::create_directories(InFolder("a/ffmpeg"));
    MakeFile("b/ffmpeg");
    std::filesystem::create_directories(InFolder("c"));
    MakeLinkLoop("c/ffmpeg");
    const std::string program = MakeProgram("d/ffmpeg");
    const EnvironmentGuard path("PATH", InFolder("a") + ":" + InFolder("b") + ":" + InFolder("c") +
                                            ":" + InFolder(std::string(300, 'x')) + ":" +
                                            InFolder("d"));
    EXPECT_EQ(Found(), program);
}

TEST_F(FfmpegSearch, PrefersUsrBinToUsrSbin)
{
    Platform().HiddenFiles.clear();
    Platform().PretendedFiles = {"/usr/bin/ffmpeg", "/usr/sbin/ffmpeg"};
    const EnvironmentGuard path("PATH", "/no");
    EXPECT_EQ(Found(), "/usr/bin/ffmpeg");
    EXPECT_THAT(Platform().AskedPaths, ElementsAre("/no/ffmpeg", "/usr/bin/ffmpeg"));
}

TEST_F(FfmpegSearch, TakesUsrSbinLast)
{
    Platform().PretendedFiles = {"/usr/sbin/ffmpeg"};
    Platform().HiddenFiles = {"/usr/bin/ffmpeg"};
    EXPECT_EQ(Found(), "/usr/sbin/ffmpeg");
}

TEST_F(FfmpegSearch, IsMadeAgainForEveryExport)
{
    const std::string first = MakeProgram("first");
    const std::string second = MakeProgram("second");
    {
        const EnvironmentGuard override("MOVANE_FFMPEG_BIN", first);
        EXPECT_EQ(Found(), first);
    }
    EXPECT_EQ(Found(), NotFound);
    const EnvironmentGuard override("MOVANE_FFMPEG_BIN", second);
    EXPECT_EQ(Found(), second);
}

TEST_F(FfmpegSearch, ThrowsInAnEmptyEntryWhenTheCurrentFolderIsGone)
{
    std::filesystem::create_directories(InFolder("gone"));
    const CurrentFolderGuard inGone(InFolder("gone"));
    std::filesystem::remove(InFolder("gone"));
    const ExportState before = State();
    const EnvironmentGuard path("PATH", "/no:");
    EXPECT_THROW(Panel->ExportSelectedClip(), std::filesystem::filesystem_error);
    EXPECT_EQ(State(), before);
    EXPECT_EQ(Panel->StatusText, "");
}

TEST_F(FfmpegSearch, NeedsNoCurrentFolderForOtherEntries)
{
    MakeProgram("bin/ffmpeg");
    std::filesystem::create_directories(InFolder("gone"));
    const CurrentFolderGuard inGone(InFolder("gone"));
    std::filesystem::remove(InFolder("gone"));
    const EnvironmentGuard path("PATH", InFolder("bin") + ":");
    EXPECT_EQ(Found(), InFolder("bin/ffmpeg"));
}
