#include "base/openfile.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
std::string CanNotBeRead(const std::string& Name, int Error)
{
    return Name + " can't be read (" + std::generic_category().message(Error) +
           "): check its permissions.";
}
} // namespace

std::string ReasonNotToOpen(const std::string& Path)
{
    return ReasonNotToOpen(Path, Path);
}

std::string ReasonNotToOpen(const std::string& Path, const std::string& Name)
{
    if (Path.empty())
    {
        return "No file was named: give the path of a video.";
    }
    struct stat status = {};
    // A zero byte would cut the path short and open another file.
    const bool bCut = Path.find('\0') != std::string::npos;
    if (bCut || ::stat(Path.c_str(), &status) != 0)
    {
        const bool bMissing = bCut || errno == ENOENT || errno == ENOTDIR;
        return bMissing ? Name + " does not exist: check the name." : CanNotBeRead(Name, errno);
    }
    if (S_ISDIR(status.st_mode))
    {
        return Name + " is a folder: choose a video in it.";
    }
    if (!S_ISREG(status.st_mode))
    {
        return Name + " is not a regular file: choose a video.";
    }
    const int file = ::open(Path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
    {
        return CanNotBeRead(Name, errno);
    }
    ::close(file);
    return {};
}

std::string NoCurrentFolder(const std::string& Path)
{
    return Path + " can't be resolved, the current folder is gone: go to another one.";
}
