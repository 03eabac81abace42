// A video player on libmpv: what a video window plays, seeks and steps through.
//
// This class keeps its own playhead, in whole microseconds from the start of the file as ffmpeg counts, and keeps it
// within the file: the library's time may be past the end, and lags behind a seek. While paused the playhead is the
// time of the shown frame (FrameTimes), or the time that was sought when the file's frames can't be read.
//
// Once the library runs, it gets asynchronous calls only: a thread that also renders would deadlock in a synchronous
// one. Its answers and events arrive in PumpEvents.
//
// UI thread only, except for the wake-up hook. Create fails unless LC_NUMERIC is "C". The picture goes to the video
// output of the options: "null" for none, "libmpv" for a window that renders through Handle().

#pragma once

#include "host/mvvideo.h"
#include "host/signal.h"
#include "media/frametimes.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

struct mpv_event;
struct mpv_handle;
struct mpv_node;

class MpvVideo : public MvVideo
{
public:
    struct Options
    {
        std::string VideoOutput = "null";             ///< mpv's vo
        std::string AudioOutput = "null";             ///< mpv's ao
        std::chrono::milliseconds OpenTimeout{10000}; ///< how long Open waits for a file
    };

    /// Makes a player with no file open. Returns null on failure and sets OutError to one sentence.
    static std::unique_ptr<MpvVideo> Create(const Options& Wanted, std::string& OutError);

    /// Stops everything and waits a few milliseconds for the player's threads. Free a render context first.
    ~MpvVideo() override;

    /// See MvVideo::Open. Takes 10 to 30 ms, at most the options' OpenTimeout; after a failure as long again, to
    /// reopen the earlier file.
    ///
    /// Opens only a regular file with moving pictures in one of AllowedContainers: sound alone, a still picture or
    /// a list of other files is refused. Shows the first video stream, ffmpeg's 0:V:0. A path that can't be read
    /// leaves the open file untouched. A file that turns out not to be a video closes it; then it is opened again
    /// at its playhead, playing if it played. If that fails (it was deleted, say), no file is open.
    bool Open(const std::string& Path, std::string& OutError) override;

    /// Plays from the playhead, or from the start when it is at the end. (In a file of unknown length the end is
    /// known once playing has reached it.) Playback stops at the end. Does nothing without an open file.
    void Play() override;
    void Pause() override;

    /// See MvVideo::Seek. Goes to the frame that is shown at that time (FrameTimes::ShownAt).
    ///
    /// A step pauses and goes to the next or the previous frame. SeekToEnd goes to the last frame; it does nothing
    /// when the length is unknown.
    void Seek(int Request) override;

    /// The first or the last frame of the clip that ffmpeg cuts from a range.
    struct ClipFrame
    {
        double InSec = 0.0;
        double OutSec = 0.0;
        bool bLast = false; ///< the last one, not the first
    };
    /// Replaces SeekTargetUs for the next SeekToTarget in the file that is open then: the same millisecond can be
    /// the In of one frame and the Out of the frame before, so a time alone does not say which is meant.
    void SetSeekFrame(const std::optional<ClipFrame>& NewSeekFrame) { SeekFrame = NewSeekFrame; }

    double CurrentTimeSec() const override;

    bool IsPlaying() const { return bPlaying; }
    /// False from a Seek until the picture has arrived.
    bool IsSeeking() const { return Seeking != SeekPhase::Landed; }

    void SetSpeed(double Factor);   ///< 1 is normal; kept within 0.01 and 100
    void SetVolume(double Percent); ///< kept within 0 and 100
    void SetMuted(bool bMuted);

    /// Frames per second of the open file, 0 when unknown or no file is open. Only for the ruler: each frame has a
    /// time of its own.
    double FramesPerSecond() const { return FrameRate; }
    /// The frames of the open file; null while none is open.
    FrameTimes* Frames() const { return pFrames.get(); }

    /// The clockwise rotation that the open file asks for, 0 to 359 degrees.
    int RotationDegrees() const { return Rotation; }
    /// Makes the player deliver pictures without rotating them: its software renderer ends the program when it
    /// rotates by 90 or 270 degrees (libmpv 0.35). Takes effect at the next Open.
    void LeaveRotationToSurface();

    /// Takes the player's events, then emits Changed if anything is new. Never blocks.
    void PumpEvents();

    /// Waits until the last Seek has landed; false when that takes longer than Timeout.
    bool WaitForSeek(std::chrono::milliseconds Timeout);

    /// Emitted in PumpEvents, at most once a call, after the playhead, the playing or the open file
    /// changed.
    Signal<> Changed;

    /// Sets the function that is called when PumpEvents has something to take. It runs on a thread of the player:
    /// it must be quick, not throw, and call nothing of this class; post an event instead. An empty function unsets
    /// it. On return the earlier function is no longer running.
    void SetWakeUp(std::function<void()> NewWakeUp);

    /// Sets the function that is called at least every 5 ms while Open and WaitForSeek wait. A window serves its
    /// render context in it; otherwise loading and seeking stall. It may call nothing of this class but Handle.
    void SetWhileWaiting(std::function<void()> NewWhileWaiting);

    /// The library's handle, for a render context. Owned by the player. Make only asynchronous calls.
    mpv_handle* Handle() const { return pMpv; }

private:
    enum class LoadPhase
    {
        Idle,    ///< no file, or the last one was refused
        Sent,    ///< the library has the command, its answer is not here yet
        Started, ///< the library is opening our file
        Opened,  ///< opened, and asked what is in it
        Ready,
    };
    enum class SeekPhase
    {
        Landed, ///< no seek under way
        Sent, ///< the library has not accepted the last seek: a landing now is that of an earlier one
        Accepted, ///< but not begun
        Begun,    ///< its landing is the next restart of playback
    };
    /// What a request and its answer, or a notice of the library, is about.
    enum class Topic : std::uint64_t
    {
        Nothing,
        Load,
        Tracks,
        Duration,
        StartTime,
        Seek,
        TimeNow,
        EndNow,
        Time,
        End,
    };

    MpvVideo(mpv_handle* pNewMpv, std::chrono::milliseconds NewOpenTimeout);

    bool Load(const std::string& AbsolutePath);
    void TakeStartOffLength(const std::string& AbsolutePath);
    void Forget();
    std::optional<FramePlace> PlaceOfClipFrame() const;
    void SeekToUs(std::int64_t TargetUs);
    void SeekToFrame(const FramePlace& Place);
    void SendSeek(std::int64_t NewPlayheadUs, double PlayerSec, double EarlierSec);
    void StepFrames(int Count);
    std::int64_t FrameUs(const std::optional<FramePlace>& Place, std::int64_t OtherwiseUs) const;
    void SetPlaying(bool bNewPlaying);
    void SetPlayheadUs(std::int64_t NewPlayheadUs);
    std::int64_t UsFromStart(const mpv_node& Value) const;
    bool IsAtEnd() const;

    void TakeEvents();
    void TakeEvent(const mpv_event& Event);
    void TakeCommandReply(const mpv_event& Event);
    void TakeStart(std::int64_t StartedId);
    void TakeOpened();
    void TakeEndOfFile(std::int64_t EndedId);
    void TakeLanding();
    void TakeProperty(const mpv_event& Event);
    void TakeValue(Topic About, const mpv_node& Value);
    void TakeTracks(const mpv_node& Tracks);

    void Refuse(const std::string& Why);
    void Ask(Topic About, const char* pProperty);
    std::uint64_t Tag(Topic About) const;
    static std::uint64_t NoticeTag(Topic About);
    bool WaitUntil(const std::function<bool()>& IsDone, std::chrono::milliseconds Timeout);
    static void OnWakeUp(void* pSelf);

    mpv_handle* pMpv = nullptr;
    std::chrono::milliseconds OpenTimeout;

    // -- The open file, or the one that is being opened.
    LoadPhase Loading = LoadPhase::Idle;
    std::int64_t EntryId = 0; ///< the library's number for it
    std::string LoadedPath;   ///< absolute
    std::string Refusal;      ///< why the last Load failed, a sentence that begins after the path
    MvMediaInfo MediaInfo;
    double FrameRate = 0.0;
    int Rotation = 0;         ///< degrees, clockwise
    bool bTrackAsked = false; ///< another track than the library's own choice was requested
    std::unique_ptr<FrameTimes> pFrames;
    double StartSec = 0.0; ///< the library's time at the start of the file

    // -- Playback.
    SeekPhase Seeking = SeekPhase::Landed;
    std::int64_t PlayheadUs = 0;
    bool bPlaying = false;
    bool bEndReached = false; ///< by playing, and no seek since
    bool bChanged = false;
    std::optional<ClipFrame> SeekFrame;
    /// Counts loads and seeks. Requests carry it, and answers to older requests are ignored; notices carry 0.
    std::uint64_t Generation = 0;

    std::function<void()> WhileWaiting;

    std::mutex EventMutex;
    std::condition_variable EventArrived;
    // -- Guarded by EventMutex.
    bool bEventWaits = false;

    std::mutex WakeUpMutex;
    // -- Guarded by WakeUpMutex, which is never held together with EventMutex.
    std::function<void()> WakeUp;
};
