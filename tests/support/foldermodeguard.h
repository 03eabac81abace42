// Gives a folder a mode that counts, also when the tests run as root: the process is nobody then, until
// the end of the guard, which gives the mode back. Only while no other thread needs its rights.

#pragma once

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/types.h>
#include <unistd.h>

class FolderModeGuard
{
public:
    FolderModeGuard(std::filesystem::path GuardedFolder, unsigned Mode)
        : Folder(std::move(GuardedFolder))
        , EarlierMode(std::filesystem::status(Folder).permissions())
    {
        std::filesystem::permissions(Folder, std::filesystem::perms(Mode));
        constexpr uid_t NobodyUid = 65534;
        if (EarlierUid == 0 && seteuid(NobodyUid) != 0)
        {
            throw std::system_error(errno, std::generic_category(), "seteuid");
        }
    }

    ~FolderModeGuard()
    {
        std::error_code ec;
        if (seteuid(EarlierUid) == 0)
        {
            std::filesystem::permissions(Folder, EarlierMode, ec);
        }
    }

    FolderModeGuard(const FolderModeGuard&) = delete;
    FolderModeGuard& operator=(const FolderModeGuard&) = delete;

private:
    std::filesystem::path Folder;
    std::filesystem::perms EarlierMode;
    uid_t EarlierUid = geteuid();
};
