#include "desktop/timetext.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{
// More than any film lasts; keeps the arithmetic in whole numbers exact.
constexpr double LongestSec = 1e9;

double Tamed(double Sec)
{
    // Written so that NaN goes to the start as well.
    return Sec > 0.0 ? std::min(Sec, LongestSec) : 0.0;
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
