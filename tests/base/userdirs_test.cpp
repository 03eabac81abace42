#include "base/userdirs.h"

#include "support/environmentguard.h"
#include "support/filetext.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <pwd.h>
#include <unistd.h>

namespace
{
constexpr const char* Key = "XDG_VIDEOS_DIR";

std::string HomeOfUserDatabase()
{
    const passwd* const user = getpwuid(getuid());
    return user == nullptr ? "/" : user->pw_dir;
}

TEST(HomeDir, IsTheHomeOfTheEnvironment)
{
    struct Case
    {
        const char* Home;
        const char* Expected;
    };
    for (const Case& one : {Case{"/home/ada", "/home/ada"}, Case{"/home/ada/", "/home/ada"},
                            Case{"/home/ada///", "/home/ada"}, Case{"/home/a b'c", "/home/a b'c"},
                            Case{"/", "/"}, Case{"///", "/"}, Case{"/home/\xff", "/home/\xff"}})
    {
        const EnvironmentGuard home("HOME", one.Home);
        EXPECT_EQ(HomeDir(), one.Expected);
    }
}

TEST(HomeDir, IsTheHomeOfTheUserDatabaseWithoutAnAbsoluteOne)
{
    {
        const EnvironmentGuard home("HOME");
        EXPECT_EQ(HomeDir(), HomeOfUserDatabase());
    }
    for (const char* value : {"", "home/ada", "~", "."})
    {
        const EnvironmentGuard home("HOME", value);
        EXPECT_EQ(HomeDir(), HomeOfUserDatabase()) << value;
    }
}

TEST(UserDirFromText, ReadsOneLine)
{
    struct Case
    {
        const char* Line;
        const char* Expected;
    };
    for (const Case& one : {
             Case{"XDG_VIDEOS_DIR=\"$HOME/Videos\"", "/home/ada/Videos"},
             Case{"XDG_VIDEOS_DIR=\"/mnt/films\"", "/mnt/films"},
             Case{"XDG_VIDEOS_DIR=\"$HOME\"", "/home/ada"},
             Case{"XDG_VIDEOS_DIR=\"$HOME/\"", "/home/ada"},
             Case{"XDG_VIDEOS_DIR=\"/\"", "/"},
             Case{"XDG_VIDEOS_DIR=\"/mnt/films//\"", "/mnt/films"},
             Case{"  XDG_VIDEOS_DIR \t=  \"$HOME/V\"  ", "/home/ada/V"},
             Case{"XDG_VIDEOS_DIR=\"$HOME/V\"\r", "/home/ada/V"},
             Case{"XDG_VIDEOS_DIR=\"$HOME/My Films\"", "/home/ada/My Films"},
             Case{"XDG_VIDEOS_DIR=\"$HOME/Vid\xc3\xa9os\"", "/home/ada/Vid\xc3\xa9os"},
             Case{R"(XDG_VIDEOS_DIR="$HOME/a\"b")", "/home/ada/a\"b"},
             Case{R"(XDG_VIDEOS_DIR="$HOME/a\\b")", "/home/ada/a\\b"},
             Case{R"(XDG_VIDEOS_DIR="$HOME/a\$b")", "/home/ada/a$b"},
             Case{"XDG_VIDEOS_DIR=\"/a/$HOME\"", "/a/$HOME"},
             Case{"XDG_VIDEOS_DIR=\"/a/$(touch x)`y`\"", "/a/$(touch x)`y`"},
         })
    {
        EXPECT_EQ(UserDirFromText(one.Line, Key, "/home/ada"), one.Expected) << one.Line;
    }
}

TEST(UserDirFromText, IgnoresALineOfAnyOtherForm)
{
    for (const char* line : {
             "",
             " ",
             "=",
             "XDG_VIDEOS_DIR",
             "XDG_VIDEOS_DIR=",
             "XDG_VIDEOS_DIR= ",
             "XDG_VIDEOS_DIR=\"",
             "XDG_VIDEOS_DIR=\"\"",
             "XDG_VIDEOS_DIR=\"/open",
             "XDG_VIDEOS_DIR=\"/open\\",
             "XDG_VIDEOS_DIR=\"/open\\\"",
             "XDG_VIDEOS_DIR=/unquoted",
             "XDG_VIDEOS_DIR='/single'",
             "XDG_VIDEOS_DIR=\"relative\"",
             "XDG_VIDEOS_DIR=\"$HOMELAND/Videos\"",
             "XDG_VIDEOS_DIR=\"$OTHER/Videos\"",
             "XDG_VIDEOS_DIR=\"~/Videos\"",
             "#XDG_VIDEOS_DIR=\"/comment\"",
             " # XDG_VIDEOS_DIR=\"/comment\"",
             "XDG_VIDEOS_DIRS=\"/longer\"",
             "XDG_VIDEO=\"/shorter\"",
             "MY_XDG_VIDEOS_DIR=\"/other\"",
             "xdg_videos_dir=\"/lower\"",
             "XDG_MUSIC_DIR=\"/music\"",
         })
    {
        EXPECT_EQ(UserDirFromText(line, Key, "/home/ada"), "") << line;
    }
}

TEST(UserDirFromText, TakesAnEscapedDollarForItself)
{
    EXPECT_EQ(UserDirFromText(R"(XDG_VIDEOS_DIR="\$HOME/Videos")", Key, "/home/ada"), "");
}

TEST(UserDirFromText, DoublesNoSlashBelowTheRoot)
{
    EXPECT_EQ(UserDirFromText("XDG_VIDEOS_DIR=\"$HOME/Videos\"", Key, "/"), "/Videos");
}

TEST(UserDirFromText, StaysBelowHomeHoweverManySlashesFollow)
{
    EXPECT_EQ(UserDirFromText("XDG_VIDEOS_DIR=\"$HOME//Videos\"\n", Key, "/home/ada"),
              "/home/ada/Videos");
    EXPECT_EQ(UserDirFromText("XDG_VIDEOS_DIR=\"$HOME//\"\n", Key, "/home/ada"), "/home/ada");
    EXPECT_EQ(UserDirFromText("XDG_VIDEOS_DIR=\"$HOME//Videos\"\n", Key, "/"), "/Videos");
}

TEST(UserDirFromText, TakesTheLastValidLine)
{
    EXPECT_EQ(UserDirFromText("XDG_VIDEOS_DIR=\"/first\"\n"
                              "XDG_MUSIC_DIR=\"/music\"\n"
                              "XDG_VIDEOS_DIR=\"/second\"\n"
                              "XDG_VIDEOS_DIR=\"broken\n",
                              Key, "/home/ada"),
              "/second");
}

TEST(UserDirFromText, NeedsNoLineFeedAtTheEnd)
{
    EXPECT_EQ(UserDirFromText("# a comment\n\nXDG_VIDEOS_DIR=\"/v\"", Key, "/home/ada"), "/v");
}

TEST(VideosDir, IsVideosInTheHomeFolderWithoutAFileThatSaysSo)
{
    const TempFolder folder;
    const EnvironmentGuard home("HOME", folder.Path().native());
    const EnvironmentGuard config("XDG_CONFIG_HOME");
    EXPECT_EQ(VideosDir(), folder.Path() / "Videos");
}

TEST(VideosDir, IsWhatTheFileInTheConfigurationFolderSays)
{
    const TempFolder folder;
    const EnvironmentGuard home("HOME", folder.Path().native());
    const EnvironmentGuard config("XDG_CONFIG_HOME");
    WriteFile(folder.Path() / ".config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"$HOME/Filme\"\n");
    EXPECT_EQ(VideosDir(), folder.Path() / "Filme");
}

TEST(VideosDir, FollowsTheConfigurationFolderOfTheEnvironment)
{
    const TempFolder folder;
    const EnvironmentGuard home("HOME", (folder.Path() / "home").native());
    const EnvironmentGuard config("XDG_CONFIG_HOME", (folder.Path() / "config").native());
    WriteFile(folder.Path() / "home/.config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"/wrong\"\n");
    WriteFile(folder.Path() / "config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"/right\"\n");
    EXPECT_EQ(VideosDir(), "/right");
}

TEST(VideosDir, IgnoresAConfigurationFolderThatIsNotAbsolute)
{
    const TempFolder folder;
    const EnvironmentGuard home("HOME", folder.Path().native());
    WriteFile(folder.Path() / ".config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"/right\"\n");
    for (const char* value : {"", "config", "./config", "~/.config"})
    {
        const EnvironmentGuard config("XDG_CONFIG_HOME", value);
        EXPECT_EQ(VideosDir(), "/right") << value;
    }
}

TEST(VideosDir, IgnoresAFileThatSaysNothingOfVideos)
{
    const TempFolder folder;
    const EnvironmentGuard home("HOME", folder.Path().native());
    const EnvironmentGuard config("XDG_CONFIG_HOME");
    WriteFile(folder.Path() / ".config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"Videos\"\n\0\xff");
    EXPECT_EQ(VideosDir(), folder.Path() / "Videos");
}

TEST(VideosDir, IgnoresAFolderInPlaceOfTheFile)
{
    const TempFolder folder;
    const EnvironmentGuard home("HOME", folder.Path().native());
    const EnvironmentGuard config("XDG_CONFIG_HOME");
    std::filesystem::create_directories(folder.Path() / ".config/user-dirs.dirs");
    EXPECT_EQ(VideosDir(), folder.Path() / "Videos");
}
} // namespace
