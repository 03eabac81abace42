// The frames of the open video: which one is on at a time, its neighbours, how many a clip has, and which
// whole milliseconds mark them.
//
// A thread of its own reads the file (FrameReader), so that a disk that does not answer never holds up the
// window: a question waits for Patience at most and is then answered by nullopt, as are all further ones until
// the disk is back. The thread looks around the time asked for first and then goes through the whole file;
// from then on every answer is at hand, and frames can be counted.
//
// UI thread only, but for the hook. Times are from the start of the file as ffmpeg counts them.

#pragma once

#include "media/framereader.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

class FrameTimes
{
public:
    /// A range as a clip stores it: what ffmpeg cuts with -ss InMs -t (OutMs - InMs).
    struct Range
    {
        std::int64_t InMs = 0;
        std::int64_t OutMs = 0;
        bool operator==(const Range&) const = default;
    };

    /// Begins to read. WhenCounted is called once the whole file is known, on the other thread; it must not
    /// throw or call anything of this class.
    explicit FrameTimes(std::string Path,
                        std::function<void()> WhenCounted = {},
                        std::chrono::milliseconds Patience = std::chrono::seconds(2));
    /// Waits for the thread; a disk that does not answer is left alone after Patience.
    ~FrameTimes();
    FrameTimes(const FrameTimes&) = delete;
    FrameTimes& operator=(const FrameTimes&) = delete;

    /// Waits until the file is open; false when it can't be read, holds no video or takes longer than Patience.
    bool IsOpen();
    /// How much later a time is here than in the container; 0 until IsOpen.
    double OffsetSec();

    // -- Questions. Nullopt: the file has no frame, or the disk takes too long.

    /// The frame that is on at a time: the last one whose whole milliseconds are not after it. Before the
    /// first frame that is the first one.
    std::optional<FramePlace> ShownAt(std::int64_t Us);
    std::optional<FramePlace>
    After(std::int64_t Us); ///< the one that follows ShownAt; the last stays
    std::optional<FramePlace> Before(std::int64_t Us); ///< the one before ShownAt; the first stays
    std::optional<FramePlace> Last();
    /// The first frame of the file that ffmpeg cuts from In on.
    std::optional<FramePlace> FirstOfClip(double InSec);
    /// The last frame of that file. ffmpeg counts the length from the first frame that it keeps.
    std::optional<FramePlace> LastOfClip(double InSec, double OutSec);

    /// The range whose file begins with one frame and ends with another, as long as it may be, so that the
    /// sound is whole. First must not be after Last.
    Range RangeOf(const FramePlace& First, const FramePlace& Last) const;

    std::int64_t UsOf(std::int64_t Ticks) const { return Clock.UsOf(Ticks); } ///< rounded down
    std::int64_t MsOf(std::int64_t Ticks) const { return Clock.MsOf(Ticks); } ///< rounded down

    /// The time that the container itself gives, in seconds.
    double ContainerSec(std::int64_t Ticks) const;
    bool SeeksAnywhere() const { return Clock.bSeeksAnywhere; } ///< FrameClock::bSeeksAnywhere

    // -- Counting. Never waits; nullopt until the whole file is known.

    /// The number of the frame that is on at a time, from 0.
    std::optional<std::int64_t> NumberAt(std::int64_t Us);
    std::optional<std::int64_t> Count();
    /// How many frames the file has that ffmpeg cuts.
    std::optional<std::int64_t> CountOfClip(double InSec, double OutSec);

private:
    struct Shared;
    static void Run(const std::shared_ptr<Shared>& pShared, const std::string& Path);
    std::optional<FramePlace> Find(FrameSide Side, std::int64_t Limit);
    bool WaitFor(std::unique_lock<std::mutex>& Lock, const std::function<bool()>& IsDone);
    std::int64_t LimitOfShown(std::int64_t Us) const;
    /// How many frames lie before Limit; with the whole file known.
    std::int64_t CountBefore(std::int64_t Limit) const;
    bool IsWholeKnown();

    std::shared_ptr<Shared> pState;
    std::chrono::milliseconds Patience;
    bool bDiskSleeps = false; ///< the last answer has not come in time
    FrameClock Clock;         ///< once open
    FrameWindow Whole;        ///< once the whole file is known
};
