// An estimate of how long an export will still take, from its progress and the time so far.
//
// Pure arithmetic on what it is given; times are seconds since the export began.

#pragma once

#include <optional>

class TimeLeft
{
public:
    /// Takes the export's progress (0 to 1) and returns the remaining seconds. Nullopt in the first second, and
    /// before a hundredth of the work is done.
    ///
    /// Each new estimate has a weight of a quarter, so that the figure does not jump with the pace.
    std::optional<double> Update(double Fraction, double ElapsedSec);

private:
    std::optional<double> EndSec; ///< the smoothed estimate of the whole time
};
