#include "app/openingmark.h"

#include "support/childprocess.h"
#include "support/environmentguard.h"
#include "support/filetext.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace
{
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class OpeningMarkTest : public testing::Test
{
protected:
    bool DieWhileOpening(const std::vector<std::string>& Paths)
    {
        return RunInDyingProcess(
            [&]
            {
                for (const std::string& path : Paths)
                {
                    Mark.Add(path);
                }
                return fs::exists(File);
            });
    }

    TempFolder Place;
    EnvironmentGuard State{"XDG_STATE_HOME", (Place.Path() / "state").native()};
    const fs::path File = Place.Path() / "state/movane/opening";
    OpeningMark Mark;
};

TEST_F(OpeningMarkTest, IsNotThereAtFirst)
{
    EXPECT_THAT(OpeningMark::TakeLeftover(), IsEmpty());
    Mark.End();
    EXPECT_FALSE(fs::exists(Place.Path() / "state"));
}

TEST_F(OpeningMarkTest, LeavesNothingAfterItsEnd)
{
    Mark.Add("/a.mp4");
    EXPECT_TRUE(fs::exists(File));
    Mark.End();
    EXPECT_FALSE(fs::exists(File));
    {
        OpeningMark further;
        further.Add("/b.mp4");
    }
    EXPECT_FALSE(fs::exists(File));
    EXPECT_THAT(OpeningMark::TakeLeftover(), IsEmpty());
}

TEST_F(OpeningMarkTest, IsForTheUserAlone)
{
    Mark.Add("/a.mp4");
    EXPECT_EQ(fs::status(File).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(OpeningMarkTest, TellsOnceWhatADeadProcessWasOpening)
{
    ASSERT_TRUE(DieWhileOpening({"/a.mp4"}));
    EXPECT_THAT(OpeningMark::TakeLeftover(), ElementsAre("/a.mp4"));
    EXPECT_THAT(OpeningMark::TakeLeftover(), IsEmpty());
    EXPECT_FALSE(fs::exists(File));
}

TEST_F(OpeningMarkTest, KeepsEachPathByteForByte)
{
    const std::vector<std::string> paths = {"/a\nb", "/lat\xE9 .mp4", "/" + std::string(4000, 'x')};
    ASSERT_TRUE(DieWhileOpening(paths));
    EXPECT_THAT(OpeningMark::TakeLeftover(), ElementsAreArray(paths));
}

TEST_F(OpeningMarkTest, IsNotTakenFromALivingProcess)
{
    const LivingProcess other(
        [&]
        {
            Mark.Add("/a.mp4");
            return fs::exists(File);
        });
    ASSERT_TRUE(other.IsReady());
    EXPECT_THAT(OpeningMark::TakeLeftover(), IsEmpty());
    OpeningMark own;
    own.Add("/b.mp4");
    own.End();
    EXPECT_EQ(ReadFile(File), std::string("/a.mp4\0", 7));
}

TEST_F(OpeningMarkTest, DoesNotTellWhatALaterStartHasForgotten)
{
    ASSERT_TRUE(DieWhileOpening({"/a.mp4", "/b.mp4"}));
    ASSERT_TRUE(DieWhileOpening({"/c.mp4"}));
    EXPECT_THAT(OpeningMark::TakeLeftover(), ElementsAre("/c.mp4"));
}

TEST_F(OpeningMarkTest, WaitsForNothingInItsPlace)
{
    fs::create_directories(File.parent_path());
    ASSERT_EQ(mkfifo(File.c_str(), 0600), 0);
    EXPECT_THAT(OpeningMark::TakeLeftover(), IsEmpty());
    Mark.Add("/a.mp4");
    Mark.End();
    EXPECT_TRUE(fs::is_fifo(File));
    fs::remove(File);
    fs::create_directory(File);
    EXPECT_THAT(OpeningMark::TakeLeftover(), IsEmpty());
    Mark.Add("/a.mp4");
    EXPECT_TRUE(fs::is_directory(File));
}

TEST_F(OpeningMarkTest, FollowsNoLink)
{
    WriteFile(Place.Path() / "mine", "text");
    fs::create_directories(File.parent_path());
    fs::create_symlink(Place.Path() / "mine", File);
    Mark.Add("/a.mp4");
    Mark.End();
    EXPECT_THAT(OpeningMark::TakeLeftover(), IsEmpty());
    EXPECT_EQ(ReadFile(Place.Path() / "mine"), "text");
}
} // namespace
