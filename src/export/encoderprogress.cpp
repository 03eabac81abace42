#include "export/encoderprogress.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/stat.h>

namespace
{
// A second of the clip costs as much as this many that are only decoded on the way to In.
constexpr double EncodeCost = 8.0;

// The last pictures are written when the time has come to the end already.
constexpr double MaxUnfinished = 0.99;

// A line of ffmpeg's is far shorter; a longer one is none of its.
constexpr std::size_t MaxLineBytes = 1024;

std::optional<std::int64_t> ReadNumber(std::string_view Text)
{
    std::int64_t number = 0;
    const auto [pRest, error] = std::from_chars(Text.data(), Text.data() + Text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}
} // namespace

EncoderProgress::EncoderProgress(const PanelCommand& Command,
                                 const EncoderPlan& Plan,
                                 std::optional<double> NewDeclaredSec,
                                 const std::optional<ExportMessage>& Earlier)
    : InSec(static_cast<double>(Command.InMs) / 1000.0)
    , LengthSec(static_cast<double>(Command.LengthMs) / 1000.0)
    , DeclaredSec(NewDeclaredSec)
{
    const double decodedSec = Plan.Where.MarginMs.has_value()
                                  ? static_cast<double>(*Plan.Where.MarginMs) / 1000.0
                                  : InSec;
    if (Earlier.has_value())
    {
        Begin = Earlier->Fraction;
        bOtherEncoded = Earlier->Phase != ExportPhase::Seek;
    }
    SeekShare = decodedSec > 0.0 ? decodedSec / (decodedSec + LengthSec * EncodeCost) : 0.0;
}

void EncoderProgress::Take(std::string_view Text)
{
    for (std::size_t end = Text.find('\n'); end != std::string_view::npos; end = Text.find('\n'))
    {
        TakeLine(Begun += Text.substr(0, end));
        Begun.clear();
        Text.remove_prefix(end + 1);
    }
    Begun += Text;
    Begun.resize(std::min(Begun.size(), MaxLineBytes));
}

void EncoderProgress::TakeLine(std::string_view Line)
{
    constexpr std::string_view Key = "out_time_us=";
    if (Line.starts_with(Key))
    {
        // "N/A" before the first picture, negative where the sound begins earlier.
        const std::int64_t us = ReadNumber(Line.substr(Key.size())).value_or(0);
        EncodedSec = std::max(EncodedSec, static_cast<double>(us) / 1e6);
    }
}

void EncoderProgress::TakeReadPart(double Part)
{
    // In lies as far into the file as into the time: near enough.
    if (DeclaredSec.has_value() && InSec > 0.0)
    {
        SoughtPart = std::clamp(Part * *DeclaredSec / InSec, 0.0, 1.0);
    }
}

ExportMessage EncoderProgress::Message()
{
    const double encoded = LengthSec > 0.0 ? std::min(EncodedSec / LengthSec, 1.0) : 0.0;
    const double now =
        IsSeeking() ? SeekShare * SoughtPart : SeekShare + (1.0 - SeekShare) * encoded;
    Fraction = std::max(Fraction, std::min(Begin + (1.0 - Begin) * now, MaxUnfinished));
    return {ExportMessageType::Progress,
            {},
            IsSeeking() && !bOtherEncoded ? ExportPhase::Seek : ExportPhase::Encode,
            Fraction};
}

std::optional<double> ReadPartOf(const std::string& Path, pid_t Pid)
{
    struct stat source = {};
    if (stat(Path.c_str(), &source) != 0 || !S_ISREG(source.st_mode) || source.st_size <= 0)
    {
        return std::nullopt;
    }
    const std::filesystem::path process = std::filesystem::path("/proc") / std::to_string(Pid);
    std::error_code ec;
    for (std::filesystem::directory_iterator entry(process / "fd", ec), end; !ec && entry != end;
         entry.increment(ec))
    {
        struct stat opened = {};
        if (stat(entry->path().c_str(), &opened) != 0 || opened.st_dev != source.st_dev ||
            opened.st_ino != source.st_ino)
        {
            continue;
        }
        // "pos:\t123" is the first line, proc(5).
        std::ifstream info(process / "fdinfo" / entry->path().filename());
        std::string key;
        double position = 0.0;
        if (info >> key >> position)
        {
            return std::clamp(position / static_cast<double>(source.st_size), 0.0, 1.0);
        }
    }
    return std::nullopt;
}
