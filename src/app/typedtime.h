// How people write times. Pure, the same under every locale.

#pragma once

#include <optional>
#include <string_view>

/// Reads a time: "S", "M:S" or "H:M:S", the seconds with or without decimals.
///
/// The first number has up to nine digits; the others must be below 60. A sign, an exponent or a comma is not
/// allowed. Blanks around the time are ignored. Returns nullopt for any other text.
///
///     ParseTime("75.5") == 75.5
///     ParseTime("01:02:03.25") == 3723.25
///     ParseTime("1:75") == std::nullopt
std::optional<double> ParseTime(std::string_view Text);
