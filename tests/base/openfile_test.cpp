#include "base/openfile.h"

#include "support/filetext.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <sys/stat.h>

namespace
{
namespace fs = std::filesystem;

TEST(OpenFile, TakesARegularFile)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "film.mp4", "bytes");
    EXPECT_EQ(ReasonNotToOpen((folder.Path() / "film.mp4").native()), "");
}

TEST(OpenFile, SaysWhatToDoUnderTheNameThatItIsGiven)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "film.mp4", "bytes");
    ASSERT_EQ(mkfifo((folder.Path() / "pipe").c_str(), 0600), 0);
    fs::create_symlink("loop", folder.Path() / "loop");
    const auto reason = [&](const std::string& FileName)
    { return ReasonNotToOpen((folder.Path() / FileName).native(), "x"); };
    EXPECT_EQ(reason("none"), "x does not exist: check the name.");
    EXPECT_EQ(reason("film.mp4/none"), "x does not exist: check the name.");
    EXPECT_EQ(reason(std::string("film.mp4\0", 9)), "x does not exist: check the name.");
    EXPECT_EQ(reason("."), "x is a folder: choose a video in it.");
    EXPECT_EQ(reason("pipe"), "x is not a regular file: choose a video.");
    EXPECT_EQ(reason("loop"),
              "x can't be read (Too many levels of symbolic links): check its permissions.");
    EXPECT_EQ(ReasonNotToOpen({}, "x"), "No file was named: give the path of a video.");
}
} // namespace
