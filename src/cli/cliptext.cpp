#include "cli/cliptext.h"

#include "app/typedtime.h"

#include <algorithm>
#include <cstddef>

namespace
{
constexpr const char* HowTimesAreWritten =
    "is not a time: write seconds, M:SS or H:MM:SS, such as 75.5 or 1:15.5.";

bool IsBlank(std::string_view Text)
{
    return Text.find_first_not_of(" \t") == std::string_view::npos;
}

// For a blank text OutSec stays empty. Returns false when the text is neither blank nor a time.
bool ParseOptionalTime(std::string_view Text, std::optional<double>& OutSec)
{
    OutSec = ParseTime(Text);
    return OutSec.has_value() || IsBlank(Text);
}

bool ReadRange(std::string_view In,
               std::string_view Out,
               ClipRequest& OutRequest,
               std::string& OutError)
{
    const bool bInIsGood = ParseOptionalTime(In, OutRequest.InSec);
    if (bInIsGood && ParseOptionalTime(Out, OutRequest.OutSec))
    {
        return true;
    }
    OutError = '"' + std::string(bInIsGood ? Out : In) + "\" " + HowTimesAreWritten;
    return false;
}

// -- CSV

struct CsvRow
{
    int Line = 0; ///< where the row begins, counting from 1
    std::vector<std::string> Fields;
};

// Reads a text row by row.
class CsvReader
{
public:
    explicit CsvReader(std::string_view Text)
        : Rest(Text)
    {
    }

    /// False at the end of the text.
    bool ReadRow(CsvRow& OutRow, std::string& OutError)
    {
        OutRow = {Line, {}};
        if (Rest.empty())
        {
            return false;
        }
        do
        {
            OutRow.Fields.emplace_back();
            if (!ReadField(OutRow.Fields.back(), OutError))
            {
                return false;
            }
        } while (Take(","));
        if (!Rest.empty())
        {
            TakeLineEnd();
        }
        return true;
    }

private:
    bool ReadField(std::string& OutField, std::string& OutError)
    {
        const std::size_t begin = Rest.find_first_not_of(" \t");
        if (begin != std::string_view::npos && Rest[begin] == '"')
        {
            Rest.remove_prefix(begin + 1);
            return ReadQuoted(OutField, OutError);
        }
        while (!AtFieldEnd())
        {
            OutField += Rest.front();
            Rest.remove_prefix(1);
        }
        return true;
    }

    bool ReadQuoted(std::string& OutField, std::string& OutError)
    {
        for (;;)
        {
            if (Rest.empty())
            {
                OutError = "a quote is not closed";
                return false;
            }
            const char character = Rest.front();
            Rest.remove_prefix(1);
            if (character == '\n')
            {
                ++Line;
            }
            if (character == '"' && !Take("\""))
            {
                break;
            }
            OutField += character;
        }
        Rest.remove_prefix(std::min(Rest.find_first_not_of(" \t"), Rest.size()));
        if (!AtFieldEnd())
        {
            OutError = "there is text after a closing quote (inside quotes, a quote is doubled)";
            return false;
        }
        return true;
    }

    bool AtFieldEnd() const
    {
        return Rest.empty() || Rest.front() == ',' || Rest.front() == '\n' ||
               Rest.starts_with("\r\n");
    }

    void TakeLineEnd()
    {
        Take("\r");
        Take("\n");
        ++Line;
    }

    bool Take(std::string_view Text)
    {
        const bool bThere = Rest.starts_with(Text);
        Rest.remove_prefix(bThere ? Text.size() : 0);
        return bThere;
    }

    std::string_view Rest;
    int Line = 1;
};

bool IsBlank(const CsvRow& Row)
{
    return Row.Fields.size() == 1 && IsBlank(Row.Fields.front());
}

// The error is a clause; the caller adds the place.
bool ReadRequest(const CsvRow& Row, ClipRequest& OutRequest, std::string& OutError)
{
    if (Row.Fields.size() < 2 || Row.Fields.size() > 3)
    {
        OutError = "a row is START,END,NAME (quote a name that holds a comma), and this one has " +
                   std::to_string(Row.Fields.size()) +
                   (Row.Fields.size() == 1 ? " column." : " columns.");
        return false;
    }
    OutRequest.Name = Row.Fields.size() == 3 ? Row.Fields[2] : "";
    return ReadRange(Row.Fields[0], Row.Fields[1], OutRequest, OutError);
}
} // namespace

bool ParseClipArgument(const std::string& Argument, ClipRequest& OutRequest, std::string& OutError)
{
    OutRequest = {};
    OutRequest.Origin = "--clip \"" + Argument + '"';
    std::string_view range = Argument;
    const std::size_t equals = Argument.rfind('=');
    if (equals != std::string::npos)
    {
        OutRequest.Name = Argument.substr(0, equals);
        range.remove_prefix(equals + 1);
    }
    const std::size_t dash = range.find('-');
    if (dash == std::string_view::npos)
    {
        OutError =
            OutRequest.Origin + ": a clip is written [NAME=]IN-OUT, such as Intro=1:15-1:20.5.";
        return false;
    }
    std::string problem;
    if (!ReadRange(range.substr(0, dash), range.substr(dash + 1), OutRequest, problem))
    {
        OutError = OutRequest.Origin + ": " + problem;
        return false;
    }
    return true;
}

bool ParseClipTable(std::string_view Text,
                    const std::string& FileName,
                    std::vector<ClipRequest>& OutRequests,
                    std::string& OutError)
{
    constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
    Text.remove_prefix(Text.starts_with(ByteOrderMark) ? ByteOrderMark.size() : 0);
    CsvReader reader(Text);
    CsvRow row;
    std::string problem;
    while (reader.ReadRow(row, problem))
    {
        ClipRequest request;
        request.Origin = FileName + ", line " + std::to_string(row.Line);
        if (IsBlank(row))
        {
            continue;
        }
        if (!ReadRequest(row, request, problem))
        {
            OutError = request.Origin + ": " + problem;
            return false;
        }
        OutRequests.push_back(std::move(request));
    }
    if (!problem.empty())
    {
        OutError = FileName + ", line " + std::to_string(row.Line) + ": " + problem + '.';
        return false;
    }
    return true;
}
