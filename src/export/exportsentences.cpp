#include "export/exportsentences.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace
{
// A quota and a limit on the size of files are answered by the same step.
constexpr std::array<int, 3> FullDiskErrors = {ENOSPC, EDQUOT, EFBIG};
} // namespace

std::string CanNotBeWritten(const std::string& Path, int Error)
{
    if (std::find(FullDiskErrors.begin(), FullDiskErrors.end(), Error) != FullDiskErrors.end())
    {
        return DiskIsFull(Path);
    }
    return "The file " + Path + " can't be written: " + std::generic_category().message(Error) +
           ".";
}

std::string DiskIsFull(const std::string& Path)
{
    return FileNameOf(Path) + " is cut short: make room on its disk and export again.";
}

bool SpeaksOfFullDisk(const std::string& Words)
{
    return std::any_of(
        FullDiskErrors.begin(), FullDiskErrors.end(),
        [&](int Error)
        { return Words.find(std::generic_category().message(Error)) != std::string::npos; });
}

std::string FileNameOf(const std::string& Path)
{
    const std::string name = std::filesystem::path(Path).filename();
    return name.empty() ? Path : name;
}
