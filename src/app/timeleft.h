// How long an export will still take, from how far it is and how long that took.
//
// Pure arithmetic on what it is given; times are seconds since the export began.

#pragma once

#include <optional>

class TimeLeft
{
public:
    /// Takes how far the export is (0 to 1) and returns the seconds that are left; nullopt while that
    /// can't be said: in the first second, and before a hundredth of the work is done.
    ///
    /// A new guess counts for a quarter, so that a jump in the pace does not make the figure jump.
    std::optional<double> Update(double Fraction, double ElapsedSec);

private:
    std::optional<double> EndSec; ///< the smoothed guess of the whole time
};
