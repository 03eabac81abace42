// The revision of the panel's clips: no action changes a clip without it.

#include "app/application.h"
#include "host/mvtimecontrol.h"
#include "host/mvvideowindow.h"
#include "support/environmentguard.h"
#include "support/fakevideo.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace
{
using Panel = MvClipControlPanel;

constexpr const char* Source = "/videos/holiday.mp4";

/// The application with one video window and a player that plays nothing.
class ClipsRevisionTest : public testing::Test
{
protected:
    ClipsRevisionTest()
    {
        auto window = std::make_unique<MvVideoWindow>();
        window->SetVideo(std::make_unique<FakeVideo>());
        pWindow = window.get();
        Program.Parts().pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(window));
        pWindow->LoadVideoFile(Source, false);
        pWindow->Timeline().SetRangeSelection(1.0, 2.0, false);
    }

    /// All that a view may show of the clips.
    auto Contents()
    {
        using Fields = std::tuple<std::string, std::string, std::string, std::string, float, float,
                                  float, float, double, double>;
        std::vector<Fields> clips;
        for (const Panel::SavedClip& clip : Program.Panel().Clips)
        {
            clips.emplace_back(clip.Name, clip.SourcePath, clip.SourceLabel, clip.ColorName,
                               clip.ColorR, clip.ColorG, clip.ColorB, clip.ColorA, clip.StartSec,
                               clip.EndSec);
        }
        return std::pair(clips, Program.Panel().TableModel->GetRows());
    }

    std::uint64_t Revision() { return ClipsRevision(Program.Panel()); }

    TempFolder Folder;
    EnvironmentGuard Recordings{"MOVANE_RECORDINGS_DIR", (Folder.Path() / "recordings").native()};
    EnvironmentGuard State{"XDG_STATE_HOME", (Folder.Path() / "state").native()};
    Application Program{{.bStartsJobs = false}};
    MvVideoWindow* pWindow = nullptr;
};

// The source of each clip is missing, so no export gets as far as an encoder.
TEST_F(ClipsRevisionTest, MovesWithEveryChangeAndWithNothingElse)
{
    constexpr void (Panel::*Actions[])() = {
        &Panel::SaveCurrentRangeAsClip, &Panel::RenameSelectedClip,
        &Panel::DeleteSelectedClip,     &Panel::AddCurrentMarker,
        &Panel::ClearCurrentRange,      &Panel::LoadSelectedClip,
        &Panel::JumpToSelectedClip,     &Panel::JumpOutSelectedClip,
        &Panel::ExportSelectedClip,     &Panel::PumpExportResult,
        &Panel::UpdateLiveLabels,       &Panel::SyncNameInputFromSelection,
        &Panel::UpdateTableColumnLayout};
    const std::uint64_t seed = std::random_device()();
    std::cout << "seed " << seed << '\n';
    std::mt19937_64 random(seed);
    const auto upTo = [&](int Most) { return std::uniform_int_distribution(0, Most)(random); };
    int changeCount = 0;
    for (int i = 0; i < 3000; ++i)
    {
        if (upTo(1) == 0)
        {
            pWindow->Timeline().SetRangeSelection(upTo(9), upTo(9), false);
        }
        Program.Records().NameInput.SetText(std::string(static_cast<std::size_t>(upTo(3)), 'x'),
                                            true);
        const int clipCount = static_cast<int>(Program.Panel().Clips.size());
        Program.Records().Table.SelectRow(upTo(clipCount + 1) - 1);
        const auto before = Contents();
        const std::uint64_t revision = Revision();
        const int action = upTo(static_cast<int>(std::size(Actions)) - 1);
        (Program.Panel().*Actions[action])();
        if (Contents() != before)
        {
            ++changeCount;
            EXPECT_GT(Revision(), revision) << "action " << action;
        }
        else if (Actions[action] != &Panel::RenameSelectedClip) // to the name that it had
        {
            EXPECT_EQ(Revision(), revision) << "action " << action;
        }
    }
    EXPECT_GT(changeCount, 100);
}

TEST_F(ClipsRevisionTest, StaysInAFrame)
{
    Program.Panel().SaveCurrentRangeAsClip();
    const std::uint64_t revision = Revision();
    Program.Frame();
    EXPECT_EQ(Revision(), revision);
}

TEST_F(ClipsRevisionTest, IsZeroWithoutATable)
{
    Program.Panel().TableModel = nullptr;
    EXPECT_EQ(Revision(), 0U);
}
} // namespace
