#include "media/framenumber.h"

#include <algorithm>
#include <cmath>

namespace
{
// More than any film lasts; keeps the arithmetic in whole numbers exact.
constexpr double LongestSec = 1e9;

double Tamed(double Sec)
{
    // Written so that NaN goes to the start as well.
    return Sec > 0.0 ? std::min(Sec, LongestSec) : 0.0;
}

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
    double frame = FirstFrameFrom(Tamed(Sec), FramesPerSecond);
    if (DurationSec > 0.0)
    {
        const double lastFrame = FirstFrameFrom(Tamed(DurationSec), FramesPerSecond) - 1.0;
        frame = std::clamp(frame, 0.0, std::max(lastFrame, 0.0));
    }
    return static_cast<std::int64_t>(std::min(frame, 1e15));
}
