// A video player on libmpv: what a video window plays, seeks and steps through.
//
// The playhead is this class's own, in whole microseconds from the start of the file as ffmpeg counts, and
// never leaves the file: what the library reports may lie past the end, and lags behind a seek. While the
// video is paused the playhead stands on the own time of the frame that is shown (FrameTimes); only where the
// file's frames can't be read does it stand where it was asked to. The library is only
// spoken to by asynchronous calls once it runs, because a thread that also renders would lock up in a
// synchronous one; so its answers, and the news of playback, arrive in PumpEvents.
//
// UI thread only, but for the wake-up hook. LC_NUMERIC must be "C", or Create fails. The picture goes to
// the options' video output: "null" for none, "libmpv" for a window that renders through Handle().

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

    /// Stops everything and waits for the player's threads, a few milliseconds. With a render context, free
    /// that first.
    ~MpvVideo() override;

    /// As MvVideo::Open. Takes 10 to 30 ms, at most the options' OpenTimeout; as long again for the
    /// earlier file after a failure.
    ///
    /// Only a regular file with moving pictures in one of AllowedContainers is opened: sound alone, a still
    /// picture or a list of other files is refused. Its first video is shown, as ffmpeg's 0:V:0 has it. A path that is no readable file leaves the open one alone; a file that
    /// proves not to be a video takes its place for a moment, and then it comes back at its playhead,
    /// playing if it played. If it can't come back (it was deleted, say), no file is open.
    bool Open(const std::string& Path, std::string& OutError) override;

    /// Plays on from the playhead, from the start when it is at the end; in a file of unknown length
    /// that is known once it was reached by playing. Playback stops by itself at the end. Without an
    /// open file nothing happens.
    void Play() override;
    void Pause() override;

    /// As MvVideo::Seek, to the frame that is on at the target (FrameTimes::ShownAt).
    ///
    /// A step pauses and goes to the next or the previous frame. SeekToEnd goes to the last frame, and does
    /// nothing when the length is unknown.
    void Seek(int Request) override;

    /// A frame of a clip's file, as ffmpeg cuts it.
    struct ClipFrame
    {
        double InSec = 0.0;
        double OutSec = 0.0;
        bool bLast = false; ///< the last one, not the first
    };
    /// Where the next SeekToTarget goes instead of SeekTargetUs, in the file that is open then: one number
    /// of milliseconds can be the In of one frame and the Out of the frame before.
    void SetSeekFrame(const std::optional<ClipFrame>& NewSeekFrame) { SeekFrame = NewSeekFrame; }

    double CurrentTimeSec() const override;

    bool IsPlaying() const { return bPlaying; }
    /// False from a Seek until the picture has arrived.
    bool IsSeeking() const { return Seeking != SeekPhase::Landed; }

    void SetSpeed(double Factor);   ///< 1 is normal; kept within 0.01 and 100
    void SetVolume(double Percent); ///< kept within 0 and 100
    void SetMuted(bool bMuted);

    /// Frames per second of the open file, 0 when unknown or no file is open. For a ruler: frames have
    /// their own times.
    double FramesPerSecond() const { return FrameRate; }
    /// The frames of the open file; null while none is open.
    FrameTimes* Frames() const { return pFrames.get(); }

    /// By how much the open file's picture is to be turned clockwise before it is shown, 0 to 359.
    int RotationDegrees() const { return Rotation; }
    /// Has the player hand over pictures as they are, whatever RotationDegrees says: its renderer in memory
    /// ends the program where it should turn one by 90 or 270 degrees (libmpv 0.35). For all files from the
    /// next Open on.
    void LeaveRotationToSurface();

    /// Takes what the player has reported, then emits Changed if anything is new. Never blocks.
    void PumpEvents();

    /// Waits until the last Seek has landed; false when that takes longer than Timeout.
    bool WaitForSeek(std::chrono::milliseconds Timeout);

    /// Emitted in PumpEvents, at most once a call, after the playhead, the playing or the open file
    /// changed.
    Signal<> Changed;

    /// Sets what is called when PumpEvents has something to take. It runs on a thread of the player, so
    /// it must be quick, not throw, and call nothing of this class; posting an event is right. An empty
    /// function takes it away, and on return the earlier one is no longer running.
    void SetWakeUp(std::function<void()> NewWakeUp);

    /// Sets what is called again and again, at least every 5 ms, while Open and WaitForSeek wait: a
    /// window serves its render context there, without which loading and seeking stall. It must call
    /// nothing of this class but Handle.
    void SetWhileWaiting(std::function<void()> NewWhileWaiting);

    /// The library's handle, for a render context. Owned by the player; only asynchronous calls, please.
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
        Landed,   ///< no seek under way
        Sent,     ///< the last seek is not taken yet: what lands now is an earlier one
        Accepted, ///< taken, waiting for its turn
        Begun,    ///< the next restart of playback is its landing
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
    bool bTrackAsked = false; ///< the library was asked to show another track than its own choice
    std::unique_ptr<FrameTimes> pFrames;
    double StartSec = 0.0; ///< the library's time at the start of the file

    // -- Playback.
    SeekPhase Seeking = SeekPhase::Landed;
    std::int64_t PlayheadUs = 0;
    bool bPlaying = false;
    bool bEndReached = false; ///< by playing, and not left since
    bool bChanged = false;
    std::optional<ClipFrame> SeekFrame;
    /// Counts loads and seeks. A request carries it, and an answer to an older one is not used; notices
    /// carry 0.
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
