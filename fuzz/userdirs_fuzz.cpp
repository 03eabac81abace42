// The user's file of folders, as it comes and as the desktop writes it.

#include "check.h"

#include "base/userdirs.h"

#include <cstdint>
#include <sstream>
#include <string>

namespace
{
const std::string Key = "XDG_VIDEOS_DIR";
const std::string Home = "/home/me";

std::string VideosIn(const std::string& Text)
{
    const std::string folder = UserDirFromText(Text, Key, Home);
    Check(folder.empty() || folder.starts_with('/'), "a folder is an absolute path");
    Check(folder.size() < 2 || folder.back() != '/', "a folder has no slash at its end");
    Check(folder.find('\n') == std::string::npos, "a folder is of one line");
    return folder;
}

// As user-dirs.dirs(5) wants a value written.
std::string Escaped(const std::string& Path)
{
    std::string escaped;
    for (const char byte : Path)
    {
        if (byte == '"' || byte == '\\' || byte == '$' || byte == '`')
        {
            escaped += '\\';
        }
        escaped += byte;
    }
    return escaped;
}

std::string WithoutLineFeeds(std::string Text)
{
    std::erase(Text, '\n');
    return Text;
}

std::string WithoutSlashesAtEnd(std::string Path)
{
    while (Path.size() > 1 && Path.back() == '/')
    {
        Path.pop_back();
    }
    return Path;
}

std::string CommentedOut(const std::string& Text)
{
    std::string commented;
    std::istringstream lines(Text);
    for (std::string line; std::getline(lines, line);)
    {
        commented += '#' + line + '\n';
    }
    return commented;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size)
{
    const std::string text(reinterpret_cast<const char*>(pData), Size);
    const std::string folder = VideosIn(text);
    Check(VideosIn(text + '\n' + text) == folder, "a line counts as much the second time");
    Check(VideosIn(CommentedOut(text)).empty(), "a comment says nothing");
    Check(VideosIn(text + "\nXDG_VIDEOS_DIR=\"$HOME\"\n") == Home, "the last line counts");

    const std::string path = '/' + WithoutLineFeeds(text);
    const std::string absolute = Key + "=\"" + Escaped(path) + "\"";
    Check(VideosIn(text + '\n' + absolute) == WithoutSlashesAtEnd(path), "any path can be written");
    const std::string inHome = Key + "=\"$HOME" + Escaped(path) + "\"";
    const std::string folderInHome = VideosIn(inHome);
    Check(folderInHome == Home || folderInHome.starts_with(Home + '/'),
          "what is below HOME stays there");
    return 0;
}
