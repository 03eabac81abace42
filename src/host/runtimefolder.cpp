#include "host/runtimefolder.h"

#include "host/atomicfile.h"

#include <algorithm>
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

// Locks a lock file without waiting. bOutLeftover says that the file was there: a dead process's.
// Not open on failure, with errno EWOULDBLOCK when the file is there and not to be had: a living process
// holds it, or it belongs to another user.
UniqueFd TryLock(const fs::path& LockFile, bool& bOutLeftover)
{
    for (;;)
    {
        constexpr int Flags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
        bOutLeftover = false;
        UniqueFd file(open(LockFile.c_str(), Flags | O_CREAT | O_EXCL, 0600));
        if (!file.IsOpen() && errno == EEXIST)
        {
            bOutLeftover = true;
            file = UniqueFd(open(LockFile.c_str(), Flags));
            if (!file.IsOpen() && errno == ENOENT)
            {
                continue; // its owner has just gone
            }
        }
        struct stat locked = {};
        if (bOutLeftover && (!file.IsOpen() || fstat(file.Get(), &locked) != 0 ||
                             locked.st_uid != geteuid() || !S_ISREG(locked.st_mode)))
        {
            errno = EWOULDBLOCK;
            return {};
        }
        if (!file.IsOpen() || flock(file.Get(), LOCK_EX | LOCK_NB) != 0)
        {
            return {};
        }
        // The owner may have removed the file between the two calls: then this lock says nothing.
        struct stat named = {};
        if (fstat(file.Get(), &locked) == 0 && stat(LockFile.c_str(), &named) == 0 &&
            locked.st_ino == named.st_ino && locked.st_dev == named.st_dev)
        {
            return file;
        }
    }
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

// Only what has a lock file that nobody holds: a folder without one is not ours to remove.
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
        bool bLeftover = false;
        const UniqueFd lock = TryLock(lockFile, bLeftover);
        if (lock.IsOpen())
        {
            const fs::path folder = fs::path(lockFile).replace_extension();
            if (BelongsToUser(folder, 0))
            {
                fs::remove_all(folder, ec);
            }
            fs::remove(lockFile, ec);
        }
    }
}

} // namespace

std::unique_ptr<RuntimeFolder> RuntimeFolder::MakeUnder(const std::filesystem::path& Base,
                                                        std::string& OutError)
{
    // Another process that ends may remove the base between the making of it and of what is in it.
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
    const fs::path temp = Named / "temp";
    const bool bTempExisted = fs::exists(fs::symlink_status(temp, ec));
    if (!BelongsToUser(Named, 077) || (bTempExisted && !BelongsToUser(temp, 077)))
    {
        return MakeNumbered(Named, OutError);
    }
    bool bLeftover = false;
    const fs::path lockFile = Named / ".movane.lock";
    UniqueFd lock = TryLock(lockFile, bLeftover);
    if (!lock.IsOpen())
    {
        if (errno == EWOULDBLOCK)
        {
            return MakeNumbered(Named, OutError);
        }
        OutError = CannotMake(Named, errno);
        return nullptr;
    }
    RemoveFoldersOfDeadProcesses(Named);
    // A dead process has told in its lock file what it had made; that is ours to remove as well.
    const std::string madeEarlier = bLeftover ? ReadWholeFile(lockFile.native()) : std::string();
    const bool bOwnsFolder = !bExisted || madeEarlier.find('F') != std::string::npos;
    const bool bOwnsTemp = !bTempExisted || madeEarlier.find('T') != std::string::npos;
    const std::string made = std::string(bOwnsFolder ? "F" : "") + (bOwnsTemp ? "T" : "");
    if (!MakePrivateFolders(temp) || ftruncate(lock.Get(), 0) != 0 ||
        pwrite(lock.Get(), made.data(), made.size(), 0) < 0)
    {
        OutError = CannotMake(temp, errno);
        fs::remove(lockFile, ec);
        return nullptr;
    }
    std::unique_ptr<RuntimeFolder> folder(new RuntimeFolder);
    folder->Folder = Named;
    folder->LockFile = lockFile;
    folder->Lock = std::move(lock);
    folder->RemovedWhole = bOwnsTemp ? temp : fs::path();
    folder->RemovedIfEmpty = bOwnsFolder ? Named : fs::path();
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
            folder->Folder = path;
            folder->LockFile = LockFileOf(path);
            folder->Lock = std::move(lock);
            if (mkdir(path.c_str(), 0700) == 0)
            {
                folder->RemovedWhole = path;
                if (mkdir((path / "temp").c_str(), 0700) == 0)
                {
                    return folder;
                }
            }
            error = errno;
            if (error == EEXIST)
            {
                continue; // a folder of that name that is not ours stays
            }
        }
        OutError = CannotMake(path, error);
        errno = error;
        return nullptr;
    }
}

RuntimeFolder::~RuntimeFolder()
{
    std::error_code ec;
    if (!RemovedWhole.empty())
    {
        fs::remove_all(RemovedWhole, ec);
    }
    fs::remove(LockFile, ec); // before the lock is given up, so that nobody takes a file that goes
    if (!RemovedIfEmpty.empty())
    {
        fs::remove(RemovedIfEmpty, ec);
    }
}
