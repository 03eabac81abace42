// What "movane export" prints on standard output: lines for people or JSON objects for programs.
//
// A line stays one line: control characters in names and paths are printed as '?'. JSON keeps them,
// and replaces bytes that are not UTF-8. A planned command keeps its bytes, so that a shell can run it; a
// terminal gets no control characters of it but line ends and tabs. UI thread only.

#pragma once

#include "app/runningexport.h"
#include "host/movane.h"

#include <cstddef>
#include <string>

/// What became of one clip.
struct ClipResult
{
    std::string ClipName;
    bool bExported = false;
    std::string FilePath; ///< of the exported file, empty when there is none
    std::string Text;     ///< the panel's last word on it, or what went wrong beside the panel
};

/// Where the running export stands among all.
struct ProgressOfAll
{
    std::size_t Index = 0; ///< of the clip, counting from 1
    std::size_t Count = 0;
    double Fraction = 0.0; ///< of the length of all clips
};

/// The progress as a line for a terminal, without a line end: percent and time of the clip, what is left
/// of it, and where it stands among several. Independent of the locale.
///
///     "  42 %  0:03, 0:04 left  (2 of 5, 31 % of all)"     "   - %  0:03" while nothing is known
std::string ProgressLine(const RunningExport& Export, const ProgressOfAll& All);

class ExportReport
{
public:
    enum class Form
    {
        Lines, ///< status texts and the paths of finished files
        Json, ///< an object a line, of type "status", "notification", "progress", "result" or "plan"
    };

    explicit ExportReport(Form NewForm)
        : OutputForm(NewForm)
    {
    }

    void PrintStatus(const std::string& Text);
    /// Lines leave notifications out: they repeat the status.
    void PrintNotification(const Movane::Notification& Notification);
    /// Lines leave the progress out. Json says it at most twice a second, and only what the encoder says.
    void PrintProgress(const RunningExport& Export, const ProgressOfAll& All);
    void PrintResult(const ClipResult& Result);
    /// What would be done for a clip: its file and the command.
    void
    PrintPlan(const std::string& ClipName, const std::string& FilePath, const std::string& Command);

    /// Why standard output could not be written the first time, empty while all went well. Nothing is
    /// tried after that.
    const std::string& WriteError() const { return FirstWriteError; }

private:
    void PrintLine(const std::string& Line);

    Form OutputForm;
    ExportId ToldId = 0;         ///< whose progress was printed last
    double ToldElapsedSec = 0.0; ///< when
    std::string FirstWriteError;
};
