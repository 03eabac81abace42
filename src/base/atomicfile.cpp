#include "base/atomicfile.h"

#include "base/uniquefd.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
bool WriteAll(int Fd, const std::string& Content)
{
    std::size_t written = 0;
    while (written < Content.size())
    {
        const ssize_t count = write(Fd, Content.data() + written, Content.size() - written);
        if (count < 0 && errno == EINTR)
        {
            continue;
        }
        if (count <= 0)
        {
            return false;
        }
        written += static_cast<std::size_t>(count);
    }
    return fsync(Fd) == 0;
}

// A rename survives a power cut only after the folder itself was flushed.
void SyncFolder(const std::filesystem::path& Folder)
{
    const UniqueFd folder(open(Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.IsOpen())
    {
        fsync(folder.Get());
    }
}
} // namespace

bool WriteFileAtomically(const std::string& Path, const std::string& Content, std::string& OutError)
{
    const std::filesystem::path folder = std::filesystem::path(Path).parent_path();
    const auto fail = [&]
    {
        OutError = "The file " + Path +
                   " can't be written: " + std::generic_category().message(errno) + ".";
        return false;
    };
    if (!MakePrivateFolders(folder))
    {
        return fail();
    }
    std::string temporaryPath = Path + ".XXXXXX";
    UniqueFd file(mkostemp(temporaryPath.data(), O_CLOEXEC));
    if (!file.IsOpen())
    {
        return fail();
    }
    if (!WriteAll(file.Get(), Content) || rename(temporaryPath.c_str(), Path.c_str()) != 0)
    {
        const int error = errno;
        unlink(temporaryPath.c_str());
        errno = error;
        return fail();
    }
    SyncFolder(folder);
    return true;
}

std::string ReadWholeFile(const std::string& Path)
{
    std::string content;
    const UniqueFd file(open(Path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 4096> piece{};
    while (file.IsOpen())
    {
        const ssize_t count = read(file.Get(), piece.data(), piece.size());
        if (count > 0)
        {
            content.append(piece.data(), static_cast<std::size_t>(count));
        }
        else if (count == 0 || errno != EINTR)
        {
            errno = count == 0 ? 0 : errno;
            break;
        }
    }
    return content;
}

bool MakePrivateFolders(const std::filesystem::path& Folder)
{
    if (Folder.empty() || mkdir(Folder.c_str(), 0700) == 0)
    {
        return true;
    }
    if (errno == ENOENT && Folder.has_relative_path())
    {
        if (!MakePrivateFolders(Folder.parent_path()))
        {
            return false;
        }
        if (mkdir(Folder.c_str(), 0700) == 0)
        {
            return true;
        }
    }
    // The folder was there, another program made it first, or the path ends in "/" or "/.".
    const int error = errno;
    std::error_code ec;
    const bool bIsFolder = error == EEXIST && std::filesystem::is_directory(Folder, ec);
    errno = error;
    return bIsFolder;
}
