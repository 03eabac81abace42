#include "desktop/exportwatch.h"

#include "cli/exporttarget.h"
#include "desktop/session.h"
#include "media/mediafile.h"

#include <QDeadlineTimer>
#include <QThread>

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>

namespace
{
constexpr int LookEveryMs = 250;
constexpr int StopGraceMs = 5000;
// At the end of the program: how often the encoder is looked for, and how long the panel's result is
// waited for.
constexpr int RetryMs = 10;
constexpr int ResultMs = 5000;
constexpr std::uint64_t WarningMs = 8000;
constexpr const char* CutShort = " is cut short: make room on its disk and export again.";
constexpr const char* WithoutPicture =
    " holds no picture, for In lies past the last picture of the source: set In earlier and export "
    "again.";
} // namespace

ExportWatch::ExportWatch(Session& Running,
                         std::string ReportPath,
                         std::function<bool()> StopReceived)
    : Watched(Running)
    , IsStopReceived(std::move(StopReceived))
    , Progress(std::move(ReportPath))
{
    Timer.setInterval(LookEveryMs);
    connect(&Timer, &QTimer::timeout, this, &ExportWatch::Look);
    connect(&Watched, &Session::FrameDone, this,
            [this]
            {
                if (bRunning && !Watched.Panel().GetExportStatus().bInProgress)
                {
                    End();
                }
            });
}

ExportWatch::~ExportWatch()
{
    if (!bRunning)
    {
        return;
    }
    // The encoder may not be there yet, or have ended already, so the panel's result is what counts.
    QDeadlineTimer deadline(ResultMs);
    do
    {
        EndEncoder(OutputPath.native());
        QThread::msleep(RetryMs);
        p->pJobSystem->PumpMainThread();
    } while (Watched.Panel().GetExportStatus().bInProgress && !deadline.hasExpired());
    Progress.Finish();
    if (!Watched.Panel().bExportResultSuccess)
    {
        RemoveUnfinishedFile();
    }
}

void ExportWatch::Begin()
{
    const MvClipControlPanel& panel = Watched.Panel();
    const MvClipControlPanel::SavedClip* const clip = panel.SelectedClip();
    if (clip == nullptr)
    {
        return;
    }
    OutputPath = ExportTarget(panel.StatusText);
    Progress.Start(clip->SourcePath, OutputPath.native(), clip->StartSec,
                   std::max(clip->EndSec - clip->StartSec, 0.0));
    bRunning = true;
    bStopWanted = false;
    Encoder.reset();
    Timer.start();
    Look();
}

void ExportWatch::Stop()
{
    if (bRunning)
    {
        bStopWanted = true;
        PressStop();
    }
}

void ExportWatch::Look()
{
    if (bStopWanted)
    {
        PressStop();
    }
    Q_EMIT Progressed(Progress.Read());
}

// The encoder may not be there yet when the stop is asked for, so this is tried again with each look.
void ExportWatch::PressStop()
{
    if (!Encoder)
    {
        Encoder = EncoderProcess::Find(OutputPath.native());
        if (Encoder)
        {
            Encoder->AskToEnd();
            SinceAsked.start();
        }
    }
    else if (SinceAsked.hasExpired(StopGraceMs))
    {
        Encoder->Kill();
    }
}

void ExportWatch::End()
{
    Timer.stop();
    bRunning = false;
    Encoder.reset();
    Progress.Finish();
    const bool bSuccess = Watched.Panel().bExportResultSuccess; // written on this thread alone
    if (!bSuccess && (bStopWanted || IsStopReceived()))
    {
        RemoveUnfinishedFile();
    }
    const bool bCutShort = bSuccess && IsCutShort(OutputPath.native());
    const bool bEmpty = bSuccess && !bCutShort && IsMatroskaWithoutPicture(OutputPath.native());
    if (bCutShort)
    {
        Warn(Movane::NotificationError, CutShort);
    }
    else if (bEmpty)
    {
        Warn(Movane::NotificationWarning, WithoutPicture);
    }
    Q_EMIT Ended(bSuccess && !bCutShort && !bEmpty);
}

void ExportWatch::Warn(Movane::NotificationType Type, const char* Rest)
{
    const std::string sentence = OutputPath.filename().native() + Rest;
    p->pMovane->QueueNotification(Type, "Clip Export", sentence, WarningMs);
    // It stays when the notification has gone.
    Watched.Panel().SetStatusTextInternal(sentence, true);
    Watched.RequestFrame();
}

void ExportWatch::RemoveUnfinishedFile()
{
    std::error_code ec;
    std::filesystem::remove(OutputPath, ec);
}
