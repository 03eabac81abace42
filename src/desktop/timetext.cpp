#include "desktop/timetext.h"

#include <algorithm>
#include <cmath>

namespace
{
// The player's own tolerance in finding a frame. It also covers files whose times are whole
// milliseconds.
constexpr double FrameToleranceSec = 0.005;
// More than any film lasts; keeps the arithmetic in whole numbers exact.
constexpr double LongestSec = 1e9;

double Tamed(double Sec)
{
    // Written so that NaN goes to the start as well.
    return Sec > 0.0 ? std::min(Sec, LongestSec) : 0.0;
}

double FirstFrameFrom(double Sec, double FramesPerSecond)
{
    // Half a frame at most, or fast films would show the frame before.
    const double toleranceFrames = std::min(FrameToleranceSec * FramesPerSecond, 0.5);
    return std::max(std::ceil(Sec * FramesPerSecond - toleranceFrames), 0.0);
}
} // namespace

QString TimeText(double Sec)
{
    const std::int64_t totalMs = std::llround(Tamed(Sec) * 1000.0);
    const std::int64_t totalSec = totalMs / 1000;
    return QStringLiteral("%1:%2:%3.%4")
        .arg(totalSec / 3600)
        .arg(totalSec / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(totalSec % 60, 2, 10, QLatin1Char('0'))
        .arg(totalMs % 1000, 3, 10, QLatin1Char('0'));
}

std::int64_t FrameNumber(double Sec, double FramesPerSecond, double DurationSec)
{
    if (!std::isfinite(FramesPerSecond) || FramesPerSecond <= 0.0)
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
