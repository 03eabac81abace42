#include "desktop/timeline/timelinescale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace
{
constexpr double LongestSourceSec = 1e9; // keeps tick numbers far from the limits of an integer
constexpr double JumpSec = 0.5;
constexpr double ShortestSpanFrames = 5.0;
constexpr double ShortestSpanSecWithoutFrames = 0.1;

/// A distance between ticks, Count units long. Ticks are counted in units and only then turned into
/// seconds, so that they do not drift.
struct Step
{
    double Count = 1.0;
    double UnitSec = 1.0;
    double Sec() const { return Count * UnitSec; }
};

// Steps below a second count frames, since nothing lies between two of them, and as many as fill a
// second evenly, so that the ruler keeps its beat when it goes over to seconds.
std::vector<Step> FrameSteps(double FramesPerSecond)
{
    const double unitSec = 1.0 / FramesPerSecond;
    const int framesInSecond = static_cast<int>(std::min(std::round(FramesPerSecond), 1e4));
    std::vector<Step> steps;
    for (int count = 1; count <= framesInSecond / 2; ++count)
    {
        if (framesInSecond % count == 0)
        {
            steps.push_back({static_cast<double>(count), unitSec});
        }
    }
    return steps;
}

std::vector<Step> ThousandthSteps()
{
    std::vector<Step> steps;
    for (const double power : {1.0, 10.0, 100.0})
    {
        for (const double count : {1.0, 2.0, 5.0})
        {
            steps.push_back({count * power, 0.001});
        }
    }
    return steps;
}

// The steps of a ruler with its minor ticks: short ones first, then seconds, minutes and hours.
std::vector<Step> LongSteps()
{
    std::vector<Step> steps = {{0.1}, {0.2}, {0.5}};
    for (const double unitSec : {1.0, 60.0})
    {
        for (const double count : {1.0, 2.0, 5.0, 10.0, 15.0, 30.0})
        {
            steps.push_back({count * unitSec});
        }
    }
    for (const double power : {1.0, 10.0, 100.0, 1e3, 1e4, 1e5})
    {
        for (const double count : {1.0, 2.0, 5.0})
        {
            steps.push_back({count * power * 3600.0});
        }
    }
    return steps;
}

const Step& FirstAtLeast(const std::vector<Step>& Steps, double Sec)
{
    const auto found =
        std::ranges::find_if(Steps, [Sec](const Step& Each) { return Each.Sec() >= Sec; });
    return found == Steps.end() ? Steps.back() : *found;
}

// The finest step of the same units that fills the major one evenly.
Step MinorStep(const std::vector<Step>& Steps, const Step& Major, double MinSec)
{
    for (const Step& step : Steps)
    {
        const double ratio = Major.Count / step.Count;
        if (step.Sec() >= MinSec && std::abs(ratio - std::round(ratio)) < 1e-6)
        {
            return step;
        }
    }
    return Major;
}

int DecimalsOf(const Step& Major, double FramesPerSecond)
{
    if (Major.UnitSec >= 1.0)
    {
        return 0;
    }
    const double sec = Major.Sec();
    return FramesPerSecond > 0.0 || sec < 0.01 ? 3 : sec < 0.1 ? 2 : 1;
}
} // namespace

void TimelineScale::SetSource(double NewDurationSec, double FramesPerSecond)
{
    const double durationSec =
        std::isfinite(NewDurationSec) ? std::clamp(NewDurationSec, 0.0, LongestSourceSec) : 0.0;
    FrameSec =
        FramesPerSecond > 0.0 && std::isfinite(FramesPerSecond) ? 1.0 / FramesPerSecond : 0.0;
    if (durationSec != SourceSec)
    {
        SourceSec = durationSec;
        Fit();
    }
}

void TimelineScale::SetExtent(double NewLeftPx, double NewWidthPx)
{
    OriginPx = NewLeftPx;
    ExtentPx = std::max(NewWidthPx, 0.0);
}

double TimelineScale::PxOf(double Sec) const
{
    return IsEmpty() ? OriginPx : OriginPx + (Sec - FirstSec) / SecPerPx();
}

double TimelineScale::SecAt(double Px) const
{
    return IsEmpty() ? 0.0 : std::clamp(FirstSec + (Px - OriginPx) * SecPerPx(), 0.0, SourceSec);
}

double TimelineScale::SecPerPx() const
{
    return IsEmpty() ? 0.0 : ShownSec / ExtentPx;
}

void TimelineScale::ZoomAt(double Px, double Factor)
{
    if (IsEmpty() || !(Factor > 0.0))
    {
        return;
    }
    const double fixedSec = SecAt(Px);
    const double newShownSec = std::clamp(ShownSec / Factor, ShortestSpanSec(), SourceSec);
    Show(fixedSec - (Px - OriginPx) * newShownSec / ExtentPx, newShownSec);
}

void TimelineScale::PanPx(double DistancePx)
{
    Show(FirstSec + DistancePx * SecPerPx(), ShownSec);
}

void TimelineScale::Fit()
{
    Show(0.0, SourceSec);
}

void TimelineScale::TurnPageTo(double Sec)
{
    if (!Shows(Sec))
    {
        Show(Sec - ShownSec * 0.05, ShownSec);
    }
}

double TimelineScale::ShortestSpanSec() const
{
    const double shortestSec =
        FrameSec > 0.0 ? FrameSec * ShortestSpanFrames : ShortestSpanSecWithoutFrames;
    return std::min(shortestSec, SourceSec);
}

void TimelineScale::Show(double NewFirstSec, double NewShownSec)
{
    ShownSec = std::min(NewShownSec, SourceSec);
    FirstSec = std::clamp(NewFirstSec, 0.0, SourceSec - ShownSec);
}

std::vector<TimelineTick> RulerTicks(const TimelineScale& Scale,
                                     double FramesPerSecond,
                                     double FromSec,
                                     double ToSec,
                                     double MinMajorPx,
                                     double MinMinorPx)
{
    if (Scale.IsEmpty())
    {
        return {};
    }
    const double minMajorSec = MinMajorPx * Scale.SecPerPx();
    const std::vector<Step> shortSteps =
        FramesPerSecond > 0.0 ? FrameSteps(FramesPerSecond) : ThousandthSteps();
    const bool bShort = !shortSteps.empty() && shortSteps.back().Sec() >= minMajorSec;
    const std::vector<Step> steps = bShort ? shortSteps : LongSteps();
    // Tenths are places for minor ticks only.
    const Step major = FirstAtLeast(steps, bShort ? minMajorSec : std::max(minMajorSec, 1.0));
    const Step minor = MinorStep(steps, major, MinMinorPx * Scale.SecPerPx());

    const auto minorsPerMajor = std::llround(major.Count / minor.Count);
    const int decimals = DecimalsOf(major, FramesPerSecond);
    const auto first = std::llround(std::ceil(std::max(FromSec, 0.0) / minor.Sec() - 1e-6));
    const auto last =
        std::llround(std::floor(std::min(ToSec, Scale.DurationSec()) / minor.Sec() + 1e-6));
    std::vector<TimelineTick> ticks;
    for (long long i = first; i <= last; ++i)
    {
        const double sec = static_cast<double>(i) * minor.Count * minor.UnitSec;
        const bool bMajor = i % minorsPerMajor == 0;
        ticks.push_back({sec, bMajor, bMajor ? RulerLabel(sec, decimals) : std::string()});
    }
    return ticks;
}

std::string RulerLabel(double Sec, int Decimals)
{
    constexpr std::array<long long, 4> Powers = {1, 10, 100, 1000};
    const int decimals = std::clamp(Decimals, 0, 3);
    const long long unitsPerSec = Powers[static_cast<std::size_t>(decimals)];
    // Rounded before it is split, so that 59.9996 s does not become "00:60.000".
    const double limitedSec = std::isfinite(Sec) ? std::clamp(Sec, 0.0, 1e12) : 0.0;
    const long long units = std::llround(limitedSec * static_cast<double>(unitsPerSec));
    const long long wholeSec = units / unitsPerSec;
    const long long hours = wholeSec / 3600;
    const long long minutes = wholeSec / 60 % 60;

    std::array<char, 64> buf{};
    if (hours > 0)
    {
        std::snprintf(buf.data(), buf.size(), "%lld:%02lld:%02lld", hours, minutes, wholeSec % 60);
    }
    else
    {
        std::snprintf(buf.data(), buf.size(), "%02lld:%02lld", minutes, wholeSec % 60);
    }
    std::string text = buf.data();
    if (decimals > 0)
    {
        const std::string digits = std::to_string(units % unitsPerSec);
        text += '.' + std::string(static_cast<std::size_t>(decimals) - digits.size(), '0') + digits;
    }
    return text;
}

bool IsJump(double OldSec, double NewSec)
{
    return NewSec < OldSec || NewSec - OldSec >= JumpSec;
}
