// Playing a document backward, which no player does: one seek after the other.
//
// Each seek shows a picture, so the time is kept and pictures are left out where the machine is slow. UI thread
// only.

#pragma once

#include <chrono>
#include <optional>

class VideoDocument;

class BackwardPlayback
{
public:
    /// Shown owns it.
    explicit BackwardPlayback(VideoDocument& Shown);

    /// Pauses and plays backward from the playhead on, at the document's speed. Nothing happens without a file.
    void Begin();
    /// Goes on, after a seek of somebody else from where that has led; for the frame. Nothing happens while
    /// the last seek is under way. At the start of the file it ends.
    void Continue();
    void End() { Start.reset(); }
    bool IsRunning() const { return Start.has_value(); }

private:
    struct StartPoint
    {
        std::chrono::steady_clock::time_point Time;
        double Sec = 0.0;
        double AskedSec = 0.0; ///< where it has gone last; elsewhere means that somebody has sought
    };

    VideoDocument& Document;
    std::optional<StartPoint> Start;
};
