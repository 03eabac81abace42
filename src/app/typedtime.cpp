#include "app/typedtime.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace
{
bool IsDigit(char Character)
{
    return Character >= '0' && Character <= '9';
}

bool IsDigits(std::string_view Text)
{
    return !Text.empty() && std::all_of(Text.begin(), Text.end(), IsDigit);
}

std::string_view TrimBlanks(std::string_view Text)
{
    constexpr std::string_view Blanks = " \t";
    const std::size_t begin = Text.find_first_not_of(Blanks);
    if (begin == std::string_view::npos)
    {
        return {};
    }
    return Text.substr(begin, Text.find_last_not_of(Blanks) - begin + 1);
}

// The text was checked: digits, optionally a point and more digits.
double NumberOf(std::string_view Digits)
{
    double number = 0.0;
    std::from_chars(Digits.data(), Digits.data() + Digits.size(), number);
    return number;
}
} // namespace

std::optional<double> ParseTime(std::string_view Text)
{
    constexpr std::size_t MaxLeadingDigits = 9;
    std::string_view rest = TrimBlanks(Text);
    double wholeSec = 0.0;
    for (int colonCount = 0;; ++colonCount)
    {
        const std::size_t colon = rest.find(':');
        std::string_view whole = rest.substr(0, colon);
        std::string_view decimals;
        if (colon == std::string_view::npos && whole.find('.') != std::string_view::npos)
        {
            decimals = whole.substr(whole.find('.'));
            whole.remove_suffix(decimals.size());
        }
        const std::size_t maxDigits = colonCount == 0 ? MaxLeadingDigits : 2;
        const bool bWellWritten = IsDigits(whole) && whole.size() <= maxDigits &&
                                  (decimals.empty() || IsDigits(decimals.substr(1))) &&
                                  colonCount <= 2;
        if (!bWellWritten || (colonCount > 0 && NumberOf(whole) >= 60.0))
        {
            return std::nullopt;
        }
        if (colon == std::string_view::npos)
        {
            // Convert whole and decimals together, so that "75.1" gives the double nearest to 75.1.
            return wholeSec * 60.0 + NumberOf(rest);
        }
        wholeSec = wholeSec * 60.0 + NumberOf(whole);
        rest.remove_prefix(colon + 1);
    }
}
