#include "cli/terminalprogress.h"

#include <cstdio>

#include <unistd.h>

namespace
{
// Back to the first column, and erase to the end of the line (ECMA-48, EL).
constexpr const char* EraseLine = "\r\033[K";
} // namespace

TerminalProgress::TerminalProgress()
{
    if (isatty(STDERR_FILENO) == 1)
    {
        Progress.emplace(EnableExportReport());
    }
}

void TerminalProgress::Start(const std::string& SourcePath,
                             const std::string& OutputPath,
                             double StartSec,
                             double DurationSec)
{
    if (Progress.has_value())
    {
        Progress->Start(SourcePath, OutputPath, StartSec, DurationSec);
    }
}

void TerminalProgress::Show()
{
    if (Progress.has_value())
    {
        std::fprintf(stderr, "%s%s", EraseLine, ProgressLine(Progress->Read()).c_str());
        std::fflush(stderr);
        bShown = true;
    }
}

void TerminalProgress::Clear()
{
    if (bShown)
    {
        std::fputs(EraseLine, stderr);
        std::fflush(stderr);
        bShown = false;
    }
}

void TerminalProgress::Finish()
{
    Clear();
    if (Progress.has_value())
    {
        Progress->Finish();
    }
}
