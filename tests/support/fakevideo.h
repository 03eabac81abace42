// A player without a player: an MvVideo that opens any path, or refuses, and records what it was
// asked to do.

#pragma once

#include "host/mvvideo.h"

#include <cstdint>
#include <string>
#include <vector>

class FakeVideo : public MvVideo
{
public:
    /// One call of Seek with the target that was set at that moment.
    struct SeekCall
    {
        int Request = 0;
        std::int64_t TargetUs = 0;
    };

    bool Open(const std::string& Path, std::string& OutError) override
    {
        OpenedPaths.push_back(Path);
        if (!OpenError.empty())
        {
            OutError = OpenError;
            return false;
        }
        FilePath = Path;
        Info.DurationUs = NextDurationUs;
        pMediaInfo = bGivesMediaInfo ? &Info : nullptr;
        PlayheadSec = 0.0;
        bPlaying = false;
        return true;
    }

    void Play() override { bPlaying = true; }
    void Pause() override { bPlaying = false; }

    void Seek(int Request) override
    {
        SeekCalls.push_back({Request, SeekTargetUs});
        if (Request == SeekToTarget)
        {
            PlayheadSec = static_cast<double>(SeekTargetUs) / 1e6;
        }
    }

    double CurrentTimeSec() const override { return PlayheadSec; }

    // -- What the next Open does.
    std::string OpenError; ///< not empty: it fails with this sentence
    std::int64_t NextDurationUs = 10'000'000;
    bool bGivesMediaInfo = true;

    // -- What was asked for.
    std::vector<std::string> OpenedPaths; ///< the refused ones too
    std::vector<SeekCall> SeekCalls;
    bool bPlaying = false;
    double PlayheadSec = 0.0;

private:
    MvMediaInfo Info;
};
