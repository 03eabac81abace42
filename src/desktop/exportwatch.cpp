#include "desktop/exportwatch.h"

#include "cli/exporttarget.h"
#include "desktop/session.h"

#include <QFile>

#include <algorithm>
#include <system_error>
#include <utility>

namespace
{
constexpr int LookEveryMs = 250;
constexpr int StopGraceMs = 5000;
} // namespace

ExportWatch::ExportWatch(Session& Running, std::string ReportPath)
    : Watched(Running)
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
    if (bRunning)
    {
        Progress.Finish();
        const EncoderEnd end = EndEncoder(OutputPath.native());
        if (end != EncoderEnd::NotRunning)
        {
            RemoveUnfinishedFile();
        }
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
    if (bStopWanted && !bSuccess)
    {
        RemoveUnfinishedFile();
    }
    Q_EMIT Ended(bSuccess ? QFile::decodeName(OutputPath.c_str()) : QString());
}

void ExportWatch::RemoveUnfinishedFile()
{
    std::error_code ec;
    std::filesystem::remove(OutputPath, ec);
}
