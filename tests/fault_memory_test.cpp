// Memory runs out in every action of the panel, at its first allocation, its second, and so on until
// the action succeeds; once for that allocation alone and once for all behind it, too.
//
// However it ends: nothing leaks, no clip and no row is half made, the mutex is free, and the same
// action succeeds when it is done again.

#include "fakes/failingnew.h"
#include "fakes/threadevent.h"
#include "panelonhost.h"

#include <gmock/gmock.h>

#include <functional>
#include <new>

namespace
{
namespace fs = std::filesystem;
using FailingNew::Extent;
using SavedClip = MvClipControlPanel::SavedClip;

// Texts are long, so that each copy of one allocates.
const std::string LongName = "a clip's name that does not fit into the string object itself ";

std::string RowText(const SavedClip& Clip)
{
    const auto label = &MvClipControlPanel::FormatTimeLabel;
    return Clip.Name + "|" + label(Clip.StartSec) + "|" + label(Clip.EndSec) + "|" +
           label(std::max(0.0, Clip.EndSec - Clip.StartSec)) + "|" + Clip.ColorName + "|" +
           Clip.SourceLabel;
}

/// All that an action may change, as texts.
struct World
{
    std::vector<std::string> Clips; ///< each with every field
    std::vector<std::string> Rows;
    std::string OpenFile;
    std::string Range;
    std::size_t MarkerCount = 0;
    std::string NameInput;
    std::vector<std::string> Labels;
};

/// A panel with three clips of a first file, the middle one selected, while a second file is open.
/// Both files have markers, and the second a range.
class Desk : public PanelOnHost
{
public:
    Desk()
    {
        First = Open(LongName + "first.mp4");
        for (const char* name : {"one", "two", "three"})
        {
            Save(LongName + name, 1.0, 3.0);
        }
        pWindow->Timeline().AddMarkerAtCurrentTime();
        Second = Open(LongName + "second.mp4");
        pWindow->Timeline().SetRangeSelection(2.0, 6.0, false);
        pWindow->Timeline().AddMarkerAtCurrentTime();
        pWindow->Timeline().AddMarkerAtCurrentTime();
        Table.SelectRow(1);
        NameInput.SetText(LongName + "new", true);
        Panel->UpdateLiveLabels();
        Panel->StatusChanged.connect([this](const std::string& Text) { Status = Text; });
        AppPaths::RuntimeDir(); // the folder is made once
    }
    void TestBody() override {}

    World Look() const
    {
        World seen;
        for (const SavedClip& clip : Panel->Clips)
        {
            seen.Clips.push_back(RowText(clip) + "|" +
                                 fs::path(clip.SourcePath).filename().native() + "|" +
                                 std::to_string(clip.ColorR) + std::to_string(clip.ColorG) +
                                 std::to_string(clip.ColorB) + std::to_string(clip.ColorA));
        }
        for (const MvTableModel::Row& row : Panel->TableModel->GetRows())
        {
            seen.Rows.emplace_back();
            for (const std::string& cell : row)
            {
                seen.Rows.back() += (&cell == row.data() ? "" : "|") + cell;
            }
        }
        MvTimeControl& timeline = pWindow->Timeline();
        seen.OpenFile = fs::path(pVideo->FilePath).filename().native();
        seen.Range =
            std::to_string(timeline.RangeStartSec()) + "-" + std::to_string(timeline.RangeEndSec());
        seen.MarkerCount = timeline.Markers.size();
        seen.NameInput = NameInput.Text;
        seen.Labels = {SourceLabel.Text, RangeLabel.Text, MarkersLabel.Text};
        return seen;
    }

    void ExpectRowsAreClips() const
    {
        std::vector<std::string> expected;
        for (const SavedClip& clip : Panel->Clips)
        {
            expected.push_back(RowText(clip));
        }
        EXPECT_EQ(Look().Rows, expected);
    }

    void ExpectMutexFree() const
    {
        const std::unique_lock lock(Panel->ExportMutex, std::try_to_lock);
        EXPECT_TRUE(lock.owns_lock());
    }

    /// Runs frames until the running export has ended.
    void RunToTheResult()
    {
        while (Panel->GetExportStatus().bInProgress && !HasFatalFailure())
        {
            RunOneWakeUp();
        }
    }

    /// Lets the worker end what it has; the result waits in the queue, then on the panel.
    void FinishExport()
    {
        ThreadEvent done;
        Application.pJobSystem->Enqueue([&done] { done.Set(); }, "last");
        EXPECT_TRUE(done.Wait());
        Application.pJobSystem->PumpMainThread();
    }

    /// What the user marked on each file is there when the file is.
    void ExpectNoMarkingLost()
    {
        EXPECT_TRUE(pWindow->LoadVideoFile(Second, false));
        EXPECT_GE(pWindow->Timeline().Markers.size(), 2U);
        EXPECT_TRUE(pWindow->LoadVideoFile(First, false));
        EXPECT_EQ(pWindow->Timeline().Markers.size(), 1U);
    }

    using PanelOnHost::Application;
    using PanelOnHost::Ffmpeg;
    using PanelOnHost::Folder;
    using PanelOnHost::HostLog;
    using PanelOnHost::Notifications;
    using PanelOnHost::Panel;
    using PanelOnHost::RunOneWakeUp;
    using PanelOnHost::StartJobSystem;
    using PanelOnHost::StatusLabel;
    std::string First;
    std::string Second;
    std::string Status; ///< the last one that was announced
};

using Step = std::function<void(Desk&)>;

/// Runs Step, with its Number-th allocation failing; true when the memory did run out.
bool RunOutOfMemory(Desk& Place, const Step& Action, long long Number, Extent Failing)
{
    bool bThrew = false;
    FailingNew::Arm(Number, Failing);
    try
    {
        Action(Place);
    }
    catch (const std::bad_alloc&)
    {
        bThrew = true;
    }
    const bool bFailed = FailingNew::Disarm();
    EXPECT_TRUE(bFailed || !bThrew);
    return bFailed;
}

template <typename Value>
void ExpectOneOf(const Value& Seen, const Value& Before, const Value& After, const char* What)
{
    EXPECT_TRUE(Seen == Before || Seen == After)
        << What << ": " << ::testing::PrintToString(Seen) << "\nis neither "
        << ::testing::PrintToString(Before) << "\nnor " << ::testing::PrintToString(After);
}

// Each part of the world is as it was or as it should become, and never in between.
void ExpectNothingHalfMade(const World& Seen, const World& Before, const World& After)
{
    ExpectOneOf(Seen.Clips, Before.Clips, After.Clips, "clips");
    ExpectOneOf(Seen.Rows, Before.Rows, After.Rows, "rows");
    // A file that has just been opened has none yet.
    if (Seen.OpenFile == Before.OpenFile || Seen.Range != "0.000000-0.000000")
    {
        ExpectOneOf(Seen.Range, Before.Range, After.Range, "range");
    }
    ExpectOneOf(Seen.MarkerCount, Before.MarkerCount, After.MarkerCount, "markers");
    ExpectOneOf(Seen.NameInput, Before.NameInput, After.NameInput, "name input");
    for (std::size_t i = 0; i < Seen.Labels.size(); ++i)
    {
        ExpectOneOf(Seen.Labels[i], Before.Labels[i], After.Labels[i], "label");
    }
}

/// Runs Trial with every number from 1 on until no allocation fails any more, in both extents, each
/// on the same memory; returns how many allocations there were.
long long ForEveryAllocation(const std::function<bool(long long, Extent)>& Trial)
{
    constexpr long long Never = 1'000'000'000;
    EXPECT_FALSE(Trial(Never, Extent::Once)); // what is made once for the program is made now
    long long number = 0;
    for (const Extent failing : {Extent::Once, Extent::Forever})
    {
        bool bFailed = true;
        for (number = 1; bFailed && !::testing::Test::HasFailure(); ++number)
        {
            SCOPED_TRACE("allocation " + std::to_string(number) +
                         (failing == Extent::Once ? " fails" : " and all behind it fail"));
            const long long blocksBefore = FailingNew::LiveBlocks();
            bFailed = Trial(number, failing);
            EXPECT_EQ(FailingNew::LiveBlocks(), blocksBefore) << "memory is lost";
        }
    }
    return number - 2;
}

/// The whole test of one action. Prepare makes ready for it; Again says what doing it again must show.
void RunOutOfMemoryEverywhere(const Step& Prepare, const Step& Action, const Step& Again)
{
    World after;
    {
        Desk untroubled;
        Prepare(untroubled);
        Action(untroubled);
        after = untroubled.Look();
    }
    const long long count = ForEveryAllocation(
        [&](long long Number, Extent Failing)
        {
            Desk place;
            Prepare(place);
            const World before = place.Look();
            const bool bFailed = RunOutOfMemory(place, Action, Number, Failing);
            ExpectNothingHalfMade(place.Look(), before, after);
            EXPECT_FALSE(place.Panel->bSyncingNameInput);
            place.ExpectMutexFree();

            place.RunToTheResult();
            place.Status.clear();
            Action(place);
            Again(place);
            place.Panel->RebuildTableModel();
            place.ExpectRowsAreClips();
            place.ExpectNoMarkingLost();
            place.HostLog.TakeLines();
            return bFailed;
        });
    EXPECT_GT(count, 0);
    ::testing::Test::RecordProperty("allocations", static_cast<int>(count));
}

Step Status(const std::string& Prefix)
{
    return [Prefix](Desk& Place)
    {
        EXPECT_THAT(Place.Status, ::testing::StartsWith(Prefix));
        EXPECT_EQ(Place.StatusLabel.Text, Place.Status);
        Place.ExpectRowsAreClips();
    };
}

Step Call(void (MvClipControlPanel::*Action)())
{
    return [Action](Desk& Place) { (Place.Panel.get()->*Action)(); };
}

const Step Nothing = [](Desk&) {};
} // namespace

// -- The actions

TEST(OutOfMemory, InASaveKeepsTheListOrAddsAWholeClip)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::SaveCurrentRangeAsClip),
                             Status("Saved " + LongName));
}

TEST(OutOfMemory, InARenameKeepsTheNameOrGivesIt)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::RenameSelectedClip),
                             Status("Renamed clip to " + LongName));
}

TEST(OutOfMemory, InADeleteKeepsTheClipOrRemovesIt)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::DeleteSelectedClip),
                             Status("Deleted " + LongName));
}

TEST(OutOfMemory, InALoadLosesNoMarking)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::LoadSelectedClip),
                             Status("Loaded " + LongName));
}

TEST(OutOfMemory, InALoadOfAFileThatWasNotOpenYetLosesNoMarking)
{
    RunOutOfMemoryEverywhere(
        [](Desk& Place)
        {
            const fs::path third = Place.First + " a third file with a longer name.mp4";
            std::ofstream(third).close();
            Place.Panel->Clips[1].SourcePath = third;
        },
        Call(&MvClipControlPanel::LoadSelectedClip), Status("Loaded " + LongName));
}

TEST(OutOfMemory, InAJumpLosesNoMarking)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::JumpToSelectedClip),
                             Status("Jumped to " + LongName));
}

TEST(OutOfMemory, InAJumpOutLosesNoMarking)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::JumpOutSelectedClip),
                             Status("Jumped to Out for " + LongName));
}

TEST(OutOfMemory, InAMarkerAddsOneOrNone)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::AddCurrentMarker),
                             Status("Added marker at "));
}

TEST(OutOfMemory, InAClearedRangeClearsItOrNot)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::ClearCurrentRange),
                             Status("Cleared current In/Out range."));
}

TEST(OutOfMemory, InARefusalLeavesTheRunningExportAlone)
{
    ForEveryAllocation(
        [](long long Number, Extent Failing)
        {
            Desk place;
            place.Panel->bExportInProgress = true;
            const bool bFailed = RunOutOfMemory(
                place, Call(&MvClipControlPanel::ExportSelectedClip), Number, Failing);
            place.ExpectMutexFree();
            EXPECT_TRUE(place.Panel->bExportInProgress);
            place.Panel->ExportSelectedClip();
            EXPECT_EQ(place.Status, "Clip export already in progress.");
            return bFailed;
        });
}

// -- What the frame calls

TEST(OutOfMemory, InTheLiveLabelsLeavesNoTextInHalf)
{
    RunOutOfMemoryEverywhere(
        [](Desk& Place) { Place.Panel->ResolveTargetTimeline()->SetDisplayedTimeSec(7000.0); },
        Call(&MvClipControlPanel::UpdateLiveLabels),
        [](Desk& Place) { EXPECT_EQ(Place.Look().Labels.at(2), "Markers: 2   Current: 1:56:40"); });
}

TEST(OutOfMemory, InARebuildKeepsTheRowsOrReplacesThem)
{
    RunOutOfMemoryEverywhere([](Desk& Place)
                             { Place.Panel->Clips.erase(Place.Panel->Clips.begin()); },
                             Call(&MvClipControlPanel::RebuildTableModel),
                             [](Desk& Place) { Place.ExpectRowsAreClips(); });
}

TEST(OutOfMemory, InTheSyncOfTheNameInputKeepsItsTextOrReplacesIt)
{
    RunOutOfMemoryEverywhere(Nothing, Call(&MvClipControlPanel::SyncNameInputFromSelection),
                             [](Desk& Place)
                             { EXPECT_EQ(Place.Look().NameInput, LongName + "two"); });
}

TEST(OutOfMemory, InAPumpKeepsTheMessageAndShowsItAtMostOnce)
{
    const Step prepare = [](Desk& Place)
    {
        Place.StartJobSystem();
        Place.Panel->ExportSelectedClip();
        Place.FinishExport();
    };
    RunOutOfMemoryEverywhere(prepare, Call(&MvClipControlPanel::PumpExportResult),
                             [](Desk& Place)
                             {
                                 EXPECT_FALSE(Place.Panel->bExportResultReady);
                                 EXPECT_THAT(Place.Panel->GetExportStatus().Message,
                                             ::testing::StartsWith("Exported "));
                                 EXPECT_LE(Place.Notifications.size(), 1U);
                             });
}

TEST(OutOfMemory, InTheExportStatusChangesNothing)
{
    const Step prepare = [](Desk& Place)
    {
        Place.StartJobSystem();
        Place.Panel->ExportSelectedClip();
        Place.FinishExport();
    };
    RunOutOfMemoryEverywhere(
        prepare, [](Desk& Place) { static_cast<void>(Place.Panel->GetExportStatus()); },
        [](Desk& Place) { EXPECT_TRUE(Place.Panel->bExportResultReady); });
}

TEST(OutOfMemory, InTheMakingOfAPanelMakesNone)
{
    RunOutOfMemoryEverywhere(
        Nothing, [](Desk&) { const MvClipControlPanel panel; }, Nothing);
}

// -- The run of an export

namespace
{
// A panel whose run threw stays running; another one exports.
void ExpectRunningForEver(Desk& Place)
{
    Place.Panel->ExportSelectedClip();
    EXPECT_EQ(Place.Status, "Clip export already in progress.");
    const std::vector<SavedClip> clips = Place.Panel->Clips;
    MvTable table;
    Place.Panel = std::make_unique<MvClipControlPanel>();
    Place.Panel->pClipTable = &table;
    Place.Panel->Clips = clips;
    table.SelectRow(1);
    Place.Panel->ExportSelectedClip();
    if (Place.Application.pJobSystem != nullptr)
    {
        Place.FinishExport();
    }
    Place.Panel->PumpExportResult();
    EXPECT_THAT(Place.Panel->StatusText, ::testing::StartsWith("Exported "));
}
} // namespace

TEST(OutOfMemory, InAnExportRequestStartsItOrRefusesOrLeavesThePanelRunning)
{
    long long leftRunning = 0;
    ForEveryAllocation(
        [&](long long Number, Extent Failing)
        {
            Desk place;
            place.StartJobSystem();
            const bool bFailed = RunOutOfMemory(
                place, Call(&MvClipControlPanel::ExportSelectedClip), Number, Failing);
            place.ExpectMutexFree();
            place.FinishExport();
            place.Panel->PumpExportResult();
            if (place.Panel->GetExportStatus().bInProgress)
            {
                ++leftRunning;
                ExpectRunningForEver(place);
            }
            else
            {
                place.Panel->ExportSelectedClip();
                EXPECT_THAT(place.Status, ::testing::StartsWith("Exporting "));
                place.FinishExport();
                place.Panel->PumpExportResult();
                EXPECT_THAT(place.Status, ::testing::StartsWith("Exported "));
            }
            place.HostLog.TakeLines();
            return bFailed;
        });
    EXPECT_GT(leftRunning, 0);
}

TEST(OutOfMemory, InARunOnTheSpotEndsItOrLeavesThePanelRunning)
{
    long long leftRunning = 0;
    ForEveryAllocation(
        [&](long long Number, Extent Failing)
        {
            Desk place;
            place.Panel->Clips[1].StartSec = 123'456'789'012.5;
            place.Panel->Clips[1].EndSec = 123'456'789'014.5;
            const bool bFailed = RunOutOfMemory(
                place, Call(&MvClipControlPanel::ExportSelectedClip), Number, Failing);
            place.ExpectMutexFree();
            if (place.Ffmpeg.Runs() > 0) // with whole numbers or not at all
            {
                EXPECT_EQ(place.Ffmpeg.Arguments().at(7), "123456789012.500");
                EXPECT_EQ(place.Ffmpeg.Arguments().at(9), "2.000");
            }
            if (place.Panel->GetExportStatus().bInProgress)
            {
                ++leftRunning;
                EXPECT_FALSE(place.Panel->bExportResultReady);
                ExpectRunningForEver(place);
            }
            else
            {
                place.Panel->PumpExportResult();
                place.Panel->ExportSelectedClip();
                place.Panel->PumpExportResult();
                EXPECT_THAT(place.Status, ::testing::StartsWith("Exported "));
            }
            place.HostLog.TakeLines();
            return bFailed;
        });
    EXPECT_GT(leftRunning, 0);
}

TEST(OutOfMemory, InARunOnAWorkerIsReportedByTheJobSystemOrDoesNoHarm)
{
    long long reported = 0;
    ForEveryAllocation(
        [&](long long Number, Extent Failing)
        {
            Desk place;
            std::vector<std::string> failures;
            place.StartJobSystem();
            JobSystem& jobs = *place.Application.pJobSystem;
            jobs.JobFailed.connect([&](const JobSystem::Failure& Failure)
                                   { failures.push_back(Failure.Label); });
            // One worker runs all three, so what is armed in the first fails in the second.
            ThreadEvent mayBegin;
            bool bFailed = false;
            jobs.Enqueue(
                [&]
                {
                    EXPECT_TRUE(mayBegin.Wait());
                    FailingNew::Arm(Number, Failing);
                },
                "arm");
            place.Panel->ExportSelectedClip();
            jobs.Enqueue([&bFailed] { bFailed = FailingNew::Disarm(); }, "disarm");
            mayBegin.Set();
            place.FinishExport();
            place.Panel->PumpExportResult();
            if (place.Panel->GetExportStatus().bInProgress)
            {
                // With no memory at all not even the failure can be told of.
                EXPECT_TRUE(failures == std::vector<std::string>{"clip export"} ||
                            (Failing == Extent::Forever && failures.empty()));
                reported += static_cast<long long>(failures.size());
                ExpectRunningForEver(place);
            }
            else
            {
                EXPECT_THAT(failures, ::testing::IsEmpty());
                EXPECT_THAT(place.Status, ::testing::AnyOf(::testing::StartsWith("Exported "),
                                                           ::testing::Eq("Clip export failed.")));
                place.Panel->ExportSelectedClip();
                place.FinishExport();
                place.Panel->PumpExportResult();
                EXPECT_THAT(place.Status, ::testing::StartsWith("Exported "));
            }
            place.HostLog.TakeLines();
            return bFailed;
        });
    EXPECT_GT(reported, 0);
}
