#include "process/sentences.h"

#include "base/oneline.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

std::string WriteToStandardOutput(const std::string& Text)
{
    const bool bWritten =
        std::fwrite(Text.data(), 1, Text.size(), stdout) == Text.size() && std::fflush(stdout) == 0;
    return bWritten ? std::string() : std::generic_category().message(errno);
}

bool PrintText(const std::string& Text)
{
    return !PrintWriteError(WriteToStandardOutput(Text));
}

bool PrintWriteError(const std::string& Reason)
{
    if (!Reason.empty())
    {
        PrintError("Standard output can't be written: " + Reason + '.');
    }
    return !Reason.empty();
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

void PrintError(const std::string& Sentence)
{
    std::fputs(OneLine("movane: " + Sentence).append("\n").c_str(), stderr);
}
