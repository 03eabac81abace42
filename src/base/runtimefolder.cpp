#include "base/runtimefolder.h"

#include "base/atomicfile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

std::string CannotMake(const fs::path& Folder, int Error)
{
    return "The folder " + Folder.native() + " for temporary files can't be made (" +
           std::generic_category().message(Error) +
           "): set MOVANE_RUNTIME_DIR to a folder that can be written.";
}

// Every lock file of this program begins with this mark. A user's file may have the name of a lock file, but
// not these digits by chance.
constexpr std::string_view LockFileMark =
    "movane runtime folder 0b6e5d0c9f3147a2b1c4d7e8835a92f6\n";
// Follows the mark when this program made the folder, too.
constexpr char FolderMadeHere = 'F';

// All files that the program puts into its folder and into "temp". All others are the user's.
constexpr std::array FilesInFolder = {"export.socket"};
constexpr std::array FilesInTemp = {"clip-export.log"};

std::string BeginOf(const UniqueFd& File)
{
    std::array<char, LockFileMark.size() + 1> begin = {};
    const ssize_t count = pread(File.Get(), begin.data(), begin.size(), 0);
    return {begin.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
}

bool HasName(const UniqueFd& File, const fs::path& Path)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(File.Get(), &opened) == 0 && lstat(Path.c_str(), &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

UniqueFd MakeLock(const fs::path& LockFile)
{
    UniqueFd file(open(LockFile.c_str(), O_RDWR | O_CLOEXEC | O_CREAT | O_EXCL | O_NOFOLLOW, 0600));
    if (!file.IsOpen())
    {
        return {};
    }
    // This waits for moments only: another process unlocks a file without the mark at once.
    int result = 0;
    while ((result = flock(file.Get(), LOCK_EX)) != 0 && errno == EINTR)
    {
    }
    if (result != 0 || pwrite(file.Get(), LockFileMark.data(), LockFileMark.size(), 0) !=
                           static_cast<ssize_t>(LockFileMark.size()))
    {
        const int error = errno;
        unlink(LockFile.c_str());
        errno = error;
        return {};
    }
    return file;
}

// Fails with EWOULDBLOCK when a living process holds the file, it belongs to another user, or another program
// wrote it; with ENOENT when it was removed just now.
UniqueFd LockLeftover(const fs::path& LockFile)
{
    UniqueFd file(open(LockFile.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.IsOpen() && errno == ENOENT)
    {
        return {};
    }
    struct stat opened = {};
    if (!file.IsOpen() || fstat(file.Get(), &opened) != 0 || opened.st_uid != geteuid() ||
        !S_ISREG(opened.st_mode) || flock(file.Get(), LOCK_EX | LOCK_NB) != 0)
    {
        errno = EWOULDBLOCK;
        return {};
    }
    // The owner may have removed the file between the two calls: the lock is on a file without a name then.
    if (!HasName(file, LockFile))
    {
        errno = ENOENT;
        return {};
    }
    if (!BeginOf(file).starts_with(LockFileMark))
    {
        errno = EWOULDBLOCK;
        return {};
    }
    return file;
}

// Locks a lock file without waiting; sets bOutLeftover when a dead process left it. Fails as LockLeftover does.
UniqueFd TryLock(const fs::path& LockFile, bool& bOutLeftover)
{
    for (;;)
    {
        UniqueFd file = MakeLock(LockFile);
        bOutLeftover = !file.IsOpen() && errno == EEXIST;
        if (!bOutLeftover)
        {
            return file;
        }
        file = LockLeftover(LockFile);
        if (file.IsOpen() || errno != ENOENT)
        {
            return file;
        }
    }
}

// Removes the program's files from its folder, then the folder if it is empty. A folder that holds its lock file
// stays.
void RemoveMade(const fs::path& Folder)
{
    constexpr int Flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const UniqueFd folder(open(Folder.c_str(), Flags));
    const UniqueFd temp(folder.IsOpen() ? openat(folder.Get(), "temp", Flags) : -1);
    for (const char* name : FilesInTemp)
    {
        unlinkat(temp.Get(), name, 0);
    }
    for (const char* name : FilesInFolder)
    {
        unlinkat(folder.Get(), name, 0);
    }
    unlinkat(folder.Get(), "temp", AT_REMOVEDIR);
    rmdir(Folder.c_str());
}

fs::path LockFileOf(const fs::path& Folder)
{
    return Folder.native() + ".lock";
}

fs::path NumberedFolder(const fs::path& Base, int Number)
{
    return Base / ("run-" + std::to_string(Number));
}

bool BelongsToUser(const fs::path& Folder, mode_t ForbiddenMode)
{
    struct stat info = {};
    return lstat(Folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
           (info.st_mode & ForbiddenMode) == 0;
}

// "run-" and a number and ".lock".
bool IsLockFileName(const std::string& Name)
{
    constexpr std::string_view Begin = "run-";
    constexpr std::string_view End = ".lock";
    return Name.size() > Begin.size() + End.size() && Name.starts_with(Begin) &&
           Name.ends_with(End) &&
           std::all_of(Name.begin() + Begin.size(), Name.end() - End.size(),
                       [](char Digit) { return Digit >= '0' && Digit <= '9'; });
}

// Call only for folders whose lock file this program wrote and nobody holds.
void RemoveFoldersOfDeadProcesses(const fs::path& Base)
{
    std::error_code ec;
    std::vector<fs::path> lockFiles;
    for (fs::directory_iterator entry(Base, ec), end; !ec && entry != end; entry.increment(ec))
    {
        if (IsLockFileName(entry->path().filename().native()))
        {
            lockFiles.push_back(entry->path());
        }
    }
    for (const fs::path& lockFile : lockFiles)
    {
        const UniqueFd lock = LockLeftover(lockFile);
        if (lock.IsOpen())
        {
            const fs::path folder = fs::path(lockFile).replace_extension();
            if (BelongsToUser(folder, 0))
            {
                RemoveMade(folder);
            }
            unlink(lockFile.c_str());
        }
    }
}

} // namespace

std::unique_ptr<RuntimeFolder> RuntimeFolder::MakeUnder(const std::filesystem::path& Base,
                                                        std::string& OutError)
{
    // Another process may remove the base, at its end, before the folder is made in it: try again.
    for (int attempt = 0;; ++attempt)
    {
        if (!MakePrivateFolders(Base))
        {
            OutError = CannotMake(Base, errno);
            return nullptr;
        }
        if (!BelongsToUser(Base, 077))
        {
            OutError = "The folder " + Base.native() +
                       " for temporary files is not this user's alone: remove it, or set "
                       "MOVANE_RUNTIME_DIR to another folder.";
            return nullptr;
        }
        std::unique_ptr<RuntimeFolder> folder = MakeNumbered(Base, OutError);
        if (folder != nullptr)
        {
            folder->RemovedIfEmpty = Base;
            return folder;
        }
        if (errno != ENOENT || attempt == 9)
        {
            return nullptr;
        }
    }
}

std::unique_ptr<RuntimeFolder> RuntimeFolder::TakeNamed(const std::filesystem::path& Named,
                                                        std::string& OutError)
{
    std::error_code ec;
    const bool bExisted = fs::exists(Named, ec);
    if (!MakePrivateFolders(Named))
    {
        OutError = CannotMake(Named, errno);
        return nullptr;
    }
    if (!BelongsToUser(Named, 077))
    {
        return MakeNumbered(Named, OutError);
    }
    bool bLeftover = false;
    std::unique_ptr<RuntimeFolder> folder(new RuntimeFolder);
    folder->LockFile = Named / ".movane.lock";
    folder->Lock = TryLock(folder->LockFile, bLeftover);
    if (!folder->Lock.IsOpen())
    {
        if (errno == EWOULDBLOCK)
        {
            return MakeNumbered(Named, OutError);
        }
        OutError = CannotMake(Named, errno);
        return nullptr;
    }
    RemoveFoldersOfDeadProcesses(Named);
    // The "temp" of a dead process is still there when a user's file is in it.
    const fs::path temp = Named / "temp";
    if (mkdir(temp.c_str(), 0700) != 0 &&
        !(errno == EEXIST && bLeftover && BelongsToUser(temp, 077)))
    {
        if (errno == EEXIST)
        {
            return MakeNumbered(Named, OutError);
        }
        OutError = CannotMake(temp, errno);
        return nullptr;
    }
    folder->Folder = Named;
    const bool bMadeHere = !bExisted || BeginOf(folder->Lock).ends_with(FolderMadeHere);
    if (bMadeHere && pwrite(folder->Lock.Get(), &FolderMadeHere, 1, LockFileMark.size()) == 1)
    {
        folder->RemovedIfEmpty = Named;
    }
    return folder;
}

std::unique_ptr<RuntimeFolder> RuntimeFolder::MakeNumbered(const std::filesystem::path& Base,
                                                           std::string& OutError)
{
    RemoveFoldersOfDeadProcesses(Base);
    for (int number = 1;; ++number)
    {
        const fs::path path = NumberedFolder(Base, number);
        bool bLeftover = false;
        UniqueFd lock = TryLock(LockFileOf(path), bLeftover);
        if (!lock.IsOpen() && errno == EWOULDBLOCK)
        {
            continue;
        }
        int error = errno;
        if (lock.IsOpen())
        {
            std::unique_ptr<RuntimeFolder> folder(new RuntimeFolder);
            folder->LockFile = LockFileOf(path);
            folder->Lock = std::move(lock);
            if (mkdir(path.c_str(), 0700) == 0)
            {
                folder->Folder = path;
                if (mkdir((path / "temp").c_str(), 0700) == 0)
                {
                    return folder;
                }
            }
            error = errno;
            if (error == EEXIST)
            {
                continue; // not made by this program
            }
        }
        OutError = CannotMake(path, error);
        errno = error;
        return nullptr;
    }
}

RuntimeFolder::~RuntimeFolder()
{
    if (!Folder.empty())
    {
        RemoveMade(Folder);
    }
    // Unlock last: otherwise another process could lock a file that is about to go.
    if (Lock.IsOpen() && HasName(Lock, LockFile))
    {
        unlink(LockFile.c_str());
    }
    if (!RemovedIfEmpty.empty())
    {
        rmdir(RemovedIfEmpty.c_str());
    }
}
