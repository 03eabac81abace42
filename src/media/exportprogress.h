// How far an export is, seen from outside: its ffmpeg's command line has no room for a progress option.
//
// ffmpeg first decodes from the beginning of the source to the In point and says nothing, then encodes
// the clip. Of the first phase the position of its source file tells, which Linux shows in
// /proc/PID/fdinfo; of the second the report that FFREPORT in the environment makes it write, about
// twice a second. Neither changes its standard error, from which the panel takes its message.
//
// A file can only be polled: call Read from a timer of about 4 times a second that runs only while an
// export runs. UI thread only.

#pragma once

#include "media/encoderprocess.h"
#include "media/reportlines.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// Makes every ffmpeg that this process starts from now on write a report, and returns its path,
/// which is in the runtime folder. Changes the environment: call it before any thread is started that
/// may read it.
///
/// Does nothing and returns an empty text where the user has set FFREPORT, and where the report can't
/// be written: ffmpeg would complain on standard error, in front of the message that the panel shows.
/// Programs that are not the encoder (a file manager, say) had better be started without FFREPORT.
std::string EnableExportReport();

/// Returns the value of FFREPORT for a report at Path; nullopt for a path too long for ffmpeg.
///
///     ReportOption("/run/50%: a") == "file=/run/50%%\\: a:level=32"
std::optional<std::string> ReportOption(const std::string& Path);

enum class ExportPhase
{
    Unknown,     ///< not begun, or there is nothing to read
    SeekingToIn, ///< decoding what lies before the clip
    Encoding,
    Finished,
};

struct ExportProgressRecord
{
    ExportPhase Phase = ExportPhase::Unknown;
    double Fraction = 0.0;   ///< of the whole work, never falls; 1 only when finished
    double ElapsedSec = 0.0; ///< since Start, stands still when finished
    double Speed = 0.0;      ///< clip seconds per second since ffmpeg's start; 0 when unknown
};

/// The progress of one export after the other.
class ExportProgress
{
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// What a second of the clip costs, in seconds of the source that are only decoded. Measured: 5
    /// for a camera's kind of H.264 at 720p, 15 for sources that are quick to decode.
    static constexpr double EncodeCost = 8.0;

    /// Of what the report has grown by since the last Read, at most this much is read, from its end: a
    /// broken source can make it grow fast.
    static constexpr std::int64_t MaxUnreadBytes = 262'144;

    /// ReportPath is what EnableExportReport returned. Without a report the time is all that is known.
    explicit ExportProgress(std::string NewReportPath,
                            Clock NewNow = &std::chrono::steady_clock::now);

    /// Begins with an export that was requested just now; its ffmpeg may not run yet, or already.
    ///
    /// OutputPath  as on ffmpeg's command line, by which it is found.
    /// StartSec    the In point; below 0 counts as 0, as in the export.
    ///
    /// An export that is still under way here is finished first.
    void Start(const std::string& NewSourcePath,
               const std::string& NewOutputPath,
               double NewStartSec,
               double NewDurationSec);

    /// Looks at the report and the process. Takes 0.2 ms, and the time of EncoderProcess::Find once
    /// when ffmpeg has opened its source. Never throws, whatever it finds.
    ///
    /// The fraction runs through both phases, each with its share of the cost:
    ///
    ///     // In at 80 s, 10 s long: one half each
    ///     // 40 s of 80 decoded: 0.25, then 5 s of 10 encoded: 0.75
    ExportProgressRecord Read();

    /// Ends the export, well or not: Read answers a fraction of 1 from now on, so a bar of a failed
    /// export is taken away and not filled. Removes the report. Call it when the panel is done with the
    /// export and before it is asked for the next one, whose report this would remove.
    void Finish();

private:
    void ReadReport();
    void TakeLine(std::string_view Line);
    std::optional<double> SoughtFraction();
    void Advance(double NewFraction);
    double ElapsedSec() const;

    std::string ReportPath;
    Clock Now;

    // -- The export.
    std::string SourcePath;
    std::string OutputPath;
    double StartSec = 0.0;
    double DurationSec = 0.0;
    std::chrono::steady_clock::time_point StartedAt;
    bool bUnderWay = false;
    std::optional<EncoderProcess> Encoder; ///< while it seeks
    ExportProgressRecord Latest;

    // -- What the report has said.
    std::optional<double> SourceDurationSec;
    std::optional<double> EncodedSec;

    // -- How far the report has been read.
    std::uint64_t ReportInode = 0;
    std::int64_t ReportOffset = 0;
    LineCollector Lines;
};

/// Returns the time and, where it is known, the speed. Independent of the locale.
///
///     "0:03  3.1x"     "1:30:00  0.03x" for a late clip     "0:03" while there is no speed
std::string ProgressDetails(const ExportProgressRecord& Record, const char* pTimesSign);

/// Returns the progress as a line for a terminal, without a line end: percent, time, and speed where
/// it is known. It may be shorter than the one before, so clear the line first. Independent of the
/// locale. Percents are rounded down, so that 100 % is only there when it is finished.
///
///     "  42 %  0:03  3.1x"     "   - %  0:03" while nothing is known
std::string ProgressLine(const ExportProgressRecord& Record);
