// Exports whose source goes, changes or is no file.

#include "panel/faultfixture.h"
#include "support/ordinaryuser.h"

#include <sys/stat.h>

namespace
{
namespace fs = std::filesystem;

class SourceFault : public FaultTest
{
protected:
    SourceFault() { FfmpegCopies(); }

    /// An export of another source than the one that is open.
    std::string ExportOf(const fs::path& NewSource)
    {
        Panel->Clips[0].SourcePath = NewSource;
        return ExportToTheEnd();
    }
};
} // namespace

TEST_F(SourceFault, VanishedBetweenCheckAndRunIsToldByFfmpeg)
{
    EXPECT_EQ(ExportWithChange([this] { fs::remove(Source); }),
              "Clip export failed: cp: cannot stat '" + Source.native() +
                  "': No such file or directory");
    EXPECT_FALSE(fs::exists(Output()));
    Panel->ExportSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Clip source file is missing: source.mp4");
    ASSERT_TRUE(WriteFile(Source, "pictures"));
    ExpectReady();
}

TEST_F(SourceFault, ReplacedBetweenCheckAndRunIsExportedAsItIsThen)
{
    EXPECT_EQ(ExportWithChange(
                  [this]
                  {
                      ASSERT_TRUE(WriteFile(Folder.Path() / "other", "other pictures"));
                      fs::rename(Folder.Path() / "other", Source);
                  }),
              "Exported clip_00000_Intro.mkv");
    EXPECT_EQ(ReadFile(Output()), "other pictures");
    ExpectReady();
}

TEST_F(SourceFault, FolderIsToldByFfmpeg)
{
    FfmpegDoes({.OutputCommand = "LC_ALL=C cat \"$6\" > \"$out\" || exit 1"});
    EXPECT_EQ(ExportOf(Folder.Path()),
              "Clip export failed: cat: " + Folder.Path().native() + ": Is a directory");
    ExpectReady();
}

TEST_F(SourceFault, PipeIsWaitedForOnTheWorkerAlone)
{
    FfmpegDoes({.OutputCommand = "cat \"$6\" > \"$out\" || exit 1"});
    const fs::path pipePath = Folder.Path() / "pipe.mp4";
    ASSERT_EQ(mkfifo(pipePath.c_str(), 0600), 0);
    StartJobSystem();
    Panel->Clips[0].SourcePath = pipePath;
    Panel->ExportSelectedClip();
    Save("Outro", 2.0, 4.0);
    Panel->ExportSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Clip export already in progress.");
    EXPECT_TRUE(WriteFile(pipePath, "from the pipe")); // waits for the reader
    RunToTheResult();
    EXPECT_EQ(StatusLabel.Text, "Exported clip_00000_Intro.mkv");
    EXPECT_EQ(ReadFile(Output()), "from the pipe");
    ExpectReady();
}

TEST_F(SourceFault, UnreadableFileIsToldByFfmpeg)
{
    const auto work = [this]
    {
        fs::permissions(Source, fs::perms::none);
        const std::string failure = ExportOnTheSpot();
        fs::permissions(Source, fs::perms::owner_all);
        return failure + "|" + ExportOnTheSpot();
    };
    EXPECT_EQ(TextFromOrdinaryUser(Folder.Path(), work),
              "Clip export failed: cp: cannot open '" + Source.native() +
                  "' for reading: Permission denied|Exported clip_00000_Intro.mkv");
}

TEST_F(SourceFault, FolderThatMayNotBeSearchedThrowsAndChangesNothing)
{
    const fs::path secret = Folder.Path() / "secret";
    const auto work = [this, secret]
    {
        fs::create_directory(secret);
        fs::rename(Source, secret / "source.mp4");
        Panel->Clips[0].SourcePath = secret / "source.mp4";
        fs::permissions(secret, fs::perms::none);
        std::string told;
        for (const auto action :
             {&MvClipControlPanel::ExportSelectedClip, &MvClipControlPanel::LoadSelectedClip,
              &MvClipControlPanel::JumpToSelectedClip, &MvClipControlPanel::JumpOutSelectedClip})
        {
            const std::string earlierStatus = StatusLabel.Text;
            try
            {
                (Panel.get()->*action)();
                told += "nothing thrown;";
            }
            catch (const fs::filesystem_error& error)
            {
                told +=
                    error.code().message() + (error.path1().parent_path() == secret ? ";" : "?");
            }
            const bool bSame = StatusLabel.Text == earlierStatus &&
                               !Panel->GetExportStatus().bInProgress &&
                               Panel->ExportGeneration == 0 && pVideo->OpenedPaths.size() == 1 &&
                               pVideo->SeekCalls.empty() && Ffmpeg.Runs() == 0;
            told += bSame ? "same;" : "changed;";
        }
        fs::permissions(secret, fs::perms::owner_all);
        return told + ExportOnTheSpot();
    };
    std::string expected;
    for (int i = 0; i < 4; ++i)
    {
        expected += "Permission denied;same;";
    }
    EXPECT_EQ(TextFromOrdinaryUser(Folder.Path(), work),
              expected + "Exported clip_00000_Intro.mkv");
}
