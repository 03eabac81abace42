// A folder for temporary files that belongs to one running process.
//
// A lock file (flock) says that the owner lives, so a folder that a dead process left behind is known
// as such, whatever has become of its process number. The folder holds "temp". Made and destroyed on
// the UI thread; the path may be used from any thread meanwhile.
//
// Only what the program has made is ever removed: files by their names (the list is in the .cpp; a new one
// is added there), folders once they are empty, and this beside a lock file that begins with the program's
// mark. A file that the user has put there stays, and so do the folders above it.

#pragma once

#include "base/uniquefd.h"

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
    /// It stays at the end if it was there. The folder is one of this process's own below it when another
    /// process has it already, when it is not this user's alone (mode 0700), and when it holds a "temp" or a
    /// lock file that this program did not make.
    static std::unique_ptr<RuntimeFolder> TakeNamed(const std::filesystem::path& Named,
                                                    std::string& OutError);

    /// Removes what was made and gives the name free.
    ~RuntimeFolder();
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    const std::filesystem::path& Path() const { return Folder; }

private:
    RuntimeFolder() = default;
    static std::unique_ptr<RuntimeFolder> MakeNumbered(const std::filesystem::path& Base,
                                                       std::string& OutError);

    std::filesystem::path Folder; ///< empty until it is made
    std::filesystem::path LockFile;
    std::filesystem::path RemovedIfEmpty; ///< made here, but others may have put files into it
    UniqueFd Lock;
};
