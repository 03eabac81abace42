#include "base/runtimefolder.h"

#include "support/childprocess.h"
#include "support/filetext.h"
#include "support/foldermodeguard.h"
#include "support/tempfolder.h"
#include "support/tinydisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <memory>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;
using testing::HasSubstr;

std::unique_ptr<RuntimeFolder> MakeUnder(const fs::path& Base)
{
    std::string error;
    auto folder = RuntimeFolder::MakeUnder(Base, error);
    EXPECT_EQ(error, "");
    return folder;
}

std::unique_ptr<RuntimeFolder> TakeNamed(const fs::path& Named)
{
    std::string error;
    auto folder = RuntimeFolder::TakeNamed(Named, error);
    EXPECT_EQ(error, "");
    return folder;
}

/// For a FolderModeGuard on a folder of the user's own: under root the user is then another one.
void GiveToGuardedUser(const fs::path& Folder)
{
    constexpr uid_t NobodyUid = 65534;
    if (geteuid() == 0)
    {
        EXPECT_EQ(chown(Folder.c_str(), NobodyUid, getegid()), 0);
    }
}

/// A process that made its folder, wrote the log of an export and died without cleaning up.
bool DieWithFolderUnder(const fs::path& Base)
{
    std::unique_ptr<RuntimeFolder> folder;
    return RunInDyingProcess(
        [&]
        {
            folder = MakeUnder(Base);
            return folder != nullptr && WriteFile(folder->Path() / "temp/clip-export.log", "text");
        });
}

bool DieWithNamedFolder(const fs::path& Named)
{
    std::unique_ptr<RuntimeFolder> folder;
    return RunInDyingProcess(
        [&]
        {
            folder = TakeNamed(Named);
            return folder != nullptr && WriteFile(folder->Path() / "temp/clip-export.log", "text");
        });
}

// -- MakeUnder

TEST(RuntimeFolder, IsForTheUserAloneWithTempInIt)
{
    const TempFolder place;
    const auto folder = MakeUnder(place.Path() / "movane");
    ASSERT_NE(folder, nullptr);
    for (const fs::path& path : {place.Path() / "movane", folder->Path(), folder->Path() / "temp"})
    {
        EXPECT_TRUE(fs::is_directory(path)) << path;
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all) << path;
    }
    EXPECT_EQ(folder->Path().parent_path(), place.Path() / "movane");
}

TEST(RuntimeFolder, HasItsModeWhateverTheMaskOfTheProcess)
{
    for (const mode_t mask : {mode_t{0}, mode_t{022}, mode_t{077}})
    {
        const TempFolder place;
        const mode_t earlierMask = umask(mask);
        const auto folder = MakeUnder(place.Path() / "movane");
        umask(earlierMask);
        ASSERT_NE(folder, nullptr);
        EXPECT_EQ(fs::status(folder->Path()).permissions(), fs::perms::owner_all) << mask;
    }
}

TEST(RuntimeFolder, GoesWithTheFilesThatTheProgramPutsIntoIt)
{
    const TempFolder place;
    {
        const auto folder = MakeUnder(place.Path() / "movane");
        ASSERT_NE(folder, nullptr);
        for (const char* name : {"temp/clip-export.log", "export.socket"})
        {
            WriteFile(folder->Path() / name, "text");
        }
    }
    EXPECT_TRUE(fs::is_empty(place.Path()));
}

TEST(RuntimeFolder, KeepsAFileOfTheUsersAndTheFoldersAboveIt)
{
    for (const char* name : {"temp/notes.txt", "notes.txt", "temp/sub/clip-export.log",
                             "temp/clip-export.log/notes.txt", "export.socket/notes.txt"})
    {
        const TempFolder place;
        fs::path own;
        {
            const auto folder = MakeUnder(place.Path() / "movane");
            ASSERT_NE(folder, nullptr);
            own = folder->Path();
            WriteFile(own / name, "mine");
        }
        EXPECT_EQ(ReadFile(own / name), "mine") << name;
        EXPECT_FALSE(fs::exists(place.Path() / "movane/run-1.lock")) << name;
        const auto next = MakeUnder(place.Path() / "movane");
        ASSERT_NE(next, nullptr);
        EXPECT_NE(next->Path(), own) << name;
    }
}

TEST(RuntimeFolder, KeepsAFileOfTheUsersInTheFolderOfADeadProcess)
{
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    ASSERT_TRUE(DieWithFolderUnder(base));
    WriteFile(base / "run-1/temp/notes.txt", "mine");
    MakeUnder(base);
    EXPECT_EQ(ReadFile(base / "run-1/temp/notes.txt"), "mine");
    EXPECT_FALSE(fs::exists(base / "run-1/temp/clip-export.log"));
    EXPECT_FALSE(fs::exists(base / "run-1.lock"));
}

TEST(RuntimeFolder, LeavesWhatLiesBesideALockFileThatItDidNotWrite)
{
    for (const char* content : {"", "FT", "12345\n",
                                "a note that is longer than the program's own "
                                "first line, so that all of it could be read "
                                "and would not be the mark in any way at all"})
    {
        const TempFolder place;
        const fs::path base = place.Path() / "movane";
        WriteFile(base / "run-1.lock", content);
        WriteFile(base / "run-1/temp/clip-export.log", "mine");
        WriteFile(base / "run-3.lock", content);
        WriteFile(base / "run-3/results/data.txt", "mine");
        fs::permissions(base, fs::perms::owner_all);
        {
            const auto first = MakeUnder(base);
            const auto second = MakeUnder(base);
            ASSERT_TRUE(first != nullptr && second != nullptr);
            EXPECT_EQ(first->Path(), base / "run-2");
            EXPECT_EQ(second->Path(), base / "run-4");
        }
        EXPECT_EQ(ReadFile(base / "run-1/temp/clip-export.log"), "mine") << content;
        EXPECT_EQ(ReadFile(base / "run-3/results/data.txt"), "mine") << content;
        for (const char* lockFile : {"run-1.lock", "run-3.lock"})
        {
            EXPECT_TRUE(fs::exists(base / lockFile)) << content;
            EXPECT_EQ(ReadFile(base / lockFile), content);
        }
        EXPECT_EQ(std::distance(fs::directory_iterator(base), fs::directory_iterator()), 4);
    }
}

TEST(RuntimeFolder, LeavesABaseThatOthersUse)
{
    const TempFolder place;
    const auto first = MakeUnder(place.Path() / "movane");
    MakeUnder(place.Path() / "movane");
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(fs::is_directory(first->Path() / "temp"));
}

TEST(RuntimeFolder, IsItsOwnForEachThatIsMade)
{
    const TempFolder place;
    const auto first = MakeUnder(place.Path() / "movane");
    const auto second = MakeUnder(place.Path() / "movane");
    const auto third = MakeUnder(place.Path() / "movane");
    ASSERT_TRUE(first != nullptr && second != nullptr && third != nullptr);
    EXPECT_NE(first->Path(), second->Path());
    EXPECT_NE(second->Path(), third->Path());
    EXPECT_NE(first->Path(), third->Path());
}

TEST(RuntimeFolder, IsNotThatOfALivingProcess)
{
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    std::unique_ptr<RuntimeFolder> folder;
    const LivingProcess other(
        [&]
        {
            folder = MakeUnder(base);
            return folder != nullptr && WriteFile(folder->Path() / "temp/log", "theirs");
        });
    ASSERT_TRUE(other.IsReady());
    {
        const auto own = MakeUnder(base);
        ASSERT_NE(own, nullptr);
        EXPECT_TRUE(fs::is_empty(own->Path() / "temp"));
    }
    EXPECT_EQ(ReadFile(base / "run-1/temp/log"), "theirs");
}

TEST(RuntimeFolder, ClearsThoseOfDeadProcesses)
{
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    const auto living = MakeUnder(base);
    ASSERT_TRUE(DieWithFolderUnder(base));
    ASSERT_TRUE(fs::exists(base / "run-2/temp/clip-export.log"));
    {
        const auto folder = MakeUnder(base);
        ASSERT_NE(folder, nullptr);
        EXPECT_FALSE(fs::exists(base / "run-2/temp/clip-export.log"));
        EXPECT_TRUE(fs::is_directory(living->Path() / "temp"));
    }
    EXPECT_FALSE(fs::exists(base / "run-2"));
    EXPECT_FALSE(fs::exists(base / "run-2.lock"));
}

TEST(RuntimeFolder, LeavesAFolderThatNoProcessOfOursMade)
{
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    fs::create_directory(base);
    fs::permissions(base, fs::perms::owner_all);
    WriteFile(base / "run-1/file", "mine");
    WriteFile(base / "other/file", "mine");
    {
        const auto folder = MakeUnder(base);
        ASSERT_NE(folder, nullptr);
        EXPECT_NE(folder->Path(), base / "run-1");
    }
    EXPECT_EQ(ReadFile(base / "run-1/file"), "mine");
    EXPECT_EQ(ReadFile(base / "other/file"), "mine");
}

TEST(RuntimeFolder, LeavesAFolderWhoseNameHasNoNumber)
{
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    fs::create_directory(base);
    fs::permissions(base, fs::perms::owner_all);
    WriteFile(base / "run-notes/file", "mine");
    WriteFile(base / "run-notes.lock", "");
    MakeUnder(base);
    EXPECT_EQ(ReadFile(base / "run-notes/file"), "mine");
}

TEST(RuntimeFolder, TakesTheNextNumberWhereALockCannotBeOpened)
{
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    fs::create_directories(base / "run-1.lock");
    fs::permissions(base, fs::perms::owner_all);
    const auto folder = MakeUnder(base);
    ASSERT_NE(folder, nullptr);
    EXPECT_TRUE(fs::is_directory(folder->Path() / "temp"));
}

TEST(RuntimeFolder, FollowsNoLinkOutOfADeadFolder)
{
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    WriteFile(place.Path() / "valuable/file", "mine");
    ASSERT_TRUE(DieWithFolderUnder(base));
    fs::create_directory_symlink(place.Path() / "valuable", base / "run-1/temp/link");
    MakeUnder(base);
    EXPECT_EQ(ReadFile(place.Path() / "valuable/file"), "mine");
}

TEST(RuntimeFolder, RefusesABaseThatOthersMayEnter)
{
    for (const unsigned mode : {0701U, 0710U, 0755U, 0777U})
    {
        const TempFolder place;
        const fs::path base = place.Path() / "movane";
        fs::create_directory(base);
        fs::permissions(base, fs::perms(mode));
        std::string error;
        EXPECT_EQ(RuntimeFolder::MakeUnder(base, error), nullptr) << mode;
        EXPECT_THAT(error, HasSubstr(base.native()));
        EXPECT_TRUE(fs::is_empty(base));
    }
}

TEST(RuntimeFolder, RefusesALinkInPlaceOfTheBase)
{
    const TempFolder place;
    fs::create_directory(place.Path() / "elsewhere");
    fs::permissions(place.Path() / "elsewhere", fs::perms::owner_all);
    fs::create_directory_symlink(place.Path() / "elsewhere", place.Path() / "movane");
    std::string error;
    EXPECT_EQ(RuntimeFolder::MakeUnder(place.Path() / "movane", error), nullptr);
    EXPECT_THAT(error, HasSubstr((place.Path() / "movane").native()));
    EXPECT_TRUE(fs::is_empty(place.Path() / "elsewhere"));
}

TEST(RuntimeFolder, RefusesABaseOfAnotherUser)
{
    if (geteuid() != 0)
    {
        GTEST_SKIP() << "only root can give a folder to another user";
    }
    const TempFolder place;
    const fs::path base = place.Path() / "movane";
    fs::create_directory(base);
    fs::permissions(base, fs::perms::owner_all);
    ASSERT_EQ(chown(base.c_str(), 65534, 65534), 0);
    std::string error;
    EXPECT_EQ(RuntimeFolder::MakeUnder(base, error), nullptr);
    EXPECT_THAT(error, HasSubstr(base.native()));
}

TEST(RuntimeFolder, SaysWhichFolderCannotBeMade)
{
    const TempFolder place;
    WriteFile(place.Path() / "file", "text");
    for (const fs::path& base : {place.Path() / "file", place.Path() / "file/below"})
    {
        std::string error;
        EXPECT_EQ(RuntimeFolder::MakeUnder(base, error), nullptr);
        EXPECT_THAT(error, HasSubstr(base.native()));
        EXPECT_EQ(error.back(), '.');
        EXPECT_EQ(error.find('\n'), std::string::npos);
    }
    EXPECT_EQ(ReadFile(place.Path() / "file"), "text");
}

TEST(RuntimeFolder, SaysWhichBaseCannotBeWritten)
{
    const TempFolder base;
    GiveToGuardedUser(base.Path());
    const FolderModeGuard guard(base.Path(), 0500);
    std::string error;
    EXPECT_EQ(RuntimeFolder::MakeUnder(base.Path(), error), nullptr);
    EXPECT_THAT(error, HasSubstr(base.Path().native()));
}

// -- TakeNamed

TEST(NamedRuntimeFolder, IsTheOneThatWasNamedWithTempInIt)
{
    const TempFolder place;
    const auto folder = TakeNamed(place.Path() / "named");
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(folder->Path(), place.Path() / "named");
    EXPECT_EQ(fs::status(folder->Path()).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(folder->Path() / "temp").permissions(), fs::perms::owner_all);
}

TEST(NamedRuntimeFolder, IsMadeForEverySpelling)
{
    for (const char* spelling : {"a", "a/", "a/b", "a/b/"})
    {
        const TempFolder place;
        const auto folder = TakeNamed(place.Path().native() + "/" + spelling);
        ASSERT_NE(folder, nullptr) << spelling;
        EXPECT_TRUE(fs::is_directory(folder->Path() / "temp")) << spelling;
    }
}

TEST(NamedRuntimeFolder, GoesWhenItWasMadeHere)
{
    const TempFolder place;
    TakeNamed(place.Path() / "named");
    EXPECT_TRUE(fs::is_empty(place.Path()));
}

TEST(NamedRuntimeFolder, StaysWhenItWasThere)
{
    const TempFolder place;
    WriteFile(place.Path() / "file", "mine");
    TakeNamed(place.Path());
    EXPECT_EQ(ReadFile(place.Path() / "file"), "mine");
    EXPECT_FALSE(fs::exists(place.Path() / "temp"));
    EXPECT_FALSE(fs::exists(place.Path() / ".movane.lock"));
}

// The log of an export replaces a file of its name, so the user's temp is not even written to.
TEST(NamedRuntimeFolder, IsAFolderBelowWhereATempWasThere)
{
    const TempFolder place;
    WriteFile(place.Path() / "temp/clip-export.log", "mine");
    fs::permissions(place.Path() / "temp", fs::perms::owner_all);
    {
        const auto folder = TakeNamed(place.Path());
        ASSERT_NE(folder, nullptr);
        EXPECT_EQ(folder->Path(), place.Path() / "run-1");
    }
    EXPECT_EQ(ReadFile(place.Path() / "temp/clip-export.log"), "mine");
    EXPECT_FALSE(fs::exists(place.Path() / "run-1"));
}

TEST(NamedRuntimeFolder, LeavesATempThatWasThereBeforeADeadProcess)
{
    const TempFolder place;
    WriteFile(place.Path() / "temp/clip-export.log", "mine");
    fs::permissions(place.Path() / "temp", fs::perms::owner_all);
    ASSERT_TRUE(DieWithNamedFolder(place.Path()));
    TakeNamed(place.Path());
    EXPECT_EQ(ReadFile(place.Path() / "temp/clip-export.log"), "mine");
    EXPECT_FALSE(fs::exists(place.Path() / "run-1"));
}

TEST(NamedRuntimeFolder, KeepsAFileOfTheUsersInTempAndTheFoldersAboveIt)
{
    for (const bool bDead : {false, true})
    {
        const TempFolder place;
        const fs::path named = place.Path() / "named";
        if (bDead)
        {
            ASSERT_TRUE(DieWithNamedFolder(named));
            WriteFile(named / "temp/notes.txt", "mine");
        }
        {
            const auto folder = TakeNamed(named);
            ASSERT_NE(folder, nullptr);
            EXPECT_EQ(folder->Path(), named);
            WriteFile(named / "temp/notes.txt", "mine");
        }
        EXPECT_EQ(ReadFile(named / "temp/notes.txt"), "mine") << bDead;
        EXPECT_FALSE(fs::exists(named / "temp/clip-export.log")) << bDead;
        EXPECT_FALSE(fs::exists(named / ".movane.lock")) << bDead;
    }
}

TEST(NamedRuntimeFolder, LeavesWhatLooksLikeARunOfThisProgram)
{
    const TempFolder place;
    WriteFile(place.Path() / "run-3/results/data.txt", "mine");
    WriteFile(place.Path() / "run-3.lock", "");
    TakeNamed(place.Path());
    EXPECT_EQ(ReadFile(place.Path() / "run-3/results/data.txt"), "mine");
    EXPECT_TRUE(fs::exists(place.Path() / "run-3.lock"));
}

TEST(NamedRuntimeFolder, IsAFolderBelowWhereTheLockFileIsNotItsOwn)
{
    const TempFolder place;
    WriteFile(place.Path() / ".movane.lock", "FT");
    {
        const auto folder = TakeNamed(place.Path());
        ASSERT_NE(folder, nullptr);
        EXPECT_EQ(folder->Path(), place.Path() / "run-1");
    }
    EXPECT_EQ(ReadFile(place.Path() / ".movane.lock"), "FT");
}

TEST(NamedRuntimeFolder, StaysWhenItWasThereBeforeADeadProcess)
{
    const TempFolder place;
    const fs::path named = place.Path() / "named";
    fs::create_directory(named);
    ASSERT_TRUE(DieWithNamedFolder(named));
    TakeNamed(named);
    EXPECT_TRUE(fs::is_directory(named));
}

TEST(NamedRuntimeFolder, ClearsWhatADeadProcessMade)
{
    const TempFolder place;
    ASSERT_TRUE(DieWithNamedFolder(place.Path() / "named"));
    ASSERT_TRUE(fs::exists(place.Path() / "named/temp/clip-export.log"));
    TakeNamed(place.Path() / "named");
    EXPECT_FALSE(fs::exists(place.Path() / "named/temp"));
    EXPECT_FALSE(fs::exists(place.Path() / "named/.movane.lock"));
}

TEST(NamedRuntimeFolder, IsAFolderBelowWhenAnotherProcessHasIt)
{
    const TempFolder place;
    std::unique_ptr<RuntimeFolder> folder;
    const LivingProcess other(
        [&]
        {
            folder = TakeNamed(place.Path());
            return folder != nullptr && WriteFile(folder->Path() / "temp/log", "theirs");
        });
    ASSERT_TRUE(other.IsReady());
    {
        const auto own = TakeNamed(place.Path());
        ASSERT_NE(own, nullptr);
        EXPECT_EQ(own->Path().parent_path(), place.Path());
        EXPECT_EQ(fs::status(own->Path()).permissions(), fs::perms::owner_all);
        EXPECT_TRUE(fs::is_empty(own->Path() / "temp"));
    }
    EXPECT_EQ(ReadFile(place.Path() / "temp/log"), "theirs");
    EXPECT_FALSE(fs::exists(place.Path() / "run-1"));
}

TEST(NamedRuntimeFolder, IsAFolderBelowWhenItIsNotThisUsersAlone)
{
    for (const unsigned mode : {0701U, 0750U, 0755U, 0777U, 01777U})
    {
        const TempFolder place;
        fs::permissions(place.Path(), fs::perms(mode));
        {
            const auto folder = TakeNamed(place.Path());
            ASSERT_NE(folder, nullptr);
            EXPECT_EQ(folder->Path().parent_path(), place.Path()) << mode;
            EXPECT_EQ(fs::status(folder->Path()).permissions(), fs::perms::owner_all) << mode;
            EXPECT_EQ(fs::status(folder->Path() / "temp").permissions(), fs::perms::owner_all)
                << mode;
        }
        EXPECT_TRUE(fs::is_empty(place.Path())) << mode;
    }
}

TEST(NamedRuntimeFolder, IsAFolderBelowForEachUserOfASharedOne)
{
    if (geteuid() != 0)
    {
        GTEST_SKIP() << "only root can be two users";
    }
    const TempFolder place;
    fs::permissions(place.Path(), fs::perms(01777));
    const auto first = TakeNamed(place.Path());
    ASSERT_NE(first, nullptr);
    const FolderModeGuard otherUser(place.Path(), 01777);
    const auto second = TakeNamed(place.Path());
    ASSERT_NE(second, nullptr);
    EXPECT_NE(second->Path(), first->Path());
    EXPECT_TRUE(fs::is_directory(second->Path() / "temp"));
}

TEST(NamedRuntimeFolder, LeavesAFolderOnWhichAnotherUserPutALock)
{
    if (geteuid() != 0)
    {
        GTEST_SKIP() << "only root can give a file to another user";
    }
    const TempFolder place;
    fs::permissions(place.Path(), fs::perms(01777));
    WriteFile(place.Path() / "run-1/file", "mine");
    WriteFile(place.Path() / "run-1.lock", "");
    fs::permissions(place.Path() / "run-1.lock", fs::perms(0666));
    ASSERT_EQ(chown((place.Path() / "run-1.lock").c_str(), 65534, 65534), 0);
    TakeNamed(place.Path());
    EXPECT_EQ(ReadFile(place.Path() / "run-1/file"), "mine");
}

TEST(NamedRuntimeFolder, SaysWhichFolderCannotBeMade)
{
    const TempFolder place;
    WriteFile(place.Path() / "file", "text");
    for (const fs::path& named : {place.Path() / "file", place.Path() / "file/below"})
    {
        std::string error;
        EXPECT_EQ(RuntimeFolder::TakeNamed(named, error), nullptr);
        EXPECT_THAT(error, HasSubstr(named.native()));
        EXPECT_EQ(error.back(), '.');
    }
}

TEST(NamedRuntimeFolder, IsAFolderBelowWhenSomethingElseIsCalledTemp)
{
    const TempFolder place;
    WriteFile(place.Path() / "temp", "a file in the way");
    const auto folder = TakeNamed(place.Path());
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(folder->Path().parent_path(), place.Path());
    EXPECT_EQ(ReadFile(place.Path() / "temp"), "a file in the way");
}

TEST(NamedRuntimeFolder, ClearsTheFoldersBelowOfDeadProcesses)
{
    const TempFolder place;
    {
        const auto holder = TakeNamed(place.Path());
        ASSERT_NE(holder, nullptr);
        ASSERT_TRUE(DieWithNamedFolder(place.Path()));
        ASSERT_TRUE(fs::exists(place.Path() / "run-1"));
    }
    TakeNamed(place.Path());
    EXPECT_TRUE(fs::is_empty(place.Path()));
}

TEST(NamedRuntimeFolder, SaysWhichFolderCannotBeWritten)
{
    const TempFolder place;
    const FolderModeGuard guard(place.Path(), 0555);
    std::string error;
    EXPECT_EQ(RuntimeFolder::TakeNamed(place.Path(), error), nullptr);
    EXPECT_THAT(error, HasSubstr(place.Path().native()));
    EXPECT_EQ(error.back(), '.');
}

TEST(NamedRuntimeFolder, SaysWhichFolderOfTheUsersOwnCannotBeWritten)
{
    const TempFolder place;
    GiveToGuardedUser(place.Path());
    const FolderModeGuard guard(place.Path(), 0500);
    std::string error;
    EXPECT_EQ(RuntimeFolder::TakeNamed(place.Path(), error), nullptr);
    EXPECT_THAT(error, HasSubstr(place.Path().native()));
}

TEST(NamedRuntimeFolder, SaysWhichFolderIsOnAFullDisk)
{
    const TempFolder place;
    std::string error;
    {
        const FileSizeLimit limit(0);
        EXPECT_EQ(RuntimeFolder::TakeNamed(place.Path(), error), nullptr);
    }
    EXPECT_THAT(error, HasSubstr(place.Path().native()));
    EXPECT_NE(TakeNamed(place.Path()), nullptr);
}
} // namespace
