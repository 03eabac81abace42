#include "cli/terminalprogress.h"

#include <cstdio>

#include <unistd.h>

namespace
{
// Back to the first column, and erase to the end of the line (ECMA-48, EL).
constexpr const char* EraseLine = "\r\033[K";
} // namespace

TerminalProgress::TerminalProgress()
    : bTerminal(isatty(STDERR_FILENO) == 1)
{
}

void TerminalProgress::Show()
{
    if (bTerminal && !Text.empty())
    {
        std::fprintf(stderr, "%s%s", EraseLine, Text.c_str());
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
