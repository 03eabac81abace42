// A folder for temporary files that belongs to one running process.
//
// A lock file (flock) says that the owner lives, so a folder that a dead process left behind is known
// as such, whatever has become of its process number. The folder holds "temp". Made and destroyed on
// the UI thread; the path may be used from any thread meanwhile.

#pragma once

#include "host/uniquefd.h"

#include <filesystem>
#include <memory>
#include <string>

class RuntimeFolder
{
public:
    /// Makes a folder of this process under Base, which is made when it is missing and must belong to
    /// this user alone (mode 0700). Folders that dead processes left in Base are removed. Null sets
    /// OutError to one sentence that names the folder.
    static std::unique_ptr<RuntimeFolder> MakeUnder(const std::filesystem::path& Base,
                                                    std::string& OutError);

    /// Takes the folder that the user has named, making it when it is missing.
    ///
    /// Only what was made here is removed at the end. When another process has the folder already, or
    /// it or its "temp" is not this user's alone (mode 0700), the folder is one of this process's own
    /// below it.
    static std::unique_ptr<RuntimeFolder> TakeNamed(const std::filesystem::path& Named,
                                                    std::string& OutError);

    /// Removes the folder and gives its name free.
    ~RuntimeFolder();
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    const std::filesystem::path& Path() const { return Folder; }

private:
    RuntimeFolder() = default;
    static std::unique_ptr<RuntimeFolder> MakeNumbered(const std::filesystem::path& Base,
                                                       std::string& OutError);

    std::filesystem::path Folder;
    std::filesystem::path LockFile;
    std::filesystem::path RemovedWhole;   ///< what is wholly ours
    std::filesystem::path RemovedIfEmpty; ///< made here, but others may have put files into it
    UniqueFd Lock;
};
