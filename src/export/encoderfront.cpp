#include "export/encoderfront.h"

#include "export/ffmpegsearch.h"

#include <system_error>

std::string EncoderFrontPath()
{
    std::error_code ec;
    // The kernel adds " (deleted)" to the name of a program that was replaced, but not to its folder.
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::string() : EncoderFrontPath(program.parent_path());
}

std::string EncoderFrontPath(const std::filesystem::path& Folder)
{
    for (const char* place : {"movane-encoder", "../libexec/movane/movane-encoder"})
    {
        const std::filesystem::path candidate = (Folder / place).lexically_normal();
        if (IsProgram(candidate))
        {
            return candidate.native();
        }
    }
    return {};
}
