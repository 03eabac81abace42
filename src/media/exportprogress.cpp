#include "media/exportprogress.h"

#include "host/apppaths.h"
#include "host/atomicfile.h"
#include "host/environment.h"
#include "host/uniquefd.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

// ffmpeg refuses a name of the report above 1000 bytes, and says so on standard error.
constexpr std::size_t MaxReportPathBytes = 900;

// The encoder writes its last pictures when its time has come to the end already.
constexpr double MaxUnfinishedFraction = 0.99;

// 0 for negative numbers, infinity and not-a-number.
double PositiveOrZero(double Number)
{
    return std::isfinite(Number) && Number > 0.0 ? Number : 0.0;
}

bool CanMakeFile(const std::string& Path)
{
    return UniqueFd(open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600))
        .IsOpen();
}

// How much of the file behind the descriptor a process has read, 0 to 1.
std::optional<double>
ReadPart(const fs::path& ProcessFolder, const std::string& Descriptor, off_t SizeBytes)
{
    const std::optional<std::uint64_t> position =
        ParseFilePosition(ReadWholeFile(ProcessFolder / "fdinfo" / Descriptor));
    if (!position.has_value() || SizeBytes <= 0)
    {
        return std::nullopt;
    }
    return std::min(static_cast<double>(*position) / static_cast<double>(SizeBytes), 1.0);
}

// How much of the file a process has read, 0 to 1; nullopt when it does not have it open.
std::optional<double> ReadPartOf(const std::string& Path, pid_t Pid)
{
    struct stat source = {};
    if (stat(Path.c_str(), &source) != 0 || !S_ISREG(source.st_mode))
    {
        return std::nullopt;
    }
    const fs::path process = fs::path("/proc") / std::to_string(Pid);
    std::error_code ec;
    for (fs::directory_iterator entry(process / "fd", ec), end; !ec && entry != end;
         entry.increment(ec))
    {
        // By what it leads to: the text of the link differs for relative paths and links.
        struct stat opened = {};
        if (stat(entry->path().c_str(), &opened) == 0 && opened.st_dev == source.st_dev &&
            opened.st_ino == source.st_ino)
        {
            return ReadPart(process, entry->path().filename().native(), source.st_size);
        }
    }
    return std::nullopt;
}

std::string TimeText(double Seconds)
{
    const auto whole = static_cast<std::int64_t>(std::min(PositiveOrZero(Seconds), 3.6e9));
    const auto padded = [](std::int64_t Number)
    { return (Number < 10 ? "0" : "") + std::to_string(Number); };
    const std::int64_t minutes = whole / 60;
    const std::string front = minutes < 60
                                  ? std::to_string(minutes)
                                  : std::to_string(minutes / 60) + ":" + padded(minutes % 60);
    return front + ":" + padded(whole % 60);
}

std::string SpeedText(double Speed, const char* pTimesSign)
{
    std::array<char, 32> digits{};
    // The way to the In point counts in, so that a late clip's speed is far below 1.
    const auto [pEnd, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), std::min(Speed, 1e6),
                      std::chars_format::fixed, Speed < 1.0 ? 2 : 1);
    return error == std::errc() ? std::string(digits.data(), pEnd) + pTimesSign : std::string();
}
} // namespace

std::optional<std::string> ReportOption(const std::string& Path)
{
    if (Path.size() > MaxReportPathBytes)
    {
        return std::nullopt;
    }
    std::string option = "file=";
    for (const char byte : Path)
    {
        if (byte == '%')
        {
            option += '%'; // else it begins a placeholder for the time or the process
        }
        else if (byte == ':' || byte == '\\' || byte == '\'')
        {
            option += '\\';
        }
        option += byte;
    }
    return option + ":level=32";
}

std::string EnableExportReport()
{
    if (std::getenv("FFREPORT") != nullptr) // NOLINT(concurrency-mt-unsafe): before threads start
    {
        return {};
    }
    std::string path = (fs::path(AppPaths::RuntimeDir()) / "temp" / "export-report.log").native();
    const std::optional<std::string> option = ReportOption(path);
    if (!option.has_value() || !CanMakeFile(path))
    {
        return {};
    }
    std::error_code ec;
    fs::remove(path, ec);
    setenv("FFREPORT", option->c_str(), 1); // NOLINT(concurrency-mt-unsafe): before threads start
    return path;
}

ExportProgress::ExportProgress(std::string NewReportPath, Clock NewNow)
    : ReportPath(std::move(NewReportPath))
    , Now(std::move(NewNow))
{
}

void ExportProgress::Start(const std::string& NewSourcePath,
                           const std::string& NewOutputPath,
                           double NewStartSec,
                           double NewDurationSec)
{
    if (bUnderWay)
    {
        Finish();
    }
    SourcePath = NewSourcePath;
    OutputPath = NewOutputPath;
    StartSec = PositiveOrZero(NewStartSec);
    DurationSec = PositiveOrZero(NewDurationSec);
    StartedAt = Now();
    bUnderWay = true;
    Latest = {};
    SourceDurationSec.reset();
    EncodedSec.reset();
    ReportInode = 0;
    ReportOffset = 0;
    Lines.Clear();
}

ExportProgressRecord ExportProgress::Read()
{
    if (!bUnderWay)
    {
        return Latest;
    }
    Latest.ElapsedSec = ElapsedSec();
    ReadReport();
    const double seekCost = StartSec;
    const double encodeCost = DurationSec * EncodeCost;
    const double seekShare = seekCost > 0.0 ? seekCost / (seekCost + encodeCost) : 0.0;
    if (EncodedSec.has_value())
    {
        Latest.Phase = ExportPhase::Encoding;
        Encoder.reset();
        const double encoded = DurationSec > 0.0 ? std::min(*EncodedSec / DurationSec, 1.0) : 0.0;
        Advance(seekShare + (1.0 - seekShare) * encoded);
    }
    else if (const std::optional<double> sought = SoughtFraction(); sought.has_value())
    {
        Latest.Phase = ExportPhase::SeekingToIn;
        Advance(seekShare * *sought);
    }
    return Latest;
}

void ExportProgress::Finish()
{
    if (!bUnderWay)
    {
        return;
    }
    bUnderWay = false;
    Encoder.reset();
    Latest.Phase = ExportPhase::Finished;
    Latest.Fraction = 1.0;
    Latest.ElapsedSec = ElapsedSec();
    // So that the next export does not begin with what this one's ffmpeg has said.
    std::error_code ec;
    fs::remove(ReportPath, ec);
}

void ExportProgress::ReadReport()
{
    // Without blocking, should somebody have put a pipe in its place.
    const UniqueFd file(open(ReportPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info = {};
    if (!file.IsOpen() || fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode))
    {
        return;
    }
    if (info.st_ino != ReportInode || info.st_size < ReportOffset)
    {
        ReportInode = info.st_ino;
        ReportOffset = 0;
        Lines.Clear();
    }
    if (info.st_size - ReportOffset > MaxUnreadBytes)
    {
        ReportOffset = info.st_size - MaxUnreadBytes;
        Lines.SkipLine();
    }
    std::array<char, 16'384> piece{};
    while (ReportOffset < info.st_size)
    {
        const ssize_t count = pread(file.Get(), piece.data(), piece.size(), ReportOffset);
        if (count <= 0)
        {
            return;
        }
        ReportOffset += count;
        Lines.Take({piece.data(), static_cast<std::size_t>(count)},
                   [this](std::string_view Line) { TakeLine(Line); });
    }
}

void ExportProgress::TakeLine(std::string_view Line)
{
    if (const std::optional<EncoderStats> stats = ParseStatsLine(Line); stats.has_value())
    {
        // Some versions of ffmpeg write lines with a time of 0 before they have come to the In point.
        EncodedSec = stats->OutSec.value_or(0.0) > 0.0 ? stats->OutSec : EncodedSec;
        Latest.Speed = stats->Speed;
    }
    else if (!SourceDurationSec.has_value())
    {
        SourceDurationSec = ParseDurationLine(Line);
    }
}

// How much of the way to the In point ffmpeg has decoded, 0 to 1, where its source file is taken to hold
// the same number of bytes for every second. Before the report tells the source's length ffmpeg looks
// for the tables in the file, at its end perhaps, so its position means nothing yet.
std::optional<double> ExportProgress::SoughtFraction()
{
    if (!SourceDurationSec.has_value() || StartSec <= 0.0)
    {
        return std::nullopt;
    }
    if (!Encoder.has_value())
    {
        Encoder = EncoderProcess::Find(OutputPath);
    }
    const std::optional<double> readPart =
        Encoder.has_value() ? ReadPartOf(SourcePath, Encoder->Pid()) : std::nullopt;
    if (!readPart.has_value())
    {
        // It has ended, or was a script that had not started the encoder yet.
        Encoder.reset();
        return std::nullopt;
    }
    return std::min(*readPart * *SourceDurationSec / StartSec, 1.0);
}

void ExportProgress::Advance(double NewFraction)
{
    Latest.Fraction = std::max(Latest.Fraction, std::min(NewFraction, MaxUnfinishedFraction));
}

double ExportProgress::ElapsedSec() const
{
    return std::max(std::chrono::duration<double>(Now() - StartedAt).count(), 0.0);
}

std::string ProgressDetails(const ExportProgressRecord& Record, const char* pTimesSign)
{
    std::string details = TimeText(Record.ElapsedSec);
    if (const double speed = PositiveOrZero(Record.Speed); speed >= 0.005)
    {
        details += "  " + SpeedText(speed, pTimesSign);
    }
    return details;
}

std::string ProgressLine(const ExportProgressRecord& Record)
{
    const bool bKnown = Record.Phase != ExportPhase::Unknown;
    const double fraction = std::min(PositiveOrZero(Record.Fraction), 1.0);
    // A little is added for fractions that are a whole percent but for their last bit.
    const auto percent = static_cast<int>(fraction * 100.0 + 1e-9);
    const std::string number = bKnown ? std::to_string(percent) : "-";
    return std::string(4 - number.size(), ' ') + number + " %  " + ProgressDetails(Record, "x");
}
