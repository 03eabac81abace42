// What "movane export" prints on standard output: lines for people or JSON objects for programs.
//
// Lines print control characters in names and paths as '?'. JSON keeps them, and replaces bytes that are not UTF-8. A
// planned command keeps its bytes, so that a shell can run it; only on a terminal its control characters other than
// line ends and tabs become '?'. UI thread only.

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
    std::string Text;     ///< the panel's last status of it, or another error
};

/// The position of the running export among all.
struct ProgressOfAll
{
    std::size_t Index = 0; ///< of the clip, counting from 1
    std::size_t Count = 0;
    double Fraction = 0.0; ///< of the length of all clips
};

/// The progress as a line for a terminal, without a line end: the clip's percent, time and remaining time, and its
/// position among several. Independent of the locale.
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
    /// Lines omit notifications: they repeat the status.
    void PrintNotification(const Movane::Notification& Notification);
    /// Lines omit the progress. Json prints it at most twice a second, and only progress of the encoder.
    void PrintProgress(const RunningExport& Export, const ProgressOfAll& All);
    void PrintResult(const ClipResult& Result);
    /// Prints the file and the command of a planned clip.
    void
    PrintPlan(const std::string& ClipName, const std::string& FilePath, const std::string& Command);

    /// The first error of writing to standard output, empty without one. After it nothing is written any more.
    const std::string& WriteError() const { return FirstWriteError; }

private:
    void PrintLine(const std::string& Line);

    Form OutputForm;
    ExportId LastProgressId = 0;  ///< whose progress was printed last
    double LastProgressSec = 0.0; ///< when, in seconds since the export began
    std::string FirstWriteError;
};
