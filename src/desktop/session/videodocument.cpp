#include "desktop/session/videodocument.h"

#include "host/mvtimecontrol.h"
#include "media/frametimes.h"
#include "player/mpvvideo.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace
{
constexpr std::int64_t UsPerMs = 1000;

double SecOfMs(std::int64_t Ms)
{
    return static_cast<double>(Ms) / 1000.0;
}

std::int64_t UsOfSec(double Sec)
{
    return std::llround(std::clamp(Sec, 0.0, 1e9) * 1e6);
}
} // namespace

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
        PlayingBackward.End();
    }
    if (bLoaded && Path != earlierPath)
    {
        DropPendingMarks();
    }
    return bLoaded;
}

// -- Marks

FrameTimes* VideoDocument::Frames() const
{
    return pMpv->Frames();
}

std::optional<FramePlace> VideoDocument::ShownAt(std::int64_t Us) const
{
    return Frames() != nullptr ? Frames()->ShownAt(Us) : std::nullopt;
}

void VideoDocument::SetRange(const FramePlace& First, const FramePlace& Last)
{
    DropPendingMarks();
    const FrameTimes::Range range = Frames()->RangeOf(First, Last);
    Timeline().SetRangeSelection(SecOfMs(range.InMs), SecOfMs(range.OutMs), false);
}

bool VideoDocument::HasOrderedRange()
{
    return Timeline().HasRangeSelection() && Timeline().RangeStartSec() < Timeline().RangeEndSec();
}

void VideoDocument::MarkIn(double Sec)
{
    const std::int64_t us = UsOfSec(Sec);
    const std::optional<FramePlace> first = ShownAt(us);
    std::optional<FramePlace> last;
    if (first && HasOrderedRange())
    {
        last = Frames()->LastOfClip(Timeline().RangeStartSec(), Timeline().RangeEndSec());
    }
    else if (first && PendingOut)
    {
        last = ShownAt(PendingOut->FrameUs);
    }
    if (first && last && first->Ticks <= last->Ticks)
    {
        SetRange(*first, *last);
        return;
    }
    DropPendingMarks();
    PendingIn = {SecOfMs(first ? Frames()->MsOf(first->Ticks) : us / UsPerMs), us};
    Timeline().ClearRangeSelection(false);
}

void VideoDocument::MarkOut(double Sec)
{
    const std::int64_t us = UsOfSec(Sec);
    const std::optional<FramePlace> last = ShownAt(us);
    std::optional<FramePlace> first;
    if (last && HasOrderedRange())
    {
        first = Frames()->FirstOfClip(Timeline().RangeStartSec());
    }
    else if (last && PendingIn)
    {
        first = ShownAt(PendingIn->FrameUs);
    }
    if (first && last && first->Ticks <= last->Ticks)
    {
        SetRange(*first, *last);
        return;
    }
    DropPendingMarks();
    PendingOut = {SecOfMs(last ? Frames()->MsOf(last->AfterTicks) : us / UsPerMs), us};
    Timeline().ClearRangeSelection(false);
}

void VideoDocument::DropPendingMarks()
{
    PendingIn.reset();
    PendingOut.reset();
}

std::optional<double> VideoDocument::PendingInSec() const
{
    return PendingIn ? std::optional(PendingIn->Sec) : std::nullopt;
}

std::optional<double> VideoDocument::PendingOutSec() const
{
    return PendingOut ? std::optional(PendingOut->Sec) : std::nullopt;
}

TimelineDrag VideoDocument::DraggedRange(const TimelineRange& Before, RangeEnd End, double HandSec)
{
    const bool bIn = End == RangeEnd::In;
    const std::int64_t handUs = UsOfSec(HandSec);
    std::optional<FramePlace> hand = ShownAt(handUs);
    if (!hand)
    {
        return {Before, bIn ? Before.StartSec : Before.EndSec};
    }
    FrameTimes& frames = *Frames();
    std::optional<FramePlace> first = frames.FirstOfClip(Before.StartSec);
    std::optional<FramePlace> last = Before.StartSec < Before.EndSec
                                         ? frames.LastOfClip(Before.StartSec, Before.EndSec)
                                         : frames.Before(UsOfSec(Before.EndSec));
    const std::int64_t beginUs = frames.UsOf(hand->Ticks);
    const bool bNearerToBegin = handUs - beginUs < frames.UsOf(hand->AfterTicks) - handUs;
    if (bIn != bNearerToBegin)
    {
        hand = bIn ? frames.After(beginUs) : frames.Before(beginUs);
    }
    (bIn ? first : last) = hand;
    if (!first || !last)
    {
        return {Before, bIn ? Before.StartSec : Before.EndSec};
    }
    if (first->Ticks > last->Ticks)
    {
        (bIn ? first : last) = bIn ? last : first;
    }
    const FrameTimes::Range range = frames.RangeOf(*first, *last);
    return {{SecOfMs(range.InMs), SecOfMs(range.OutMs)},
            static_cast<double>(frames.UsOf((bIn ? first : last)->Ticks)) / 1e6};
}

// -- The playhead

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

void VideoDocument::SeekBy(double Sec)
{
    if (!HasFile())
    {
        return;
    }
    const std::int64_t targetUs =
        std::max<std::int64_t>(UsOfSec(pVideo->CurrentTimeSec() + Sec), 0);
    const std::optional<FramePlace> shown = ShownAt(targetUs);
    const bool bNextIsNearer = shown && Frames()->UsOf(shown->AfterTicks) - targetUs <
                                            targetUs - Frames()->UsOf(shown->Ticks);
    SeekTo(static_cast<double>(bNextIsNearer ? Frames()->UsOf(shown->AfterTicks) : targetUs) / 1e6);
}

void VideoDocument::Play()
{
    PlayingBackward.End();
    pVideo->Play();
}

void VideoDocument::Pause()
{
    PlayingBackward.End();
    pVideo->Pause();
}

bool VideoDocument::IsPlaying() const
{
    return PlayingBackward.IsRunning() || pMpv->IsPlaying();
}

void VideoDocument::SetSpeed(double Factor)
{
    SpeedFactor = std::clamp(Factor, 0.125, 8.0);
    pMpv->SetSpeed(SpeedFactor);
    if (PlayingBackward.IsRunning())
    {
        PlayingBackward.Begin(); // its time counts from here at the new speed
    }
}
