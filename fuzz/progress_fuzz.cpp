// What ffmpeg's report and the kernel's fdinfo say of a running export, whatever stands in them.
//
// The first bytes say how the text is cut and how long the clip is, the rest is the text.

#include "check.h"
#include "inputbytes.h"

#include "fakes/tempfolder.h"
#include "media/exportprogress.h"
#include "media/reportlines.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace
{
bool IsPositive(double Number)
{
    return std::isfinite(Number) && Number >= 0.0;
}

void CheckLine(std::string_view Line)
{
    if (const std::optional<EncoderStats> stats = ParseStatsLine(Line))
    {
        Check(IsPositive(stats->OutSec.value_or(0.0)), "a written length is a number");
        Check(IsPositive(stats->Speed), "a speed is a number");
    }
    const std::optional<double> durationSec = ParseDurationLine(Line);
    Check(!durationSec.has_value() || (IsPositive(*durationSec) && *durationSec > 0.0),
          "a length is a number above zero");
}

std::vector<std::string> Pieces(const std::string& Text, std::size_t PieceBytes)
{
    std::vector<std::string> pieces;
    for (std::size_t at = 0; at < Text.size(); at += PieceBytes)
    {
        pieces.push_back(Text.substr(at, PieceBytes));
    }
    return pieces;
}

std::vector<std::string> LinesOf(const std::vector<std::string>& TextPieces)
{
    LineCollector collector;
    std::vector<std::string> lines;
    for (const std::string& piece : TextPieces)
    {
        collector.Take(piece, [&](std::string_view Line) { lines.emplace_back(Line); });
    }
    return lines;
}

void CheckLines(const std::string& Text, std::size_t PieceBytes)
{
    const std::vector<std::string> lines = LinesOf({Text});
    Check(LinesOf(Pieces(Text, PieceBytes)) == lines, "how a text is cut makes no difference");
    for (const std::string& line : lines)
    {
        Check(!line.empty() && line.size() <= LineCollector::MaxLineBytes,
              "a line is of fair length");
        Check(line.find_first_of("\r\n") == std::string::npos, "a line is one line");
        CheckLine(line);
    }
    CheckLine(Text);
}

void CheckFilePosition(std::uint64_t Position, const std::string& Text)
{
    ParseFilePosition(Text);
    const std::string fdInfo = "pos:\t" + std::to_string(Position) + "\nflags:\t0100000\n" + Text;
    Check(ParseFilePosition(fdInfo) == Position, "a position comes back");
}

// Reads the option as ffmpeg does: up to the first bare colon, without the escapes.
void CheckReportOption(const std::string& Path)
{
    const std::optional<std::string> option = ReportOption(Path);
    if (!option.has_value())
    {
        return;
    }
    Check(option->starts_with("file=") && option->ends_with(":level=32"), "its form is fixed");
    std::string name;
    std::size_t at = 5;
    for (; at < option->size() && (*option)[at] != ':'; ++at)
    {
        const char byte = (*option)[at];
        Check(byte != '\'', "no quote begins");
        at += byte == '\\' || byte == '%' ? 1 : 0;
        Check(byte != '%' || (*option)[at] == '%', "no placeholder begins");
        name += (*option)[at];
    }
    Check(name == Path && option->substr(at) == ":level=32", "ffmpeg reads the same path");
}

void CheckProgressLine(const ExportProgressRecord& Record)
{
    const std::string line = ProgressLine(Record);
    Check(line.size() >= 8 && line.size() < 60, "the line fits a terminal");
    Check(line.find_first_of("\r\n") == std::string::npos, "it is one line");
}

void CheckReport(const std::string& Text,
                 std::size_t PieceBytes,
                 double StartSec,
                 double DurationSec)
{
    static const TempFolder folder;
    const std::string reportPath = folder.Path() / "report.log";
    std::chrono::steady_clock::time_point now;
    ExportProgress progress(reportPath, [&now] { return now; });
    progress.Start("/nowhere/source.mp4", "/nowhere/clip.mkv", StartSec, DurationSec);
    double fraction = 0.0;
    for (const std::string& piece : Pieces(Text, PieceBytes))
    {
        std::ofstream(reportPath, std::ios::binary | std::ios::app) << piece;
        now += std::chrono::milliseconds(250);
        const ExportProgressRecord record = progress.Read();
        Check(record.Fraction >= fraction && record.Fraction <= 0.99, "the fraction never falls");
        Check(IsPositive(record.Speed) && IsPositive(record.ElapsedSec), "the rest are numbers");
        fraction = record.Fraction;
        CheckProgressLine(record);
    }
    progress.Finish();
    Check(progress.Read().Fraction == 1.0, "the end is the whole");
    Check(!std::filesystem::exists(reportPath), "the report is removed");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size)
{
    InputBytes input(pData, Size);
    const std::size_t pieceBytes = 1U + input.Byte();
    // In at the start: else every read looks through all processes for the encoder.
    const double startSec = -static_cast<double>(input.Choice(2));
    const double anySec = input.AnyDouble();
    const std::string text = input.RestOfText();
    CheckLines(text, pieceBytes);
    CheckFilePosition(pieceBytes * text.size(), text);
    CheckReportOption(text);
    CheckProgressLine({ExportPhase::Encoding, anySec, anySec, anySec});
    CheckReport(text, 16 * pieceBytes, startSec, anySec);
    return 0;
}
