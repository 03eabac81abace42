// The span of the source that a timeline shows, and its ruler.
//
// Pure arithmetic without a toolkit: seconds from the start of the source on one side, pixels of the
// widget on the other, both in double precision, so that a frame is still hit at the deepest zoom of a
// long source. The span never leaves the source and never gets narrower than a few frames.

#pragma once

#include <string>
#include <vector>

class TimelineScale
{
public:
    /// Takes the length of the source and its frame rate (0 when unknown). Another length shows the
    /// whole. A length that is no positive number stands for an empty timeline.
    void SetSource(double NewDurationSec, double FramesPerSecond);
    /// Takes the place of the timeline in the widget. The visible span stays.
    void SetExtent(double NewLeftPx, double NewWidthPx);

    bool operator==(const TimelineScale&) const = default;
    double DurationSec() const { return SourceSec; }
    double StartSec() const { return FirstSec; }
    double EndSec() const { return FirstSec + ShownSec; }
    double SpanSec() const { return ShownSec; }
    double LeftPx() const { return OriginPx; }
    double WidthPx() const { return ExtentPx; }
    bool IsEmpty() const { return SourceSec <= 0.0 || ExtentPx <= 0.0; }
    bool IsWhole() const { return ShownSec >= SourceSec; }
    /// Whether a time lies in the visible span, ends included.
    bool Shows(double Sec) const { return Sec >= StartSec() && Sec <= EndSec(); }

    /// The place of a time, also outside of the visible span; LeftPx() while the timeline is empty.
    double PxOf(double Sec) const;
    /// The time at a place, kept within the source.
    double SecAt(double Px) const;
    double SecPerPx() const;

    /// Shows less time for a Factor above 1 and more below, and keeps the time at Px under Px. Only
    /// where the span would leave the source does that time move.
    void ZoomAt(double Px, double Factor);
    /// Moves the span; a positive distance shows later times.
    void PanPx(double DistancePx);
    /// Shows the whole source.
    void Fit();
    /// Turns to the page that holds Sec, with a little of what came before it; for a playhead that ran
    /// out of the span. Nothing happens while Sec is visible.
    void TurnPageTo(double Sec);

private:
    double ShortestSpanSec() const;
    void Show(double NewFirstSec, double NewShownSec);

    double SourceSec = 0.0;
    double FrameSec = 0.0; ///< 0 when unknown
    double FirstSec = 0.0;
    double ShownSec = 0.0;
    double OriginPx = 0.0;
    double ExtentPx = 0.0;
};

struct TimelineTick
{
    double Sec = 0.0;
    bool bMajor = false;
    std::string Label; ///< of major ticks
};

/// The ruler's ticks in the times from FromSec to ToSec, in order.
///
/// Major ticks stand at least MinMajorPx apart and minor ones MinMinorPx, at whole frames below a
/// second (thousandths while the frame rate is unknown) and at 1, 2, 5, 10, 15, 30 seconds or minutes
/// and whole hours above. Each major tick is also a minor one's place, and labels have the decimals
/// that the step needs.
std::vector<TimelineTick> RulerTicks(const TimelineScale& Scale,
                                     double FramesPerSecond,
                                     double FromSec,
                                     double ToSec,
                                     double MinMajorPx,
                                     double MinMinorPx);

/// The label of a tick: "MM:SS", or "H:MM:SS" from an hour on, with 0 to 3 decimals, rounded. What is no
/// time is 0.
///
///     RulerLabel(59.9996, 3) == "01:00.000"
///     RulerLabel(3723.25, 1) == "1:02:03.3"
std::string RulerLabel(double Sec, int Decimals);

/// Whether the playhead went back, or farther than a playing one goes from one frame to the next.
bool IsJump(double OldSec, double NewSec);
