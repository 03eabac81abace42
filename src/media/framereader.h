// Reads the times of a video's frames from its container, without decoding (libavformat).
//
// The stream is ffmpeg's 0:V:0: the first video stream that is not an attached picture. Times count as in ffmpeg: in
// the stream's ticks, from the start time of the file. A reader knows all frames of one part of the file, its window,
// and reads on or seeks when a question needs more. Packets that are decoded but never shown (before an edit list's
// start, hidden VP8 and VP9 frames) do not count as frames.
//
// One thread at a time. It blocks while the disk blocks, so FrameTimes gives it its own thread.

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// Ticks of a stream: one lasts Num / Den seconds.
struct FrameClock
{
    std::int64_t Num = 1;
    std::int64_t Den = 1000;
    /// What ffmpeg adds to a packet's time, in ticks: the negated start time of the file.
    std::int64_t OffsetTicks = 0;
    /// A seek leads to any packet near the wanted decoding time, not to a key frame: MPEG streams have no index.
    bool bSeeksAnywhere = false;

    std::int64_t UsOf(std::int64_t Ticks) const; ///< rounded down
    std::int64_t MsOf(std::int64_t Ticks) const; ///< rounded down
    /// Rounds to the nearest tick, as ffmpeg does with times of its command line.
    std::int64_t TicksOf(std::int64_t Us) const;
    /// The first tick that is not before Us.
    std::int64_t TicksFrom(std::int64_t Us) const;
    /// By how much times here are later than those of the container.
    double OffsetSec() const;
};

/// Which frame of a file is wanted.
enum class FrameSide
{
    LastBefore, ///< the last one before a time; without one, the first of the file
    FirstFrom,  ///< the first one at a time or later; without one, the last of the file
};

/// A frame and where its neighbours are, in ticks.
struct FramePlace
{
    std::int64_t Ticks = 0;
    std::int64_t BeforeTicks = 0; ///< of the frame before; without one, its own
    std::int64_t AfterTicks = 0;  ///< of the frame that follows; without one, where it ends itself
    std::int64_t KeyTicks = 0;    ///< decoding time of the key frame that it depends on
    bool bFirst = false;
    bool bLast = false;
};

/// The times of all frames of a part of the file, in order.
struct FrameWindow
{
    std::vector<std::int64_t> Ticks;
    std::int64_t EndTicks = 0; ///< where the last frame ends; with bToEnd
    struct KeyFrame
    {
        std::int64_t Ticks = 0;
        std::int64_t DecodeTicks = 0;
    };
    std::vector<KeyFrame> KeyFrames; ///< in order
    bool bFromStart = false;         ///< the first one is the file's
    bool bToEnd = false;             ///< the last one is the file's

    enum class Lack
    {
        Nothing,
        Earlier,
        Later,
    };
    /// Nullopt when the window does not reach far enough (OutLack says on which side) or the file has no frame.
    std::optional<FramePlace> Find(FrameSide Side, std::int64_t Limit, Lack& OutLack) const;

    bool IsWhole() const { return bFromStart && bToEnd; }
    /// How many frames from the first on are final: a packet that is read later may be shown earlier.
    std::size_t KnownCount() const;

private:
    std::optional<FramePlace> PlaceOf(std::size_t Index, Lack& OutLack) const;
};

class FrameReader
{
public:
    /// Opens the file at its start. Null when it can't be read or holds no video. Setting bStop ends this call and
    /// later reads early; it must outlive the reader.
    static std::unique_ptr<FrameReader> Open(const std::string& Path,
                                             const std::atomic<bool>& bStop);
    ~FrameReader();

    const FrameClock& Clock() const { return Ticking; }
    const FrameWindow& Window() const { return Known; }

    /// As the window's Find, but reads what the answer needs, from a key frame before Limit on. Nullopt when the
    /// file has no frame or the reading was stopped.
    std::optional<FramePlace> Find(FrameSide Side, std::int64_t Limit);

    /// Reads up to Count further packets; false at the end of the file.
    bool ReadOn(int Count);
    /// Returns the window and leaves none.
    FrameWindow TakeWindow() { return std::move(Known); }

private:
    struct Input;

    FrameReader(std::unique_ptr<Input> NewInput,
                const std::string& NewPath,
                const std::atomic<bool>& bNewStop);
    bool GoBack(std::int64_t Limit, int& Seeks);
    std::int64_t LastTicks() const;
    bool Rewind();
    bool SeekTo(std::int64_t Target, std::int64_t Latest);
    bool ReadPacket();
    std::int64_t TimeOfPacket();
    void TakePacket();
    void TakeKeyFrame(std::int64_t Ticks);

    std::unique_ptr<Input> File;
    std::string FilePath;
    const std::atomic<bool>& bStopped;
    FrameClock Ticking;
    FrameWindow Known;
    /// The key frame at which reading began: earlier frames may be missing.
    std::int64_t LowestTicks = 0;
    bool bPtsKnown = true; ///< the presentation times of all frames are known
    /// How much later than its decoding the first frame is shown; set once it was read.
    std::optional<std::int64_t> DecodeLead;
};
