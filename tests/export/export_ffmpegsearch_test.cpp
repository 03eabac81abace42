#include "export/encoderfront.h"
#include "export/ffmpegsearch.h"

#include "support/environmentguard.h"
#include "support/filetext.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
namespace fs = std::filesystem;

class FfmpegOnPath : public testing::Test
{
protected:
    fs::path MakeProgram(const fs::path& Name, fs::perms Mode = fs::perms::owner_all) const
    {
        fs::path path = Folder.Path() / Name;
        WriteFile(path, "#!/bin/sh\n");
        fs::permissions(path, Mode);
        return path;
    }
    std::string In(const char* Name) const { return (Folder.Path() / Name).native(); }

    TempFolder Folder;
};
using EncoderFront = FfmpegOnPath;
} // namespace

TEST_F(FfmpegOnPath, TakesTheFirstEntryThatHasOne)
{
    const fs::path first = MakeProgram("b/ffmpeg");
    MakeProgram("c/ffmpeg");
    EXPECT_EQ(FindFfmpeg(In("a") + ':' + In("b") + ':' + In("c")), first);
}

TEST_F(FfmpegOnPath, PassesOverFoldersAndWhatMayNotBeExecuted)
{
    fs::create_directories(Folder.Path() / "a/ffmpeg");
    MakeProgram("b/ffmpeg", fs::perms::owner_read);
    fs::create_directories(Folder.Path() / "c");
    fs::create_symlink("/nowhere", Folder.Path() / "c/ffmpeg");
    const fs::path good = MakeProgram("d/ffmpeg");
    EXPECT_EQ(FindFfmpeg(In("a") + ':' + In("b") + ':' + In("c") + ':' + In("d")), good);
}

TEST_F(FfmpegOnPath, TakesAnEmptyEntryForTheCurrentFolder)
{
    const fs::path here = MakeProgram("here/ffmpeg");
    const fs::path earlier = fs::current_path();
    fs::current_path(here.parent_path());
    for (const std::string path : {"", ":", "/nowhere::/nowhere", ":/nowhere", "/nowhere:"})
    {
        EXPECT_EQ(FindFfmpeg(path), fs::canonical(here)) << path;
    }
    EXPECT_EQ(FindFfmpeg("../here"), "../here/ffmpeg");
    fs::current_path(earlier);
}

TEST_F(FfmpegOnPath, EndsAtTheFixedPlaces)
{
    const std::string last = fs::exists("/usr/bin/ffmpeg")    ? "/usr/bin/ffmpeg"
                             : fs::exists("/usr/sbin/ffmpeg") ? "/usr/sbin/ffmpeg"
                                                              : "";
    EXPECT_EQ(FindFfmpeg(In("a")), last);
}

TEST_F(FfmpegOnPath, ReadsPathAndNoOtherVariable)
{
    const fs::path good = MakeProgram("a/ffmpeg");
    const EnvironmentGuard path("PATH", In("a"));
    const EnvironmentGuard named("MOVANE_FFMPEG_BIN", MakeProgram("b/ffmpeg").native());
    EXPECT_EQ(FindFfmpeg(), good);
}

TEST_F(EncoderFront, LiesBesideTheProgramOrInLibexec)
{
    const fs::path programs = Folder.Path() / "usr/bin";
    EXPECT_EQ(EncoderFrontPath(programs), "");
    const fs::path installed = MakeProgram("usr/libexec/movane/movane-encoder");
    EXPECT_EQ(EncoderFrontPath(programs), installed);
    const fs::path built = MakeProgram("usr/bin/movane-encoder");
    EXPECT_EQ(EncoderFrontPath(programs), built);
    fs::permissions(built, fs::perms::owner_read);
    EXPECT_EQ(EncoderFrontPath(programs), installed);
}

TEST_F(EncoderFront, IsLookedForFromTheRunningProgram)
{
    EXPECT_EQ(EncoderFrontPath(),
              EncoderFrontPath(fs::read_symlink("/proc/self/exe").parent_path()));
}
