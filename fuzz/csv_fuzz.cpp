// Tables of clips in CSV, as they come and as a careful program writes them.

#include "check.h"
#include "inputbytes.h"

#include "cli/cliptext.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace
{
using Requests = std::vector<ClipRequest>;

const std::string FileName = "clips.csv";

// The line that a text "clips.csv, line N…" names.
long LineOf(const std::string& Text)
{
    const std::string front = FileName + ", line ";
    Check(Text.starts_with(front), "the place is told");
    return std::strtol(Text.c_str() + front.size(), nullptr, 10);
}

bool SameClips(const Requests& Left, const Requests& Right)
{
    return std::equal(Left.begin(), Left.end(), Right.begin(), Right.end(),
                      [](const ClipRequest& One, const ClipRequest& Other) {
                          return One.Name == Other.Name && One.InSec == Other.InSec &&
                                 One.OutSec == Other.OutSec;
                      });
}

// Reads any text; nothing where it is refused.
std::optional<Requests> Read(const std::string& Text)
{
    const long lineCount = 1 + std::count(Text.begin(), Text.end(), '\n');
    Requests requests;
    std::string error;
    const bool bRead = ParseClipTable(Text, FileName, requests, error);
    long earlier = 0;
    for (const ClipRequest& request : requests)
    {
        const long line = LineOf(request.Origin);
        Check(line > earlier && line <= lineCount, "rows stand one below the other");
        earlier = line;
    }
    if (bRead)
    {
        Check(error.empty(), "there is no error where the table is good");
        return requests;
    }
    Check(LineOf(error) > earlier && LineOf(error) <= lineCount,
          "the bad row is behind the good ones");
    Check(error.ends_with("."), "the error is a sentence");
    return std::nullopt;
}

std::string Quoted(const std::string& Field)
{
    std::string quoted = "\"";
    for (const char byte : Field)
    {
        quoted.append(byte == '"' ? 2 : 1, byte);
    }
    return quoted + '"';
}

void CheckWrittenTable(InputBytes& Input)
{
    Requests written;
    std::string text;
    while (!Input.IsAtEnd())
    {
        const int choice = Input.Byte();
        ClipRequest request;
        request.Name = Input.Text(Input.Byte() % 16U);
        request.InSec = choice % 2 == 0 ? std::nullopt : std::optional(choice / 4.0);
        request.OutSec = choice % 3 == 0 ? std::nullopt : std::optional(choice + 0.5);
        text += request.InSec.has_value() ? std::to_string(*request.InSec) : "";
        text += ',';
        text += request.OutSec.has_value() ? Quoted(std::to_string(*request.OutSec)) : " ";
        text += ',' + Quoted(request.Name) + (choice % 5 == 0 ? "\r\n" : "\n");
        written.push_back(std::move(request));
    }
    const std::optional<Requests> read = Read(text);
    Check(read.has_value() && SameClips(*read, written), "what is written by the rules comes back");
}

// Two good tables, one below the other, are a good table. A carriage return at the end of the upper one
// would become a part of the line end between them, and a byte order mark counts at the beginning only.
void CheckJoinedTables(const std::string& Upper, const std::string& Lower)
{
    const std::optional<Requests> upper = Read(Upper);
    const std::optional<Requests> lower = Read(Lower);
    if (!upper.has_value() || !lower.has_value() || Upper.ends_with('\r') ||
        Lower.starts_with("\xEF\xBB\xBF"))
    {
        return;
    }
    const std::optional<Requests> both = Read(Upper + '\n' + Lower);
    Requests expected = *upper;
    expected.insert(expected.end(), lower->begin(), lower->end());
    Check(both.has_value() && SameClips(*both, expected), "each row is read for itself");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size)
{
    const std::string text(reinterpret_cast<const char*>(pData), Size);
    Read(text);
    CheckJoinedTables(text.substr(0, Size / 2), text.substr(Size / 2));
    InputBytes input(pData, Size);
    CheckWrittenTable(input);
    return 0;
}
