#include "export/panelcommand.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace
{
// Stands for a word of the list that may be anything.
constexpr std::string_view Open = {};
constexpr std::array<std::string_view, 23> Pattern = {
    "-y",      "-hide_banner", "-loglevel", "error",  "-i",       Open,      "-ss",  Open,
    "-t",      Open,           "-map",      "0:v:0?", "-map",     "0:a?",    "-c:v", "libx264",
    "-preset", "veryfast",     "-crf",      "18",     "-pix_fmt", "yuv420p", "-c:a"};
constexpr std::size_t SourceAt = 5;
constexpr std::size_t InAt = 7;
constexpr std::size_t LengthAt = 9;

bool IsPattern(std::span<const char* const> Arguments)
{
    return Arguments.size() == Pattern.size() + 2 &&
           std::equal(Pattern.begin(), Pattern.end(), Arguments.begin(),
                      [](std::string_view Expected, std::string_view Word)
                      { return Expected == Open ? !Word.empty() : Expected == Word; }) &&
           std::string_view(Arguments[Pattern.size()]) == "copy" && *Arguments.back() != '\0';
}
} // namespace

std::optional<PanelCommand> ReadPanelCommand(std::span<const char* const> Arguments)
{
    if (!IsPattern(Arguments))
    {
        return std::nullopt;
    }
    const auto in = ReadSecondsText(Arguments[InAt]);
    const auto length = ReadSecondsText(Arguments[LengthAt]);
    if (!in.has_value() || !length.has_value())
    {
        return std::nullopt;
    }
    return PanelCommand{Arguments[SourceAt], *in, *length, Arguments.back()};
}

std::string SecondsText(std::int64_t Ms)
{
    const std::string decimals = std::to_string(Ms % 1000);
    return std::to_string(Ms / 1000) + '.' + std::string(3 - decimals.size(), '0') + decimals;
}

std::optional<std::int64_t> ReadSecondsText(std::string_view Text)
{
    // Enough digits for any film, and few enough for a count of milliseconds.
    constexpr std::size_t MaxDigits = 15;
    const auto isDigit = [](char C) { return C >= '0' && C <= '9'; };
    const std::size_t point = Text.find('.');
    if (point == std::string_view::npos || point == 0 || Text.size() != point + 4 ||
        Text.size() > MaxDigits + 1)
    {
        return std::nullopt;
    }
    std::string digits(Text);
    digits.erase(point, 1);
    if (!std::all_of(digits.begin(), digits.end(), isDigit))
    {
        return std::nullopt;
    }
    std::int64_t ms = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), ms);
    return ms;
}
