// How people write clips: the --clip argument, and tables of clips in CSV.
//
// Pure functions on text, independent of the locale. Times are seconds from the start of the source. They check the
// syntax, not whether a clip fits its source.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One clip that the user asks for.
struct ClipRequest
{
    std::string Origin;           ///< for messages: the argument, or the file and the line
    std::string Name;             ///< bytes as written; when empty the program names the clip
    std::optional<double> InSec;  ///< none: the beginning of the source
    std::optional<double> OutSec; ///< none: the end of the source
};

/// Reads "[NAME=]IN-OUT". A blank IN or OUT means the beginning or the end of the source. The last '=' ends the name,
/// so a name may contain any character. On failure returns false and sets OutError to one sentence.
bool ParseClipArgument(const std::string& Argument, ClipRequest& OutRequest, std::string& OutError);

/// Reads rows of start, end and name, and appends a request for each.
///
/// Quoting follows RFC 4180: a quoted name may contain commas, doubled quotes and line ends. The name may be missing;
/// a blank start or end means that of the source. Lines may end in CR LF; a byte order mark and blank lines are
/// ignored. There is no header line. On failure returns false and sets OutError to one sentence that names FileName
/// and the row's first line.
bool ParseClipTable(std::string_view Text,
                    const std::string& FileName,
                    std::vector<ClipRequest>& OutRequests,
                    std::string& OutError);
