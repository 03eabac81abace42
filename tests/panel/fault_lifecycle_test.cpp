// Exports and actions whose job system, panel, window, label or listener goes or acts up meanwhile.

#include "panel/faultfixture.h"

#include <optional>
#include <stdexcept>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{
namespace fs = std::filesystem;
constexpr const char* Success = "Exported clip_00000_Intro.mkv";

class JobSystemFault : public FaultTest
{
protected:
    /// Keeps the only worker busy until the end of the test or OpenGate.
    void CloseGate()
    {
        StartJobSystem();
        ThreadEvent begun;
        Application.pJobSystem->Enqueue(
            [this, &begun]
            {
                begun.Set();
                EXPECT_TRUE(Gate.Wait());
            },
            "gate");
        EXPECT_TRUE(begun.Wait());
    }
    void OpenGate() { Gate.Set(); }

    /// Lets everything that was enqueued run to its end; callbacks stay unpumped.
    void FinishJobs()
    {
        ThreadEvent done;
        Application.pJobSystem->Enqueue([&done] { done.Set(); }, "last");
        EXPECT_TRUE(done.Wait());
    }

    void PumpAll()
    {
        Application.pJobSystem->PumpMainThread();
        Panel->PumpExportResult();
    }

    ThreadEvent Gate;
};

/// An export whose ffmpeg has begun and waits.
class RunningExport : public JobSystemFault
{
protected:
    void Begin()
    {
        FfmpegDoes({.OutputCommand = "printf whole > \"$out\"", .WaitsFor = MayEnd});
        StartJobSystem();
        Panel->ExportSelectedClip();
    }
    void LetFfmpegEnd() const { EXPECT_TRUE(WriteFile(MayEnd, "")); }

    const fs::path MayEnd = Folder.Path() / "may end";
};

/// Panels that die before the result of their export has come.
class DyingPanel : public RunningExport
{
protected:
    /// Ends the panel and begins another in its place, as far along as the dead one was: what still comes
    /// for that one is seen here.
    void ReplacePanel()
    {
        std::destroy_at(Panel.get());
        std::construct_at(Panel.get());
        StatusLabel.Text = "untouched";
        Panel->pStatusLabel = &StatusLabel;
        Panel->ExportGeneration = 1;
        Panel->bExportInProgress = true;
    }
    static void ExpectNoResult(const MvClipControlPanel& Untold)
    {
        EXPECT_TRUE(Untold.bExportInProgress);
        EXPECT_FALSE(Untold.bExportResultReady);
        EXPECT_EQ(Untold.ExportResultMessage, "");
    }
    /// After ReplacePanel.
    void ExpectUntouched() const
    {
        ExpectNoResult(*Panel);
        EXPECT_EQ(StatusLabel.Text, "untouched");
    }
};
using ClosedWindow = RunningExport;

class Listener : public FaultTest
{
protected:
    /// Calls a slot at the next status text that begins with Prefix, and only then.
    void AtStatus(const std::string& Prefix, std::function<void()> Slot)
    {
        Panel->StatusChanged.connect(
            [this, Prefix, Slot = std::move(Slot),
             bDone = std::make_shared<bool>(false)](const std::string& Text)
            {
                Heard.push_back(Text);
                if (!*bDone && Text.starts_with(Prefix))
                {
                    *bDone = true;
                    Slot();
                }
            });
    }

    /// The panel's list and the table say the same.
    void ExpectTableIsList() const
    {
        ASSERT_EQ(Panel->TableModel->GetRows().size(), Panel->Clips.size());
        for (std::size_t i = 0; i < Panel->Clips.size(); ++i)
        {
            EXPECT_EQ(Panel->TableModel->GetRows()[i][0], Panel->Clips[i].Name);
        }
    }

    static void Throw() { throw std::runtime_error("listener"); }

    std::vector<std::string> Heard;
};

/// Every action of the panel, and a text that its status begins with.
struct NamedAction
{
    void (MvClipControlPanel::*Run)();
    const char* Status;
};
constexpr NamedAction Actions[] = {
    {&MvClipControlPanel::SaveCurrentRangeAsClip, "Saved "},
    {&MvClipControlPanel::RenameSelectedClip, "Renamed "},
    {&MvClipControlPanel::LoadSelectedClip, "Loaded "},
    {&MvClipControlPanel::JumpToSelectedClip, "Jumped to "},
    {&MvClipControlPanel::JumpOutSelectedClip, "Jumped to Out "},
    {&MvClipControlPanel::AddCurrentMarker, "Added "},
    {&MvClipControlPanel::ExportSelectedClip, "Exporting "},
    {&MvClipControlPanel::DeleteSelectedClip, "Deleted "},
    {&MvClipControlPanel::ClearCurrentRange, "Cleared "},
};
} // namespace

// -- The job system stops

TEST_F(JobSystemFault, StoppedBeforeTheJobDropsItAndThePanelStaysRunning)
{
    CloseGate();
    Panel->ExportSelectedClip();
    std::thread opener(
        [this]
        {
            while (Application.pJobSystem->IsRunning())
            {
                std::this_thread::yield();
            }
            OpenGate();
        });
    Application.pJobSystem->Stop();
    opener.join();
    PumpAll();
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    EXPECT_THAT(Notifications, IsEmpty());
    EXPECT_FALSE(fs::exists(Output()));
    // The panel does the rest as ever, and dies quietly.
    Save("Outro", 2.0, 4.0);
    EXPECT_EQ(StatusLabel.Text, "Saved Outro from source.mp4");
}

TEST_F(RunningExport, StopOfTheJobSystemWaitsForFfmpegAndKeepsTheResult)
{
    Begin();
    std::thread ender(
        [this]
        {
            while (Application.pJobSystem->IsRunning())
            {
                std::this_thread::yield();
            }
            LetFfmpegEnd();
        });
    while (Ffmpeg.Runs() == 0) // a job that has not begun would be dropped
    {
        std::this_thread::yield();
    }
    Application.pJobSystem->Stop();
    ender.join();
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    PumpAll();
    EXPECT_EQ(StatusLabel.Text, Success);
    EXPECT_THAT(Notifications, SizeIs(1));
    EXPECT_EQ(ReadFile(Output()), "whole");
}

TEST_F(JobSystemFault, StoppedAfterTheRunKeepsTheResult)
{
    StartJobSystem();
    Panel->ExportSelectedClip();
    FinishJobs();
    Application.pJobSystem->Stop();
    PumpAll();
    EXPECT_EQ(StatusLabel.Text, Success);
    EXPECT_THAT(Notifications, SizeIs(1));
    // From now on without a worker.
    EXPECT_EQ(ExportOnTheSpot(), "Exported clip_00001_Intro.mkv");
}

TEST_F(JobSystemFault, DestroyedWithAResultWaitingTakesItAlong)
{
    StartJobSystem();
    Panel->ExportSelectedClip();
    FinishJobs();
    Application.pJobSystem.reset();
    Panel->PumpExportResult();
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    EXPECT_TRUE(fs::exists(Output()));
    EXPECT_THAT(Notifications, IsEmpty());
}

// -- The panel dies

TEST_F(DyingPanel, BeforeTheJobBeginsLeavesTheExportToEndAlone)
{
    CloseGate();
    Panel->ExportSelectedClip();
    ReplacePanel();
    OpenGate();
    FinishJobs();
    Application.pJobSystem->PumpMainThread();
    ExpectUntouched();
    EXPECT_THAT(Notifications, IsEmpty());
    EXPECT_TRUE(fs::exists(Output()));
    EXPECT_FALSE(fs::exists(ErrorLog()));
}

TEST_F(DyingPanel, WhileFfmpegRunsLeavesTheExportToEndAlone)
{
    Begin();
    while (Ffmpeg.Runs() == 0)
    {
        std::this_thread::yield();
    }
    ReplacePanel();
    LetFfmpegEnd();
    FinishJobs();
    Application.pJobSystem->PumpMainThread();
    ExpectUntouched();
    EXPECT_EQ(ReadFile(Output()), "whole");
}

TEST_F(DyingPanel, AfterTheJobHasPostedAndBeforeTheCallbackDropsTheResult)
{
    StartJobSystem();
    Panel->ExportSelectedClip();
    FinishJobs();
    ReplacePanel();
    Application.pJobSystem->PumpMainThread();
    ExpectUntouched();
    EXPECT_THAT(Notifications, IsEmpty());
}

TEST_F(DyingPanel, AfterTheCallbackAndBeforeThePumpDropsTheResult)
{
    StartJobSystem();
    Panel->ExportSelectedClip();
    FinishJobs();
    Application.pJobSystem->PumpMainThread();
    Panel.reset();
    EXPECT_EQ(StatusLabel.Text, "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_THAT(Notifications, IsEmpty());
}

TEST_F(DyingPanel, ASuccessorAtItsAddressGetsItsOwnResultAlone)
{
    CloseGate();
    const MvClipControlPanel::SavedClip clip = Panel->Clips[0];
    std::optional<MvClipControlPanel> place;
    const auto exportFromPlace = [&](const std::string& Name)
    {
        place.emplace();
        place->pClipTable = &Table;
        place->pStatusLabel = &StatusLabel;
        place->Clips = {clip};
        place->Clips[0].Name = Name;
        Table.SelectRow(0);
        place->ExportSelectedClip();
        EXPECT_EQ(place->ExportGeneration, 1U);
        return &*place;
    };
    Table.SelectionChanged.slots.clear();
    const MvClipControlPanel* const first = exportFromPlace("first");
    place.reset();
    // Between the two callbacks, which come from the same address and the same generation.
    bool bLooked = false;
    const auto look = [&]
    {
        ExpectNoResult(*place);
        bLooked = true;
    };
    JobSystem& jobs = *Application.pJobSystem;
    jobs.Enqueue([&] { jobs.EnqueueMainThread(look); }, "look");
    EXPECT_EQ(exportFromPlace("second"), first);
    OpenGate();
    FinishJobs();

    jobs.PumpMainThread();
    EXPECT_TRUE(bLooked);
    EXPECT_EQ(place->GetExportStatus().Message, "Exported clip_00000_second.mkv");
    place->PumpExportResult();
    ASSERT_THAT(Notifications, SizeIs(1));
    EXPECT_EQ(Notifications[0].Message, "Exported clip_00000_second.mkv");
    EXPECT_TRUE(fs::exists(Clips() / "clip_00000_first.mkv"));
}

TEST_F(DyingPanel, ASuccessorIsNotToldOfAnExportThatItDidNotStart)
{
    CloseGate();
    const MvClipControlPanel::SavedClip clip = Panel->Clips[0];
    std::optional<MvClipControlPanel> place;
    place.emplace();
    place->pClipTable = &Table;
    place->Clips = {clip};
    place->ExportSelectedClip();
    place.reset();
    place.emplace();
    place->ExportGeneration = 1; // not even then
    OpenGate();
    FinishJobs();
    Application.pJobSystem->PumpMainThread();
    place->PumpExportResult();
    EXPECT_FALSE(place->bExportResultReady);
    EXPECT_EQ(place->ExportResultMessage, "");
    EXPECT_THAT(Notifications, IsEmpty());
}

TEST_F(JobSystemFault, TwoPanelsAtOnceMayTakeOneNameAndBothEndInOrder)
{
    // A name is not reserved by choosing it: the later writer's file stays.
    CloseGate();
    Panel->ExportSelectedClip();
    MvClipControlPanel other;
    other.pClipTable = &Table;
    other.Clips = Panel->Clips;
    other.ExportSelectedClip();
    EXPECT_EQ(other.StatusText, "Exporting Intro to clip_00000_Intro.mkv...");
    OpenGate();
    FinishJobs();
    PumpAll();
    other.PumpExportResult();
    EXPECT_EQ(Panel->StatusText, Success);
    EXPECT_EQ(other.StatusText, Success);
    EXPECT_EQ(Ffmpeg.Runs(), 2U);
    ExpectReady();
}

// -- The window closes

TEST_F(ClosedWindow, WhileFfmpegRunsChangesNothingOfTheExport)
{
    Begin();
    Application.pMovane->RemoveWindow(Movane::FirstVideoWindowID);
    Panel->UpdateLiveLabels();
    EXPECT_EQ(SourceLabel.Text, "Source: No active video source");
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    LetFfmpegEnd();
    RunToTheResult();
    EXPECT_EQ(StatusLabel.Text, Success);
    EXPECT_EQ(ReadFile(Output()), "whole");
    ASSERT_THAT(Panel->Clips, SizeIs(1)); // the clips are not the window's
    ExpectReady();
}

// -- Listeners

TEST_F(Listener, ThatThrowsLeavesEveryActionDoneAndThePanelWorking)
{
    StartJobSystem();
    for (const NamedAction& action : Actions)
    {
        pWindow->Timeline().SetRangeSelection(1.0, 3.0, false);
        NameInput.SetText("name", true);
        if (Panel->Clips.empty())
        {
            Save("Intro", 1.0, 3.0);
        }
        AtStatus(action.Status, Throw);
        EXPECT_THROW((Panel.get()->*action.Run)(), std::runtime_error) << action.Status;
        EXPECT_THAT(Panel->StatusText, testing::StartsWith(action.Status));
        EXPECT_EQ(StatusLabel.Text, Panel->StatusText);
        EXPECT_FALSE(Panel->bSyncingNameInput);
        ExpectTableIsList();
        Panel->StatusChanged.slots.clear();
        // An export that was not handed over: only a result would end it.
        Panel->bExportInProgress = false;
    }
    Save("Intro", 1.0, 3.0);
    ExpectReady();
}

// Only a result ends the running state, and none comes of an export that was not handed over.
TEST_F(Listener, ThatThrowsWhenAnExportStartsLeavesThePanelRunning)
{
    AtStatus("Exporting ", Throw);
    StartJobSystem();
    EXPECT_THROW(Panel->ExportSelectedClip(), std::runtime_error);
    EXPECT_EQ(StatusLabel.Text, "Exporting Intro to clip_00000_Intro.mkv...");
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    Panel->PumpExportResult();
    EXPECT_EQ(Ffmpeg.Runs(), 0U);
    EXPECT_THAT(Notifications, IsEmpty());
    Panel->ExportSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Clip export already in progress.");
}

TEST_F(Listener, ThatThrowsAtAResultHasItShownOnce)
{
    StartJobSystem();
    Panel->ExportSelectedClip();
    AtStatus("Exported ", Throw);
    EXPECT_THROW(RunToTheResult(), std::runtime_error);
    EXPECT_EQ(StatusLabel.Text, Success);
    EXPECT_EQ(Panel->GetExportStatus().Message, Success);
    Heard.clear();
    Panel->PumpExportResult();
    EXPECT_THAT(Heard, IsEmpty());
    ExpectReady();
}

TEST_F(Listener, ThatSavesAClipInsideAnyActionIsServed)
{
    StartJobSystem();
    for (const NamedAction& action : Actions)
    {
        pWindow->Timeline().SetRangeSelection(1.0, 3.0, false);
        NameInput.SetText("name", true);
        const std::size_t countBefore = Panel->Clips.size();
        AtStatus(action.Status, [this] { Panel->SaveCurrentRangeAsClip(); });
        (Panel.get()->*action.Run)();
        const bool bSaves = action.Run == &MvClipControlPanel::SaveCurrentRangeAsClip;
        const bool bDeletes = action.Run == &MvClipControlPanel::DeleteSelectedClip;
        // Where the range is cleared there is none to save.
        const bool bClears = action.Run == &MvClipControlPanel::ClearCurrentRange;
        EXPECT_EQ(Panel->Clips.size(), countBefore + (bSaves                ? 2U
                                                      : bDeletes || bClears ? 0U
                                                                            : 1U))
            << action.Status;
        ExpectTableIsList();
        Panel->StatusChanged.slots.clear();
        if (Panel->GetExportStatus().bInProgress)
        {
            RunToTheResult();
            EXPECT_THAT(StatusLabel.Text, testing::StartsWith("Exported "));
        }
    }
    ExpectReady();
}

TEST_F(Listener, ThatSavesAClipWhileARefusalHoldsTheMutexIsServed)
{
    const fs::path mayEnd = Folder.Path() / "may end";
    FfmpegDoes({.WaitsFor = mayEnd});
    StartJobSystem();
    Panel->ExportSelectedClip();
    AtStatus("Clip export already", [this] { Panel->SaveCurrentRangeAsClip(); });
    Panel->ExportSelectedClip();
    EXPECT_THAT(Panel->Clips, SizeIs(2));
    EXPECT_TRUE(WriteFile(mayEnd, ""));
    RunToTheResult();
    EXPECT_EQ(StatusLabel.Text, Success);
}

TEST_F(Listener, ThatSavesAClipAtAResultIsServed)
{
    StartJobSystem();
    Panel->ExportSelectedClip();
    AtStatus("Exported ", [this] { Panel->SaveCurrentRangeAsClip(); });
    RunToTheResult();
    EXPECT_THAT(Panel->Clips, SizeIs(2));
    ExpectTableIsList();
    ASSERT_THAT(Notifications, SizeIs(1));
    EXPECT_EQ(Notifications[0].Message, Success);
}

TEST_F(Listener, ThatDestroysTheStatusLabelIsServed)
{
    StartJobSystem();
    for (const NamedAction& action : Actions)
    {
        pWindow->Timeline().SetRangeSelection(1.0, 3.0, false);
        NameInput.SetText("name", true);
        auto label = std::make_unique<MvLabel>();
        Panel->pStatusLabel = label.get();
        AtStatus(action.Status,
                 [this, &label]
                 {
                     Panel->pStatusLabel = nullptr;
                     label.reset();
                 });
        (Panel.get()->*action.Run)();
        EXPECT_EQ(label, nullptr) << action.Status;
        EXPECT_THAT(Panel->StatusText, testing::StartsWith(action.Status));
        Panel->StatusChanged.slots.clear();
        if (Panel->GetExportStatus().bInProgress)
        {
            RunToTheResult();
            EXPECT_THAT(Panel->StatusText, testing::StartsWith("Exported "));
        }
    }
}

TEST_F(Listener, OfTheTimelineThatDestroysTheLabelsIsServed)
{
    auto labels = std::make_unique<std::array<MvLabel, 3>>();
    Panel->pSourceLabel = &(*labels)[0];
    Panel->pRangeLabel = &(*labels)[1];
    Panel->pMarkersLabel = &(*labels)[2];
    pWindow->Timeline().Changed.connect(
        [&]
        {
            Panel->pSourceLabel = nullptr;
            Panel->pRangeLabel = nullptr;
            Panel->pMarkersLabel = nullptr;
            labels.reset();
        });
    Panel->AddCurrentMarker();
    EXPECT_EQ(labels, nullptr);
    EXPECT_EQ(StatusLabel.Text, "Added marker at 00:00");
    EXPECT_THAT(pWindow->Timeline().Markers, SizeIs(1));
}
