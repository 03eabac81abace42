// What becomes of the exports of a list of clips whose rows come, change and go.

#include "app/exportstates.h"
#include "support/filetext.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace
{
using SavedClip = MvClipControlPanel::SavedClip;
using testing::ElementsAre;
using testing::IsEmpty;

SavedClip NewClip(const std::string& Name)
{
    SavedClip clip;
    clip.Name = Name;
    clip.SourcePath = "/videos/holiday.mp4";
    clip.StartSec = 1.0;
    clip.EndSec = 2.0;
    return clip;
}

/// The states of three clips, changed as the panel's actions change the list.
class ExportStatesTest : public testing::Test
{
protected:
    ExportState StateOf(int Row) const { return States.Of(Row).State; }

    void Save(const std::string& Name)
    {
        Clips.push_back(NewClip(Name));
        States.Follow(-1);
    }
    void Delete(int Row)
    {
        Clips.erase(Clips.begin() + Row);
        States.Follow(Row);
    }
    /// From the key to a whole file.
    void Export(int Row, const std::string& Path)
    {
        const ExportStates::ClipID id = States.IdOf(Row);
        States.Queue(Row);
        States.Begin(id);
        States.EndDone(Path);
    }

    void Stop(int Row)
    {
        States.Queue(Row);
        States.Begin(States.IdOf(Row));
        States.EndStopped();
    }

    std::vector<SavedClip> Clips = {NewClip("A"), NewClip("B"), NewClip("C")};
    ExportStates States{Clips};
};

TEST_F(ExportStatesTest, ANewClipHasNone)
{
    EXPECT_EQ(States.Of(0), ClipExport());
    EXPECT_EQ(States.CountMissing(), 3);
}

TEST_F(ExportStatesTest, ARowOutOfRangeHasNoneAndNoNumber)
{
    for (const int row : {-1, 3, 1000000})
    {
        EXPECT_EQ(States.Of(row), ClipExport());
        EXPECT_EQ(States.IdOf(row), 0U);
        EXPECT_FALSE(States.IsUnderWay(row));
        States.Queue(row);
    }
    EXPECT_EQ(States.CountMissingAfterExports(), 3);
}

TEST_F(ExportStatesTest, AnExportIsQueuedThenRunsThenIsDone)
{
    const ExportStates::ClipID id = States.IdOf(1);
    States.Queue(1);
    EXPECT_EQ(StateOf(1), ExportState::Queued);
    EXPECT_TRUE(States.IsUnderWay(1));
    States.Begin(id);
    States.Progress(0.25);
    EXPECT_EQ(States.Of(1), (ClipExport{.State = ExportState::Running, .Fraction = 0.25}));
    EXPECT_TRUE(States.IsUnderWay(1));
    States.EndDone("/clips/b.mkv");
    EXPECT_EQ(States.Of(1), (ClipExport{.State = ExportState::Done, .Path = "/clips/b.mkv"}));
    EXPECT_FALSE(States.IsUnderWay(1));
    EXPECT_EQ(StateOf(0), ExportState::None);
    EXPECT_EQ(StateOf(2), ExportState::None);
    EXPECT_EQ(States.CountMissing(), 2);
}

TEST_F(ExportStatesTest, AFailureKeepsItsReasonAndTheEarlierFile)
{
    Export(0, "/clips/a.mkv");
    States.Queue(0);
    States.Begin(States.IdOf(0));
    States.EndFailed("Clip export failed: disk full");
    EXPECT_EQ(States.Of(0), (ClipExport{.State = ExportState::Failed,
                                        .Path = "/clips/a.mkv",
                                        .Reason = "Clip export failed: disk full"}));
    EXPECT_EQ(States.CountMissing(), 2);
    Export(0, "/clips/a2.mkv");
    EXPECT_EQ(States.Of(0), (ClipExport{.State = ExportState::Done, .Path = "/clips/a2.mkv"}));
}

TEST_F(ExportStatesTest, AStoppedOneIsWhatItWasBeforeAndSaysThatItWasStopped)
{
    Export(0, "/clips/a.mkv");
    for (const int row : {0, 1})
    {
        ClipExport expected = States.Of(row);
        expected.bStopped = true;
        Stop(row);
        EXPECT_EQ(States.Of(row), expected);
        States.Queue(row);
        EXPECT_FALSE(States.Of(row).bStopped);
        States.Withdraw(States.IdOf(row));
        EXPECT_EQ(States.Of(row), expected);
    }
}

TEST_F(ExportStatesTest, AStopIsForgottenWhenAnotherExportEnds)
{
    Stop(0);
    Export(0, "/clips/a.mkv");
    EXPECT_EQ(States.Of(0), (ClipExport{.State = ExportState::Done, .Path = "/clips/a.mkv"}));
    Stop(0);
    States.Queue(0);
    States.Begin(States.IdOf(0));
    States.EndFailed("Clip export failed.");
    EXPECT_FALSE(States.Of(0).bStopped);
}

TEST_F(ExportStatesTest, AWithdrawnOneIsWhatItWasBefore)
{
    Export(0, "/clips/a.mkv");
    States.Queue(0);
    States.Queue(1);
    States.Withdraw(States.IdOf(0));
    States.Withdraw(States.IdOf(1));
    EXPECT_EQ(StateOf(0), ExportState::Done);
    EXPECT_EQ(StateOf(1), ExportState::None);
}

TEST_F(ExportStatesTest, AChangedRangeNameOrSourceOutdatesTheFile)
{
    const auto change = [this](auto Field, auto Value)
    {
        const auto earlier = Clips[1].*Field;
        Clips[1].*Field = Value;
        States.Follow(1);
        EXPECT_EQ(StateOf(1), ExportState::Outdated);
        EXPECT_EQ(States.Of(1).Path, "/clips/b.mkv");
        EXPECT_EQ(States.CountMissing(), 3);
        Clips[1].*Field = earlier;
        States.Follow(1);
        EXPECT_EQ(StateOf(1), ExportState::Done);
    };
    Export(1, "/clips/b.mkv");
    change(&SavedClip::Name, std::string("Other"));
    change(&SavedClip::SourcePath, std::string("/videos/other.mp4"));
    change(&SavedClip::StartSec, 1.001);
    change(&SavedClip::EndSec, 2.001);
}

TEST_F(ExportStatesTest, AColourIsNotInTheFile)
{
    Export(1, "/clips/b.mkv");
    Clips[1].ColorName = "Rose";
    EXPECT_EQ(StateOf(1), ExportState::Done);
}

TEST_F(ExportStatesTest, AnExportKeepsWhatTheClipWasWhenItWasQueued)
{
    const ExportStates::ClipID id = States.IdOf(0);
    States.Queue(0);
    Clips[0].Name = "Renamed";
    EXPECT_FALSE(States.IsUnderWay(0));
    States.Begin(id);
    States.EndDone("/clips/a.mkv");
    EXPECT_EQ(StateOf(0), ExportState::Outdated);
}

TEST_F(ExportStatesTest, AClipThatWasRenamedMayWaitTwice)
{
    const ExportStates::ClipID id = States.IdOf(0);
    States.Queue(0);
    Clips[0].Name = "Renamed";
    States.Queue(0);
    EXPECT_TRUE(States.IsUnderWay(0));
    States.Begin(id);
    States.EndDone("/clips/a.mkv");
    EXPECT_EQ(StateOf(0), ExportState::Queued);
    States.Begin(id);
    States.EndDone("/clips/renamed.mkv");
    EXPECT_EQ(StateOf(0), ExportState::Done);
}

// -- What becomes of files

TEST_F(ExportStatesTest, AFileThatHasGoneIsNoneUntilItComesBack)
{
    const TempFolder folder;
    const std::string file = (folder.Path() / "a.mkv").native();
    WriteFile(file, "x");
    Export(0, file);
    EXPECT_FALSE(States.CheckFiles());
    EXPECT_EQ(StateOf(0), ExportState::Done);
    std::filesystem::remove(file);
    EXPECT_EQ(StateOf(0), ExportState::Done); // nobody has looked
    EXPECT_TRUE(States.CheckFiles());
    EXPECT_EQ(States.Of(0), ClipExport());
    EXPECT_EQ(States.CountMissing(), 3);
    EXPECT_FALSE(States.CheckFiles());
    WriteFile(file, "x");
    EXPECT_TRUE(States.CheckFiles());
    EXPECT_EQ(States.Of(0), (ClipExport{.State = ExportState::Done, .Path = file}));
}

TEST_F(ExportStatesTest, AFailureStaysOneWhenTheEarlierFileGoes)
{
    Export(0, "/nowhere/a.mkv");
    States.Queue(0);
    States.Begin(States.IdOf(0));
    States.EndFailed("Clip export failed.");
    EXPECT_TRUE(States.CheckFiles());
    EXPECT_EQ(States.Of(0),
              (ClipExport{.State = ExportState::Failed, .Reason = "Clip export failed."}));
}

TEST_F(ExportStatesTest, ASourceOfAnotherSizeOrTimeOutdatesTheFile)
{
    const TempFolder folder;
    const std::filesystem::path source = folder.Path() / "holiday.mp4";
    const std::string file = (folder.Path() / "a.mkv").native();
    WriteFile(file, "x");
    WriteFile(source, "source");
    for (const int row : {0, 1})
    {
        Clips[static_cast<std::size_t>(row)].SourcePath = source;
        Export(row, file);
        EXPECT_FALSE(States.CheckFiles());
    }
    const auto time = std::filesystem::last_write_time(source);
    WriteFile(source, "longer source");
    std::filesystem::last_write_time(source, time);
    EXPECT_TRUE(States.CheckFiles());
    EXPECT_EQ(StateOf(0), ExportState::Outdated);
    EXPECT_EQ(StateOf(1), ExportState::Outdated);
    EXPECT_THAT(States.RowsToExport(), ElementsAre(0, 1, 2));

    Export(0, file);
    EXPECT_FALSE(States.CheckFiles());
    EXPECT_EQ(StateOf(0), ExportState::Done);
    std::filesystem::last_write_time(source, time + std::chrono::nanoseconds(1));
    EXPECT_TRUE(States.CheckFiles());
    EXPECT_EQ(StateOf(0), ExportState::Outdated);
}

TEST_F(ExportStatesTest, ASourceThatChangesWhileItIsExportedOutdatesTheFile)
{
    const TempFolder folder;
    const std::filesystem::path source = folder.Path() / "holiday.mp4";
    const std::string file = (folder.Path() / "a.mkv").native();
    WriteFile(source, "source");
    WriteFile(file, "x");
    Clips[0].SourcePath = source;
    States.Queue(0);
    States.Begin(States.IdOf(0));
    WriteFile(source, "longer source");
    States.EndDone(file);
    EXPECT_TRUE(States.CheckFiles());
    EXPECT_EQ(StateOf(0), ExportState::Outdated);
}

TEST_F(ExportStatesTest, ASourceThatIsAwayOutdatesNothing)
{
    const TempFolder folder;
    const std::filesystem::path source = folder.Path() / "holiday.mp4";
    const std::string file = (folder.Path() / "a.mkv").native();
    WriteFile(source, "source");
    WriteFile(file, "x");
    Clips[0].SourcePath = source;
    Export(0, file);
    std::filesystem::remove(source);
    EXPECT_FALSE(States.CheckFiles());
    EXPECT_EQ(StateOf(0), ExportState::Done);
}

// -- Rows that come and go

TEST_F(ExportStatesTest, ADeletedClipTakesItsStateAlongWhereverItStands)
{
    for (const int row : {0, 1, 2})
    {
        Clips = {NewClip("A"), NewClip("A"), NewClip("A")}; // alike, so that the row alone tells
        ExportStates states{Clips};
        states.Queue(row);
        states.Begin(states.IdOf(row));
        states.EndDone("/clips/a.mkv");
        Clips.erase(Clips.begin() + row);
        states.Follow(row);
        EXPECT_EQ(states.Of(0), ClipExport());
        EXPECT_EQ(states.Of(1), ClipExport());
    }
}

TEST_F(ExportStatesTest, TheOthersKeepTheirsWhenOneIsDeleted)
{
    Export(2, "/clips/c.mkv");
    States.Queue(1);
    Delete(0);
    EXPECT_EQ(StateOf(0), ExportState::Queued);
    EXPECT_EQ(StateOf(1), ExportState::Done);
}

TEST_F(ExportStatesTest, ASavedClipHasNoneAndANumberOfItsOwn)
{
    Export(2, "/clips/c.mkv");
    const ExportStates::ClipID last = States.IdOf(2);
    Delete(2);
    Save("C");
    EXPECT_EQ(States.Of(2), ClipExport());
    EXPECT_GT(States.IdOf(2), last);
}

TEST_F(ExportStatesTest, TheExportOfADeletedClipEndsForNobody)
{
    const ExportStates::ClipID id = States.IdOf(1);
    States.Queue(1);
    States.Begin(id);
    Delete(1);
    States.Progress(0.5);
    EXPECT_EQ(StateOf(1), ExportState::None);
    States.EndDone("/clips/b.mkv");
    States.Withdraw(id);
    EXPECT_EQ(States.CountMissing(), 2);
    // The next one is not taken for it.
    States.Queue(0);
    States.Begin(States.IdOf(0));
    States.EndDone("/clips/a.mkv");
    EXPECT_EQ(StateOf(0), ExportState::Done);
}

TEST_F(ExportStatesTest, AListThatChangedByMoreIsFollowedToo)
{
    Export(0, "/clips/a.mkv");
    Clips.resize(1);
    States.Follow(2);
    EXPECT_EQ(StateOf(0), ExportState::Done);
    EXPECT_EQ(States.IdOf(1), 0U);
    Clips.assign(5, NewClip("D"));
    EXPECT_EQ(States.Of(4), ClipExport()); // not followed yet
    States.Follow(-1);
    EXPECT_NE(States.IdOf(4), 0U);
    Clips.clear();
    EXPECT_EQ(States.Of(0).State, ExportState::Outdated); // the file is there, the clip no more
    EXPECT_FALSE(States.IsUnderWay(0));
    States.Follow(-1);
    EXPECT_EQ(States.CountMissing(), 0);
}

// -- What is still to be exported

TEST_F(ExportStatesTest, WhatIsMissingOutdatedFailedOrGoneFromTheDiskIsToBeExported)
{
    const TempFolder folder;
    const std::string whole = (folder.Path() / "whole.mkv").native();
    WriteFile(whole, "x");
    for (const char* const name : {"D", "E", "F"})
    {
        Save(name);
    }
    Export(0, whole);
    Export(1, (folder.Path() / "removed.mkv").native());
    Export(2, whole);
    Clips[2].Name = "Renamed";
    States.Queue(3);
    States.Begin(States.IdOf(3));
    States.EndFailed("Clip export failed.");
    States.Queue(4);
    EXPECT_TRUE(States.CheckFiles());
    EXPECT_THAT(States.RowsToExport(), ElementsAre(1, 2, 3, 5));
    EXPECT_EQ(States.CountMissing(), 5);             // 1, 2, 3, 4, 5
    EXPECT_EQ(States.CountMissingAfterExports(), 4); // without 4
}

TEST_F(ExportStatesTest, NothingIsToBeExportedTwice)
{
    const TempFolder folder;
    const std::string whole = (folder.Path() / "whole.mkv").native();
    WriteFile(whole, "x");
    Export(0, whole);
    States.Queue(1);
    States.Begin(States.IdOf(1));
    States.Queue(2);
    EXPECT_THAT(States.RowsToExport(), IsEmpty());
    EXPECT_EQ(States.CountMissingAfterExports(), 0);
}
TEST_F(ExportStatesTest, EveryChangeMovesTheRevision)
{
    std::uint64_t last = States.Revision();
    const auto hasMoved = [&]
    {
        const std::uint64_t before = std::exchange(last, States.Revision());
        return last > before;
    };
    Save("D");
    EXPECT_TRUE(hasMoved());
    Delete(3);
    EXPECT_TRUE(hasMoved());
    States.Queue(0);
    EXPECT_TRUE(hasMoved());
    States.Withdraw(States.IdOf(0));
    EXPECT_TRUE(hasMoved());
    for (const auto end : {+[](ExportStates& Each) { Each.EndDone("/a.mkv"); },
                           +[](ExportStates& Each) { Each.EndFailed("Clip export failed."); },
                           +[](ExportStates& Each) { Each.EndStopped(); }})
    {
        States.Queue(0);
        EXPECT_TRUE(hasMoved());
        States.Begin(States.IdOf(0));
        EXPECT_TRUE(hasMoved());
        States.Progress(0.5);
        EXPECT_TRUE(hasMoved());
        end(States);
        EXPECT_TRUE(hasMoved());
    }
    States.Follow(-1);
    static_cast<void>(States.Of(0));
    static_cast<void>(States.CountMissing());
    EXPECT_FALSE(hasMoved());
}
} // namespace
