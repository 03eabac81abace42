// Random actions without end on the real host, with real threads and an ffmpeg that does anything: after
// each action the records must agree with each other, and memory must not grow.
//
// MOVANE_SOAK_ACTIONS says how many (some thousand without it), MOVANE_SOAK_SEED which.

#include "panel/panelonhost.h"
#include "support/threadevent.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

namespace
{
constexpr std::size_t MostClips = 30;

long long NumberFrom(const char* Variable, long long Otherwise)
{
    const char* value = std::getenv(Variable); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? Otherwise : std::atoll(value);
}

/// Memory of this process that is in the machine's, in bytes.
long long ResidentBytes()
{
    long long pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

class Soak : public PanelOnHost
{
protected:
    Soak()
    {
        // By its own number, so that each run differs: quick or slow, good or bad, talkative or not,
        // with or without a file.
        std::ofstream(Ffmpeg.Path()) << "#!/bin/sh\n"
                                        "for out do :; done\n"
                                        "case $(($$ % 7)) in\n"
                                        "0) echo 'no such codec' >&2; exit 1 ;;\n"
                                        "1) exit 0 ;;\n"
                                        "2) sleep 0.01; : > \"$out\" ;;\n"
                                        "3) : > \"$out\"; kill -9 $$ ;;\n"
                                        "4) printf '\\000\\377' >&2; exit 255 ;;\n"
                                        "*) : > \"$out\" ;;\n"
                                        "esac\n";
        Panel->StatusChanged.connect(
            [this](const std::string& Text)
            {
                ++Statuses;
                LastStatus = Text;
                const bool bResult =
                    Text.starts_with("Exported ") || Text.starts_with("Clip export failed");
                Results += bResult ? 1 : 0;
            });
        for (const char* const name : {"one.mp4", "it's two.mp4"})
        {
            Sources.push_back(Open(name));
        }
        StartJobSystem();
    }

    int Choice(int Count) { return std::uniform_int_distribution<int>(0, Count - 1)(Random); }

    double RandomSec()
    {
        constexpr std::array odd = {0.0, -1.0, 1e9, std::numeric_limits<double>::quiet_NaN(),
                                    std::numeric_limits<double>::infinity()};
        return Choice(10) == 0 ? odd.at(static_cast<std::size_t>(Choice(odd.size())))
                               : std::uniform_real_distribution<double>(0.0, 20.0)(Random);
    }

    void ChangeHost()
    {
        switch (Choice(5))
        {
        case 0:
            pWindow->Timeline().SetRangeSelection(RandomSec(), RandomSec(), Choice(2) == 0);
            break;
        case 1:
            NameInput.SetText(std::string(static_cast<std::size_t>(Choice(40)),
                                          static_cast<char>('a' + Choice(26))),
                              true);
            break;
        case 2:
            Table.SelectRow(Choice(static_cast<int>(MostClips)) - 1);
            break;
        case 3:
            pWindow->LoadVideoFile(Sources.at(static_cast<std::size_t>(Choice(2))), false);
            break;
        default:
            pWindow->bFocused = Choice(2) == 0;
            pWindow->bVisible = Choice(8) != 0;
            break;
        }
    }

    /// One action; exactly one status text comes of it, or two where a waiting result was shown first.
    void Act()
    {
        using Action = void (MvClipControlPanel::*)();
        constexpr std::array<Action, 8> actions = {&MvClipControlPanel::SaveCurrentRangeAsClip,
                                                   &MvClipControlPanel::SaveCurrentRangeAsClip,
                                                   &MvClipControlPanel::RenameSelectedClip,
                                                   &MvClipControlPanel::AddCurrentMarker,
                                                   &MvClipControlPanel::ClearCurrentRange,
                                                   &MvClipControlPanel::LoadSelectedClip,
                                                   &MvClipControlPanel::JumpToSelectedClip,
                                                   &MvClipControlPanel::JumpOutSelectedClip};
        const int statusesBefore = Statuses;
        int expected = 1;
        if (Panel->Clips.size() >= MostClips || Choice(12) == 0)
        {
            Panel->DeleteSelectedClip();
            if (Panel->Clips.size() >= MostClips)
            {
                Table.SelectRow(Choice(static_cast<int>(MostClips)));
            }
        }
        else if (Choice(6) == 0)
        {
            expected += Panel->bExportResultReady ? 1 : 0;
            ASSERT_NO_FATAL_FAILURE(RequestExport());
        }
        else
        {
            (Panel.get()->*actions.at(static_cast<std::size_t>(Choice(actions.size()))))();
        }
        ASSERT_EQ(Statuses - statusesBefore, expected) << LastStatus;
    }

    /// Only a request that says so starts an export, and none does while one is in progress.
    void RequestExport()
    {
        const bool bRefused = Panel->SelectedClip() != nullptr && Panel->bExportInProgress;
        const std::uint64_t generationBefore = Panel->ExportGeneration;
        Panel->ExportSelectedClip();
        if (bRefused)
        {
            ASSERT_EQ(LastStatus, "Clip export already in progress.");
        }
        ASSERT_EQ(Panel->ExportGeneration - generationBefore,
                  LastStatus.starts_with("Exporting ") ? 1U : 0U);
    }

    void Frame()
    {
        Application.pJobSystem->PumpMainThread();
        if (Choice(8) == 0)
        {
            return; // a result then waits for the next frame, or for an export that shows it first
        }
        const bool bWaits = Panel->bExportResultReady;
        const int statusesBefore = Statuses;
        Panel->PumpExportResult();
        ASSERT_EQ(Statuses - statusesBefore, bWaits ? 1 : 0);
        Panel->UpdateLiveLabels();
        Notifications.clear();
        pVideo->SeekCalls.clear();
        pVideo->OpenedPaths.clear();
        if (pWindow->Timeline().Markers.size() > 20)
        {
            pWindow->Timeline().Markers.clear();
        }
    }

    // Without making a row to compare with: a million actions look at many of them.
    static bool IsRowOf(const MvTableModel::Row& Row, const MvClipControlPanel::SavedClip& Clip)
    {
        const auto label = &MvClipControlPanel::FormatTimeLabel;
        return Row.size() == 6 && Row[0] == Clip.Name && Row[1] == label(Clip.StartSec) &&
               Row[2] == label(Clip.EndSec) &&
               Row[3] == label(std::max(0.0, Clip.EndSec - Clip.StartSec)) &&
               Row[4] == Clip.ColorName && Row[5] == Clip.SourceLabel;
    }

    void CheckRecords()
    {
        ASSERT_EQ(Panel->TableModel->GetRows().size(), Panel->Clips.size());
        for (std::size_t i = 0; i < Panel->Clips.size(); ++i)
        {
            const MvClipControlPanel::SavedClip& clip = Panel->Clips[i];
            const MvTableModel::Row& row = Panel->TableModel->GetRows()[i];
            ASSERT_TRUE(IsRowOf(row, clip)) << i << ": " << ::testing::PrintToString(row);
        }
        ASSERT_EQ(StatusLabel.Text, Panel->StatusText);
        ASSERT_EQ(StatusLabel.Text, LastStatus);
        ASSERT_FALSE(Panel->bSyncingNameInput);
        ASSERT_FALSE(Panel->bExportInProgress && Panel->bExportResultReady);
        // Each export gives one result.
        const bool bStillToCome = Panel->bExportInProgress || Panel->bExportResultReady;
        ASSERT_EQ(Panel->ExportGeneration, Results + (bStillToCome ? 1U : 0U));
    }

    /// Lets the last export end, so that nothing is still to come.
    void Finish()
    {
        ThreadEvent done;
        Application.pJobSystem->Enqueue([&done] { done.Set(); }, "last");
        ASSERT_TRUE(done.Wait());
        Application.pJobSystem->PumpMainThread();
        Panel->PumpExportResult();
        CheckRecords();
        EXPECT_EQ(Panel->ExportGeneration, Results);
    }

    /// The clips that were made must not fill the folder: at 10,000 no name is free.
    void EmptyClipsFolder() const
    {
        std::error_code ec;
        for (const auto& entry :
             std::filesystem::directory_iterator(Folder.Path() / "recordings" / "clips", ec))
        {
            std::filesystem::remove(entry, ec);
        }
    }

    std::mt19937_64 Random{static_cast<std::uint64_t>(NumberFrom("MOVANE_SOAK_SEED", 20261121))};
    std::vector<std::string> Sources;
    std::string LastStatus;
    int Statuses = 0;
    std::uint64_t Results = 0; ///< of exports that were shown
};
} // namespace

TEST_F(Soak, KeepsTheRecordsInOrderAndTheMemoryFlat)
{
    const long long count = NumberFrom("MOVANE_SOAK_ACTIONS", MOVANE_FEW_ACTIONS);
    const long long tenth = std::max(count / 10, 1LL);
    long long peakOfFirstTenth = 0;
    long long peakOfLastTenth = 0;
    for (long long i = 0; i < count; ++i)
    {
        SCOPED_TRACE(i);
        ChangeHost();
        ASSERT_NO_FATAL_FAILURE(Act());
        ASSERT_NO_FATAL_FAILURE(Frame());
        ASSERT_NO_FATAL_FAILURE(CheckRecords());
        if (i % 1000 == 0)
        {
            EmptyClipsFolder();
        }
        if (i % 100 == 0 && i < tenth)
        {
            peakOfFirstTenth = std::max(peakOfFirstTenth, ResidentBytes());
        }
        if (i % 100 == 0 && i >= count - tenth)
        {
            peakOfLastTenth = std::max(peakOfLastTenth, ResidentBytes());
        }
    }
    ASSERT_NO_FATAL_FAILURE(Finish());
    std::cout << count << " actions, " << Results << " exports; resident memory at most "
              << peakOfFirstTenth / 1024 << " KiB in the first tenth, " << peakOfLastTenth / 1024
              << " KiB in the last\n";
    EXPECT_GT(Results, 0U);
    // A short run has not filled what the libraries and sanitizers keep for later.
    if (count >= 1'000'000)
    {
        EXPECT_LE(static_cast<double>(peakOfLastTenth),
                  1.05 * static_cast<double>(peakOfFirstTenth));
    }
}
