// A folder for the files of one test, removed with everything in it at the end.

#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

class TempFolder
{
public:
    TempFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "movane-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
        {
            throw std::system_error(errno, std::generic_category(), pattern);
        }
        Folder = pattern;
    }
    ~TempFolder()
    {
        std::error_code ec;
        std::filesystem::remove_all(Folder, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// The folder's absolute path.
    const std::filesystem::path& Path() const { return Folder; }

private:
    std::filesystem::path Folder;
};
