#include "export/ffmpegsearch.h"

#include <cstdlib>
#include <system_error>

#include <unistd.h>

bool IsProgram(const std::filesystem::path& Path)
{
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(Path, ec);
    return std::filesystem::exists(status) && !std::filesystem::is_directory(status) &&
           access(Path.c_str(), X_OK) == 0;
}

std::string FindFfmpeg()
{
    const char* const pPath = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe)
    return FindFfmpeg(pPath == nullptr ? "" : pPath);
}

std::string FindFfmpeg(const std::string& PathValue)
{
    std::size_t begin = 0;
    std::size_t end = 0;
    do
    {
        end = PathValue.find(':', begin);
        std::filesystem::path folder = PathValue.substr(begin, end - begin);
        std::error_code ec;
        if (folder.empty())
        {
            folder = std::filesystem::current_path(ec);
        }
        const std::filesystem::path candidate = folder / "ffmpeg";
        if (!ec && IsProgram(candidate))
        {
            return candidate.native();
        }
        begin = end + 1;
    } while (end != std::string::npos);
    for (const char* fixed : {"/usr/bin/ffmpeg", "/usr/sbin/ffmpeg"})
    {
        if (IsProgram(fixed))
        {
            return fixed;
        }
    }
    return {};
}
