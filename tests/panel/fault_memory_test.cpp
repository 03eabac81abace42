// Memory runs out in every action of the panel, at its first allocation, its second, and so on until
// the action succeeds; once for that allocation alone and once for all behind it, too.
//
// However it ends: nothing leaks, the action's changes are made up to one of them in their order and none
// behind it, the mutex is free, and the same action succeeds when it is done again.

#include "base/userdirs.h"
#include "panel/panelonhost.h"
#include "support/failingnew.h"
#include "support/threadevent.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>
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

/// All that an action may change, each part as a text.
using World = std::map<std::string, std::string>;

/// What an action does to one part of the world: Text is what it makes of it, empty for what the part is
/// when the action has ended.
struct Change
{
    std::string Part;
    std::string Text = {};
};
using Changes = std::vector<Change>;

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
        std::string clips;
        for (const SavedClip& clip : Panel->Clips)
        {
            clips += RowText(clip) + "|" + fs::path(clip.SourcePath).filename().native();
            for (const float part : {clip.ColorR, clip.ColorG, clip.ColorB, clip.ColorA})
            {
                clips += "|" + std::to_string(part);
            }
            clips += "\n";
        }
        const MvTimeControl& timeline = pWindow->Timeline();
        return {
            {"ordinal", std::to_string(Panel->NextClipOrdinal)},
            {"clips", clips},
            {"rows", ::testing::PrintToString(Panel->TableModel->GetRows())},
            {"selection",
             std::to_string(Table.SelectedRow) + " and " + std::to_string(Table.CurrentRow)},
            {"name input", NameInput.Text},
            {"file", fs::path(pVideo->FilePath).filename().native()},
            {"marking",
             Marking(timeline.Markers.size(), timeline.RangeStartSec(), timeline.RangeEndSec())},
            {"seek", std::to_string(pVideo->SeekTargetUs)},
            {"source label", SourceLabel.Text},
            {"range label", RangeLabel.Text},
            {"markers label", MarkersLabel.Text},
            {"export",
             Export(Panel->ExportGeneration, Panel->bExportInProgress, Panel->bExportResultReady,
                    Panel->bExportResultSuccess, Panel->ExportResultMessage)},
            {"status", Panel->StatusText},
            {"status label", StatusLabel.Text},
            {"announced status", Status},
            {"notifications", std::to_string(Notifications.size())},
        };
    }

    static std::string Marking(std::size_t MarkerCount, double StartSec, double EndSec)
    {
        return std::to_string(MarkerCount) + " markers, " + std::to_string(StartSec) + " to " +
               std::to_string(EndSec);
    }

    // One part: what is in it changes at once.
    static std::string Export(std::uint64_t Generation,
                              bool bInProgress,
                              bool bResultReady,
                              bool bResultSuccess,
                              const std::string& Message)
    {
        return "generation " + std::to_string(Generation) + (bInProgress ? ", in progress" : "") +
               (bResultReady ? ", ready" : "") + (bResultSuccess ? ", good: " : ", bad: ") +
               Message;
    }

    void ExpectRowsAreClips() const
    {
        std::vector<std::string> expected;
        std::vector<std::string> rows;
        for (const SavedClip& clip : Panel->Clips)
        {
            expected.push_back(RowText(clip));
        }
        for (const MvTableModel::Row& row : Panel->TableModel->GetRows())
        {
            rows.emplace_back();
            for (const std::string& cell : row)
            {
                rows.back() += (&cell == row.data() ? "" : "|") + cell;
            }
        }
        EXPECT_EQ(rows, expected);
    }

    void ExpectMutexFree() const
    {
        const std::unique_lock lock(Panel->ExportMutex, std::try_to_lock);
        EXPECT_TRUE(lock.owns_lock());
    }

    /// Lets the worker, if there is one, end what it has; then the result waits on the panel.
    void FinishExport()
    {
        if (Application.pJobSystem == nullptr)
        {
            return;
        }
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
    using PanelOnHost::MarkersLabel;
    using PanelOnHost::Notifications;
    using PanelOnHost::Panel;
    using PanelOnHost::RangeLabel;
    using PanelOnHost::SourceLabel;
    using PanelOnHost::StartJobSystem;
    using PanelOnHost::StatusLabel;
    using PanelOnHost::Table;
    std::string First;
    std::string Second;
    std::string Status; ///< the last one that was announced
};

using Step = std::function<void(Desk&)>;

struct Outcome
{
    bool bFailed; ///< an allocation did fail
    bool bThrew;  ///< the action did not return
};

/// Runs Action, with its Number-th allocation failing.
Outcome RunOutOfMemory(Desk& Place, const Step& Action, long long Number, Extent Failing)
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
    return {bFailed, bThrew};
}

/// The worlds that an action may leave behind: the one before it, then one more for each change.
std::vector<World> WorldsOnTheWay(const World& Before, const World& After, const Changes& InOrder)
{
    std::vector<World> worlds = {Before};
    for (const Change& change : InOrder)
    {
        worlds.push_back(worlds.back());
        worlds.back().at(change.Part) = change.Text.empty() ? After.at(change.Part) : change.Text;
    }
    return worlds;
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

/// The whole test of one action, which makes the changes InOrder and no other; Afterwards says what must
/// hold then.
void RunOutOfMemoryEverywhere(const Step& Prepare,
                              const Step& Action,
                              const Changes& InOrder,
                              const Step& Afterwards)
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
            const std::vector<World> worlds = WorldsOnTheWay(place.Look(), after, InOrder);
            EXPECT_EQ(worlds.back(), after);
            const Outcome outcome = RunOutOfMemory(place, Action, Number, Failing);
            if (outcome.bThrew)
            {
                EXPECT_THAT(worlds, ::testing::Contains(place.Look()));
            }
            else
            {
                EXPECT_EQ(place.Look(), after);
            }
            EXPECT_FALSE(place.Panel->bSyncingNameInput);
            place.ExpectMutexFree();
            Afterwards(place);
            place.HostLog.TakeLines();
            return outcome.bFailed;
        });
    EXPECT_GT(count, 0);
    ::testing::Test::RecordProperty("allocations", static_cast<int>(count));
}

/// Does Action again and, with Check, sees that it succeeds.
Step Again(const Step& Action, const Step& Check)
{
    return [Action, Check](Desk& Place)
    {
        Place.Status.clear();
        Action(Place);
        Check(Place);
        Place.Panel->RebuildTableModel();
        Place.ExpectRowsAreClips();
        Place.ExpectNoMarkingLost();
    };
}

/// The changes of an action that ends in a status.
Changes WithStatus(Changes InOrder)
{
    for (const char* part : {"status", "status label", "announced status"})
    {
        InOrder.push_back({part});
    }
    return InOrder;
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

void RunActionOutOfMemory(void (MvClipControlPanel::*Action)(),
                          const Changes& InOrder,
                          const std::string& StatusPrefix,
                          const Step& Prepare = Nothing)
{
    RunOutOfMemoryEverywhere(Prepare, Call(Action), WithStatus(InOrder),
                             Again(Call(Action), Status(StatusPrefix)));
}

/// An earlier export's result waits to be shown.
void LetAResultWait(Desk& Place)
{
    Place.Panel->ExportGeneration = 1;
    Place.Panel->bExportResultReady = true;
    Place.Panel->bExportResultSuccess = true;
    Place.Panel->ExportResultMessage = "Exported " + LongName;
}

/// The changes that show that result.
Changes ShownResult()
{
    const std::string message = "Exported " + LongName;
    return {{"export", Desk::Export(1, false, false, true, message)},
            {"status", message},
            {"status label", message},
            {"announced status", message},
            {"notifications", "1"}};
}
} // namespace

// -- The actions

// The counter advances before anything is copied.
TEST(OutOfMemory, InASaveKeepsTheListOrAddsAWholeClip)
{
    RunActionOutOfMemory(&MvClipControlPanel::SaveCurrentRangeAsClip,
                         {{"ordinal"}, {"clips"}, {"rows"}, {"selection"}, {"name input"}},
                         "Saved " + LongName);
}

TEST(OutOfMemory, InARenameKeepsTheNameOrGivesIt)
{
    RunActionOutOfMemory(&MvClipControlPanel::RenameSelectedClip, {{"clips"}, {"rows"}},
                         "Renamed clip to " + LongName);
}

TEST(OutOfMemory, InADeleteKeepsTheClipOrRemovesIt)
{
    // The last clip, so that the selection moves; where the rows could not be made anew nothing is selected.
    RunOutOfMemoryEverywhere([](Desk& Place) { Place.Table.SelectRow(2); },
                             Call(&MvClipControlPanel::DeleteSelectedClip),
                             WithStatus({{"clips"}, {"rows"}, {"selection"}, {"name input"}}),
                             Again(
                                 [](Desk& Place)
                                 {
                                     Place.Table.SelectRow(0);
                                     Place.Panel->DeleteSelectedClip();
                                 },
                                 Status("Deleted " + LongName + "one")));
}

TEST(OutOfMemory, InALoadLosesNoMarking)
{
    RunActionOutOfMemory(&MvClipControlPanel::LoadSelectedClip, {{"file"}, {"marking"}, {"seek"}},
                         "Loaded " + LongName);
}

TEST(OutOfMemory, InALoadOfAFileThatWasNotOpenYetLosesNoMarking)
{
    RunActionOutOfMemory(&MvClipControlPanel::LoadSelectedClip,
                         {{"file"}, {"marking", Desk::Marking(0, 0.0, 0.0)}, {"marking"}, {"seek"}},
                         "Loaded " + LongName,
                         [](Desk& Place)
                         {
                             const fs::path third =
                                 Place.First + " a third file with a longer name.mp4";
                             std::ofstream(third).close();
                             Place.Panel->Clips[1].SourcePath = third;
                         });
}

TEST(OutOfMemory, InAJumpLosesNoMarking)
{
    RunActionOutOfMemory(&MvClipControlPanel::JumpToSelectedClip, {{"file"}, {"marking"}, {"seek"}},
                         "Jumped to " + LongName);
}

TEST(OutOfMemory, InAJumpOutLosesNoMarking)
{
    RunActionOutOfMemory(&MvClipControlPanel::JumpOutSelectedClip,
                         {{"file"}, {"marking"}, {"seek"}}, "Jumped to Out for " + LongName);
}

TEST(OutOfMemory, InAMarkerAddsOneOrNone)
{
    RunActionOutOfMemory(&MvClipControlPanel::AddCurrentMarker, {{"marking"}, {"markers label"}},
                         "Added marker at ");
}

TEST(OutOfMemory, InAClearedRangeClearsItOrNot)
{
    RunActionOutOfMemory(&MvClipControlPanel::ClearCurrentRange, {{"marking"}, {"range label"}},
                         "Cleared current In/Out range.");
}

TEST(OutOfMemory, InARefusalLeavesTheRunningExportAlone)
{
    const Step request = Call(&MvClipControlPanel::ExportSelectedClip);
    RunOutOfMemoryEverywhere([](Desk& Place) { Place.Panel->bExportInProgress = true; }, request,
                             WithStatus({}),
                             Again(request, Status("Clip export already in progress.")));
}

// -- What the frame calls

TEST(OutOfMemory, InTheLiveLabelsLeavesNoTextInHalf)
{
    const Step update = Call(&MvClipControlPanel::UpdateLiveLabels);
    RunOutOfMemoryEverywhere(
        [](Desk& Place)
        {
            Place.Panel->ResolveTargetTimeline()->SetDisplayedTimeSec(7000.0);
            for (MvLabel* label : {&Place.SourceLabel, &Place.RangeLabel})
            {
                label->Text = "earlier";
            }
        },
        update, {{"source label"}, {"range label"}, {"markers label"}},
        Again(update, [](Desk& Place)
              { EXPECT_EQ(Place.MarkersLabel.Text, "Markers: 2   Current: 1:56:40"); }));
}

TEST(OutOfMemory, InARebuildKeepsTheRowsOrReplacesThem)
{
    const Step rebuild = Call(&MvClipControlPanel::RebuildTableModel);
    RunOutOfMemoryEverywhere(
        [](Desk& Place) { Place.Panel->Clips.erase(Place.Panel->Clips.begin()); }, rebuild,
        {{"rows"}}, Again(rebuild, [](Desk& Place) { Place.ExpectRowsAreClips(); }));
}

TEST(OutOfMemory, InTheSyncOfTheNameInputKeepsItsTextOrReplacesIt)
{
    const Step sync = Call(&MvClipControlPanel::SyncNameInputFromSelection);
    RunOutOfMemoryEverywhere(
        Nothing, sync, {{"name input"}},
        Again(sync,
              [](Desk& Place) { EXPECT_EQ(Place.Look().at("name input"), LongName + "two"); }));
}

TEST(OutOfMemory, InAPumpKeepsTheMessageAndShowsItAtMostOnce)
{
    const Step pump = Call(&MvClipControlPanel::PumpExportResult);
    RunOutOfMemoryEverywhere(LetAResultWait, pump, ShownResult(),
                             Again(pump,
                                   [](Desk& Place)
                                   {
                                       EXPECT_FALSE(Place.Panel->bExportResultReady);
                                       EXPECT_EQ(Place.Panel->GetExportStatus().Message,
                                                 "Exported " + LongName);
                                       EXPECT_LE(Place.Notifications.size(), 1U);
                                   }));
}

TEST(OutOfMemory, InAPumpsCopyOfTheMessageLetsTheResultWait)
{
    Desk place;
    LetAResultWait(place);
    const World before = place.Look();
    EXPECT_TRUE(
        RunOutOfMemory(place, Call(&MvClipControlPanel::PumpExportResult), 1, Extent::Once).bThrew);
    EXPECT_EQ(place.Look(), before);
}

TEST(OutOfMemory, InTheExportStatusChangesNothing)
{
    const Step ask = [](Desk& Place) { static_cast<void>(Place.Panel->GetExportStatus()); };
    RunOutOfMemoryEverywhere(LetAResultWait, ask, {}, Again(ask, Nothing));
}

TEST(OutOfMemory, InTheMakingOfAPanelMakesNone)
{
    RunOutOfMemoryEverywhere(
        Nothing, [](Desk&) { const MvClipControlPanel panel; }, {}, Nothing);
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
    Place.FinishExport();
    Place.Panel->PumpExportResult();
    EXPECT_THAT(Place.Panel->StatusText, ::testing::StartsWith("Exported "));
}

// The export's result comes, or the panel is left running; then the next export succeeds.
void ExpectAnotherExport(Desk& Place)
{
    Place.FinishExport();
    Place.Panel->PumpExportResult();
    FakeFfmpeg(Place.Folder.Path(), {});
    if (Place.Panel->GetExportStatus().bInProgress)
    {
        ExpectRunningForEver(Place);
        return;
    }
    Place.Panel->ExportSelectedClip();
    Place.FinishExport();
    Place.Panel->PumpExportResult();
    EXPECT_THAT(Place.Status, ::testing::StartsWith("Exported "));
}

/// Runs out of memory in the job of an export; ffmpeg fails with ErrorLine, or succeeds without one.
void RunJobOutOfMemory(const std::string& ErrorLine)
{
    const bool bFails = !ErrorLine.empty();
    long long reported = 0;
    ForEveryAllocation(
        [&](long long Number, Extent Failing)
        {
            Desk place;
            FakeFfmpeg(place.Folder.Path(),
                       {.ExitCode = bFails ? 1 : 0, .ErrorText = ErrorLine + "\nmore"});
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
            World expected = place.Look();
            mayBegin.Set();
            place.FinishExport();
            if (place.Panel->GetExportStatus().bInProgress)
            {
                // With no memory at all not even the failure can be told of.
                EXPECT_TRUE(failures == std::vector<std::string>{"clip export"} ||
                            (Failing == Extent::Forever && failures.empty()));
                reported += static_cast<long long>(failures.size());
            }
            else
            {
                EXPECT_THAT(failures, ::testing::IsEmpty());
                const fs::path output = place.Ffmpeg.Arguments().back();
                const std::string message = bFails ? "Clip export failed: " + ErrorLine
                                                   : "Exported " + output.filename().native();
                expected["export"] = Desk::Export(1, false, true, !bFails, message);
            }
            EXPECT_TRUE(place.Look() == expected); // too long to be printed
            ExpectAnotherExport(place);
            place.HostLog.TakeLines();
            return bFailed;
        });
    EXPECT_GT(reported, 0);
}
} // namespace

TEST(OutOfMemory, InAnExportRequestStartsItOrLeavesAllButAnEarlierResultAsItWas)
{
    Changes inOrder = ShownResult();
    inOrder.push_back({"export"});
    long long leftRunning = 0;
    RunOutOfMemoryEverywhere(
        [](Desk& Place)
        {
            LetAResultWait(Place);
            Place.StartJobSystem();
        },
        Call(&MvClipControlPanel::ExportSelectedClip), WithStatus(inOrder),
        [&leftRunning](Desk& Place)
        {
            Place.FinishExport();
            leftRunning += Place.Panel->GetExportStatus().bInProgress ? 1 : 0;
            ExpectAnotherExport(Place);
        });
    EXPECT_GT(leftRunning, 0);
}

TEST(OutOfMemory, InARunOnTheSpotEndsItOrLeavesThePanelRunning)
{
    Changes inOrder = WithStatus({{"export", Desk::Export(1, true, false, false, "")}});
    inOrder.push_back({"export"});
    long long leftRunning = 0;
    RunOutOfMemoryEverywhere(
        [](Desk& Place)
        {
            Place.Panel->Clips[1].StartSec = 123'456'789'012.5;
            Place.Panel->Clips[1].EndSec = 123'456'789'014.5;
        },
        Call(&MvClipControlPanel::ExportSelectedClip), inOrder,
        [&leftRunning](Desk& Place)
        {
            if (Place.Ffmpeg.Runs() > 0) // with whole numbers or not at all
            {
                EXPECT_EQ(Place.Ffmpeg.Arguments().at(7), "123456789012.500");
                EXPECT_EQ(Place.Ffmpeg.Arguments().at(9), "2.000");
            }
            leftRunning += Place.Panel->GetExportStatus().bInProgress ? 1 : 0;
            ExpectAnotherExport(Place);
        });
    EXPECT_GT(leftRunning, 0);
}

TEST(OutOfMemory, WhileTheUsersFoldersAreReadIsNoEndOfTheText)
{
    const std::string expected = "/mnt/" + std::string(100, 'x');
    const std::string text = "# of a user\nXDG_VIDEOS_DIR=\"" + expected + "\"\n";
    int failures = 0;
    for (bool bFailed = true; bFailed; ++failures)
    {
        FailingNew::Arm(failures + 1, FailingNew::Extent::Once);
        try
        {
            const std::string found = UserDirFromText(text, "XDG_VIDEOS_DIR", "/home/ada");
            bFailed = FailingNew::Disarm();
            EXPECT_EQ(found, expected) << failures;
        }
        catch (const std::bad_alloc&)
        {
            FailingNew::Disarm();
        }
    }
    EXPECT_GT(failures, 1);
}

TEST(OutOfMemory, InARunOnAWorkerIsReportedByTheJobSystemOrDoesNoHarm)
{
    RunJobOutOfMemory("");
}

// The line is read into memory that grows several times.
TEST(OutOfMemory, InARunThatFailsShowsTheWholeLineOrLeavesThePanelRunning)
{
    RunJobOutOfMemory(std::string(100'000, 'x'));
}
