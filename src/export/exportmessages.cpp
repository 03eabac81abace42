#include "export/exportmessages.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>
#include <utility>

namespace
{
struct PhaseName
{
    ExportPhase Phase;
    std::string_view Name;
};
constexpr std::array<PhaseName, 3> PhaseNames = {{{ExportPhase::Seek, "seek"},
                                                  {ExportPhase::Encode, "encode"},
                                                  {ExportPhase::Finish, "finish"}}};

struct BareName
{
    ExportMessageType Type;
    std::string_view Name;
};
constexpr std::array<BareName, 3> BareNames = {{{ExportMessageType::Taken, "taken"},
                                                {ExportMessageType::Judged, "judged"},
                                                {ExportMessageType::Stop, "stop"}}};

// NaN becomes 0.
double HeldFraction(double Fraction)
{
    return Fraction > 0.0 ? std::min(Fraction, 1.0) : 0.0;
}

// Independent of the locale.
std::string FractionText(double Fraction)
{
    std::array<char, 16> text{};
    const auto [pEnd, error] = std::to_chars(text.data(), text.data() + text.size(),
                                             HeldFraction(Fraction), std::chars_format::fixed, 4);
    return error == std::errc() ? std::string(text.data(), pEnd) : "0";
}

bool TakePrefix(std::string_view& Text, std::string_view Prefix)
{
    const bool bThere = Text.starts_with(Prefix);
    Text.remove_prefix(bThere ? Prefix.size() : 0);
    return bThere;
}

std::optional<ExportMessage> ReadProgress(std::string_view Text)
{
    for (const auto& [phase, name] : PhaseNames)
    {
        if (!TakePrefix(Text, name))
        {
            continue;
        }
        double fraction = 0.0;
        const char* const pEnd = Text.data() + Text.size();
        if (!TakePrefix(Text, " "))
        {
            return std::nullopt;
        }
        const auto [pRest, error] = std::from_chars(Text.data(), pEnd, fraction);
        if (error != std::errc() || pRest != pEnd)
        {
            return std::nullopt;
        }
        return ExportMessage{ExportMessageType::Progress, {}, phase, HeldFraction(fraction)};
    }
    return std::nullopt;
}
} // namespace

std::string WriteExportMessage(const ExportMessage& Message)
{
    std::string packet;
    if (Message.Type == ExportMessageType::Output)
    {
        packet = "output " + Message.Text;
    }
    else if (Message.Type == ExportMessageType::Failed)
    {
        packet = "failed " + Message.Text;
    }
    else if (Message.Type == ExportMessageType::Progress)
    {
        const auto phase =
            std::find_if(PhaseNames.begin(), PhaseNames.end(),
                         [&](const PhaseName& Named) { return Named.Phase == Message.Phase; });
        packet = "progress " + std::string(phase->Name) + ' ' + FractionText(Message.Fraction);
    }
    else
    {
        const auto bare =
            std::find_if(BareNames.begin(), BareNames.end(),
                         [&](const BareName& Named) { return Named.Type == Message.Type; });
        packet = bare->Name;
    }
    packet.resize(std::min(packet.size(), MaxExportMessageBytes));
    return packet;
}

std::optional<ExportMessage> ReadExportMessage(std::string_view Packet)
{
    for (const auto& [type, name] : BareNames)
    {
        if (Packet == name)
        {
            return ExportMessage{type};
        }
    }
    if (TakePrefix(Packet, "progress "))
    {
        return ReadProgress(Packet);
    }
    const bool bOutput = TakePrefix(Packet, "output ");
    if (!bOutput && !TakePrefix(Packet, "failed "))
    {
        return std::nullopt;
    }
    if (Packet.empty() || Packet.find('\0') != std::string_view::npos)
    {
        return std::nullopt;
    }
    return ExportMessage{bOutput ? ExportMessageType::Output : ExportMessageType::Failed,
                         std::string(Packet)};
}
