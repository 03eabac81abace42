// The rule of marks, in every rate and container: the frame that is shown at I is the first one of the exported
// file, the frame that is shown at O is the last.
//
// Marked through the document, saved and exported by the panel with its own ffmpeg command. MOVANE_FRAME_RANGES
// says how many ranges of each film (4 without it; script/soak does 20).

#include "app/clippanelrecords.h"
#include "base/environment.h"
#include "desktop/session/videodocument.h"
#include "host/apppaths.h"
#include "host/core.h"
#include "host/jobsystem.h"
#include "host/mvtimecontrol.h"
#include "host/rend.h"
#include "panel/mvclipcontrolpanel.h"
#include "player/mpvvideo.h"
#include "support/environmentguard.h"
#include "support/filmnumbers.h"
#include "support/numberedfilms.h"
#include "support/waitfor.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{
class MarkedFrames : public ::testing::TestWithParam<std::string>
{
protected:
    MarkedFrames()
    {
        std::string error;
        std::unique_ptr<MpvVideo> player = MpvVideo::Create({}, error);
        Application.pMovane = std::make_unique<Movane>();
        p = &Application;
        auto document =
            std::make_unique<VideoDocument>(Movane::FirstVideoWindowID, std::move(player));
        pDocument = document.get();
        Application.pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(document));
        ConnectPanelToRecords(Panel, Records);
    }
    ~MarkedFrames() override
    {
        p = nullptr;
        AppPaths::RemoveRuntimeDir();
    }

    bool Open(const std::string& Path) const
    {
        FrameTimes* const pFrames =
            pDocument->LoadVideoFile(Path, false) ? pDocument->Player().Frames() : nullptr;
        return pFrames != nullptr && WaitFor([&] { return pFrames->Count() == FilmFrames; });
    }
    /// Somewhere between a frame's whole milliseconds and those of the next.
    std::int64_t TimeOf(int Number, std::mt19937& Random) const
    {
        FrameTimes& frames = *pDocument->Player().Frames();
        std::int64_t us = frames.UsOf(frames.ShownAt(0)->Ticks);
        for (int i = 0; i < Number; ++i)
        {
            us = frames.UsOf(frames.After(us)->Ticks);
        }
        const FramePlace place = *frames.ShownAt(us);
        const std::int64_t fromUs = frames.MsOf(place.Ticks) * 1000;
        const std::int64_t toUs = frames.MsOf(place.AfterTicks) * 1000;
        return std::uniform_int_distribution<std::int64_t>(fromUs, toUs - 1)(Random);
    }
    void MarkAt(std::int64_t Us, bool bIn) const
    {
        pDocument->SeekTo(static_cast<double>(Us) / 1e6);
        const double shownSec = pDocument->pVideo->CurrentTimeSec();
        bIn ? pDocument->MarkIn(shownSec) : pDocument->MarkOut(shownSec);
    }
    /// Exports what is marked and returns the numbers of its frames.
    std::vector<int> ExportedNumbers()
    {
        Panel.SaveCurrentRangeAsClip();
        Panel.ExportSelectedClip();
        Panel.PumpExportResult();
        const std::filesystem::path file = Folder.Path() / "recordings" / "clips" /
                                           Panel.StatusText.substr(std::string("Exported ").size());
        std::vector<int> numbers = NumbersIn(file);
        std::filesystem::remove(file);
        return numbers;
    }

    TempFolder Folder;
    EnvironmentGuard Recordings{"MOVANE_RECORDINGS_DIR", Folder.Path() / "recordings"};
    EnvironmentGuard Runtime{"MOVANE_RUNTIME_DIR", Folder.Path() / "runtime"};
    EnvironmentGuard Encoder{"MOVANE_FFMPEG_BIN"};
    Core Application;
    ClipPanelRecords Records;
    MvClipControlPanel Panel;
    VideoDocument* pDocument = nullptr;
};

std::string PlainName(const ::testing::TestParamInfo<std::string>& Info)
{
    return Info.param;
}
} // namespace

TEST_P(MarkedFrames, AreTheFirstAndTheLastOfTheFile)
{
    const std::string wanted = EnvironmentValue("MOVANE_FRAME_RANGES");
    const int ranges = wanted.empty() ? 4 : std::stoi(wanted);
    const unsigned seed = std::random_device{}();
    std::mt19937 random(seed);
    std::cout << "seed " << seed << '\n';
    for (const std::string& rate : FilmRates())
    {
        ASSERT_TRUE(Open(NumberedFilm(rate, GetParam()))) << rate << ": " << pDocument->LoadError();
        for (int i = 0; i < ranges; ++i)
        {
            // What is shorter than 0.05 s the panel refuses, and each fourth range ends with the last frame.
            const int first = static_cast<int>(random() % (FilmFrames - 10));
            const int last =
                i % 4 == 3 ? FilmFrames - 1
                           : first + 7 +
                                 static_cast<int>(random() %
                                                  static_cast<unsigned>(FilmFrames - first - 7));
            SCOPED_TRACE(rate + ", frames " + std::to_string(first) + " to " +
                         std::to_string(last) + ", seed " + std::to_string(seed));
            pDocument->Timeline().ClearRangeSelection(false);
            pDocument->DropPendingMarks();
            const bool bInFirst = random() % 2 == 0;
            MarkAt(TimeOf(bInFirst ? first : last, random), bInFirst);
            MarkAt(TimeOf(bInFirst ? last : first, random), !bInFirst);
            EXPECT_EQ(
                pDocument->Player().Frames()->CountOfClip(pDocument->Timeline().RangeStartSec(),
                                                          pDocument->Timeline().RangeEndSec()),
                last - first + 1);
            std::vector<int> expected(static_cast<std::size_t>(last - first + 1));
            std::iota(expected.begin(), expected.end(), first);
            ASSERT_EQ(ExportedNumbers(), expected) << Panel.StatusText;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Containers,
                         MarkedFrames,
                         ::testing::ValuesIn(FilmContainers()),
                         PlainName);
