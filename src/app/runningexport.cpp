#include "app/runningexport.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace
{
std::string MinutesText(double Sec)
{
    constexpr long MaxSec = 359'999;
    const long sec = std::min(std::lround(std::min(Sec, double{MaxSec})), MaxSec);
    std::array<char, 32> text = {};
    if (sec >= 3600)
    {
        std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld", sec / 3600, sec / 60 % 60,
                      sec % 60);
    }
    else
    {
        std::snprintf(text.data(), text.size(), "%ld:%02ld", sec / 60, sec % 60);
    }
    return text.data();
}
} // namespace

std::string ProgressTimes(const RunningExport& Export)
{
    const std::string elapsed = MinutesText(Export.ElapsedSec);
    return Export.SecondsLeft.has_value()
               ? elapsed + ", " + MinutesText(*Export.SecondsLeft) + " left"
               : elapsed;
}
