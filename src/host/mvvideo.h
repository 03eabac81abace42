// What a player must provide to a video window: one open file, its length, its playhead.
//
// The playhead is in seconds, positions to seek to are whole microseconds, both from the start of
// the file. UI thread only.

#pragma once

#include <cstdint>
#include <string>

/// What is known of the open file.
struct MvMediaInfo
{
    std::int64_t DurationUs = 0; ///< length in microseconds; 0 or less when it is unknown
};

/// Request codes of MvVideo::Seek.
enum SeekRequest : int
{
    SeekToStart = 0,
    SeekToEnd = 1,
    StepFrameBack = 2,
    StepFrameForward = 3,
    SeekToTarget = 4, ///< to MvVideo::SeekTargetUs
};

class MvVideo
{
public:
    MvVideo() = default;
    virtual ~MvVideo() = default;
    MvVideo(const MvVideo&) = delete;
    MvVideo& operator=(const MvVideo&) = delete;

    /// Opens the file at Path, paused at its start, in place of the one that was open.
    ///
    /// On success FilePath is Path as given and pMediaInfo is set. On failure returns false and sets OutError to
    /// one sentence for the user. The earlier file then stays open or is opened again; if that fails as well (it
    /// was deleted, say), no file is open.
    virtual bool Open(const std::string& Path, std::string& OutError) = 0;

    virtual void Play() = 0;
    virtual void Pause() = 0;

    /// Carries out a SeekRequest. Ignores any other number, and every request while no file is open.
    virtual void Seek(int Request) = 0;

    /// Returns the playhead in seconds, 0 while no file is open. After a Seek it is the place sought, even before
    /// the picture has arrived.
    virtual double CurrentTimeSec() const = 0;

    std::string FilePath;              ///< the open file, empty while none is open
    MvMediaInfo* pMediaInfo = nullptr; ///< null while no file is open; owned by the player
    std::int64_t SeekTargetUs = 0;     ///< where Seek(SeekToTarget) goes
};
