// A folder for temporary files that belongs to one running process.
//
// The owner locks a file in it (flock) for as long as it lives. An unlocked folder is a dead process's, even when
// another process has its number by now. The folder holds "temp". Make and destroy it on the UI thread; any
// thread may use the path in between.
//
// Only what the program made is ever removed: files whose names are in the list of the .cpp (add new ones there)
// and empty folders, both only beside a lock file that begins with the program's mark. Files of the user stay,
// and so do the folders above them.

#pragma once

#include "base/uniquefd.h"

#include <filesystem>
#include <memory>
#include <string>

class RuntimeFolder
{
public:
    /// Makes a folder for this process in Base and removes those of dead processes there. Base is made when it
    /// is missing; it must belong to this user alone (mode 0700). On failure returns null and sets OutError to
    /// one sentence that names the folder.
    static std::unique_ptr<RuntimeFolder> MakeUnder(const std::filesystem::path& Base,
                                                    std::string& OutError);

    /// Takes the folder that the user has named, making it when it is missing.
    ///
    /// A folder that was there before stays at the end. Instead of it a new folder in it is used when another
    /// process has locked it, when it is not this user's alone (mode 0700), or when it holds a "temp" or a lock
    /// file that this program did not make.
    static std::unique_ptr<RuntimeFolder> TakeNamed(const std::filesystem::path& Named,
                                                    std::string& OutError);

    /// Removes what the program made and unlocks the folder.
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
