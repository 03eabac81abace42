#include "cli/exportreport.h"

#include "base/oneline.h"
#include "process/sentences.h"

#include <nlohmann/json.hpp>

#include <cmath>

#include <unistd.h>

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

// Rounded down, so that 100 % is only there when it is finished.
std::string PercentText(double Fraction)
{
    return std::to_string(static_cast<int>(Fraction * 100.0));
}

// Line ends and tabs stay: they stand within quotes.
std::string TerminalCommand(const std::string& Command)
{
    std::string shown;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = Command.find_first_of("\n\t", begin)) != std::string::npos;
         begin = end + 1)
    {
        shown += OneLine(Command.substr(begin, end - begin)) + Command[end];
    }
    return shown + OneLine(Command.substr(begin));
}
} // namespace

std::string ProgressLine(const RunningExport& Export, const ProgressOfAll& All)
{
    std::string percent = Export.Phase.has_value() ? PercentText(Export.Fraction) : "-";
    percent.insert(0, percent.size() < 4 ? 4 - percent.size() : 0, ' ');
    std::string line = percent + " %  " + ProgressTimes(Export);
    if (All.Count > 1)
    {
        line += "  (" + std::to_string(All.Index) + " of " + std::to_string(All.Count) + ", " +
                PercentText(All.Fraction) + " % of all)";
    }
    return line;
}

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

void ExportReport::PrintProgress(const RunningExport& Export, const ProgressOfAll& All)
{
    constexpr double MinPeriodSec = 0.5;
    const bool bTooSoon = ToldId == Export.Id && Export.ElapsedSec - ToldElapsedSec < MinPeriodSec;
    if (OutputForm != Form::Json || !Export.Phase.has_value() || bTooSoon)
    {
        return;
    }
    ToldId = Export.Id;
    ToldElapsedSec = Export.ElapsedSec;
    PrintLine(OneObject({{"type", "progress"},
                         {"clip", Export.Clip.Name},
                         {"index", All.Index},
                         {"count", All.Count},
                         {"fraction", Export.Fraction},
                         {"whole_fraction", All.Fraction},
                         {"seconds_left", Export.SecondsLeft.has_value()
                                              ? Json(std::round(*Export.SecondsLeft * 10.0) / 10.0)
                                              : Json()}}));
}

void ExportReport::PrintPlan(const std::string& ClipName,
                             const std::string& FilePath,
                             const std::string& Command)
{
    if (OutputForm == Form::Json)
    {
        PrintLine(OneObject(
            {{"type", "plan"}, {"clip", ClipName}, {"file", FilePath}, {"command", Command}}));
        return;
    }
    PrintLine(OneLine(ClipName + ": " + FilePath));
    // In a pipe it keeps all its bytes, for a shell to run.
    PrintLine(isatty(STDOUT_FILENO) != 0 ? TerminalCommand(Command) : Command);
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
