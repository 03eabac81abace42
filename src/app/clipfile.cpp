#include "app/clipfile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

#include <fcntl.h>

namespace
{
constexpr std::string_view Extension = ".mkv";
// "clip_", five digits, "_".
constexpr std::size_t NumberAt = 5;
constexpr std::size_t DigitCount = 5;
constexpr int LastNumber = 9999;
} // namespace

std::filesystem::path AddMissingExtension(const std::filesystem::path& File)
{
    const std::string name = File.filename().native();
    // A stem has no dot, so a dot begins the extension.
    const std::size_t dotAt = std::min(name.rfind('.'), name.size());
    const std::string digits = name.substr(std::min(NumberAt, name.size()), DigitCount);
    int number = 0;
    if (name.substr(dotAt) == Extension || digits.size() < DigitCount ||
        std::from_chars(digits.data(), digits.data() + DigitCount, number).ptr !=
            digits.data() + DigitCount)
    {
        return File;
    }
    const std::string rest = name.substr(NumberAt + DigitCount, dotAt - NumberAt - DigitCount);
    for (; number <= LastNumber; ++number)
    {
        std::array<char, 24> begin{};
        std::snprintf(begin.data(), begin.size(), "clip_%05d", number);
        const std::filesystem::path whole =
            File.parent_path() / (begin.data() + rest + std::string(Extension));
        if (renameat2(AT_FDCWD, File.c_str(), AT_FDCWD, whole.c_str(), RENAME_NOREPLACE) == 0)
        {
            return whole;
        }
        if (errno != EEXIST)
        {
            return File;
        }
    }
    return File;
}
