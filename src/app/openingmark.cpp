#include "app/openingmark.h"

#include "base/atomicfile.h"
#include "host/apppaths.h"

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// Room for many paths. This class wrote no longer file.
constexpr std::size_t MaxMarkBytes = 65536;

std::string MarkFile()
{
    return AppPaths::StateDir() + "/opening";
}

// Not open when the file is missing, is not a regular file, or a living process holds it.
UniqueFd LockMark(int Flags)
{
    UniqueFd file(open(MarkFile().c_str(), Flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                       S_IRUSR | S_IWUSR));
    struct stat info = {};
    const bool bTaken = file.IsOpen() && fstat(file.Get(), &info) == 0 && S_ISREG(info.st_mode) &&
                        flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
    return bTaken ? std::move(file) : UniqueFd();
}
} // namespace

void OpeningMark::Add(const std::string& Path)
{
    if (!File.IsOpen() && MakePrivateFolders(AppPaths::StateDir()))
    {
        File = LockMark(O_CREAT);
        if (File.IsOpen() && ftruncate(File.Get(), 0) != 0)
        {
            File.Close();
        }
    }
    if (File.IsOpen())
    {
        // Each path ends with a NUL, which no path contains.
        const off_t end = lseek(File.Get(), 0, SEEK_END);
        [[maybe_unused]] const ssize_t written =
            pwrite(File.Get(), Path.c_str(), Path.size() + 1, end);
    }
}

void OpeningMark::End()
{
    if (!File.IsOpen())
    {
        return;
    }
    // Empty it first: another process that just opened the file must not take it for a leftover.
    [[maybe_unused]] const int result = ftruncate(File.Get(), 0);
    unlink(MarkFile().c_str());
    File.Close();
}

std::vector<std::string> OpeningMark::TakeLeftover()
{
    const UniqueFd file = LockMark(0);
    std::string content(MaxMarkBytes, '\0');
    const ssize_t count =
        file.IsOpen() ? pread(file.Get(), content.data(), content.size(), 0) : ssize_t{0};
    if (count <= 0)
    {
        return {};
    }
    unlink(MarkFile().c_str());
    content.resize(static_cast<std::size_t>(count));
    std::vector<std::string> paths;
    for (std::size_t begin = 0; begin < content.size();)
    {
        const std::size_t end = std::min(content.find('\0', begin), content.size());
        paths.push_back(content.substr(begin, end - begin));
        begin = end + 1;
    }
    return paths;
}
