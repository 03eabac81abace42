#include "desktop/session/backwardplayback.h"

#include "desktop/session/videodocument.h"
#include "host/mvtimecontrol.h"
#include "media/frametimes.h"
#include "player/mpvvideo.h"

#include <algorithm>
#include <cmath>

BackwardPlayback::BackwardPlayback(VideoDocument& Shown)
    : Document(Shown)
{
}

void BackwardPlayback::Begin()
{
    if (!Document.HasFile())
    {
        return;
    }
    Document.pVideo->Pause();
    const double fromSec = Document.pVideo->CurrentTimeSec();
    Start = {std::chrono::steady_clock::now(), fromSec, fromSec};
    Continue();
}

void BackwardPlayback::Continue()
{
    if (!Start || Document.Player().IsSeeking())
    {
        return;
    }
    const double nowSec = Document.pVideo->CurrentTimeSec();
    if (nowSec != Start->AskedSec)
    {
        Begin();
        return;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - Start->Time;
    // At least one frame, or the seek would land at once on the picture that is there.
    FrameTimes* const pFrames = Document.Player().Frames();
    const std::optional<FramePlace> before =
        pFrames != nullptr ? pFrames->Before(std::llround(nowSec * 1e6)) : std::nullopt;
    const double beforeSec =
        before ? static_cast<double>(pFrames->UsOf(before->Ticks)) / 1e6 : nowSec - 0.04;
    const double targetSec = std::min(Start->Sec - elapsed.count() * Document.Speed(), beforeSec);
    Document.SeekTo(targetSec);
    Start->AskedSec = Document.pVideo->CurrentTimeSec();
    if (targetSec <= 0.0)
    {
        End();
    }
}
