#include "cli/exportcommand.h"

#include "app/application.h"
#include "app/encodercheck.h"
#include "app/exportsocket.h"
#include "app/exporttexts.h"
#include "base/atomicfile.h"
#include "base/environment.h"
#include "base/openfile.h"
#include "cli/cliptext.h"
#include "cli/exportplan.h"
#include "cli/exportreport.h"
#include "cli/terminalprogress.h"
#include "host/apppaths.h"
#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"
#include "process/exitcode.h"
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
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <utility>

#include <poll.h>

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

// -- The user's input. Each step returns false with a sentence in OutError.

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
                       : Options.TablePaths.front() + " has no clips.";
        return false;
    }
    return true;
}

// An absolute path: ffmpeg would take "-x.mp4" for an option and "a:b.mp4" for a protocol.
bool MakeAbsolute(const std::string& Path, std::string& OutPath, std::string& OutError)
{
    std::error_code ec;
    OutPath = fs::absolute(Path, ec).native();
    if (ec)
    {
        OutError = NoCurrentFolder(Path);
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
        OutError = ReasonNotToOpen({});
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

// Fills in blank ends and checks that the range is within the source.
bool PlaceInSource(const ClipRequest& Request,
                   const std::string& Source,
                   double DurationSec,
                   ClipToExport& OutClip,
                   std::string& OutError)
{
    const bool bDurationKnown = DurationSec > 0.0;
    if (!Request.OutSec.has_value() && !bDurationKnown)
    {
        OutError = Request.Origin + ": the length of " + Source + " is unknown: give an Out.";
        return false;
    }
    OutClip = {Request.Origin, Request.Name, Request.InSec.value_or(0.0),
               Request.OutSec.value_or(DurationSec)};
    // Round as for ffmpeg's command line. From the end on ffmpeg would make a file without pictures and exit with 0.
    if (bDurationKnown && std::round(OutClip.InSec * 1000.0) / 1000.0 >= DurationSec)
    {
        OutError = Request.Origin + ": In (" + SecondsText(OutClip.InSec) +
                   ") is not before the end of " + Source + " (" + SecondsText(DurationSec) + ").";
        return false;
    }
    if (OutClip.OutSec < OutClip.InSec)
    {
        OutError = Request.Origin + ": Out (" + SecondsText(OutClip.OutSec) + ") is before In (" +
                   SecondsText(OutClip.InSec) + ").";
        return false;
    }
    return true;
}

// -- The application without a screen

class ExportSession
{
public:
    ExportSession(const ExportOptions& Options,
                  const WakeUp& NewWake,
                  const StopSignals* pNewStop,
                  std::unique_ptr<ExportSocket> pSocket = nullptr,
                  std::shared_ptr<WorkerChildren> pEncoder = std::make_shared<WorkerChildren>())
        : Wake(NewWake)
        , Report(Options.bJson ? ExportReport::Form::Json : ExportReport::Form::Lines)
        , pStop(pNewStop)
        , Program({.pSocket = std::move(pSocket),
                   .pEncoder = std::move(pEncoder),
                   .RequestFrame = [this] { Wake.Post(); }})
    {
        Program.Parts().pMovane->AddWindow(Movane::FirstVideoWindowID,
                                           std::make_unique<MvVideoWindow>());
        Program.Parts().pMovane->NotificationQueued.connect(
            [this](const Movane::Notification& Notice) { Report.PrintNotification(Notice); });
        Program.Panel().StatusChanged.connect(
            [this](const std::string& Text)
            {
                if (!bSaving)
                {
                    Report.PrintStatus(Text);
                }
            });
        ExportQueue& queue = Program.Exports();
        queue.bFailFast = Options.bFailFast;
        queue.bNotifyEach = true;
        queue.Next.connect([this](const QueuedExport& Entry)
                           { Report.PrintStatus(Entries.at(Entry.Id).StatusText); });
        queue.Began.connect([this](const RunningExport& Export) { ShowProgress(Export); });
        queue.Progressed.connect([this](const RunningExport& Export) { ShowProgress(Export); });
        queue.Ended.connect([this](const EndedExport& Export) { TakeEnd(Export); });
        queue.Removed.connect([this](const QueuedExport& Entry) { TakeRemoval(Entry); });
    }

    bool LoadSource(const std::string& Path, std::string& OutError)
    {
        std::unique_ptr<MpvVideo> video = MpvVideo::Create({}, OutError);
        if (video == nullptr)
        {
            return false;
        }
        Window().SetVideo(std::move(video));
        if (!Window().LoadVideoFile(Path, false))
        {
            OutError = Window().LoadError();
            return false;
        }
        return true;
    }

    double DurationSec() { return Window().Timeline().DurationSec(); }

    /// Saves the clips, exports them in their order, and returns how many have a file now.
    std::size_t Export(const std::vector<ClipToExport>& Clips)
    {
        for (const ClipToExport& clip : Clips)
        {
            const SavedClip& saved = Save(clip);
            WholeSec += saved.EndSec - saved.StartSec;
            const ExportId id = Program.Exports().Add(saved);
            Entries[id] = {clip.Origin, Program.Panel().StatusText, Entries.size() + 1};
        }
        StopIfAsked();
        Program.Frame();
        while (Program.Exports().IsRunning())
        {
            Progress.Show();
            Sleep();
            Progress.Clear();
            StopIfAsked();
            Program.Frame();
        }
        return ExportedCount;
    }

    /// Prints what Export would do; false when it would fail for a clip.
    bool Plan(const std::vector<ClipToExport>& Clips)
    {
        bool bAllIsWell = true;
        std::set<std::string> planned;
        const std::string ffmpeg = EncoderPath(EnvironmentValue("MOVANE_FFMPEG_BIN"));
        for (const ClipToExport& clip : Clips)
        {
            const SavedClip& saved = Save(clip);
            const fs::path file = PlannedFile(saved.Name, planned);
            const std::string problem = PlanProblem(saved, file, ffmpeg);
            if (!problem.empty())
            {
                Report.PrintResult({saved.Name, false, {}, problem});
                PrintError(clip.Origin + ": " + problem);
                bAllIsWell = false;
                continue;
            }
            planned.insert(file.native());
            Report.PrintPlan(saved.Name, file.native(), PlannedCommand(saved, file, ffmpeg));
        }
        return bAllIsWell;
    }

    const std::string& WriteError() const { return Report.WriteError(); }

private:
    using SavedClip = MvClipControlPanel::SavedClip;

    /// A saved clip, for messages when its turn has come.
    struct SavedEntry
    {
        std::string Origin;
        std::string StatusText; ///< of its saving
        std::size_t Index = 0;  ///< counting from 1
    };

    MvVideoWindow& Window()
    {
        return *Program.Parts().pMovane->GetWindowAs<MvVideoWindow>(Movane::FirstVideoWindowID);
    }

    const SavedClip& Save(const ClipToExport& Clip)
    {
        MvClipControlPanel& panel = Program.Panel();
        bSaving = true;
        // Set the name for each clip: after a save the input shows the saved clip's name.
        Program.Records().NameInput.SetText(Clip.Name, false);
        Window().Timeline().SetRangeSelection(Clip.InSec, Clip.OutSec, false);
        panel.SaveCurrentRangeAsClip();
        bSaving = false;
        return panel.Clips.back();
    }

    // Call just before an export may begin, see StopSignals.
    void StopIfAsked()
    {
        if (pStop->Received() != 0 && !std::exchange(bStopped, true))
        {
            Program.Exports().StopAll();
        }
    }

    void Sleep()
    {
        std::array<pollfd, 2> reasons = {
            {{Wake.Descriptor(), POLLIN, 0}, {Program.Exports().Descriptor(), POLLIN, 0}}};
        poll(reasons.data(), reasons.size(), -1);
        Wake.Sleep(0);
    }

    ProgressOfAll OfAll(const RunningExport& Export) const
    {
        const double lengthSec = Export.Clip.EndSec - Export.Clip.StartSec;
        return {Entries.at(Export.Id).Index, Entries.size(),
                WholeSec > 0.0 ? (DoneSec + Export.Fraction * lengthSec) / WholeSec : 0.0};
    }

    void ShowProgress(const RunningExport& Export)
    {
        Progress.Set(ProgressLine(Export, OfAll(Export)));
        Report.PrintProgress(Export, OfAll(Export));
    }

    void TakeEnd(const EndedExport& Export)
    {
        Progress.Set({});
        DoneSec += Export.Clip.EndSec - Export.Clip.StartSec;
        const bool bExported = Export.Outcome == ExportOutcome::Exported;
        ExportedCount += bExported ? 1 : 0;
        Report.PrintResult({Export.Clip.Name, bExported, Export.FilePath.native(), Export.Message});
        if (!bExported)
        {
            PrintError(Entries.at(Export.Id).Origin + ": " + Export.Message);
        }
    }

    void TakeRemoval(const QueuedExport& Entry)
    {
        const std::string text =
            bStopped ? "not exported: stopped." : "not exported: an earlier clip failed.";
        Report.PrintResult({Entry.Clip.Name, false, {}, text});
        // After a stop one sentence at the end covers all clips.
        if (!bStopped)
        {
            PrintError(Entries.at(Entry.Id).Origin + ": " + text);
        }
    }

    const WakeUp& Wake;
    ExportReport Report;
    const StopSignals* pStop; ///< null for a plan
    TerminalProgress Progress;
    bool bSaving = false;
    bool bStopped = false;
    std::map<ExportId, SavedEntry> Entries;
    std::size_t ExportedCount = 0;
    double WholeSec = 0.0; ///< of all clips
    double DoneSec = 0.0;  ///< of those that have ended
    Application Program;   // declared last: destroyed before what its slots use
};

// -- The command

int Refuse(const std::string& Sentence)
{
    PrintError(Sentence);
    return static_cast<int>(ExitCode::CallWrong);
}

std::string SignalName(int Number)
{
    switch (Number)
    {
    case SIGINT:
        return "SIGINT";
    case SIGQUIT:
        return "SIGQUIT";
    case SIGTERM:
        return "SIGTERM";
    default:
        return "SIGHUP";
    }
}

// Finds every mistake of the call before the first export.
bool Check(ExportSession& Session,
           const std::string& Source,
           const std::vector<ClipRequest>& Requests,
           std::vector<ClipToExport>& OutClips,
           std::string& OutError)
{
    if (!Session.LoadSource(Source, OutError))
    {
        return false;
    }
    for (const ClipRequest& request : Requests)
    {
        if (!PlaceInSource(request, Source, Session.DurationSec(), OutClips.emplace_back(),
                           OutError))
        {
            return false;
        }
    }
    return true;
}

int PlanAll(const ExportOptions& Options,
            const std::string& Source,
            const std::vector<ClipRequest>& Requests)
{
    const WakeUp wake;
    ExportSession session(Options, wake, nullptr);
    std::vector<ClipToExport> clips;
    std::string error;
    if (!Check(session, Source, Requests, clips, error))
    {
        return Refuse(error);
    }
    const bool bAllIsWell = session.Plan(clips);
    const bool bWritten = !PrintWriteError(session.WriteError());
    return static_cast<int>(bWritten && bAllIsWell ? ExitCode::Done : ExitCode::Failed);
}

int ExportAll(const ExportOptions& Options,
              const std::string& Source,
              const std::vector<ClipRequest>& Requests,
              const WakeUp& Wake,
              const StopSignals& Stop,
              const std::shared_ptr<WorkerChildren>& pEncoder)
{
    // OpenForFront writes the environment. Only the thread of the signals runs, which does not read it.
    ExportSession session(Options, Wake, &Stop, ExportSocket::OpenForFront(), pEncoder);
    std::vector<ClipToExport> clips;
    std::string error;
    if (!Check(session, Source, Requests, clips, error) ||
        (Stop.Received() == 0 && !AppPaths::PrepareRecordingsDir(error)))
    {
        return Refuse(error);
    }
    const std::size_t exportedCount = session.Export(clips);
    const bool bWritten = !PrintWriteError(session.WriteError());
    if (Stop.Received() != 0)
    {
        PrintError(ExportSummary(exportedCount, clips.size(),
                                 "stopped by " + SignalName(Stop.Received())));
        return 128 + Stop.Received();
    }
    const bool bAllIsWell = exportedCount == clips.size() && bWritten;
    return static_cast<int>(bAllIsWell ? ExitCode::Done : ExitCode::Failed);
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
    if (Options.bDryRun)
    {
        return PlanAll(Options, source, requests);
    }
    const WakeUp wake;
    const auto pEncoder = std::make_shared<WorkerChildren>();
    const StopSignals stop([&wake] { wake.Post(); }, [&pEncoder] { pEncoder->Kill(); });
    if (!AppPaths::PrepareRuntimeDir(error))
    {
        return Refuse(error);
    }
    const int exitCode = ExportAll(Options, source, requests, wake, stop, pEncoder);
    AppPaths::RemoveRuntimeDir();
    return exitCode;
}
