#include "export/leftovers.h"

#include "base/uniquefd.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
// Names of exports: "clip_00012_Name.mkv", possibly cut after the second underscore.
bool IsExportName(std::string_view Name)
{
    constexpr std::string_view Begin = "clip_";
    constexpr std::size_t Digits = 5;
    if (!Name.starts_with(Begin) || Name.size() <= Begin.size() + Digits)
    {
        return false;
    }
    const std::string_view digits = Name.substr(Begin.size(), Digits);
    return Name[Begin.size() + Digits] == '_' &&
           std::all_of(digits.begin(), digits.end(), [](char C) { return C >= '0' && C <= '9'; });
}

bool IsOwnFile(const struct stat& Status)
{
    return S_ISREG(Status.st_mode) && Status.st_uid == geteuid();
}

// Nothing yet, or the beginning of Matroska (RFC 8794, 11.2.1). Others give the same names to their own
// unfinished files: a browser does it.
bool IsOfAnExport(int Part)
{
    std::array<char, 4> bytes{};
    const ssize_t count = pread(Part, bytes.data(), bytes.size(), 0);
    return count == 0 || (count == static_cast<ssize_t>(bytes.size()) &&
                          std::string_view(bytes.data(), bytes.size()) == "\x1A\x45\xDF\xA3");
}

// Folder is a descriptor: it stays the same folder even if folders are renamed meanwhile.
void RemoveIfAbandoned(int Folder, const std::string& Name)
{
    const std::string part = Name + std::string(PartEnding);
    // Open for writing: some network file systems lock only then. Non-blocking: it may be a pipe.
    const UniqueFd file(openat(Folder, part.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat opened = {};
    struct stat named = {};
    if (!file.IsOpen() || fstat(file.Get(), &opened) != 0 || !IsOwnFile(opened) ||
        flock(file.Get(), LOCK_EX | LOCK_NB) != 0)
    {
        return;
    }
    // Another process may have replaced it between the open and the lock.
    if (fstatat(Folder, part.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0 ||
        named.st_ino != opened.st_ino || named.st_dev != opened.st_dev || !IsOfAnExport(file.Get()))
    {
        return;
    }
    // Remove the final name first: while the part exists no other export takes the name.
    if (fstatat(Folder, Name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && IsOwnFile(named) &&
        named.st_size == 0)
    {
        unlinkat(Folder, Name.c_str(), 0);
    }
    unlinkat(Folder, part.c_str(), 0);
}
} // namespace

void RemoveAbandonedExports(const std::filesystem::path& Folder)
{
    std::vector<std::string> names;
    std::error_code ec;
    for (std::filesystem::directory_iterator entry(Folder, ec), end; !ec && entry != end;
         entry.increment(ec))
    {
        const std::string part = entry->path().filename().native();
        const std::string name =
            part.substr(0, part.size() - std::min(part.size(), PartEnding.size()));
        if (part.ends_with(PartEnding) && IsExportName(name))
        {
            names.push_back(name);
        }
    }
    const UniqueFd folder(names.empty() ? -1
                                        : open(Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (const std::string& name : names)
    {
        if (folder.IsOpen())
        {
            RemoveIfAbandoned(folder.Get(), name);
        }
    }
}

bool IsBeingWritten(const std::filesystem::path& OutputPath)
{
    const std::string part = OutputPath.native() + std::string(PartEnding);
    const UniqueFd file(open(part.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}
