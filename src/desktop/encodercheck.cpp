#include "desktop/encodercheck.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace
{
// White space is these four, as in an export.
std::string Trimmed(const std::string& Text)
{
    constexpr const char* WhiteSpace = " \t\n\r";
    const std::size_t begin = Text.find_first_not_of(WhiteSpace);
    return begin == std::string::npos
               ? std::string()
               : Text.substr(begin, Text.find_last_not_of(WhiteSpace) - begin + 1);
}

bool IsProgram(const std::filesystem::path& Path)
{
    std::error_code ec;
    return !std::filesystem::is_directory(Path, ec) && access(Path.c_str(), X_OK) == 0;
}
} // namespace

std::vector<std::string> EncoderFolders(const std::string& Path)
{
    std::vector<std::string> folders;
    std::size_t begin = 0;
    std::size_t end = 0;
    do
    {
        end = Path.find(':', begin);
        folders.push_back(Path.substr(begin, end - begin));
        begin = end + 1;
    } while (end != std::string::npos);
    folders.insert(folders.end(), {"/usr/bin", "/usr/sbin"});
    return folders;
}

std::string EncoderProblem(const std::string& Override, const std::vector<std::string>& Folders)
{
    const std::string override = Trimmed(Override);
    if (!override.empty())
    {
        return IsProgram(override) ? std::string()
                                   : "MOVANE_FFMPEG_BIN is not executable: " + override;
    }
    const bool bFound = std::any_of(Folders.begin(), Folders.end(),
                                    [](const std::string& Folder) {
                                        return IsProgram(std::filesystem::path(Folder) / "ffmpeg");
                                    });
    return bFound ? std::string()
                  : "Clips can't be exported without ffmpeg: install it with \"sudo apt install "
                    "ffmpeg\". Marking works meanwhile.";
}
