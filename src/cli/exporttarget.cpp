#include "cli/exporttarget.h"

#include "host/apppaths.h"

#include <cstddef>
#include <string_view>

std::filesystem::path ExportTarget(const std::string& StatusText)
{
    constexpr std::string_view Begin = "Exporting ";
    constexpr std::string_view Middle = " to ";
    constexpr std::string_view End = "...";
    const std::size_t middleAt = StatusText.rfind(Middle);
    if (!StatusText.starts_with(Begin) || !StatusText.ends_with(End) ||
        middleAt == std::string::npos || middleAt < Begin.size())
    {
        return {};
    }
    const std::size_t nameAt = middleAt + Middle.size();
    const std::string fileName = StatusText.substr(nameAt, StatusText.size() - nameAt - End.size());
    return std::filesystem::path(AppPaths::RecordingsDir()) / "clips" / fileName;
}
