// What the environment says to the encoder front of this process. A front lies beside this test's program.

#include "app/exportsocket.h"
#include "base/environment.h"
#include "export/encoderfront.h"
#include "host/apppaths.h"
#include "support/environmentguard.h"
#include "support/fakeffmpeg.h"
#include "support/filetext.h"
#include "support/recordedlog.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{
class FrontEnvironment : public testing::Test
{
protected:
    ~FrontEnvironment() override { AppPaths::RemoveRuntimeDir(); }

    TempFolder Folder;
    FakeFfmpeg Ffmpeg{Folder.Path()};
    EnvironmentGuard Path{"PATH", Folder.Path().native() + ":/usr/bin:/bin"};
    EnvironmentGuard Runtime{"MOVANE_RUNTIME_DIR", (Folder.Path() / "runtime").native()};
    EnvironmentGuard Named{"MOVANE_FFMPEG_BIN"};
    EnvironmentGuard Socket{"MOVANE_EXPORT_SOCKET", "/of/another"};
};

TEST_F(FrontEnvironment, NamesTheSocketThatListens)
{
    ASSERT_FALSE(EncoderFrontPath().empty());
    const std::unique_ptr<ExportSocket> socket = ExportSocket::OpenForFront();
    ASSERT_NE(socket, nullptr);
    EXPECT_EQ(EnvironmentValue("MOVANE_FFMPEG_BIN"), EncoderFrontPath());
    EXPECT_EQ(EnvironmentValue("MOVANE_EXPORT_SOCKET"), socket->Path().native());
    EXPECT_TRUE(std::filesystem::is_socket(socket->Path()));
}

TEST_F(FrontEnvironment, NamesNoSocketWhereNoneListens)
{
    WriteFile(std::filesystem::path(AppPaths::RuntimeDir()) / "export.socket", "mine");
    RecordedLog log;
    const std::unique_ptr<ExportSocket> socket = ExportSocket::OpenForFront();
    ASSERT_NE(socket, nullptr);
    EXPECT_EQ(log.TakeLines().size(), 1U);
    EXPECT_EQ(EnvironmentValue("MOVANE_FFMPEG_BIN"), EncoderFrontPath());
    EXPECT_EQ(getenv("MOVANE_EXPORT_SOCKET"), nullptr); // not empty, but away
}

TEST_F(FrontEnvironment, StaysWhereTheUserNamesAnFfmpeg)
{
    const EnvironmentGuard named("MOVANE_FFMPEG_BIN", Ffmpeg.Path());
    EXPECT_EQ(ExportSocket::OpenForFront(), nullptr);
    EXPECT_EQ(EnvironmentValue("MOVANE_FFMPEG_BIN"), Ffmpeg.Path());
    EXPECT_EQ(EnvironmentValue("MOVANE_EXPORT_SOCKET"), "/of/another");
}
} // namespace
