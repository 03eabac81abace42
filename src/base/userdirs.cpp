#include "base/userdirs.h"

#include "base/atomicfile.h"
#include "base/environment.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <sstream>

#include <pwd.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

constexpr const char* Blanks = " \t";

std::string WithoutSlashesAtEnd(std::string Path)
{
    while (Path.size() > 1 && Path.back() == '/')
    {
        Path.pop_back();
    }
    return Path;
}

// The text between the quotes, or nothing when the line does not end its quote.
std::optional<std::string> Unquoted(const std::string& Quoted)
{
    std::string value;
    for (std::size_t i = 1; i < Quoted.size(); ++i)
    {
        if (Quoted[i] == '"')
        {
            return value;
        }
        if (Quoted[i] == '\\' && ++i == Quoted.size())
        {
            break;
        }
        value += Quoted[i];
    }
    return std::nullopt;
}

// The value of one line, or nothing when the line is not a valid "Key="value"".
std::optional<std::string>
ValueOfLine(const std::string& Line, const std::string& Key, const std::string& Home)
{
    const std::size_t keyAt = Line.find_first_not_of(Blanks);
    if (keyAt == std::string::npos || Line.compare(keyAt, Key.size(), Key) != 0)
    {
        return std::nullopt;
    }
    const std::size_t equalsAt = Line.find_first_not_of(Blanks, keyAt + Key.size());
    if (equalsAt == std::string::npos || Line[equalsAt] != '=')
    {
        return std::nullopt;
    }
    const std::size_t quoteAt = Line.find_first_not_of(Blanks, equalsAt + 1);
    if (quoteAt == std::string::npos || Line[quoteAt] != '"')
    {
        return std::nullopt;
    }
    const std::optional<std::string> value = Unquoted(Line.substr(quoteAt));
    if (!value)
    {
        return std::nullopt;
    }
    // Only a plain "$HOME" stands for the folder; an escaped dollar is a dollar.
    const bool bFromHome = Line.compare(quoteAt, 6, "\"$HOME") == 0;
    if (bFromHome && (value->size() == 5 || (*value)[5] == '/'))
    {
        // Drop leading slashes: a path that begins with one would replace the home folder.
        const std::string inHome =
            value->substr(std::min(value->find_first_not_of('/', 5), value->size()));
        return WithoutSlashesAtEnd((fs::path(Home) / inHome).native());
    }
    return value->starts_with('/') ? std::optional(WithoutSlashesAtEnd(*value)) : std::nullopt;
}
} // namespace

std::string HomeDir()
{
    std::string home = AbsolutePathFromEnvironment("HOME");
    if (home.empty())
    {
        const passwd* const user =
            getpwuid(getuid()); // NOLINT(concurrency-mt-unsafe): UI thread only
        home = user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/";
    }
    return WithoutSlashesAtEnd(home);
}

std::string VideosDir()
{
    const std::string home = HomeDir();
    std::string configDir = AbsolutePathFromEnvironment("XDG_CONFIG_HOME");
    if (configDir.empty())
    {
        configDir = fs::path(home) / ".config";
    }
    const std::string text = ReadWholeFile((fs::path(configDir) / "user-dirs.dirs").native());
    const std::string videosDir = UserDirFromText(text, "XDG_VIDEOS_DIR", home);
    return videosDir.empty() ? (fs::path(home) / "Videos").native() : videosDir;
}

std::string
UserDirFromText(const std::string& Text, const std::string& Key, const std::string& Home)
{
    std::string found;
    std::istringstream lines(Text);
    lines.exceptions(
        std::ios::badbit); // otherwise out of memory would look like the end of the text
    for (std::string line; std::getline(lines, line);)
    {
        if (const std::optional<std::string> value = ValueOfLine(line, Key, Home))
        {
            found = *value;
        }
    }
    return found;
}
