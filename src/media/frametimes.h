// The frames of the open video: which one is on at a time, its neighbours, how many a clip has, and which
// whole milliseconds mark them.
//
// A thread of its own reads the file (FrameReader), so that a slow disk never blocks the window. A question waits
// for Patience at most; then its answer is nullopt, and so are all further answers until the disk responds again.
// The thread first reads around the time in question, then the whole file; after that every answer is immediate and
// frames can be counted.
//
// UI thread only, except for the hook. Times count from the start of the file as in ffmpeg.

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

    /// Begins to read. WhenCounted is called on the reading thread once the whole file is known; it must not throw
    /// or call anything of this class.
    explicit FrameTimes(std::string Path,
                        std::function<void()> WhenCounted = {},
                        std::chrono::milliseconds Patience = std::chrono::seconds(2));
    /// Waits for the thread, for Patience at most: then the thread is left to end by itself.
    ~FrameTimes();
    FrameTimes(const FrameTimes&) = delete;
    FrameTimes& operator=(const FrameTimes&) = delete;

    /// Waits until the file is open; false when it can't be read, holds no video, or takes longer than Patience.
    bool IsOpen();
    /// By how much times here are later than those of the container; 0 until IsOpen.
    double OffsetSec();

    // -- Questions. The answer is nullopt when the file has no frame or the disk takes too long.

    /// The frame that is shown at a time: the last one whose whole milliseconds are not after it; before the first
    /// frame, the first one.
    std::optional<FramePlace> ShownAt(std::int64_t Us);
    std::optional<FramePlace>
    After(std::int64_t Us); ///< the one that follows ShownAt; the last stays
    std::optional<FramePlace> Before(std::int64_t Us); ///< the one before ShownAt; the first stays
    std::optional<FramePlace> Last();
    /// The first frame of the clip that ffmpeg cuts.
    std::optional<FramePlace> FirstOfClip(double InSec);
    /// The last frame of that clip. ffmpeg counts the length from the first frame that it keeps.
    std::optional<FramePlace> LastOfClip(double InSec, double OutSec);

    /// The longest range whose clip begins with First and ends with Last; the longest keeps the sound whole. First
    /// must not be after Last.
    Range RangeOf(const FramePlace& First, const FramePlace& Last) const;

    std::int64_t UsOf(std::int64_t Ticks) const { return Clock.UsOf(Ticks); } ///< rounded down
    std::int64_t MsOf(std::int64_t Ticks) const { return Clock.MsOf(Ticks); } ///< rounded down

    /// The time that the container itself gives, in seconds.
    double ContainerSec(std::int64_t Ticks) const;
    bool SeeksAnywhere() const { return Clock.bSeeksAnywhere; } ///< FrameClock::bSeeksAnywhere

    // -- Counts. Never wait; nullopt until the whole file is known.

    /// The number, from 0, of the frame that is shown at a time.
    std::optional<std::int64_t> NumberAt(std::int64_t Us);
    std::optional<std::int64_t> Count();
    /// How many frames the clip has that ffmpeg cuts.
    std::optional<std::int64_t> CountOfClip(double InSec, double OutSec);

private:
    struct Shared;
    static void Run(const std::shared_ptr<Shared>& pShared, const std::string& Path);
    std::optional<FramePlace> Find(FrameSide Side, std::int64_t Limit);
    bool WaitFor(std::unique_lock<std::mutex>& Lock, const std::function<bool()>& IsDone);
    std::int64_t LimitOfShown(std::int64_t Us) const;
    /// How many frames are before Limit. The whole file must be known.
    std::int64_t CountBefore(std::int64_t Limit) const;
    bool IsWholeKnown();

    std::shared_ptr<Shared> pState;
    std::chrono::milliseconds Patience;
    bool bDiskSlow = false; ///< the last answer did not come in time
    FrameClock Clock;       ///< once open
    FrameWindow Whole;      ///< once the whole file is known
};
