#include "export/leftovers.h"

#include "base/uniquefd.h"
#include "support/filetext.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace
{
namespace fs = std::filesystem;

class AbandonedExports : public testing::Test
{
protected:
    void Make(const std::string& Name, const std::string& Text = "") const
    {
        WriteFile(Folder.Path() / Name, Text);
    }

    std::set<std::string> LeftAfterRemoval() const
    {
        RemoveAbandonedExports(Folder.Path());
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(Folder.Path()))
        {
            names.insert(entry.path().filename());
        }
        return names;
    }

    TempFolder Folder;
};
using Names = std::set<std::string>;
// As Matroska begins (RFC 8794, 11.2.1).
const std::string Unfinished = "\x1A\x45\xDF\xA3 half";
} // namespace

TEST_F(AbandonedExports, GoInPairs)
{
    Make("clip_00000_A.mkv");
    Make("clip_00000_A.mkv.part", Unfinished);
    Make("clip_00001_without an extension");
    Make("clip_00001_without an extension.part");
    EXPECT_EQ(LeftAfterRemoval(), Names());
}

TEST_F(AbandonedExports, GoAloneWhereTheNameWasNotTakenYet)
{
    Make("clip_00000_A.mkv.part");
    EXPECT_EQ(LeftAfterRemoval(), Names());
}

TEST_F(AbandonedExports, KeepAFileThatIsNotEmpty)
{
    Make("clip_00000_A.mkv", "whole");
    Make("clip_00000_A.mkv.part", Unfinished);
    EXPECT_EQ(LeftAfterRemoval(), Names({"clip_00000_A.mkv"}));
}

// A browser names what it is still fetching the same way.
TEST_F(AbandonedExports, AreNoFilesThatAnExportDoesNotWrite)
{
    Make("clip_00000_A.mkv");
    const std::string fetched = "RIFF of a browser";
    for (const std::string& text : {fetched, fetched.substr(0, 1), std::string(50'000, '\0')})
    {
        Make("clip_00000_A.mkv.part", text);
        EXPECT_EQ(LeftAfterRemoval(), Names({"clip_00000_A.mkv", "clip_00000_A.mkv.part"}));
        EXPECT_EQ(ReadFile(Folder.Path() / "clip_00000_A.mkv.part"), text);
    }
}

TEST_F(AbandonedExports, KeepAnEmptyFileWithoutAPart)
{
    Make("clip_00000_A.mkv");
    EXPECT_EQ(LeftAfterRemoval(), Names({"clip_00000_A.mkv"}));
}

TEST_F(AbandonedExports, AreNotThoseThatSomebodyHasLocked)
{
    Make("clip_00000_A.mkv");
    Make("clip_00000_A.mkv.part", Unfinished);
    UniqueFd locked(open((Folder.Path() / "clip_00000_A.mkv.part").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(flock(locked.Get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(LeftAfterRemoval(), Names({"clip_00000_A.mkv", "clip_00000_A.mkv.part"}));
    locked.Close();
    EXPECT_EQ(LeftAfterRemoval(), Names());
}

TEST_F(AbandonedExports, HaveNamesOfExports)
{
    const Names others = {"holiday.mkv",          "holiday.mkv.part", "clip_1_A.mkv.part",
                          "clip_0000x_A.part",    "clip_00000.part",  ".part",
                          "clip_00000_A.mkv.PART"};
    for (const std::string& name : others)
    {
        Make(name);
    }
    EXPECT_EQ(LeftAfterRemoval(), others);
}

TEST_F(AbandonedExports, AreNoLinksFoldersOrPipes)
{
    Make("kept.txt");
    fs::create_symlink("kept.txt", Folder.Path() / "clip_00000_A.mkv.part");
    fs::create_directory(Folder.Path() / "clip_00001_A.mkv.part");
    ASSERT_EQ(mkfifo((Folder.Path() / "clip_00002_A.mkv.part").c_str(), 0600), 0);
    Make("clip_00003_A.mkv.part");
    fs::create_symlink("kept.txt", Folder.Path() / "clip_00003_A.mkv");
    EXPECT_EQ(LeftAfterRemoval(),
              Names({"kept.txt", "clip_00000_A.mkv.part", "clip_00001_A.mkv.part",
                     "clip_00002_A.mkv.part", "clip_00003_A.mkv"}));
}

TEST_F(AbandonedExports, LeaveAFolderThatIsNotThereAlone)
{
    RemoveAbandonedExports(Folder.Path() / "none");
    RemoveAbandonedExports("");
    EXPECT_EQ(LeftAfterRemoval(), Names());
}
