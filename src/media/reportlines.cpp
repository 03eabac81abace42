#include "media/reportlines.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace
{
// Takes a number off the front of Text; nullopt, and Text as it was, when there is none.
template <typename T> std::optional<T> TakeNumber(std::string_view& Text)
{
    T number{};
    const char* const pEnd = Text.data() + Text.size();
    const auto [pRest, error] = std::from_chars(Text.data(), pEnd, number);
    if (error != std::errc())
    {
        return std::nullopt;
    }
    Text = std::string_view(pRest, static_cast<std::size_t>(pEnd - pRest));
    return number;
}

bool TakeColon(std::string_view& Text)
{
    const bool bColon = Text.starts_with(':');
    Text.remove_prefix(bColon ? 1 : 0);
    return bColon;
}

std::string_view WithoutLeadingBlanks(std::string_view Text)
{
    const std::size_t first = Text.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view() : Text.substr(first);
}

// What follows Key in Text, without the blanks that pad numbers.
std::optional<std::string_view> After(std::string_view Text, std::string_view Key)
{
    const std::size_t at = Text.find(Key);
    return at == std::string_view::npos
               ? std::nullopt
               : std::optional(WithoutLeadingBlanks(Text.substr(at + Key.size())));
}

// Hours, minutes and seconds at the front of Text, as ffmpeg writes them: "00:00:08.13".
std::optional<double> ClockTimeSec(std::string_view Text)
{
    const bool bNegative = Text.starts_with('-');
    Text.remove_prefix(bNegative ? 1 : 0);
    const auto hours = TakeNumber<std::uint32_t>(Text);
    if (!hours.has_value() || !TakeColon(Text))
    {
        return std::nullopt;
    }
    const auto minutes = TakeNumber<std::uint32_t>(Text);
    if (!minutes.has_value() || *minutes >= 60 || !TakeColon(Text))
    {
        return std::nullopt;
    }
    const auto seconds = TakeNumber<double>(Text);
    // Written so that not-a-number is refused.
    if (!seconds.has_value() || !(*seconds >= 0.0 && *seconds < 60.0))
    {
        return std::nullopt;
    }
    const double timeSec = *hours * 3600.0 + *minutes * 60.0 + *seconds;
    return bNegative ? -timeSec : timeSec;
}

double SpeedAtFront(std::string_view Text)
{
    const auto speed = TakeNumber<double>(Text);
    const bool bUsable = speed.has_value() && Text.starts_with('x') && std::isfinite(*speed);
    return bUsable && *speed > 0.0 ? *speed : 0.0;
}
} // namespace

std::optional<EncoderStats> ParseStatsLine(std::string_view Line)
{
    // Without pictures the line begins with the size, and the last line's size has an L before it.
    if (!Line.starts_with("frame=") && !Line.starts_with("size=") && !Line.starts_with("Lsize="))
    {
        return std::nullopt;
    }
    const auto time = After(Line, " time=");
    if (!time.has_value())
    {
        return std::nullopt;
    }
    EncoderStats stats;
    stats.OutSec = ClockTimeSec(*time);
    if (stats.OutSec.has_value() && *stats.OutSec < 0.0)
    {
        stats.OutSec = 0.0;
    }
    if (const auto speed = After(*time, " speed="); speed.has_value())
    {
        stats.Speed = SpeedAtFront(*speed);
    }
    return stats;
}

std::optional<double> ParseDurationLine(std::string_view Line)
{
    Line = WithoutLeadingBlanks(Line);
    // A metadata entry of that name has blanks before its colon.
    constexpr std::string_view Key = "Duration: ";
    if (!Line.starts_with(Key))
    {
        return std::nullopt;
    }
    const auto durationSec = ClockTimeSec(Line.substr(Key.size()));
    return durationSec.has_value() && *durationSec > 0.0 ? durationSec : std::nullopt;
}

std::optional<std::uint64_t> ParseFilePosition(std::string_view FdInfo)
{
    constexpr std::string_view Key = "pos:";
    if (!FdInfo.starts_with(Key))
    {
        return std::nullopt;
    }
    FdInfo = WithoutLeadingBlanks(FdInfo.substr(Key.size()));
    const auto position = TakeNumber<std::uint64_t>(FdInfo);
    return FdInfo.empty() || FdInfo.starts_with('\n') ? position : std::nullopt;
}

void LineCollector::Take(std::string_view Piece,
                         const std::function<void(std::string_view)>& OnLine)
{
    for (std::size_t end = Piece.find_first_of("\r\n"); end != std::string_view::npos;
         end = Piece.find_first_of("\r\n"))
    {
        const bool bFits = !bSkipping && Begun.size() + end <= MaxLineBytes;
        if (bFits && Begun.size() + end > 0)
        {
            Begun += Piece.substr(0, end);
            OnLine(Begun);
        }
        Clear();
        Piece.remove_prefix(end + 1);
    }
    if (bSkipping || Begun.size() + Piece.size() > MaxLineBytes)
    {
        SkipLine();
        return;
    }
    Begun += Piece;
}

void LineCollector::SkipLine()
{
    Begun.clear();
    bSkipping = true;
}

void LineCollector::Clear()
{
    Begun.clear();
    bSkipping = false;
}
