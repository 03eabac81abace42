#include "desktop/look/timetext.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace
{
// More than any film lasts, and what arithmetic in whole numbers can take.
constexpr double LongestSec = 1e9;
} // namespace

QString TimeText(double Sec)
{
    // Written so that NaN goes to the start as well.
    const double tamedSec = Sec > 0.0 ? std::min(Sec, LongestSec) : 0.0;
    const std::int64_t totalMs = std::llround(tamedSec * 1000.0);
    const std::int64_t totalSec = totalMs / 1000;
    return QStringLiteral("%1:%2:%3.%4")
        .arg(totalSec / 3600)
        .arg(totalSec / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(totalSec % 60, 2, 10, QLatin1Char('0'))
        .arg(totalMs % 1000, 3, 10, QLatin1Char('0'));
}
