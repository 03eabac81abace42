#include "cli/exportcommand.h"

#include "app/clippanelrecords.h"
#include "cli/cliptext.h"
#include "cli/exportreport.h"
#include "cli/exporttarget.h"
#include "cli/terminalprogress.h"
#include "host/apppaths.h"
#include "host/atomicfile.h"
#include "host/core.h"
#include "host/mvtimecontrol.h"
#include "host/ttf.h"
#include "media/encoderprocess.h"
#include "media/mediafile.h"
#include "panel/mvclipcontrolpanel.h"
#include "player/mpvvideo.h"
#include "process/processsetup.h"
#include "process/sentences.h"
#include "process/stopsignals.h"
#include "process/wakeup.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace
{
namespace fs = std::filesystem;

/// A clip whose range is known.
struct ClipToExport
{
    std::string Origin; ///< for messages
    std::string Name;   ///< empty: the panel names it
    double InSec = 0.0;
    double OutSec = 0.0;
};

// -- What the user wrote. Each step returns false with a sentence in OutError.

bool ReadTable(const std::string& Path,
               std::vector<ClipRequest>& OutRequests,
               std::string& OutError)
{
    std::error_code ec;
    if (fs::is_directory(Path, ec))
    {
        OutError = Path + " is a folder: name a CSV file.";
        return false;
    }
    const std::string text = ReadWholeFile(Path);
    if (errno != 0)
    {
        OutError = Path + " can't be read: " + std::generic_category().message(errno) + '.';
        return false;
    }
    return ParseClipTable(text, Path, OutRequests, OutError);
}

bool ReadRequests(const ExportOptions& Options,
                  std::vector<ClipRequest>& OutRequests,
                  std::string& OutError)
{
    for (const std::string& argument : Options.ClipArguments)
    {
        if (!ParseClipArgument(argument, OutRequests.emplace_back(), OutError))
        {
            return false;
        }
    }
    for (const std::string& path : Options.TablePaths)
    {
        if (!ReadTable(path, OutRequests, OutError))
        {
            return false;
        }
    }
    if (OutRequests.empty())
    {
        OutError = Options.TablePaths.empty()
                       ? "No clip is given: add --clip [NAME=]IN-OUT or --clips FILE.csv."
                       : Options.TablePaths.front() + " holds no clips.";
        return false;
    }
    return true;
}

// Lexically, so that a name like "-x.mp4" or "a:b.mp4" is neither an option nor a protocol to ffmpeg.
bool MakeAbsolute(const std::string& Path, std::string& OutPath, std::string& OutError)
{
    std::error_code ec;
    OutPath = fs::absolute(Path, ec).native();
    if (ec)
    {
        OutError = Path + " has no place: " + ec.message() + '.';
    }
    return !ec;
}

bool UseRecordingsDir(const std::string& Folder, std::string& OutError)
{
    if (Folder.empty())
    {
        OutError = "--recordings-dir is empty: name a folder.";
        return false;
    }
    std::string absolute;
    if (!MakeAbsolute(Folder, absolute, OutError))
    {
        return false;
    }
    setenv("MOVANE_RECORDINGS_DIR", absolute.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    return true;
}

bool FindPaths(const ExportOptions& Options, std::string& OutSource, std::string& OutError)
{
    if (Options.SourcePath.empty())
    {
        OutError = "SOURCE is empty: name a video file.";
        return false;
    }
    if (!MakeAbsolute(Options.SourcePath, OutSource, OutError))
    {
        return false;
    }
    return !Options.RecordingsDir.has_value() || UseRecordingsDir(*Options.RecordingsDir, OutError);
}

std::string SecondsText(double Sec)
{
    std::array<char, 64> text = {};
    std::snprintf(text.data(), text.size(), "%.3f s", Sec);
    return text.data();
}

// Fills in the ends of the source for what was left blank and tests that the range lies in it.
bool PlaceInSource(const ClipRequest& Request,
                   const std::string& Source,
                   double DurationSec,
                   ClipToExport& OutClip,
                   std::string& OutError)
{
    const bool bDurationKnown = DurationSec > 0.0;
    if (!Request.OutSec.has_value() && !bDurationKnown)
    {
        OutError = Request.Origin + ": the length of " + Source + " is unknown, so give an Out.";
        return false;
    }
    OutClip = {Request.Origin, Request.Name, Request.InSec.value_or(0.0),
               Request.OutSec.value_or(DurationSec)};
    // Rounded as ffmpeg gets it. From there on it would make a file without pictures and call it good.
    if (bDurationKnown && std::round(OutClip.InSec * 1000.0) / 1000.0 >= DurationSec)
    {
        OutError = Request.Origin + ": In (" + SecondsText(OutClip.InSec) +
                   ") lies at or past the end of " + Source + " (" + SecondsText(DurationSec) +
                   ").";
        return false;
    }
    if (OutClip.OutSec < OutClip.InSec)
    {
        OutError = Request.Origin + ": Out (" + SecondsText(OutClip.OutSec) + ") lies before In (" +
                   SecondsText(OutClip.InSec) + ").";
        return false;
    }
    return true;
}

// -- The application without a screen

/// The panel with the widgets that it works on, and nobody sees.
struct PanelDesk
{
    explicit PanelDesk(MvWindow& Parent)
    {
        ConnectPanelToRecords(Panel, Records);
        Panel.pParentWindow = &Parent;
    }

    ClipPanelRecords Records;
    MvClipControlPanel Panel; // last, so that it goes before what it points at
};

/// The file that is being written, for the thread that ends its encoder when the user waits no longer.
class RunningOutput
{
public:
    void Set(const std::string& NewPath)
    {
        const std::lock_guard lock(PathMutex);
        Path = NewPath;
    }

    void KillEncoder()
    {
        const std::lock_guard lock(PathMutex);
        if (Path.empty())
        {
            return;
        }
        if (std::optional<EncoderProcess> encoder = EncoderProcess::Find(Path))
        {
            encoder->Kill();
        }
    }

private:
    std::mutex PathMutex;
    std::string Path; ///< guarded by PathMutex; empty while nothing is exported
};

class ExportSession
{
public:
    ExportSession(ExportReport& NewReport,
                  const WakeUp& NewSleep,
                  const StopSignals& NewStop,
                  RunningOutput& NewOutput)
        : Report(NewReport)
        , Sleep(NewSleep)
        , Stop(NewStop)
        , Output(NewOutput)
    {
        Application.pMovane = std::make_unique<Movane>();
        Application.pRend = std::make_unique<Rend>();
        Application.pRend->pTTF = &Font;
        Application.pCoreSDL = std::make_unique<CoreSDL>();
        Application.pJobSystem = std::make_unique<JobSystem>();
        p = &Application;

        pWindow = dynamic_cast<MvVideoWindow*>(Application.pMovane->AddWindow(
            Movane::FirstVideoWindowID, std::make_unique<MvVideoWindow>()));
        Application.pMovane->NotificationQueued.connect([this](const Movane::Notification& Notice)
                                                        { Report.PrintNotification(Notice); });
        Application.pJobSystem->SetWakeUp([this] { Sleep.Post(); });
        Application.pJobSystem->JobFailed.connect([this](const JobSystem::Failure& Failure)
                                                  { JobFailure = Failure.Text; });
        SetUpDesk(1);
    }
    ~ExportSession()
    {
        Application.pJobSystem->Stop();
        p = nullptr;
    }
    ExportSession(const ExportSession&) = delete;
    ExportSession& operator=(const ExportSession&) = delete;

    bool LoadSource(const std::string& Path, std::string& OutError)
    {
        std::unique_ptr<MpvVideo> video = MpvVideo::Create({}, OutError);
        if (video == nullptr)
        {
            return false;
        }
        pWindow->SetVideo(std::move(video));
        if (!pWindow->LoadVideoFile(Path, false))
        {
            OutError = pWindow->LoadError();
            return false;
        }
        return true;
    }

    double DurationSec() { return pWindow->Timeline().DurationSec(); }

    /// Saves and exports one clip, and tells what became of it.
    bool ExportClip(const ClipToExport& Clip)
    {
        ClipResult result;
        try
        {
            result = SaveAndExport(Clip);
        }
        catch (const fs::filesystem_error& error)
        {
            result = {Clip.Name, false, "", SentenceOf(error)};
        }
        Report.PrintResult(result);
        if (!result.bExported)
        {
            PrintError(Clip.Origin + ": " + result.Text);
        }
        return result.bExported;
    }

private:
    void SetUpDesk(int NextClipOrdinal)
    {
        Desk = std::make_unique<PanelDesk>(*pWindow);
        Desk->Panel.NextClipOrdinal = NextClipOrdinal;
        Desk->Panel.StatusChanged.connect([this](const std::string& Text)
                                          { Report.PrintStatus(Text); });
    }

    ClipResult SaveAndExport(const ClipToExport& Clip)
    {
        MvClipControlPanel& panel = Desk->Panel;
        // Set for each clip: after a save the input shows the name of the saved one.
        Desk->Records.NameInput.SetText(Clip.Name, false);
        pWindow->Timeline().SetRangeSelection(Clip.InSec, Clip.OutSec, false);
        panel.SaveCurrentRangeAsClip();
        const std::string name = panel.Clips.back().Name;

        panel.ExportSelectedClip();
        if (!panel.GetExportStatus().bInProgress)
        {
            return {name, false, "", panel.StatusText};
        }
        const fs::path file = ExportTarget(panel.StatusText);
        Output.Set(file.native());
        const MvClipControlPanel::SavedClip& clip = panel.Clips.back();
        Progress.Start(clip.SourcePath, file.native(), clip.StartSec, clip.EndSec - clip.StartSec);
        WaitForExport(file.native());
        Progress.Finish();
        Output.Set("");
        if (JobFailure.has_value())
        {
            return {name, false, "", GiveUpPanel()};
        }
        if (panel.bExportResultSuccess) // written by this thread alone
        {
            if (IsCutShort(file.native()))
            {
                return {name, false, "",
                        file.native() + " is cut short: make room on its disk and export again."};
            }
            if (IsMatroskaWithoutPicture(file.native()))
            {
                std::error_code ec;
                fs::remove(file, ec);
                return {name, false, "",
                        "the file would hold no picture and is removed: In lies past the last "
                        "picture of the source."};
            }
            return {name, true, file.native(), panel.StatusText};
        }
        if (Stop.Received() != 0)
        {
            std::error_code ec;
            fs::remove(file, ec);
            return {name, false, "", "the export was stopped, and its unfinished file is removed."};
        }
        return {name, false, "", panel.StatusText};
    }

    /// The frame loop: sleeps until the worker or a signal has something to say.
    void WaitForExport(const std::string& File)
    {
        constexpr int RetryMs = 20;
        while (Desk->Panel.GetExportStatus().bInProgress && !JobFailure.has_value())
        {
            const bool bStopping = Stop.Received() != 0;
            if (bStopping)
            {
                EndEncoder(File);
            }
            // A stop may come before the encoder is there: then it is looked for again.
            Progress.Show();
            Sleep.Sleep(bStopping ? RetryMs : Progress.SleepMs());
            Progress.Clear();
            RunFrame();
        }
        if (Stop.Received() != 0)
        {
            EndEncoder(File); // the signal may have ended the shell alone
        }
    }

    void RunFrame()
    {
        Application.pJobSystem->PumpMainThread();
        Desk->Panel.PumpExportResult();
        Desk->Panel.UpdateLiveLabels();
    }

    /// A panel whose job threw waits for ever; a fresh one takes its place. Returns what went wrong.
    std::string GiveUpPanel()
    {
        SetUpDesk(Desk->Panel.NextClipOrdinal);
        return "Clip export failed: " + *std::exchange(JobFailure, std::nullopt);
    }

    ExportReport& Report;
    const WakeUp& Sleep;
    const StopSignals& Stop;
    RunningOutput& Output;
    TerminalProgress Progress;
    TTF Font;
    Core Application;
    MvVideoWindow* pWindow = nullptr; ///< owned by the application
    std::optional<std::string> JobFailure;
    std::unique_ptr<PanelDesk> Desk;
};

// -- The command

int Refuse(const std::string& Sentence)
{
    PrintError(Sentence);
    return static_cast<int>(ExitCode::CallWrong);
}

std::string SignalName(int Number)
{
    return Number == SIGINT ? "SIGINT" : Number == SIGTERM ? "SIGTERM" : "SIGHUP";
}

int ExportAll(ExportSession& Session,
              const std::vector<ClipToExport>& Clips,
              const ExportReport& Report,
              const StopSignals& Stop)
{
    std::size_t exportedCount = 0;
    for (const ClipToExport& clip : Clips)
    {
        if (Stop.Received() == 0 && Session.ExportClip(clip))
        {
            ++exportedCount;
        }
    }
    if (!Report.WriteError().empty())
    {
        PrintError("Standard output can't be written: " + Report.WriteError() + '.');
    }
    if (Stop.Received() != 0)
    {
        PrintError("Export stopped by " + SignalName(Stop.Received()) + ": " +
                   std::to_string(exportedCount) + " of " + std::to_string(Clips.size()) +
                   " clips are exported.");
        return 128 + Stop.Received();
    }
    const bool bAllIsWell = exportedCount == Clips.size() && Report.WriteError().empty();
    return static_cast<int>(bAllIsWell ? ExitCode::AllExported : ExitCode::SomeFailed);
}

// Everything that can be wrong with the call is found here, before the first export.
int CheckAndExport(const ExportOptions& Options,
                   const std::string& Source,
                   const std::vector<ClipRequest>& Requests,
                   const WakeUp& Sleep,
                   const StopSignals& Stop,
                   RunningOutput& Output)
{
    ExportReport report(Options.bJson ? ExportReport::Form::Json : ExportReport::Form::Lines);
    ExportSession session(report, Sleep, Stop, Output);
    std::string error;
    if (!session.LoadSource(Source, error))
    {
        return Refuse(error);
    }
    std::vector<ClipToExport> clips;
    for (const ClipRequest& request : Requests)
    {
        if (!PlaceInSource(request, Source, session.DurationSec(), clips.emplace_back(), error))
        {
            return Refuse(error);
        }
    }
    if (Stop.Received() == 0 && !AppPaths::PrepareRecordingsDir(error))
    {
        return Refuse(error);
    }
    return ExportAll(session, clips, report, Stop);
}
} // namespace

int RunExport(const ExportOptions& Options)
{
    std::string error;
    std::vector<ClipRequest> requests;
    std::string source;
    if (!ReadRequests(Options, requests, error) || !FindPaths(Options, source, error))
    {
        return Refuse(error);
    }
    PointStandardInputAtNull(); // not earlier: a table may come from there
    AdoptOrphans();
    const WakeUp sleep;
    RunningOutput output;
    const StopSignals stop([&sleep] { sleep.Post(); }, [&output] { output.KillEncoder(); });
    if (!AppPaths::PrepareRuntimeDir(error))
    {
        return Refuse(error);
    }
    const int exitCode = CheckAndExport(Options, source, requests, sleep, stop, output);
    AppPaths::RemoveRuntimeDir();
    return exitCode;
}
