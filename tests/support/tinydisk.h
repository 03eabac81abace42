// Disks that get full: a small one of their own, where the test may mount one, and a limit on the size
// of files, which any test may set.

#pragma once

#include "support/filetext.h"

#include <csignal>
#include <filesystem>
#include <string>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

/// Gives this process, to be called while it has no other thread, a namespace in which an ordinary user may
/// mount (user_namespaces(7)). False where the machine does not allow that.
inline bool MayMountAsOrdinaryUser()
{
    const auto itself = [](unsigned Id)
    { return std::to_string(Id) + ' ' + std::to_string(Id) + " 1"; };
    const std::string user = itself(geteuid());
    const std::string group = itself(getegid());
    return unshare(CLONE_NEWUSER) == 0 && WriteFile("/proc/self/uid_map", user) &&
           WriteFile("/proc/self/setgroups", "deny") && WriteFile("/proc/self/gid_map", group);
}

/// A file system in memory, mounted at Folder for the test's thread and the threads and programs that
/// it starts from then on. Root only, or after MayMountAsOrdinaryUser; the rest of the machine does not
/// see it.
class TinyDisk
{
public:
    explicit TinyDisk(const std::filesystem::path& Folder, const std::string& Size)
        : Place(Folder)
    {
        std::filesystem::create_directories(Place);
        const std::string options = "mode=0700,size=" + Size;
        bMounted = unshare(CLONE_NEWNS) == 0 &&
                   mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("none", Place.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    ~TinyDisk()
    {
        if (bMounted)
        {
            umount2(Place.c_str(), MNT_DETACH);
        }
    }
    TinyDisk(const TinyDisk&) = delete;
    TinyDisk& operator=(const TinyDisk&) = delete;

    bool IsMounted() const { return bMounted; }

private:
    std::filesystem::path Place;
    bool bMounted = false;
};

/// No file of this process and of the programs that it starts grows beyond Bytes: writing more fails as
/// on a full disk (EFBIG), without the signal.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t Bytes)
        : EarlierHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &Earlier);
        const rlimit limit = {Bytes, Earlier.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &Earlier);
        std::signal(SIGXFSZ, EarlierHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*EarlierHandler)(int);
    rlimit Earlier = {};
};
