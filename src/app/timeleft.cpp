#include "app/timeleft.h"

#include <algorithm>

std::optional<double> TimeLeft::Update(double Fraction, double ElapsedSec)
{
    constexpr double MinElapsedSec = 1.0;
    constexpr double MinFraction = 0.01;
    constexpr double NewShare = 0.25;
    if (!(ElapsedSec >= MinElapsedSec) || !(Fraction >= MinFraction))
    {
        return std::nullopt;
    }
    const double guessSec = ElapsedSec / std::min(Fraction, 1.0);
    EndSec = EndSec.has_value() ? *EndSec + NewShare * (guessSec - *EndSec) : guessSec;
    return Fraction >= 1.0 ? 0.0 : std::max(*EndSec - ElapsedSec, 0.0);
}
