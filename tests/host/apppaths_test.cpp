#include "host/apppaths.h"

#include "support/childprocess.h"
#include "support/environmentguard.h"
#include "support/filetext.h"
#include "support/foldermodeguard.h"
#include "support/recordedlog.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace
{
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

/// A user with a home and a runtime folder of his own, nothing else set, and no runtime folder in use.
class TestUser
{
public:
    TestUser() { fs::create_directories(Runtime()); }
    ~TestUser() { AppPaths::RemoveRuntimeDir(); }
    TestUser(const TestUser&) = delete;
    TestUser& operator=(const TestUser&) = delete;

    fs::path Home() const { return Place.Path() / "home"; }
    fs::path Runtime() const { return Place.Path() / "runtime"; }
    const fs::path& Folder() const { return Place.Path(); }

private:
    TempFolder Place;
    EnvironmentGuard HomeVariable{"HOME", Home().native()};
    EnvironmentGuard RuntimeVariable{"XDG_RUNTIME_DIR", Runtime().native()};
    EnvironmentGuard ConfigVariable{"XDG_CONFIG_HOME"};
    EnvironmentGuard StateVariable{"XDG_STATE_HOME"};
    EnvironmentGuard NamedRecordings{"MOVANE_RECORDINGS_DIR"};
    EnvironmentGuard NamedRuntime{"MOVANE_RUNTIME_DIR"};
};

// -- Recordings

TEST(RecordingsDir, IsMovaneInTheVideosFolder)
{
    const TestUser user;
    EXPECT_EQ(AppPaths::RecordingsDir(), user.Home() / "Videos/Movane");
    WriteFile(user.Home() / ".config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"$HOME/Filme\"\n");
    EXPECT_EQ(AppPaths::RecordingsDir(), user.Home() / "Filme/Movane");
}

TEST(RecordingsDir, IsWhatTheEnvironmentNames)
{
    const TestUser user;
    for (const char* name : {"/recordings", "/a b/c'd", "/100%s", "/\xff"})
    {
        const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", name);
        EXPECT_EQ(AppPaths::RecordingsDir(), name);
    }
}

TEST(RecordingsDir, IgnoresAnEmptyName)
{
    const TestUser user;
    const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", "");
    EXPECT_EQ(AppPaths::RecordingsDir(), user.Home() / "Videos/Movane");
}

TEST(RecordingsDir, TakesARelativeNameFromTheCurrentFolder)
{
    const TestUser user;
    const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", "here");
    EXPECT_EQ(AppPaths::RecordingsDir(), fs::current_path() / "here");
}

// The default in its place would hide the clips where nobody looks for them.
TEST(RecordingsDir, IsNotAnotherOneWhenARelativeNameHasLostItsFolder)
{
    const TestUser user;
    const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", "here");
    const fs::path earlier = fs::current_path();
    fs::create_directory(user.Folder() / "gone");
    fs::current_path(user.Folder() / "gone");
    fs::remove(user.Folder() / "gone");
    std::string error;
    EXPECT_EQ(AppPaths::RecordingsDir(), "here");
    EXPECT_FALSE(AppPaths::PrepareRecordingsDir(error));
    fs::current_path(earlier);
    EXPECT_EQ(error, "The folder here/clips for exported clips can't be made: No such file or "
                     "directory.");
    EXPECT_FALSE(fs::exists(user.Home()));
}

TEST(RecordingsDir, IsReadFromTheEnvironmentAtEachCall)
{
    const TestUser user;
    {
        const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", "/first");
        EXPECT_EQ(AppPaths::RecordingsDir(), "/first");
    }
    const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", "/second");
    EXPECT_EQ(AppPaths::RecordingsDir(), "/second");
}

TEST(RecordingsDir, IsNotMadeByAsking)
{
    const TestUser user;
    AppPaths::RecordingsDir();
    EXPECT_FALSE(fs::exists(user.Home()));
}

TEST(PrepareRecordingsDir, MakesTheFolderWithClipsAndLeavesNothingInIt)
{
    const TestUser user;
    std::string error;
    EXPECT_TRUE(AppPaths::PrepareRecordingsDir(error));
    EXPECT_EQ(error, "");
    EXPECT_TRUE(fs::is_empty(user.Home() / "Videos/Movane/clips"));
    EXPECT_TRUE(AppPaths::PrepareRecordingsDir(error));
}

TEST(PrepareRecordingsDir, KeepsTheClipsThatAreThere)
{
    const TestUser user;
    WriteFile(user.Home() / "Videos/Movane/clips/clip_00000_a.mkv", "clip");
    std::string error;
    EXPECT_TRUE(AppPaths::PrepareRecordingsDir(error));
    EXPECT_EQ(ReadFile(user.Home() / "Videos/Movane/clips/clip_00000_a.mkv"), "clip");
}

TEST(PrepareRecordingsDir, SaysWhichFolderCannotBeMade)
{
    const TestUser user;
    WriteFile(user.Folder() / "file", "text");
    for (const fs::path& path : {user.Folder() / "file", user.Folder() / "file/below"})
    {
        const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", path.native());
        std::string error;
        EXPECT_FALSE(AppPaths::PrepareRecordingsDir(error));
        EXPECT_THAT(error, HasSubstr(path.native()));
        EXPECT_EQ(error.back(), '.');
    }
}

TEST(PrepareRecordingsDir, SaysSoWhenClipsIsAFile)
{
    const TestUser user;
    const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", user.Folder().native());
    WriteFile(user.Folder() / "clips", "text");
    std::string error;
    EXPECT_FALSE(AppPaths::PrepareRecordingsDir(error));
    EXPECT_THAT(error, HasSubstr((user.Folder() / "clips").native()));
}

TEST(PrepareRecordingsDir, SaysWhichFolderCannotBeWritten)
{
    const TestUser user;
    const fs::path clips = user.Folder() / "recordings/clips";
    fs::create_directories(clips);
    const EnvironmentGuard named("MOVANE_RECORDINGS_DIR", (user.Folder() / "recordings").native());
    fs::permissions(user.Folder(), fs::perms(0755));
    std::string error;
    {
        const FolderModeGuard guard(clips, 0555);
        EXPECT_FALSE(AppPaths::PrepareRecordingsDir(error));
    }
    EXPECT_THAT(error, HasSubstr(clips.native()));
    EXPECT_EQ(error.back(), '.');
}

// -- Runtime

TEST(RuntimeDir, IsForTheUserAloneInTheRuntimeFolderOfTheSession)
{
    const TestUser user;
    const fs::path folder = AppPaths::RuntimeDir();
    EXPECT_EQ(folder.parent_path(), user.Runtime() / "movane");
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    EXPECT_EQ(fs::status(folder / "temp").permissions(), fs::perms::owner_all);
}

TEST(RuntimeDir, StaysTheSame)
{
    const TestUser user;
    const std::string folder = AppPaths::RuntimeDir();
    std::string error;
    EXPECT_TRUE(AppPaths::PrepareRuntimeDir(error));
    const EnvironmentGuard named("MOVANE_RUNTIME_DIR", (user.Folder() / "late").native());
    EXPECT_EQ(AppPaths::RuntimeDir(), folder);
    EXPECT_EQ(error, "");
}

TEST(RuntimeDir, IsInTheFolderForTemporaryFilesWithoutASession)
{
    const TestUser user;
    const EnvironmentGuard temporary("TMPDIR", user.Folder().native());
    const fs::path expected = user.Folder() / ("movane-" + std::to_string(geteuid()));
    for (const std::string& session :
         {std::string(), std::string("relative"), (user.Folder() / "missing").native()})
    {
        const EnvironmentGuard runtime("XDG_RUNTIME_DIR", session);
        EXPECT_EQ(fs::path(AppPaths::RuntimeDir()).parent_path(), expected) << session;
        AppPaths::RemoveRuntimeDir();
        EXPECT_FALSE(fs::exists(expected)) << session;
    }
}

TEST(RuntimeDir, IsAbsoluteWhateverTheFolderForTemporaryFiles)
{
    const TestUser user;
    const EnvironmentGuard runtime("XDG_RUNTIME_DIR");
    fs::create_directory(user.Folder() / "tmp");
    const fs::path earlier = fs::current_path();
    fs::current_path(user.Folder());
    for (const char* temporary : {"tmp", "/missing/folder", ""})
    {
        const EnvironmentGuard guard("TMPDIR", temporary);
        EXPECT_TRUE(fs::path(AppPaths::RuntimeDir()).is_absolute()) << temporary;
        AppPaths::RemoveRuntimeDir();
    }
    fs::current_path(earlier);
}

TEST(RuntimeDir, IsWhatTheEnvironmentNames)
{
    const TestUser user;
    const fs::path expected = user.Folder() / "a b'c";
    const EnvironmentGuard named("MOVANE_RUNTIME_DIR", expected.native());
    EXPECT_EQ(AppPaths::RuntimeDir(), expected);
    EXPECT_EQ(fs::status(expected).permissions(), fs::perms::owner_all);
    EXPECT_TRUE(fs::is_directory(expected / "temp"));
    EXPECT_FALSE(fs::exists(user.Runtime() / "movane"));
}

TEST(RuntimeDir, IgnoresAnEmptyName)
{
    const TestUser user;
    const EnvironmentGuard named("MOVANE_RUNTIME_DIR", "");
    EXPECT_EQ(fs::path(AppPaths::RuntimeDir()).parent_path(), user.Runtime() / "movane");
}

TEST(RuntimeDir, TakesARelativeNameFromTheCurrentFolderOfTheFirstCall)
{
    const TestUser user;
    const fs::path earlier = fs::current_path();
    fs::current_path(user.Folder());
    const EnvironmentGuard named("MOVANE_RUNTIME_DIR", "here");
    EXPECT_EQ(AppPaths::RuntimeDir(), user.Folder() / "here");
    fs::current_path(earlier);
    EXPECT_EQ(AppPaths::RuntimeDir(), user.Folder() / "here");
}

TEST(RuntimeDir, IsMadeAnewAfterItsRemoval)
{
    const TestUser user;
    const std::string folder = AppPaths::RuntimeDir();
    AppPaths::RemoveRuntimeDir();
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_FALSE(fs::exists(user.Runtime() / "movane"));
    AppPaths::RemoveRuntimeDir();
    EXPECT_TRUE(fs::is_directory(fs::path(AppPaths::RuntimeDir()) / "temp"));
}

TEST(RuntimeDir, GoesAtTheEndOfTheProgram)
{
    const TestUser user;
    ASSERT_TRUE(RunInEndingProcess(
        []
        { return WriteFile(fs::path(AppPaths::RuntimeDir()) / "temp/clip-export.log", "text"); }));
    EXPECT_TRUE(fs::is_empty(user.Runtime()));
}

TEST(RuntimeDir, IsNotSharedByTwoRunningPrograms)
{
    const TestUser user;
    const LivingProcess other(
        [] { return WriteFile(fs::path(AppPaths::RuntimeDir()) / "temp/log", "theirs"); });
    ASSERT_TRUE(other.IsReady());
    EXPECT_FALSE(fs::exists(fs::path(AppPaths::RuntimeDir()) / "temp/log"));
}

TEST(RuntimeDir, IsNotSharedByTwoRunningProgramsThatNameTheSame)
{
    const TestUser user;
    const EnvironmentGuard named("MOVANE_RUNTIME_DIR", (user.Folder() / "named").native());
    const LivingProcess other(
        [] { return WriteFile(fs::path(AppPaths::RuntimeDir()) / "temp/log", "theirs"); });
    ASSERT_TRUE(other.IsReady());
    EXPECT_FALSE(fs::exists(fs::path(AppPaths::RuntimeDir()) / "temp/log"));
}

TEST(RuntimeDir, ClearsWhatADeadProgramLeft)
{
    const TestUser user;
    ASSERT_TRUE(RunInDyingProcess(
        []
        { return WriteFile(fs::path(AppPaths::RuntimeDir()) / "temp/clip-export.log", "text"); }));
    ASSERT_FALSE(fs::is_empty(user.Runtime()));
    EXPECT_FALSE(fs::exists(fs::path(AppPaths::RuntimeDir()) / "temp/clip-export.log"));
    AppPaths::RemoveRuntimeDir();
    EXPECT_TRUE(fs::is_empty(user.Runtime()));
}

TEST(RuntimeDir, LogsTheSentenceAndReturnsThePathWhenItCannotBeMade)
{
    const TestUser user;
    WriteFile(user.Folder() / "file", "text");
    const fs::path path = user.Folder() / "file/below";
    const EnvironmentGuard named("MOVANE_RUNTIME_DIR", path.native());
    std::string error;
    EXPECT_FALSE(AppPaths::PrepareRuntimeDir(error));
    EXPECT_THAT(error, HasSubstr(path.native()));

    RecordedLog log;
    EXPECT_EQ(AppPaths::RuntimeDir(), path);
    EXPECT_THAT(log.TakeLines(), ElementsAre(error));
}

TEST(RuntimeDir, IsReadByManyThreadsOnceItIsPrepared)
{
    const TestUser user;
    std::string error;
    ASSERT_TRUE(AppPaths::PrepareRuntimeDir(error));
    const std::string runtimeDir = AppPaths::RuntimeDir();
    const std::string recordingsDir = AppPaths::RecordingsDir();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (int k = 0; k < 20; ++k)
                {
                    EXPECT_EQ(AppPaths::RuntimeDir(), runtimeDir);
                    EXPECT_EQ(AppPaths::RecordingsDir(), recordingsDir);
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

// -- State

TEST(StateDir, IsInTheStateFolderOfTheUser)
{
    const TestUser user;
    EXPECT_EQ(AppPaths::StateDir(), user.Home() / ".local/state/movane");
    {
        const EnvironmentGuard state("XDG_STATE_HOME", "/state");
        EXPECT_EQ(AppPaths::StateDir(), "/state/movane");
    }
    for (const char* value : {"", "state", "./state"})
    {
        const EnvironmentGuard state("XDG_STATE_HOME", value);
        EXPECT_EQ(AppPaths::StateDir(), user.Home() / ".local/state/movane") << value;
    }
    EXPECT_FALSE(fs::exists(user.Home()));
}

TEST(StateDir, DoublesNoSlashBelowTheRoot)
{
    const TestUser user;
    const EnvironmentGuard home("HOME", "/");
    EXPECT_EQ(AppPaths::StateDir(), "/.local/state/movane");
    EXPECT_EQ(AppPaths::RecordingsDir(), "/Videos/Movane");
}

TEST(DefaultVideoFile, IsEmptyBeforeOneIsRemembered)
{
    const TestUser user;
    EXPECT_EQ(AppPaths::DefaultVideoFile(), "");
}

TEST(DefaultVideoFile, IsTheFileRememberedLastByteForByte)
{
    const TestUser user;
    for (const std::string& path :
         {std::string("/v/a.mkv"), std::string("/v/a b\n'\"$(x).mkv\n"), std::string("/\xff\xfe"),
          std::string("/" + std::string(5000, 'x')), std::string()})
    {
        AppPaths::SetDefaultVideoFile(path);
        EXPECT_EQ(AppPaths::DefaultVideoFile(), path);
    }
}

TEST(DefaultVideoFile, IsRememberedAcrossRuns)
{
    const TestUser user;
    ASSERT_TRUE(RunInEndingProcess(
        []
        {
            AppPaths::SetDefaultVideoFile("/v/a.mkv");
            return true;
        }));
    EXPECT_EQ(AppPaths::DefaultVideoFile(), "/v/a.mkv");
}

TEST(DefaultVideoFile, IsOneFileInThePrivateStateFolder)
{
    const TestUser user;
    AppPaths::SetDefaultVideoFile("/v/a.mkv");
    AppPaths::SetDefaultVideoFile("/v/b.mkv");
    const fs::path state = AppPaths::StateDir();
    EXPECT_EQ(fs::status(state).permissions(), fs::perms::owner_all);
    const std::vector<fs::directory_entry> entries(fs::directory_iterator(state), {});
    ASSERT_THAT(entries, SizeIs(1));
    EXPECT_EQ(entries[0].status().permissions() & fs::perms(077), fs::perms::none);
}

TEST(DefaultVideoFile, LogsAFailureThatNamesTheFileAndKeepsTheEarlierOne)
{
    const TestUser user;
    RecordedLog log;
    {
        WriteFile(user.Folder() / "file", "text");
        const EnvironmentGuard state("XDG_STATE_HOME", (user.Folder() / "file").native());
        AppPaths::SetDefaultVideoFile("/v/a.mkv");
        EXPECT_EQ(AppPaths::DefaultVideoFile(), "");
    }
    EXPECT_THAT(log.TakeLines(), ElementsAre(HasSubstr((user.Folder() / "file/movane").native())));
}

TEST(DefaultVideoFile, IsEmptyWhenAFolderIsInItsPlace)
{
    const TestUser user;
    AppPaths::SetDefaultVideoFile("/v/a.mkv");
    const fs::path record = *fs::directory_iterator(AppPaths::StateDir());
    fs::remove(record);
    fs::create_directory(record);
    EXPECT_EQ(AppPaths::DefaultVideoFile(), "");
    RecordedLog log;
    AppPaths::SetDefaultVideoFile("/v/b.mkv");
    EXPECT_THAT(log.TakeLines(), SizeIs(1));
}
} // namespace
