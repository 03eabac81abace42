// The running export's progress as one line that is written over itself, on standard error when that is
// a terminal. Elsewhere it does nothing. UI thread only.

#pragma once

#include "media/exportprogress.h"

#include <optional>
#include <string>

class TerminalProgress
{
public:
    /// Makes ffmpeg report its progress, where that will be shown: before any thread reads the
    /// environment, and once the runtime folder is there.
    TerminalProgress();

    /// How long the loop may sleep until the line wants to be written again; -1 for as long as it likes.
    int SleepMs() const { return Progress.has_value() ? 250 : -1; }

    /// As ExportProgress::Start.
    void Start(const std::string& SourcePath,
               const std::string& OutputPath,
               double StartSec,
               double DurationSec);
    void Show();
    /// Takes the line away, before anything else is printed.
    void Clear();
    void Finish();

private:
    std::optional<ExportProgress> Progress; ///< none where it is not shown
    bool bShown = false;
};
