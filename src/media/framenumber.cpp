#include "media/framenumber.h"

#include <algorithm>
#include <cmath>

namespace
{
bool IsKnown(double FramesPerSecond)
{
    return std::isfinite(FramesPerSecond) && FramesPerSecond > 0.0;
}

double FirstFrameFrom(double Sec, double FramesPerSecond)
{
    const double begin = Sec - FrameToleranceSec(FramesPerSecond);
    return std::max(std::ceil(begin * FramesPerSecond), 0.0);
}
} // namespace

double TamedSec(double Sec)
{
    constexpr double LongestSec = 1e9;
    // Written so that NaN goes to the start as well.
    return Sec > 0.0 ? std::min(Sec, LongestSec) : 0.0;
}

double FrameToleranceSec(double FramesPerSecond)
{
    return IsKnown(FramesPerSecond) ? std::min(PlayerToleranceSec, 0.5 / FramesPerSecond)
                                    : PlayerToleranceSec;
}

std::int64_t FrameNumber(double Sec, double FramesPerSecond, double DurationSec)
{
    if (!IsKnown(FramesPerSecond))
    {
        return 0;
    }
    double frame = FirstFrameFrom(TamedSec(Sec), FramesPerSecond);
    if (DurationSec > 0.0)
    {
        const double lastFrame = FirstFrameFrom(TamedSec(DurationSec), FramesPerSecond) - 1.0;
        frame = std::clamp(frame, 0.0, std::max(lastFrame, 0.0));
    }
    return static_cast<std::int64_t>(std::min(frame, 1e15));
}
