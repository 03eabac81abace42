#include "app/encodercheck.h"

#include "app/exporttexts.h"
#include "export/ffmpegsearch.h"
#include "host/mvtable.h"
#include "panel/mvclipcontrolpanel.h"
#include "support/environmentguard.h"
#include "support/fakeffmpeg.h"
#include "support/filetext.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

namespace
{
TEST(EncoderCheck, TakesWhatIsNamedElseWhatIsFound)
{
    const TempFolder folder;
    const FakeFfmpeg ffmpeg(folder.Path());
    EXPECT_EQ(EncoderPath(" \t" + ffmpeg.Path() + "\r\n"), ffmpeg.Path());
    EXPECT_EQ(EncoderPath({}), FindFfmpeg());
    EXPECT_EQ(EncoderPath(" \t\r\n"), FindFfmpeg());
}

TEST(EncoderCheck, SaysNothingOfAProgram)
{
    const TempFolder folder;
    EXPECT_EQ(EncoderProblem(FakeFfmpeg(folder.Path()).Path()), "");
}

TEST(EncoderCheck, SaysTheNextStepWhenThereIsNone)
{
    EXPECT_EQ(EncoderProblem({}),
              "ffmpeg executable not found. Install ffmpeg or set MOVANE_FFMPEG_BIN.");
}

TEST(EncoderCheck, SaysWhatAnExportWouldSay)
{
    const TempFolder folder;
    WriteFile(folder.Path() / "film.mp4", "bytes");
    const EnvironmentGuard recordings("MOVANE_RECORDINGS_DIR", folder.Path().native());
    for (const std::string& named : {folder.Path().native(), std::string("/no/ffmpeg "),
                                     '\v' + FakeFfmpeg(folder.Path()).Path()})
    {
        const EnvironmentGuard override("MOVANE_FFMPEG_BIN", named);
        MvTable table;
        table.SelectedRow = 0;
        MvClipControlPanel panel;
        panel.pClipTable = &table;
        auto& clip = panel.Clips.emplace_back();
        clip.SourcePath = (folder.Path() / "film.mp4").native();
        clip.EndSec = 1.0;
        panel.ExportSelectedClip();
        EXPECT_EQ(EncoderProblem(EncoderPath(named)), panel.StatusText);
        EXPECT_NE(panel.StatusText, "");
    }
}

TEST(ExportSummary, SaysHowTheRoundEnded)
{
    EXPECT_EQ(ExportSummary(2, 2, {}), "Exported 2 of 2 clips.");
    EXPECT_EQ(ExportSummary(1, 2, "stopped"), "Exported 1 of 2 clips, then stopped.");
}
} // namespace
