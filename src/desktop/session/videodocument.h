// One video window's records: its player, its timeline, and what is half marked on it.
//
// A document lives in the application object under its window's ID; the widgets of its window show it
// and change it. UI thread only; times are seconds from the start of the source.

#pragma once

#include "desktop/session/backwardplayback.h"
#include "desktop/timeline/timelinelayout.h"
#include "host/mvvideowindow.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class FrameTimes;
class MpvVideo;
struct FramePlace;

class VideoDocument : public MvVideoWindow
{
public:
    VideoDocument(unsigned long WindowID, std::unique_ptr<MpvVideo> pPlayer);

    /// As in the base; a success also drops what was half marked on the file before.
    bool LoadVideoFile(const std::string& Path, bool bPlay) override;

    /// Makes the frame that is shown at a time the first or the last one of the range, in whole
    /// milliseconds (FrameTimes::RangeOf). A range exists once both are set; until then the one that was
    /// set waits as pending. With a range, the other frame stays. An In behind Out, or an Out before In,
    /// begins a new range: the other mark goes.
    void MarkIn(double Sec);
    void MarkOut(double Sec);
    void DropPendingMarks();
    std::optional<double> PendingInSec() const;
    std::optional<double> PendingOutSec() const;

    /// The range whose one end was dragged to a time: the nearest place between two frames, and never
    /// past the other end.
    TimelineDrag DraggedRange(const TimelineRange& Before, RangeEnd End, double HandSec);

    /// Moves the playhead, kept within the video. Nothing happens while no file is open.
    void SeekTo(double Sec);
    /// Moves the playhead by about Sec, to the nearest frame, so that forward and back lead home.
    void SeekBy(double Sec);

    // -- Playing at a speed and in a direction, as J, K and L want it.

    /// Plays on at Speed().
    void Play();
    /// Pauses, from playing in either direction.
    void Pause();
    BackwardPlayback& Backward() { return PlayingBackward; }
    bool IsPlaying() const;
    void SetSpeed(double Factor); ///< kept between 1/8 and 8
    double Speed() const { return SpeedFactor; }

    MpvVideo& Player() { return *pMpv; }
    bool HasFile() const { return pVideo != nullptr && pVideo->pMediaInfo != nullptr; }
    unsigned long WindowID() const { return ID; }

private:
    /// A mark that waits for the other one.
    struct PendingMark
    {
        double Sec = 0.0;         ///< as it would stand in a range
        std::int64_t FrameUs = 0; ///< of the frame that was shown
    };

    void SetRange(const FramePlace& First, const FramePlace& Last);
    bool HasOrderedRange();
    FrameTimes* Frames() const;
    std::optional<FramePlace> ShownAt(std::int64_t Us) const;

    unsigned long ID;
    MpvVideo* pMpv;
    std::optional<PendingMark> PendingIn;
    std::optional<PendingMark> PendingOut;
    double SpeedFactor = 1.0;
    BackwardPlayback PlayingBackward{*this};
};
