// The ends of what numbers can be.

#pragma once

#include <limits>

inline constexpr int MinInt = std::numeric_limits<int>::min();
inline constexpr int MaxInt = std::numeric_limits<int>::max();
inline constexpr double Infinity = std::numeric_limits<double>::infinity();
inline constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();
