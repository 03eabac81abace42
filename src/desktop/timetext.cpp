#include "desktop/timetext.h"

#include "media/framenumber.h"

#include <cmath>
#include <cstdint>

QString TimeText(double Sec)
{
    const std::int64_t totalMs = std::llround(TamedSec(Sec) * 1000.0);
    const std::int64_t totalSec = totalMs / 1000;
    return QStringLiteral("%1:%2:%3.%4")
        .arg(totalSec / 3600)
        .arg(totalSec / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(totalSec % 60, 2, 10, QLatin1Char('0'))
        .arg(totalMs % 1000, 3, 10, QLatin1Char('0'));
}
