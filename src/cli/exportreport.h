// What "movane export" prints on standard output: lines for people or JSON objects for programs.
//
// A line stays one line: control characters in names and paths are printed as '?'. JSON keeps them,
// and replaces bytes that are not UTF-8. UI thread only.

#pragma once

#include "host/movane.h"

#include <string>

/// What became of one clip.
struct ClipResult
{
    std::string ClipName;
    bool bExported = false;
    std::string FilePath; ///< of the exported file, empty when there is none
    std::string Text;     ///< the panel's last word on it, or what went wrong beside the panel
};

class ExportReport
{
public:
    enum class Form
    {
        Lines, ///< status texts and the paths of finished files
        Json,  ///< an object a line, of type "status", "notification" or "result"
    };

    explicit ExportReport(Form NewForm)
        : OutputForm(NewForm)
    {
    }

    void PrintStatus(const std::string& Text);
    /// Lines leave notifications out: they repeat the status.
    void PrintNotification(const Movane::Notification& Notification);
    void PrintResult(const ClipResult& Result);

    /// Why standard output could not be written the first time, empty while all went well. Nothing is
    /// tried after that.
    const std::string& WriteError() const { return FirstWriteError; }

private:
    void PrintLine(const std::string& Line);

    Form OutputForm;
    std::string FirstWriteError;
};
