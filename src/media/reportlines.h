// Reading what tells of a running ffmpeg from outside: the lines of its report, and fdinfo of Linux.
//
// Pure functions on bytes that may be anything: the report also holds names and metadata of the user's
// files, and may be cut anywhere. Nothing here throws, depends on the locale, or keeps a line longer
// than MaxLineBytes. Times are seconds. The report is what FFREPORT makes ffmpeg write, see the
// section "Generic options" of ffmpeg(1); fdinfo is described in proc(5).

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

/// What one progress line of a report says.
struct EncoderStats
{
    std::optional<double> OutSec; ///< written so far, counted from the clip's start; none when N/A
    double Speed = 0.0;           ///< times real time since ffmpeg's start; 0 when unknown
};

/// Reads a progress line; nullopt for any other line.
///
/// A time before the clip's start, which sound can have, counts as the start.
///
///     ParseStatsLine("frame=  242 fps=199 q=24.0 size=  512kB time=00:00:08.13 bitrate=515.6kbits/s
///                     speed=6.69x") == {8.13, 6.69}
std::optional<EncoderStats> ParseStatsLine(std::string_view Line);

/// Reads the length of the source from the line that begins with "Duration: ", which ffmpeg writes
/// when it has opened the source; nullopt for any other line, and when the length is N/A.
std::optional<double> ParseDurationLine(std::string_view Line);

/// Reads the file position from the text of /proc/PID/fdinfo/N; nullopt when there is none.
std::optional<std::uint64_t> ParseFilePosition(std::string_view FdInfo);

/// Puts lines together from pieces of a text. A line ends at a line feed or a carriage return, with
/// which ffmpeg ends its progress lines.
class LineCollector
{
public:
    static constexpr std::size_t MaxLineBytes = 4096;

    /// Calls OnLine with each line that Piece completes, without its end. The view is valid during the
    /// call. Empty lines and lines longer than MaxLineBytes are left out.
    void Take(std::string_view Piece, const std::function<void(std::string_view)>& OnLine);

    /// Leaves out what follows, up to the next line end.
    void SkipLine();

    /// Forgets a begun line: the next piece begins a line.
    void Clear();

private:
    std::string Begun;
    bool bSkipping = false;
};
