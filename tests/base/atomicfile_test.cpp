#include "base/atomicfile.h"

#include "support/filetext.h"
#include "support/foldermodeguard.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

namespace
{
namespace fs = std::filesystem;
using testing::HasSubstr;

std::size_t EntryCount(const fs::path& Folder)
{
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(Folder), fs::directory_iterator()));
}

// -- MakePrivateFolders

TEST(MakePrivateFolders, MakesAllMissingParentsForTheUserAlone)
{
    const TempFolder folder;
    EXPECT_TRUE(MakePrivateFolders(folder.Path() / "a/b/c"));
    for (const char* name : {"a", "a/b", "a/b/c"})
    {
        EXPECT_EQ(fs::status(folder.Path() / name).permissions(), fs::perms::owner_all) << name;
    }
}

TEST(MakePrivateFolders, TakesEverySpellingOfAPath)
{
    for (const char* spelling : {"a", "a/", "a/b", "a/b/", "a//b", "a/b//", "a/./b", "a/b/."})
    {
        const TempFolder folder;
        const std::string path = folder.Path().native() + "/" + spelling;
        EXPECT_TRUE(MakePrivateFolders(path)) << spelling;
        EXPECT_TRUE(fs::is_directory(path)) << spelling;
    }
}

TEST(MakePrivateFolders, KeepsAFolderThatExistsAsItIs)
{
    const TempFolder folder;
    const fs::path existing = folder.Path() / "a";
    fs::create_directory(existing);
    fs::permissions(existing, fs::perms(0755));
    WriteFile(existing / "file", "text");
    EXPECT_TRUE(MakePrivateFolders(existing));
    EXPECT_EQ(fs::status(existing).permissions(), fs::perms(0755));
    EXPECT_EQ(ReadFile(existing / "file"), "text");
}

TEST(MakePrivateFolders, FollowsALinkToAFolder)
{
    const TempFolder folder;
    fs::create_directory(folder.Path() / "a");
    fs::create_directory_symlink(folder.Path() / "a", folder.Path() / "link");
    EXPECT_TRUE(MakePrivateFolders(folder.Path() / "link"));
    EXPECT_TRUE(MakePrivateFolders(folder.Path() / "link/b"));
    EXPECT_TRUE(fs::is_directory(folder.Path() / "a/b"));
}

TEST(MakePrivateFolders, FailsWhereAFileIsInTheWay)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "file", "text");
    errno = 0;
    EXPECT_FALSE(MakePrivateFolders(folder.Path() / "file"));
    EXPECT_EQ(errno, EEXIST);
    errno = 0;
    EXPECT_FALSE(MakePrivateFolders(folder.Path() / "file/below"));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_EQ(ReadFile(folder.Path() / "file"), "text");
}

TEST(MakePrivateFolders, FailsWhereTheUserMayNotWrite)
{
    const TempFolder folder;
    const FolderModeGuard guard(folder.Path(), 0555);
    for (const char* path : {"a", "a/b"})
    {
        errno = 0;
        EXPECT_FALSE(MakePrivateFolders(folder.Path() / path));
        EXPECT_EQ(errno, EACCES);
    }
}

TEST(MakePrivateFolders, LetsManyMakeTheSameFolderAtOnce)
{
    for (int round = 0; round < 50; ++round)
    {
        const TempFolder folder;
        const fs::path path = folder.Path() / "a/b/c/d";
        std::atomic<int> failureCount{0};
        std::atomic<int> readyCount{0};
        const auto make = [&]
        {
            ++readyCount;
            while (readyCount < 2)
            {
                std::this_thread::yield();
            }
            failureCount += MakePrivateFolders(path) ? 0 : 1;
        };
        std::thread other(make);
        make();
        other.join();
        ASSERT_EQ(failureCount, 0) << round;
    }
}

// -- WriteFileAtomically

TEST(WriteFileAtomically, WritesTheBytesAsTheyAre)
{
    for (const std::string& content :
         {std::string(), std::string("a"), std::string("nul\0inside\n", 11),
          std::string("\xff\xfe"), std::string(1'000'000, 'x')})
    {
        const TempFolder folder;
        std::string error = "untouched";
        EXPECT_TRUE(WriteFileAtomically(folder.Path() / "file", content, error));
        EXPECT_EQ(ReadFile(folder.Path() / "file"), content);
        EXPECT_EQ(error, "untouched");
    }
}

TEST(WriteFileAtomically, MakesMissingFoldersForTheUserAlone)
{
    const TempFolder folder;
    std::string error;
    EXPECT_TRUE(WriteFileAtomically(folder.Path() / "a/b/file", "text", error));
    EXPECT_EQ(ReadFile(folder.Path() / "a/b/file"), "text");
    EXPECT_EQ(fs::status(folder.Path() / "a").permissions(), fs::perms::owner_all);
}

TEST(WriteFileAtomically, ReplacesTheFileAndLeavesNothingBesideIt)
{
    const TempFolder folder;
    std::string error;
    WriteFile(folder.Path() / "file", "a longer earlier text");
    EXPECT_TRUE(WriteFileAtomically(folder.Path() / "file", "new", error));
    EXPECT_EQ(ReadFile(folder.Path() / "file"), "new");
    EXPECT_EQ(EntryCount(folder.Path()), 1U);
}

TEST(WriteFileAtomically, PutsANewFileInPlaceOfTheOld)
{
    const TempFolder folder;
    std::string error;
    WriteFile(folder.Path() / "file", "old");
    fs::create_hard_link(folder.Path() / "file", folder.Path() / "reader");
    EXPECT_TRUE(WriteFileAtomically(folder.Path() / "file", "new", error));
    EXPECT_EQ(ReadFile(folder.Path() / "reader"), "old"); // who had it open reads it to the end
}

TEST(WriteFileAtomically, SaysWhichFileCannotBeWrittenAndLeavesNothing)
{
    const TempFolder folder;
    const fs::path path = folder.Path() / "100%s";
    fs::create_directories(path / "in the way");
    std::string error;
    EXPECT_FALSE(WriteFileAtomically(path, "new", error));
    EXPECT_THAT(error, HasSubstr(path.native()));
    EXPECT_EQ(error.back(), '.');
    EXPECT_EQ(EntryCount(folder.Path()), 1U);
}

TEST(WriteFileAtomically, FailsWhereItsFolderCannotBeMade)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "file", "text");
    const fs::path path = folder.Path() / "file/below";
    std::string error;
    EXPECT_FALSE(WriteFileAtomically(path, "new", error));
    EXPECT_THAT(error, HasSubstr(path.native()));
    EXPECT_EQ(ReadFile(folder.Path() / "file"), "text");
}

TEST(WriteFileAtomically, KeepsTheOldFileWhereTheUserMayNotWrite)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "file", "old");
    const FolderModeGuard guard(folder.Path(), 0555);
    std::string error;
    EXPECT_FALSE(WriteFileAtomically(folder.Path() / "file", "new", error));
    EXPECT_THAT(error, HasSubstr((folder.Path() / "file").native()));
    EXPECT_EQ(ReadFile(folder.Path() / "file"), "old");
}

// -- ReadWholeFile

TEST(ReadWholeFile, ReadsEveryByteOfAFileOfAnySize)
{
    const TempFolder folder;
    for (const std::size_t size : {0U, 1U, 4095U, 4096U, 4097U, 100'000U})
    {
        std::string content;
        for (std::size_t at = 0; at < size; ++at)
        {
            content += static_cast<char>(at % 251);
        }
        WriteFile(folder.Path() / "file", content);
        errno = EIO;
        EXPECT_EQ(ReadWholeFile(folder.Path() / "file"), content);
        EXPECT_EQ(errno, 0) << size;
    }
}

TEST(ReadWholeFile, TellsWhyAFileCannotBeRead)
{
    const TempFolder folder;
    EXPECT_EQ(ReadWholeFile(folder.Path() / "none"), "");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(ReadWholeFile(folder.Path()), "");
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(ReadWholeFile("/proc/self/mem"), ""); // the first page of a process is never there
    EXPECT_EQ(errno, EIO);
}
} // namespace
