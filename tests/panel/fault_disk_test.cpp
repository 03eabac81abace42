// Exports, and files of the program, where the disk is full, read-only or not what was expected.

#include "base/atomicfile.h"
#include "panel/faultfixture.h"
#include "support/ordinaryuser.h"
#include "support/tinydisk.h"

#include <csignal>
#include <set>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

using ::testing::ElementsAre;

namespace
{
namespace fs = std::filesystem;

// The calls that a power cut is survived by, in order; only while a test wants them.
std::vector<std::string>* pFileCalls = nullptr;

/// Writes a megabyte, and fails as cp, head and ffmpeg do.
constexpr const char* WritesAMegabyte = "LC_ALL=C head -c 1000000 /dev/zero > \"$out\" || exit 1";
constexpr const char* NeedsMounting = "a disk of its own can't be mounted here";

class DiskFault : public FaultTest
{
};

class FullLog : public FaultTest
{
protected:
    /// The ffmpeg that says one long line, as much of which is kept as there is room.
    void FfmpegSaysALongLine(int ExitCode) const
    {
        FfmpegDoes({.ExitCode = ExitCode, .ErrorText = std::string(100'000, 'x') + "\n"});
    }

    /// Leaves that much room on the disk of the runtime folder.
    void LeaveRoom(std::uintmax_t Bytes) const
    {
        AppPaths::RuntimeDir(); // it writes a lock
        const std::uintmax_t fillerBytes = fs::space(RuntimeFolder()).available - Bytes;
        EXPECT_TRUE(WriteFile(RuntimeFolder() / "filler", std::string(fillerBytes, 'x')));
    }
};

std::set<std::string> NamesIn(const fs::path& Folder)
{
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(Folder))
    {
        names.insert(entry.path().filename().native());
    }
    return names;
}
} // namespace

extern "C"
{
    // The names are the linker's.
    // NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
    int __real_fsync(int Fd);
    int __real_rename(const char* From, const char* To);
    int __wrap_fsync(int Fd);
    int __wrap_rename(const char* From, const char* To);

    int __wrap_fsync(int Fd)
    {
        if (pFileCalls != nullptr)
        {
            std::error_code ec;
            const fs::path file = fs::read_symlink("/proc/self/fd/" + std::to_string(Fd), ec);
            pFileCalls->push_back(fs::is_directory(file, ec) ? "flush folder"
                                                             : "flush file " + ReadFile(file));
        }
        return __real_fsync(Fd);
    }

    int __wrap_rename(const char* From, const char* To)
    {
        if (pFileCalls != nullptr)
        {
            pFileCalls->push_back("rename to " + fs::path(To).filename().native());
        }
        return __real_rename(From, To);
    }
    // NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}

// -- A full disk under the output

TEST_F(DiskFault, FullUnderTheOutputIsToldAndLeavesWhatWasWritten)
{
    const TinyDisk disk(Folder.Path() / "recordings", "64k");
    if (!disk.IsMounted())
    {
        GTEST_SKIP() << NeedsMounting;
    }
    FfmpegDoes({.OutputCommand = WritesAMegabyte});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: head: error writing 'standard output': No "
                                "space left on device");
    EXPECT_EQ(fs::file_size(Output()), 65536U);
    fs::remove(Output());
    ExpectReady();
    EXPECT_TRUE(fs::exists(Output()));
}

TEST_F(DiskFault, FullByALimitIsToldAndLeavesWhatWasWritten)
{
    FfmpegDoes({.OutputCommand = WritesAMegabyte});
    {
        const FileSizeLimit limit(65536);
        EXPECT_EQ(ExportToTheEnd(),
                  "Clip export failed: head: error writing 'standard output': File too large");
    }
    EXPECT_EQ(fs::file_size(Output()), 65536U);
    ExpectReady();
}

TEST_F(DiskFault, FullWithoutASpaceForTheClipsFolderIsARefusal)
{
    // One inode: the disk's own folder.
    const TinyDisk disk(Folder.Path() / "recordings", "64k,nr_inodes=1");
    if (!disk.IsMounted())
    {
        GTEST_SKIP() << NeedsMounting;
    }
    EXPECT_EQ(ExportOnTheSpot(), "Could not create clip export path.");
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    EXPECT_FALSE(Panel->GetExportStatus().bInProgress);
}

TEST_F(DiskFault, FullWithoutASpaceForTheClipsFolderIsARefusalForAnOrdinaryUser)
{
    const fs::path recordings = Clips().parent_path();
    const auto work = [this, recordings]() -> std::string
    {
        if (!MayMountAsOrdinaryUser())
        {
            return NeedsMounting;
        }
        std::string told;
        for (const char* const size : {"64k,nr_inodes=1", "64k,nr_inodes=3"})
        {
            const TinyDisk disk(recordings, size);
            if (!disk.IsMounted())
            {
                return NeedsMounting;
            }
            std::error_code ec;
            fs::create_directory(recordings / "folder", ec);
            fs::remove(recordings / "folder");
            told += ec.message() + "|" + ExportOnTheSpot() + "|";
        }
        return told + std::to_string(Ffmpeg.Runs());
    };
    const std::string told = TextFromOrdinaryUser(Folder.Path(), work);
    if (told == NeedsMounting)
    {
        GTEST_SKIP() << NeedsMounting;
    }
    EXPECT_EQ(told, "No space left on device|Could not create clip export path.|"
                    "Success|Exported clip_00000_Intro.mkv|1");
}

// -- A full disk under the error log

TEST_F(FullLog, ShowsTheCutLineOfAFailure)
{
    const TinyDisk disk(RuntimeFolder(), "64k");
    if (!disk.IsMounted())
    {
        GTEST_SKIP() << NeedsMounting;
    }
    LeaveRoom(4096);
    FfmpegSaysALongLine(1);
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: " + std::string(4096, 'x'));
    ExpectReady();
}

TEST_F(FullLog, ShowsThePlainMessageWhenNotAByteFits)
{
    const TinyDisk disk(RuntimeFolder(), "64k");
    if (!disk.IsMounted())
    {
        GTEST_SKIP() << NeedsMounting;
    }
    LeaveRoom(0);
    FfmpegSaysALongLine(1);
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    ExpectReady();
}

TEST_F(FullLog, DoesNotSpoilASuccess)
{
    const TinyDisk disk(RuntimeFolder(), "64k");
    if (!disk.IsMounted())
    {
        GTEST_SKIP() << NeedsMounting;
    }
    LeaveRoom(0);
    FfmpegSaysALongLine(0);
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00000_Intro.mkv");
    EXPECT_TRUE(fs::exists(Output()));
    ExpectReady();
}

TEST_F(FullLog, ByALimitIsNoDifferent)
{
    AppPaths::RuntimeDir(); // it writes a lock
    int number = 0;         // a failure leaves a file, too
    for (const rlim_t size : {4096, 0})
    {
        for (const int exitCode : {1, 0})
        {
            FfmpegSaysALongLine(exitCode);
            const FileSizeLimit limit(size);
            const std::string success =
                "Exported clip_0000" + std::to_string(number) + "_Intro.mkv";
            const std::string line = size == 0 ? "." : ": " + std::string(size, 'x');
            EXPECT_EQ(ExportToTheEnd(), exitCode == 0 ? success : "Clip export failed" + line);
            ++number;
        }
    }
    ExpectReady();
}

// -- Folders that are not what they were

TEST_F(DiskFault, ReadOnlyRecordingsFolderIsARefusalWithoutAClipsFolder)
{
    fs::create_directory(Clips().parent_path());
    const auto work = [this]
    {
        fs::permissions(Clips().parent_path(), fs::perms(0555));
        const std::string refusal = ExportOnTheSpot();
        const bool bIdle = !Panel->GetExportStatus().bInProgress && Ffmpeg.Runs() == 0;
        fs::permissions(Clips().parent_path(), fs::perms(0755));
        return refusal + (bIdle ? "|" : "|not idle|") + ExportOnTheSpot();
    };
    EXPECT_EQ(TextFromOrdinaryUser(Folder.Path(), work),
              "Could not create clip export path.|Exported clip_00000_Intro.mkv");
}

TEST_F(DiskFault, ReadOnlyClipsFolderIsToldByFfmpeg)
{
    fs::create_directories(Clips());
    FfmpegCopies();
    const auto work = [this]
    {
        fs::permissions(Clips(), fs::perms(0555));
        const std::string failure = ExportOnTheSpot();
        fs::permissions(Clips(), fs::perms(0755));
        return failure + "|" + ExportOnTheSpot();
    };
    EXPECT_EQ(TextFromOrdinaryUser(Folder.Path(), work),
              "Clip export failed: cp: cannot create regular file '" + Output().native() +
                  "': Permission denied|Exported clip_00000_Intro.mkv");
}

TEST_F(DiskFault, VanishedRecordingsFolderIsToldAndMadeAnewByTheNextExport)
{
    FfmpegCopies();
    EXPECT_EQ(ExportWithChange([this] { fs::remove_all(Clips().parent_path()); }),
              "Clip export failed: cp: cannot create regular file '" + Output().native() +
                  "': No such file or directory");
    EXPECT_FALSE(fs::exists(Clips()));
    ExpectReady();
    EXPECT_TRUE(fs::exists(Output()));
}

TEST_F(DiskFault, FileInTheClipsFoldersPlaceIsARefusal)
{
    ASSERT_TRUE(WriteFile(Clips(), "kept"));
    EXPECT_EQ(ExportOnTheSpot(), "Could not create clip export path.");
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    EXPECT_EQ(ReadFile(Clips()), "kept");
    fs::remove(Clips());
    ExpectReady();
}

TEST_F(DiskFault, DanglingLinkInTheClipsFoldersPlaceIsARefusal)
{
    fs::create_directory(Clips().parent_path());
    fs::create_symlink("nowhere", Clips());
    EXPECT_EQ(ExportOnTheSpot(), "Could not create clip export path.");
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    EXPECT_TRUE(fs::is_symlink(Clips()));
    fs::remove(Clips());
    ExpectReady();
}

TEST_F(DiskFault, DanglingLinkOfTheOutputsNameIsWrittenThrough)
{
    // Nothing exists there for whoever asks, so the name is free.
    fs::create_directories(Clips());
    fs::create_symlink("behind the link", Output());
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00000_Intro.mkv");
    EXPECT_TRUE(fs::is_regular_file(Clips() / "behind the link"));
    EXPECT_EQ(ExportToTheEnd(), "Exported clip_00001_Intro.mkv");
}

TEST_F(DiskFault, DanglingLinkThatFfmpegLeavesIsNoOutput)
{
    FfmpegDoes({.OutputCommand = "ln -s nowhere \"$out\""});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    EXPECT_TRUE(fs::is_symlink(Output()));
    ExpectReady();
}

TEST_F(DiskFault, TenThousandTakenNamesAreARefusalUntilOneIsFree)
{
    const auto numbered = [](int Number)
    {
        const std::string digits = std::to_string(Number);
        return "clip_" + std::string(5 - digits.size(), '0') + digits + "_Intro.mkv";
    };
    fs::create_directories(Clips());
    for (int number = 0; number < 10'000; ++number)
    {
        close(creat((Clips() / numbered(number)).c_str(), 0600));
    }
    EXPECT_EQ(ExportOnTheSpot(), "Could not create clip export path.");
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    fs::remove(Clips() / numbered(9999));
    EXPECT_EQ(ExportOnTheSpot(), "Exported " + numbered(9999));
}

// -- The error log

TEST_F(DiskFault, LogWithoutItsFolderIsAFailureAndFfmpegIsNotRun)
{
    fs::remove(fs::path(AppPaths::RuntimeDir()) / "temp");
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    EXPECT_FALSE(fs::exists(Output()));
    fs::create_directory(RuntimeFolder() / "temp");
    ExpectReady();
}

TEST_F(DiskFault, LogThatIsAFolderWithAFileIsAFailureAndTheFileStays)
{
    AppPaths::RuntimeDir();
    ASSERT_TRUE(WriteFile(ErrorLog() / "file", "kept"));
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    EXPECT_EQ(ReadFile(ErrorLog() / "file"), "kept");
    fs::remove_all(ErrorLog());
    ExpectReady();
}

TEST_F(DiskFault, LogThatIsAnEmptyFolderMakesRoom)
{
    StartJobSystem();
    fs::create_directories(fs::path(AppPaths::RuntimeDir()) / "temp" / "clip-export.log");
    FfmpegDoes({.ExitCode = 1, .ErrorText = "what went wrong\n"});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: what went wrong");
    ExpectReady();
}

TEST_F(DiskFault, LogThatIsALinkIsRemovedAndItsTargetLeftAlone)
{
    const fs::path target = Folder.Path() / "target";
    ASSERT_TRUE(WriteFile(target, "kept"));
    AppPaths::RuntimeDir();
    fs::create_symlink(target, ErrorLog());
    FfmpegDoes({.ExitCode = 1, .ErrorText = "what went wrong\n"});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: what went wrong");
    EXPECT_EQ(ReadFile(target), "kept");
    ExpectReady();
}

TEST_F(DiskFault, LogThatCanNotBeReadGivesThePlainMessage)
{
    FfmpegDoes(
        {.ErrorText = "what went wrong\n", .OutputCommand = "chmod 000 /proc/self/fd/2; exit 1"});
    const auto work = [this]
    {
        const std::string failure = ExportOnTheSpot();
        const bool bLogThere = fs::exists(ErrorLog());
        FfmpegDoes({});
        return failure + (bLogThere ? "|log left|" : "|") + ExportOnTheSpot();
    };
    EXPECT_EQ(TextFromOrdinaryUser(Folder.Path(), work),
              "Clip export failed.|Exported clip_00000_Intro.mkv");
}

TEST_F(DiskFault, LogLineOfAMegabyteWithNulBytesIsShownWhole)
{
    std::string line(1U << 20U, 'x');
    for (std::size_t i = 100; i < line.size(); i += 1000)
    {
        line[i] = '\0';
    }
    FfmpegDoes({.ExitCode = 1, .ErrorText = line}); // no line end
    EXPECT_TRUE(ExportToTheEnd() == "Clip export failed: " + line);
    ASSERT_EQ(Notifications.size(), 1U);
    EXPECT_TRUE(Notifications[0].Message == "Clip export failed: " + line);
    EXPECT_TRUE(Panel->GetExportStatus().Message == "Clip export failed: " + line);
    ExpectReady();
}

// -- Files of the program

namespace
{
class FileFault : public testing::Test
{
protected:
    TempFolder Folder;
    const fs::path File = Folder.Path() / "disk" / "record";
    std::string Error;
};
} // namespace

TEST_F(FileFault, FullDiskKeepsTheOldFileAndLeavesNothingBesideIt)
{
    const TinyDisk disk(File.parent_path(), "16k");
    if (!disk.IsMounted())
    {
        GTEST_SKIP() << NeedsMounting;
    }
    ASSERT_TRUE(WriteFileAtomically(File, "old", Error)) << Error;
    EXPECT_FALSE(WriteFileAtomically(File, std::string(100'000, 'n'), Error));
    EXPECT_EQ(Error, "The file " + File.native() + " can't be written: No space left on device.");
    EXPECT_EQ(ReadFile(File), "old");
    EXPECT_THAT(NamesIn(File.parent_path()), ElementsAre("record"));
    EXPECT_TRUE(WriteFileAtomically(File, "new", Error)) << Error;
}

TEST_F(FileFault, FullByALimitKeepsTheOldFileAndLeavesNothingBesideIt)
{
    ASSERT_TRUE(WriteFileAtomically(File, "old", Error)) << Error;
    {
        const FileSizeLimit limit(65536);
        EXPECT_FALSE(WriteFileAtomically(File, std::string(100'000, 'n'), Error));
    }
    EXPECT_EQ(Error, "The file " + File.native() + " can't be written: File too large.");
    EXPECT_EQ(ReadFile(File), "old");
    EXPECT_THAT(NamesIn(File.parent_path()), ElementsAre("record"));
}

TEST_F(FileFault, PowerCutFindsAWholeFileBecauseItIsOnTheDiskBeforeItsName)
{
    ASSERT_TRUE(WriteFileAtomically(File, "old", Error));
    std::vector<std::string> calls;
    pFileCalls = &calls;
    EXPECT_TRUE(WriteFileAtomically(File, "new", Error));
    pFileCalls = nullptr;
    EXPECT_THAT(calls, ElementsAre("flush file new", "rename to record", "flush folder"));
}

TEST_F(FileFault, KilledWriterLeavesAWholeFileAtAnyMoment)
{
    const std::string one(200'000, '1');
    const std::string two(200'000, '2');
    ASSERT_TRUE(WriteFileAtomically(File, one, Error));
    for (int round = 0; round < 20; ++round)
    {
        const pid_t writer = fork();
        if (writer == 0)
        {
            for (;;)
            {
                WriteFileAtomically(File, two, Error);
                WriteFileAtomically(File, one, Error);
            }
        }
        for (int look = 0; look < 10; ++look)
        {
            const std::string seen = ReadWholeFile(File);
            EXPECT_TRUE(seen == one || seen == two) << seen.size();
        }
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        const std::string left = ReadWholeFile(File);
        EXPECT_TRUE(left == one || left == two) << left.size();
    }
    EXPECT_TRUE(WriteFileAtomically(File, "after", Error));
    EXPECT_EQ(ReadWholeFile(File), "after");
}
