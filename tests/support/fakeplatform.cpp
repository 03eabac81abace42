#include "support/fakeplatform.h"

#include <cerrno>
#include <memory>
#include <mutex>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// Functions' statics: the status of a file is asked for before main already.
std::unique_ptr<FakePlatform>& CurrentPlatform()
{
    static auto current = std::make_unique<FakePlatform>();
    return current;
}

// An export's worker and the test's thread may both be in here.
std::mutex& PlatformMutex()
{
    static std::mutex mutex;
    return mutex;
}
} // namespace

FakePlatform& Platform()
{
    return *CurrentPlatform();
}

void ResetPlatform()
{
    CurrentPlatform() = std::make_unique<FakePlatform>();
}

extern "C"
{
    // The names are the linker's.
    // NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
    int __real_system(const char* Command);
    int __real_access(const char* Path, int Mode);
    int __wrap_system(const char* Command);
    int __wrap_access(const char* Path, int Mode);

    int __wrap_system(const char* Command)
    {
        {
            const std::lock_guard lock(PlatformMutex());
            Platform().Commands.emplace_back(Command);
        }
        if (!Platform().SystemResult.has_value())
        {
            return __real_system(Command);
        }
        if (Platform().InPlaceOfCommand)
        {
            Platform().InPlaceOfCommand();
        }
        return *Platform().SystemResult;
    }

    int __wrap_access(const char* Path, int Mode)
    {
        return Platform().PretendedFiles.contains(Path) ? 0 : __real_access(Path, Mode);
    }
    // NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

    // In place of the C library's: the file-system library asks through this one.
    int stat(const char* __restrict Path, struct stat* __restrict pStatus) noexcept
    {
        {
            const std::lock_guard lock(PlatformMutex());
            if (std::string(Path).ends_with(Platform().WatchedEnding))
            {
                Platform().AskedPaths.emplace_back(Path);
            }
        }
        if (Platform().HiddenFiles.contains(Path))
        {
            errno = ENOENT;
            return -1;
        }
        if (Platform().PretendedFiles.contains(Path))
        {
            *pStatus = {};
            pStatus->st_mode = S_IFREG | 0755;
            return 0;
        }
        return fstatat(AT_FDCWD, Path, pStatus, 0);
    }
}
