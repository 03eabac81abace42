#include "cli/exportreport.h"

#include "process/sentences.h"

#include <nlohmann/json.hpp>

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
