#include "player/mpvvideo.h"

#include "base/openfile.h"
#include "media/containers.h"
#include "media/mediafile.h"
#include "player/mpvnode.h"
#include "process/threadroom.h"

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <mpv/client.h>
#include <system_error>
#include <utility>

namespace
{
constexpr double UsPerSec = 1e6;
// Steps in a file that does not tell its frame rate.
constexpr double FallbackFrameRate = 25.0;
// How much earlier than asked for a frame may begin that the player takes for the one that is meant.
constexpr double PlayerToleranceSec = 0.005;
// How far behind a frame's begin it is asked for, so that rounding never leads to the one before.
constexpr double BehindFrameSec = 0.0004;
constexpr std::chrono::milliseconds ServePeriod{5};
constexpr unsigned TopicBits = 8;

struct MpvOption
{
    const char* Name;
    const char* Value;
};

// No user's configuration, scripts or keys; nothing is read but the file that was asked for, so that
// opening a list or a reference file reaches neither another file nor the network.
constexpr std::array FixedOptions = {
    MpvOption{"config", "no"},
    MpvOption{"terminal", "no"},
    MpvOption{"load-scripts", "no"},
    MpvOption{"resume-playback", "no"},
    MpvOption{"osc", "no"},
    MpvOption{"ytdl", "no"},
    MpvOption{"load-stats-overlay", "no"},
    MpvOption{"load-osd-console", "no"},
    MpvOption{"load-auto-profiles", "no"},
    MpvOption{"input-default-bindings", "no"},
    MpvOption{"input-vo-keyboard", "no"},
    MpvOption{"autoload-files", "no"},
    MpvOption{"sub-auto", "no"},
    MpvOption{"access-references", "no"},
    MpvOption{"ordered-chapters", "no"},
    // The player's own readers know lists, archives and discs.
    MpvOption{"demuxer", "lavf"},
    MpvOption{"idle", "yes"},
    MpvOption{"keep-open", "yes"},
    // Pausing at the end is done here: were it the player's, a seek that is just under way would end
    // up paused.
    MpvOption{"keep-open-pause", "no"},
    MpvOption{"pause", "yes"},
    MpvOption{"hr-seek", "yes"},
    // The start time of the file is taken off here, as ffmpeg takes it off: the player's own idea of it
    // is another one where the sound begins earlier.
    MpvOption{"rebase-start-time", "no"},
    MpvOption{"hwdec", "no"},
    MpvOption{"gpu-hwdec-interop", "no"},
    MpvOption{"audio-fallback-to-null", "yes"},
};

bool SetOptions(mpv_handle* pMpv, const MpvVideo::Options& Wanted, std::string& OutError)
{
    const auto set = [&](const char* pName, const char* pValue)
    {
        if (mpv_set_option_string(pMpv, pName, pValue) >= 0)
        {
            return true;
        }
        OutError = "The video player does not take " + std::string(pName) + "=" + pValue +
                   ": install libmpv 0.35 or newer.";
        return false;
    };
    // The list has commas, so its length goes before it.
    const std::string readerOptions = "format_whitelist=%" +
                                      std::to_string(std::strlen(AllowedContainers)) + '%' +
                                      AllowedContainers + ",protocol_whitelist=" + AllowedProtocols;
    return std::all_of(FixedOptions.begin(), FixedOptions.end(),
                       [&](const MpvOption& Option) { return set(Option.Name, Option.Value); }) &&
           set("demuxer-lavf-o", readerOptions.c_str()) && set("vo", Wanted.VideoOutput.c_str()) &&
           set("ao", Wanted.AudioOutput.c_str());
}

std::string ReasonForNoHandle()
{
    const char* locale = std::setlocale(LC_NUMERIC, nullptr); // NOLINT(concurrency-mt-unsafe)
    if (locale != nullptr && std::strcmp(locale, "C") != 0)
    {
        return "The video player can't start with the number format of the locale " +
               std::string(locale) + ": set LC_NUMERIC to C.";
    }
    return "The video player can't start: free some memory and try again.";
}
} // namespace

std::unique_ptr<MpvVideo> MpvVideo::Create(const Options& Wanted, std::string& OutError)
{
    // The library waits for ever or crashes where it can't start its first threads, and takes a file for
    // no video where it can't start those that open it (libmpv 0.35).
    if (!HasRoomForThreads())
    {
        OutError = NoRoomForThreads("The video player can't start");
        return nullptr;
    }
    mpv_handle* pHandle = mpv_create();
    if (pHandle == nullptr)
    {
        OutError = ReasonForNoHandle();
        return nullptr;
    }
    // From here on the object owns the handle.
    std::unique_ptr<MpvVideo> pVideo(new MpvVideo(pHandle, Wanted.OpenTimeout));
    if (!SetOptions(pHandle, Wanted, OutError))
    {
        return nullptr;
    }
    if (const int error = mpv_initialize(pHandle); error < 0)
    {
        OutError = "The video player can't start (" + std::string(mpv_error_string(error)) +
                   "): install libmpv again.";
        return nullptr;
    }
    mpv_set_wakeup_callback(pHandle, &MpvVideo::OnWakeUp, pVideo.get());
    mpv_observe_property(pHandle, NoticeTag(Topic::Time), "time-pos", MPV_FORMAT_NODE);
    mpv_observe_property(pHandle, NoticeTag(Topic::End), "eof-reached", MPV_FORMAT_NODE);
    return pVideo;
}

MpvVideo::MpvVideo(mpv_handle* pNewMpv, std::chrono::milliseconds NewOpenTimeout)
    : pMpv(pNewMpv)
    , OpenTimeout(NewOpenTimeout)
{
}

MpvVideo::~MpvVideo()
{
    pFrames.reset(); // its thread wakes this object up
    mpv_set_wakeup_callback(pMpv, nullptr, nullptr);
    mpv_terminate_destroy(pMpv);
}

bool MpvVideo::Open(const std::string& Path, std::string& OutError)
{
    OutError = ReasonNotToOpen(Path);
    if (!OutError.empty())
    {
        return false;
    }
    // Copies, because Path may be FilePath itself, which loading clears.
    const std::string newPath = Path; // NOLINT(performance-unnecessary-copy-initialization)
    const std::string earlierPath = FilePath;
    const std::string earlierLoadedPath = LoadedPath;
    const std::int64_t earlierPlayheadUs = PlayheadUs;
    const bool bEarlierPlaying = bPlaying;

    // Absolute, because the player takes a "://" in a relative name for a protocol.
    std::error_code ec;
    const std::string absolutePath = std::filesystem::absolute(newPath, ec).string();
    if (!ec && Load(absolutePath))
    {
        FilePath = newPath;
        OutError.clear();
        return true;
    }
    OutError = ec ? NoCurrentFolder(newPath) : newPath + Refusal;
    if (!earlierPath.empty() && Load(earlierLoadedPath))
    {
        FilePath = earlierPath;
        SeekToUs(earlierPlayheadUs);
        SetPlaying(bEarlierPlaying);
    }
    return false;
}

// Opens the file paused at its start; on failure no file is open, and Refusal says why.
bool MpvVideo::Load(const std::string& AbsolutePath)
{
    Forget();
    SetPlaying(false);
    Loading = LoadPhase::Sent;
    LoadedPath = AbsolutePath;
    Refusal = " takes too long to open: try again, or choose another video.";
    pFrames = std::make_unique<FrameTimes>(AbsolutePath, [this] { OnWakeUp(this); });
    std::array<const char*, 4> command = {"loadfile", AbsolutePath.c_str(), "replace", nullptr};
    if (mpv_command_async(pMpv, Tag(Topic::Load), command.data()) < 0)
    {
        Refuse(" can't be opened by the video player: start it again.");
    }
    WaitUntil([this] { return Loading == LoadPhase::Ready || Loading == LoadPhase::Idle; },
              OpenTimeout);
    if (Loading == LoadPhase::Ready)
    {
        if (IsMatroskaWithoutDuration(AbsolutePath))
        {
            MediaInfo.DurationUs = 0;
        }
        if (pFrames->IsOpen())
        {
            StartSec = -pFrames->OffsetSec();
        }
        TakeStartOffLength(AbsolutePath);
        SetPlayheadUs(FrameUs(pFrames->ShownAt(0), 0));
        pMediaInfo = &MediaInfo;
        return true;
    }
    Forget();
    std::array<const char*, 2> stop = {"stop", nullptr};
    mpv_command_async(pMpv, Tag(Topic::Nothing), stop.data());
    return false;
}

// The player gives the container's own length, which in some formats includes the time before the start.
void MpvVideo::TakeStartOffLength(const std::string& AbsolutePath)
{
    const std::int64_t us = MediaInfo.DurationUs - std::llround(StartSec * UsPerSec);
    if (MediaInfo.DurationUs > 0 && us != MediaInfo.DurationUs && us > 0 &&
        CountsLengthFromZero(AbsolutePath))
    {
        MediaInfo.DurationUs = us;
    }
}

// Back to no open file; what the player still reports of the earlier one is no longer used.
void MpvVideo::Forget()
{
    ++Generation;
    Loading = LoadPhase::Idle;
    EntryId = 0;
    LoadedPath.clear();
    FilePath.clear();
    pMediaInfo = nullptr;
    MediaInfo = {};
    FrameRate = 0.0;
    Rotation = 0;
    bTrackAsked = false;
    pFrames.reset();
    StartSec = 0.0;
    Seeking = SeekPhase::Landed;
    PlayheadUs = 0;
    bPlaying = false;
    bEndReached = false;
    bChanged = true;
}

void MpvVideo::Play()
{
    if (FilePath.empty())
    {
        return;
    }
    if (IsAtEnd())
    {
        SeekToUs(0);
    }
    SetPlaying(true);
    // The picture may stand at its end before the playhead does; then no news of the end would come.
    Ask(Topic::EndNow, "eof-reached");
}

void MpvVideo::Pause()
{
    if (!bPlaying)
    {
        return;
    }
    SetPlaying(false);
    // The picture stops a frame or two after the last report of the time.
    Ask(Topic::TimeNow, "time-pos");
}

void MpvVideo::SetPlaying(bool bNewPlaying)
{
    bChanged = bChanged || bPlaying != bNewPlaying;
    bPlaying = bNewPlaying;
    int paused = bNewPlaying ? 0 : 1;
    mpv_set_property_async(pMpv, Tag(Topic::Nothing), "pause", MPV_FORMAT_FLAG, &paused);
}

void MpvVideo::Seek(int Request)
{
    if (FilePath.empty())
    {
        return;
    }
    switch (Request)
    {
    case SeekToStart:
        SeekToUs(0);
        break;
    case SeekToEnd:
        if (MediaInfo.DurationUs > 0)
        {
            SeekToUs(MediaInfo.DurationUs);
        }
        break;
    case StepFrameBack:
        StepFrames(-1);
        break;
    case StepFrameForward:
        StepFrames(1);
        break;
    case SeekToTarget:
        if (const auto place = PlaceOfClipFrame())
        {
            SeekToFrame(*place);
        }
        else
        {
            SeekToUs(SeekTargetUs);
        }
        break;
    default:
        break;
    }
}

std::optional<FramePlace> MpvVideo::PlaceOfClipFrame() const
{
    const std::optional<ClipFrame> wanted = SeekFrame;
    if (!wanted)
    {
        return std::nullopt;
    }
    return wanted->bLast ? pFrames->LastOfClip(wanted->InSec, wanted->OutSec)
                         : pFrames->FirstOfClip(wanted->InSec);
}

void MpvVideo::SeekToUs(std::int64_t TargetUs)
{
    const bool bToEnd = MediaInfo.DurationUs > 0 && TargetUs >= MediaInfo.DurationUs;
    if (const auto place = pFrames->ShownAt(TargetUs))
    {
        SeekToFrame(*place);
    }
    else
    {
        const std::int64_t endUs = MediaInfo.DurationUs > 0
                                       ? MediaInfo.DurationUs
                                       : std::numeric_limits<std::int64_t>::max();
        const std::int64_t us = std::clamp<std::int64_t>(TargetUs, 0, endUs);
        SendSeek(us, static_cast<double>(us) / UsPerSec + StartSec, 0.0);
    }
    bEndReached = bToEnd;
}

// The player shows the first frame that begins no earlier than 5 ms before the time it is asked for. In a fast
// film that may be the frame before: there it is asked for a later time, and to look for the key frame where it
// would have otherwise.
void MpvVideo::SeekToFrame(const FramePlace& Place)
{
    const double sec = pFrames->ContainerSec(Place.Ticks);
    const double lastsSec = pFrames->ContainerSec(Place.AfterTicks) - sec;
    const double aimSec = sec + std::min(BehindFrameSec, lastsSec / 4.0);
    const double middleSec = (pFrames->ContainerSec(Place.BeforeTicks) + sec) / 2.0;
    const double askedSec =
        Place.bFirst ? aimSec : std::max(aimSec, middleSec + PlayerToleranceSec);
    // Where a seek leads anywhere, only the key frame's own place leads to that key frame.
    const double keySec =
        pFrames->SeeksAnywhere() ? pFrames->ContainerSec(Place.KeyTicks) - BehindFrameSec : aimSec;
    SendSeek(pFrames->UsOf(Place.Ticks), askedSec, askedSec - keySec);
}

// EarlierSec is how much before PlayerSec the key frame lies at the latest.
void MpvVideo::SendSeek(std::int64_t NewPlayheadUs, double PlayerSec, double EarlierSec)
{
    ++Generation;
    SetPlayheadUs(NewPlayheadUs);
    bEndReached = false;
    Seeking = SeekPhase::Sent;
    bChanged = true;
    mpv_set_property_async(pMpv, Tag(Topic::Nothing), "hr-seek-demuxer-offset", MPV_FORMAT_DOUBLE,
                           &EarlierSec);
    std::array<char, 32> seconds{};
    // A negative time would count from the end.
    std::snprintf(seconds.data(), seconds.size(), "%.6f", std::max(PlayerSec, 0.0));
    std::array<const char*, 4> command = {"seek", seconds.data(), "absolute+exact", nullptr};
    if (mpv_command_async(pMpv, Tag(Topic::Seek), command.data()) < 0)
    {
        Seeking = SeekPhase::Landed;
    }
}

void MpvVideo::StepFrames(int Count)
{
    Pause();
    const auto place = Count > 0 ? pFrames->After(PlayheadUs) : pFrames->Before(PlayheadUs);
    if (place)
    {
        SeekToFrame(*place);
        return;
    }
    const double frameRate = FrameRate > 0.0 ? FrameRate : FallbackFrameRate;
    SeekToUs(PlayheadUs + std::llround(Count / frameRate * UsPerSec));
}

std::int64_t MpvVideo::FrameUs(const std::optional<FramePlace>& Place,
                               std::int64_t OtherwiseUs) const
{
    return Place ? pFrames->UsOf(Place->Ticks) : OtherwiseUs;
}

std::int64_t MpvVideo::UsFromStart(const mpv_node& Value) const
{
    return SecondsAsUs(Value) - std::llround(StartSec * UsPerSec);
}

double MpvVideo::CurrentTimeSec() const
{
    return static_cast<double>(PlayheadUs) / UsPerSec;
}

void MpvVideo::SetPlayheadUs(std::int64_t NewPlayheadUs)
{
    std::int64_t playheadUs = std::max<std::int64_t>(NewPlayheadUs, 0);
    if (MediaInfo.DurationUs > 0)
    {
        playheadUs = std::min(playheadUs, MediaInfo.DurationUs);
    }
    bChanged = bChanged || playheadUs != PlayheadUs;
    PlayheadUs = playheadUs;
}

bool MpvVideo::IsAtEnd() const
{
    return bEndReached || (MediaInfo.DurationUs > 0 && PlayheadUs >= MediaInfo.DurationUs);
}

void MpvVideo::SetSpeed(double Factor)
{
    double speed = std::clamp(Factor, 0.01, 100.0);
    mpv_set_property_async(pMpv, Tag(Topic::Nothing), "speed", MPV_FORMAT_DOUBLE, &speed);
}

void MpvVideo::SetVolume(double Percent)
{
    double volume = std::clamp(Percent, 0.0, 100.0);
    mpv_set_property_async(pMpv, Tag(Topic::Nothing), "volume", MPV_FORMAT_DOUBLE, &volume);
}

void MpvVideo::SetMuted(bool bMuted)
{
    int muted = bMuted ? 1 : 0;
    mpv_set_property_async(pMpv, Tag(Topic::Nothing), "mute", MPV_FORMAT_FLAG, &muted);
}

void MpvVideo::LeaveRotationToSurface()
{
    const char* pNo = "no";
    mpv_set_property_async(pMpv, Tag(Topic::Nothing), "video-rotate", MPV_FORMAT_STRING,
                           static_cast<void*>(&pNo));
}

void MpvVideo::PumpEvents()
{
    TakeEvents();
    if (std::exchange(bChanged, false))
    {
        Changed.emit();
    }
}

bool MpvVideo::WaitForSeek(std::chrono::milliseconds Timeout)
{
    return WaitUntil([this] { return !IsSeeking(); }, Timeout);
}

void MpvVideo::SetWakeUp(std::function<void()> NewWakeUp)
{
    const std::lock_guard lock(WakeUpMutex);
    WakeUp = std::move(NewWakeUp);
}

void MpvVideo::SetWhileWaiting(std::function<void()> NewWhileWaiting)
{
    WhileWaiting = std::move(NewWhileWaiting);
}

// On a thread of the library, which may hold its own locks meanwhile.
void MpvVideo::OnWakeUp(void* pSelf)
{
    auto* pVideo = static_cast<MpvVideo*>(pSelf);
    {
        const std::lock_guard lock(pVideo->EventMutex);
        pVideo->bEventWaits = true;
    }
    pVideo->EventArrived.notify_one();
    const std::lock_guard lock(pVideo->WakeUpMutex);
    if (pVideo->WakeUp)
    {
        pVideo->WakeUp();
    }
}

bool MpvVideo::WaitUntil(const std::function<bool()>& IsDone, std::chrono::milliseconds Timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + Timeout;
    for (;;)
    {
        const auto now = std::chrono::steady_clock::now();
        if (IsDone() || now >= deadline)
        {
            return IsDone();
        }
        if (WhileWaiting)
        {
            WhileWaiting();
        }
        std::unique_lock lock(EventMutex);
        EventArrived.wait_until(lock,
                                WhileWaiting ? std::min(deadline, now + ServePeriod) : deadline,
                                [this] { return bEventWaits; });
        lock.unlock();
        TakeEvents();
    }
}

void MpvVideo::TakeEvents()
{
    {
        const std::lock_guard lock(EventMutex);
        bEventWaits = false;
    }
    for (;;)
    {
        const mpv_event* pEvent = mpv_wait_event(pMpv, 0.0);
        if (pEvent->event_id == MPV_EVENT_NONE)
        {
            return;
        }
        TakeEvent(*pEvent);
    }
}

void MpvVideo::TakeEvent(const mpv_event& Event)
{
    switch (Event.event_id)
    {
    case MPV_EVENT_COMMAND_REPLY:
        TakeCommandReply(Event);
        break;
    case MPV_EVENT_START_FILE:
        TakeStart(static_cast<const mpv_event_start_file*>(Event.data)->playlist_entry_id);
        break;
    case MPV_EVENT_FILE_LOADED:
        TakeOpened();
        break;
    case MPV_EVENT_END_FILE:
        TakeEndOfFile(static_cast<const mpv_event_end_file*>(Event.data)->playlist_entry_id);
        break;
    case MPV_EVENT_SEEK:
        if (Seeking == SeekPhase::Accepted)
        {
            Seeking = SeekPhase::Begun;
        }
        break;
    case MPV_EVENT_PLAYBACK_RESTART:
        TakeLanding();
        break;
    case MPV_EVENT_GET_PROPERTY_REPLY:
    case MPV_EVENT_PROPERTY_CHANGE:
        TakeProperty(Event);
        break;
    default:
        break;
    }
}

void MpvVideo::TakeCommandReply(const mpv_event& Event)
{
    if (Event.reply_userdata == Tag(Topic::Load))
    {
        // The answer comes before the file starts, so its number is known in time.
        EntryId =
            IntOf(static_cast<const mpv_event_command*>(Event.data)->result, "playlist_entry_id");
        if (Event.error < 0)
        {
            Refuse(" can't be opened by the video player: choose another video.");
        }
    }
    else if (Event.reply_userdata == Tag(Topic::Seek))
    {
        Seeking = Event.error < 0 ? SeekPhase::Landed : SeekPhase::Accepted;
    }
}

void MpvVideo::TakeStart(std::int64_t StartedId)
{
    if (Loading == LoadPhase::Sent && StartedId == EntryId)
    {
        Loading = LoadPhase::Started;
    }
}

void MpvVideo::TakeOpened()
{
    if (Loading != LoadPhase::Started)
    {
        return;
    }
    Loading = LoadPhase::Opened;
    // The answers come in the order of asking: with the tracks everything is known.
    Ask(Topic::Duration, "duration");
    Ask(Topic::StartTime, "demuxer-start-time");
    Ask(Topic::Tracks, "track-list");
}

void MpvVideo::TakeEndOfFile(std::int64_t EndedId)
{
    if (EntryId == 0 || EndedId != EntryId)
    {
        return;
    }
    if (Loading == LoadPhase::Ready)
    {
        Forget();
        return;
    }
    const std::string format = NameOfRefusedFormat(LoadedPath);
    Refuse(format.empty() ? " is not a video: choose a video." : RefusedFormatSentence({}, format));
}

void MpvVideo::TakeLanding()
{
    if (Seeking != SeekPhase::Begun)
    {
        return;
    }
    Seeking = SeekPhase::Landed;
    bChanged = true;
    Ask(Topic::EndNow, "eof-reached");
}

void MpvVideo::TakeProperty(const mpv_event& Event)
{
    const std::uint64_t generation = Event.reply_userdata >> TopicBits;
    const auto* pProperty = static_cast<const mpv_event_property*>(Event.data);
    if (generation != 0 && generation != Generation)
    {
        return;
    }
    if (Event.error < 0 && Event.reply_userdata == Tag(Topic::Tracks))
    {
        Refuse(" is not a video: choose a video.");
        return;
    }
    // What can't be told, such as the length of some streams, has another format and stays unknown.
    if (pProperty->format == MPV_FORMAT_NODE)
    {
        TakeValue(static_cast<Topic>(Event.reply_userdata % (1U << TopicBits)),
                  *static_cast<const mpv_node*>(pProperty->data));
    }
}

void MpvVideo::TakeValue(Topic About, const mpv_node& Value)
{
    const bool bFollowing = Loading == LoadPhase::Ready && Seeking == SeekPhase::Landed;
    switch (About)
    {
    case Topic::Duration:
        MediaInfo.DurationUs = std::max<std::int64_t>(SecondsAsUs(Value), 0);
        break;
    case Topic::StartTime:
        StartSec = static_cast<double>(SecondsAsUs(Value)) / UsPerSec;
        break;
    case Topic::Tracks:
        TakeTracks(Value);
        break;
    case Topic::Time:
        if (bFollowing && bPlaying)
        {
            SetPlayheadUs(UsFromStart(Value));
        }
        break;
    case Topic::TimeNow:
        if (bFollowing)
        {
            const std::int64_t us = UsFromStart(Value);
            SetPlayheadUs(FrameUs(pFrames->ShownAt(us), us));
        }
        break;
    case Topic::End:
        // Only a hint, which may be older than the last seek.
        if (bFollowing && bPlaying && IsTrue(Value))
        {
            Ask(Topic::EndNow, "eof-reached");
        }
        break;
    case Topic::EndNow:
        if (bFollowing && bPlaying && IsTrue(Value))
        {
            SetPlaying(false);
            // On a slow machine the player leaves frames out, perhaps the last one, too.
            SeekToUs(FrameUs(pFrames->Last(),
                             MediaInfo.DurationUs > 0 ? MediaInfo.DurationUs : PlayheadUs));
            bEndReached = true;
        }
        break;
    case Topic::Nothing:
    case Topic::Load:
    case Topic::Seek:
        break;
    }
}

void MpvVideo::TakeTracks(const mpv_node& Tracks)
{
    // ffmpeg's 0:V:0, whatever the file says is its default.
    const mpv_node* pTrack = nullptr;
    const int count = Tracks.format == MPV_FORMAT_NODE_ARRAY ? Tracks.u.list->num : 0;
    for (int i = 0; i < count && pTrack == nullptr; ++i)
    {
        pTrack = IsVideoTrack(Tracks.u.list->values[i]) ? &Tracks.u.list->values[i] : nullptr;
    }
    if (pTrack == nullptr)
    {
        Refuse(" is not a video, it has no moving pictures: choose a video.");
        return;
    }
    if (FlagOf(*pTrack, "image"))
    {
        Refuse(" is not a video but a still picture: choose a video.");
        return;
    }
    if (!FlagOf(*pTrack, "selected") && !bTrackAsked)
    {
        bTrackAsked = true;
        std::int64_t id = IntOf(*pTrack, "id");
        mpv_set_property_async(pMpv, Tag(Topic::Nothing), "vid", MPV_FORMAT_INT64, &id);
        Ask(Topic::Tracks, "track-list");
        return;
    }
    FrameRate = DoubleOf(*pTrack, "demux-fps");
    Rotation = static_cast<int>(IntOf(*pTrack, "demux-rotation"));
    Loading = LoadPhase::Ready;
    bChanged = true;
}

// Why begins where the file's path ends.
void MpvVideo::Refuse(const std::string& Why)
{
    Refusal = Why;
    Loading = LoadPhase::Idle;
}

void MpvVideo::Ask(Topic About, const char* pProperty)
{
    mpv_get_property_async(pMpv, Tag(About), pProperty, MPV_FORMAT_NODE);
}

std::uint64_t MpvVideo::Tag(Topic About) const
{
    return Generation << TopicBits | NoticeTag(About);
}

std::uint64_t MpvVideo::NoticeTag(Topic About)
{
    return static_cast<std::uint64_t>(About);
}
