#include "media/openfile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

std::string ReasonNotToOpen(const std::string& Path)
{
    if (Path.empty())
    {
        return "No file was named: give the path of a video.";
    }
    struct stat status = {};
    // A zero byte would cut the path short and open another file.
    if (Path.find('\0') != std::string::npos || ::stat(Path.c_str(), &status) != 0)
    {
        const int reason = Path.find('\0') != std::string::npos ? ENOENT : errno;
        if (reason == ENOENT || reason == ENOTDIR)
        {
            return Path + " does not exist: check the name.";
        }
        return Path + " can't be read (" + std::generic_category().message(reason) +
               "): check its permissions.";
    }
    if (S_ISDIR(status.st_mode))
    {
        return Path + " is a folder: choose a video in it.";
    }
    if (!S_ISREG(status.st_mode))
    {
        return Path + " is not a regular file: choose a video.";
    }
    const int file = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
    {
        return Path + " can't be read (" + std::generic_category().message(errno) +
               "): check its permissions.";
    }
    ::close(file);
    return {};
}
