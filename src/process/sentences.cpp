#include "process/sentences.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
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
