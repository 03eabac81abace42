// How people write clips: the --clip argument, and tables of clips in CSV.
//
// Pure functions on text, the same under every locale. Times are seconds from the start of the
// source. Whether a clip fits its source is not judged here, only whether it is well written.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One clip that the user asks for.
struct ClipRequest
{
    std::string Origin; ///< where it stands, for messages: the argument, or the file and the line
    std::string Name;   ///< bytes as written; empty when the user leaves the naming to the program
    std::optional<double> InSec;  ///< none stands for the beginning of the source
    std::optional<double> OutSec; ///< none stands for the end of the source
};

/// Reads "[NAME=]IN-OUT", where a blank IN or OUT stands for the beginning or the end of the source.
/// The last '=' ends the name, so a name may hold any character. False sets OutError to one sentence.
bool ParseClipArgument(const std::string& Argument, ClipRequest& OutRequest, std::string& OutError);

/// Reads rows of start, end and name, and appends a request for each.
///
/// Quoting is that of RFC 4180, so a quoted name may hold commas, doubled quotes and line ends. The
/// name may be missing; a blank start or end is that of the source. Lines may end in CR LF, a byte
/// order mark and blank lines do not count. There is no header line. False sets OutError to one
/// sentence that names FileName and the line where the row begins.
bool ParseClipTable(std::string_view Text,
                    const std::string& FileName,
                    std::vector<ClipRequest>& OutRequests,
                    std::string& OutError);
