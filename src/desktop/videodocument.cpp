#include "desktop/videodocument.h"

#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"

#include <algorithm>
#include <cmath>
#include <utility>

VideoDocument::VideoDocument(unsigned long WindowID, std::unique_ptr<MpvVideo> pPlayer)
    : ID(WindowID)
    , pMpv(pPlayer.get())
{
    SetVideo(std::move(pPlayer));
}

bool VideoDocument::LoadVideoFile(const std::string& Path, bool bPlay)
{
    const std::string earlierPath = pVideo->FilePath;
    const bool bLoaded = MvVideoWindow::LoadVideoFile(Path, bPlay);
    if (bLoaded)
    {
        BackwardSince.reset();
    }
    if (bLoaded && Path != earlierPath)
    {
        DropPendingMarks();
    }
    return bLoaded;
}

void VideoDocument::MarkIn(double Sec)
{
    PendingIn = Sec;
    if (Timeline().HasRangeSelection() || PendingOut)
    {
        const double outSec = PendingOut.value_or(Timeline().RangeEndSec());
        DropPendingMarks();
        Timeline().SetRangeSelection(Sec, outSec, false);
    }
}

void VideoDocument::MarkOut(double Sec)
{
    PendingOut = Sec;
    if (Timeline().HasRangeSelection() || PendingIn)
    {
        const double inSec = PendingIn.value_or(Timeline().RangeStartSec());
        DropPendingMarks();
        Timeline().SetRangeSelection(inSec, Sec, false);
    }
}

void VideoDocument::DropPendingMarks()
{
    PendingIn.reset();
    PendingOut.reset();
}

void VideoDocument::SeekTo(double Sec)
{
    if (!HasFile())
    {
        return;
    }
    const double lastSec = std::max(Timeline().DurationSec(), 0.0);
    const double targetSec = lastSec > 0.0 ? std::clamp(Sec, 0.0, lastSec) : std::max(Sec, 0.0);
    pVideo->SeekTargetUs = std::llround(targetSec * 1e6);
    pVideo->Seek(SeekToTarget);
}

void VideoDocument::Play()
{
    BackwardSince.reset();
    pVideo->Play();
}

void VideoDocument::Pause()
{
    BackwardSince.reset();
    pVideo->Pause();
}

void VideoDocument::PlayBackward()
{
    if (!HasFile())
    {
        return;
    }
    pVideo->Pause();
    const double fromSec = pVideo->CurrentTimeSec();
    BackwardSince = {std::chrono::steady_clock::now(), fromSec, fromSec};
    ContinueBackward();
}

void VideoDocument::ContinueBackward()
{
    if (!BackwardSince || pMpv->IsSeeking())
    {
        return;
    }
    if (pVideo->CurrentTimeSec() != BackwardSince->AskedSec)
    {
        PlayBackward();
        return;
    }
    const std::chrono::duration<double> elapsed =
        std::chrono::steady_clock::now() - BackwardSince->Time;
    const double frameSec = pMpv->FramesPerSecond() > 0.0 ? 1.0 / pMpv->FramesPerSecond() : 0.04;
    // At least one frame, or the seek would land at once on the picture that is there.
    const double targetSec = std::min(BackwardSince->Sec - elapsed.count() * SpeedFactor,
                                      pVideo->CurrentTimeSec() - frameSec);
    SeekTo(targetSec);
    BackwardSince->AskedSec = pVideo->CurrentTimeSec();
    if (targetSec <= 0.0)
    {
        BackwardSince.reset();
    }
}

bool VideoDocument::IsPlaying() const
{
    return IsPlayingBackward() || pMpv->IsPlaying();
}

void VideoDocument::SetSpeed(double Factor)
{
    SpeedFactor = std::clamp(Factor, 0.125, 8.0);
    pMpv->SetSpeed(SpeedFactor);
    if (IsPlayingBackward())
    {
        PlayBackward();
    }
}
