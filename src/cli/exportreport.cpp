#include "cli/exportreport.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace
{
using Json = nlohmann::ordered_json; // members stay in the order in which they are written here

std::string OneObject(const Json& Object)
{
    return Object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const char* KindName(Movane::NotificationType Type)
{
    switch (Type)
    {
    case Movane::NotificationInfo:
        return "info";
    case Movane::NotificationSuccess:
        return "success";
    case Movane::NotificationWarning:
        return "warning";
    case Movane::NotificationError:
        return "error";
    }
    return "info";
}

// Returns why it failed, empty when all is written.
std::string WriteToStandardOutput(const std::string& Text)
{
    const bool bWritten =
        std::fwrite(Text.data(), 1, Text.size(), stdout) == Text.size() && std::fflush(stdout) == 0;
    return bWritten ? std::string() : std::generic_category().message(errno);
}
} // namespace

void ExportReport::PrintStatus(const std::string& Text)
{
    PrintLine(OutputForm == Form::Json ? OneObject({{"type", "status"}, {"text", Text}})
                                       : OneLine(Text));
}

void ExportReport::PrintNotification(const Movane::Notification& Notification)
{
    if (OutputForm == Form::Json)
    {
        PrintLine(OneObject({{"type", "notification"},
                             {"kind", KindName(Notification.Type)},
                             {"title", Notification.Title},
                             {"text", Notification.Message},
                             {"duration_ms", Notification.DurationMs}}));
    }
}

void ExportReport::PrintResult(const ClipResult& Result)
{
    if (OutputForm == Form::Json)
    {
        PrintLine(OneObject({{"type", "result"},
                             {"clip", Result.ClipName},
                             {"ok", Result.bExported},
                             {"file", Result.bExported ? Json(Result.FilePath) : Json()},
                             {"text", Result.Text}}));
    }
    else if (Result.bExported)
    {
        PrintLine(OneLine(Result.FilePath));
    }
}

void ExportReport::PrintLine(const std::string& Line)
{
    if (FirstWriteError.empty())
    {
        FirstWriteError = WriteToStandardOutput(Line + '\n');
    }
}

bool PrintText(const std::string& Text)
{
    const std::string writeError = WriteToStandardOutput(Text);
    if (!writeError.empty())
    {
        PrintError("Standard output can't be written: " + writeError + '.');
    }
    return writeError.empty();
}

std::string SentenceOf(const std::exception& Error)
{
    const auto* const pFileError = dynamic_cast<const std::filesystem::filesystem_error*>(&Error);
    if (pFileError == nullptr)
    {
        return Error.what();
    }
    const std::string path = pFileError->path1().native();
    return (path.empty() ? "The current folder" : path) +
           " can't be found: " + pFileError->code().message() + '.';
}

std::string OneLine(std::string Text)
{
    const auto isControl = [](char Character)
    { return (Character >= 0 && Character < 0x20) || Character == 0x7F; };
    std::replace_if(Text.begin(), Text.end(), isControl, '?');
    // U+0080 to U+009F in UTF-8: some terminals take them for control characters, too.
    for (std::size_t at = Text.find('\xC2'); at != std::string::npos;
         at = Text.find('\xC2', at + 1))
    {
        if (at + 1 < Text.size() && static_cast<unsigned char>(Text[at + 1] - 0x80) < 0x20)
        {
            Text.replace(at, 2, "?");
        }
    }
    return Text;
}

void PrintError(const std::string& Sentence)
{
    std::fputs(OneLine("movane: " + Sentence).append("\n").c_str(), stderr);
}
