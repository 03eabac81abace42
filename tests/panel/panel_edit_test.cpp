// Renaming and deleting clips, adding markers, clearing the range.

#include "panel/panelfixture.h"

#include <array>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class RenameClip : public PanelTest
{
protected:
    RenameClip()
    {
        AddClip("a");
        AddClip("b");
        Select(1);
    }

    std::string RenameTo(const std::string& Typed)
    {
        NameInput.Text = Typed;
        return StatusOf(&MvClipControlPanel::RenameSelectedClip);
    }
};

class DeleteClip : public PanelTest
{
protected:
    DeleteClip()
    {
        for (const char* name : {"a", "b", "c", "d"})
        {
            AddClip(name);
        }
    }

    std::string Delete() const { return StatusOf(&MvClipControlPanel::DeleteSelectedClip); }

    void ExpectSelectedRow(int Row) const
    {
        EXPECT_EQ(Table.SelectedRow, Row);
        EXPECT_EQ(Table.CurrentRow, Row);
    }
};

class AddMarker : public PanelTest
{
protected:
    std::string Add() const { return StatusOf(&MvClipControlPanel::AddCurrentMarker); }
};

class ClearRange : public PanelTest
{
protected:
    ClearRange() { SetRange(2.0, 5.0); }

    std::string Clear() const { return StatusOf(&MvClipControlPanel::ClearCurrentRange); }
};
} // namespace

TEST_F(RenameClip, GivesTheTrimmedTextOfTheInput)
{
    EXPECT_EQ(RenameTo("\t Take 2 \n"), "Renamed clip to Take 2");
    EXPECT_THAT(ClipNames(), ElementsAre("a", "Take 2"));
    EXPECT_EQ(Panel->TableModel->Rows[1][0], "Take 2");
}

TEST_F(RenameClip, RebuildsTheTableAndSyncsNothing)
{
    RenameTo(" new ");
    EXPECT_EQ(NameInput.Text, " new ");
    EXPECT_THAT(Log(), ElementsAre("SetRows(2)", "ScaleTextPx(14, 8, 220)", "GetCellWidth(14)",
                                   "SetColumnFractions()", "Status(Renamed clip to new)"));
}

TEST_F(RenameClip, MayGiveTheNameOfAnotherClip)
{
    EXPECT_EQ(RenameTo("a"), "Renamed clip to a");
    EXPECT_THAT(ClipNames(), ElementsAre("a", "a"));
}

TEST_F(RenameClip, MayGiveTheNameThatIsThere)
{
    EXPECT_EQ(RenameTo("b"), "Renamed clip to b");
    EXPECT_THAT(ClipNames(), ElementsAre("a", "b"));
    EXPECT_THAT(Log(), ElementsAre("SetRows(2)", "ScaleTextPx(14, 8, 220)", "GetCellWidth(14)",
                                   "SetColumnFractions()", "Status(Renamed clip to b)"));
}

TEST_F(RenameClip, KeepsNulBytes)
{
    const std::string name("a\0b\0", 4);
    EXPECT_EQ(RenameTo(" " + name + " "), "Renamed clip to " + name);
    EXPECT_EQ(Panel->Clips[1].Name, name);
    EXPECT_EQ(Panel->TableModel->Rows[1][0], name);
}

TEST_F(RenameClip, TellsTheNameThatItGaveThoughClipAndInputChangeMeanwhile)
{
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "SetRows(2)")
        {
            NameInput.Text = "typed";
            Panel->Clips.clear();
        }
    };
    EXPECT_EQ(RenameTo("new"), "Renamed clip to new");
}

TEST_F(RenameClip, RefusesWithoutASelection)
{
    Select(-1);
    EXPECT_EQ(RenameTo("new"), "Select a saved clip to rename it.");
    EXPECT_THAT(ClipNames(), ElementsAre("a", "b"));
    EXPECT_THAT(Log(), ElementsAre("Status(Select a saved clip to rename it.)"));
}

TEST_F(RenameClip, RefusesWithoutASelectionBeforeItLooksAtTheName)
{
    Select(-1);
    EXPECT_EQ(RenameTo(""), "Select a saved clip to rename it.");
}

TEST_F(RenameClip, RefusesANameOfBlanks)
{
    for (const char* typed : {"", " ", "   ", " \t\r\n "})
    {
        EXPECT_EQ(RenameTo(typed), "Clip name cannot be empty.");
        EXPECT_THAT(Log(), ElementsAre("Status(Clip name cannot be empty.)"));
    }
    EXPECT_THAT(ClipNames(), ElementsAre("a", "b"));
    EXPECT_EQ(Table.SelectedRow, 1);
}

TEST_F(RenameClip, RefusesWithoutAnInput)
{
    Panel->pNameInput = nullptr;
    EXPECT_EQ(RenameTo("new"), "Clip name cannot be empty.");
    EXPECT_THAT(ClipNames(), ElementsAre("a", "b"));
}

TEST_F(DeleteClip, SelectsTheClipThatMovesIntoItsPlace)
{
    Select(2);
    EXPECT_EQ(Delete(), "Deleted c");
    EXPECT_THAT(ClipNames(), ElementsAre("a", "b", "d"));
    ExpectSelectedRow(2);
    EXPECT_EQ(NameInput.Text, "d");
}

TEST_F(DeleteClip, SelectsTheNewLastClipAfterTheLast)
{
    Select(3);
    EXPECT_EQ(Delete(), "Deleted d");
    ExpectSelectedRow(2);
    EXPECT_EQ(NameInput.Text, "c");
}

TEST_F(DeleteClip, SelectsNoneAfterTheOnlyClip)
{
    Panel->Clips.resize(1);
    Select(0);
    NameInput.Text = "a";
    EXPECT_EQ(Delete(), "Deleted a");
    EXPECT_THAT(Panel->Clips, IsEmpty());
    EXPECT_THAT(Panel->TableModel->Rows, IsEmpty());
    ExpectSelectedRow(-1);
    EXPECT_EQ(NameInput.Text, "");
}

TEST_F(DeleteClip, CallsTheHostInItsOrder)
{
    Select(1);
    Delete();
    EXPECT_THAT(Log(),
                ElementsAre("SetRows(3)", "ScaleTextPx(14, 8, 220)", "GetCellWidth(14)",
                            "SetColumnFractions()", "SetText(c, false)", "Status(Deleted b)"));
}

TEST_F(DeleteClip, SelectsNothingInATableThatGoesMeanwhile)
{
    Select(1);
    NameInput.Text = "b";
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "SetRows(3)")
        {
            Panel->pClipTable = nullptr;
        }
    };
    Delete();
    EXPECT_EQ(Panel->StatusText, "Deleted b");
    EXPECT_EQ(NameInput.Text, "");
    EXPECT_EQ(Table.SelectedRow, 1);
}

TEST_F(DeleteClip, TellsTheNameOfTheClipThatIsGone)
{
    const std::string name("b\0c", 3);
    Panel->Clips[1].Name = name;
    Select(1);
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "SetRows(3)")
        {
            Panel->Clips[1].Name = "other";
        }
    };
    EXPECT_EQ(Delete(), "Deleted " + name);
    EXPECT_EQ(NameInput.Text, "other");
}

TEST_F(DeleteClip, SelectsBetweenTheRowsAndTheNameInput)
{
    Select(3);
    std::vector<std::array<int, 2>> rows;
    Host().OnCall = [&](const std::string& Call)
    {
        if (Call.starts_with("SetColumnFractions") || Call.starts_with("SetText"))
        {
            rows.push_back({Table.SelectedRow, Table.CurrentRow});
        }
    };
    Delete();
    EXPECT_THAT(rows, ElementsAre(ElementsAre(3, 3), ElementsAre(2, 2)));
}

TEST_F(DeleteClip, DoesNotClearTheSyncFlag)
{
    Select(1);
    NameInput.Text = "typed";
    Panel->bSyncingNameInput = true;
    EXPECT_EQ(Delete(), "Deleted b");
    EXPECT_TRUE(Panel->bSyncingNameInput);
    EXPECT_EQ(NameInput.Text, "typed");
}

TEST_F(DeleteClip, RefusesWithoutASelection)
{
    for (const int row : {-1, 4})
    {
        Select(row);
        NameInput.Text = "typed";
        EXPECT_EQ(Delete(), "Select a clip to delete it.");
        EXPECT_THAT(ClipNames(), ElementsAre("a", "b", "c", "d"));
        ExpectSelectedRow(row);
        EXPECT_EQ(NameInput.Text, "typed");
        EXPECT_THAT(Log(), ElementsAre("Status(Select a clip to delete it.)"));
    }
}

TEST_F(DeleteClip, RefusesWithoutATable)
{
    Select(1);
    Panel->pClipTable = nullptr;
    EXPECT_EQ(Delete(), "Select a clip to delete it.");
    EXPECT_EQ(Panel->Clips.size(), 4U);
}

TEST_F(AddMarker, ReportsTheTimeFromBeforeTheMarkerWasAdded)
{
    TimelineAnswer().DisplayedTimeSec = 3725.0;
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "AddMarkerAtCurrentTime()")
        {
            TimelineAnswer().DisplayedTimeSec = 10.0;
        }
    };
    EXPECT_EQ(Add(), "Added marker at 1:02:05");
    EXPECT_EQ(MarkersLabel.Text, "Markers: 1   Current: 00:10");
}

TEST_F(AddMarker, CallsTheHostInItsOrder)
{
    Add();
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "DisplayedTimeSec()",
                                   "AddMarkerAtCurrentTime()", // then the labels
                                   "GetWindow(7)", "GetWindow(7)", "GetChild(0)",
                                   "HasRangeSelection()", "GetWindow(7)", "GetChild(0)",
                                   "DisplayedTimeSec()", "Status(Added marker at 00:00)"));
}

TEST_F(AddMarker, NeedsNoVideo)
{
    VideoWindow.pVideo = nullptr;
    EXPECT_EQ(Add(), "Added marker at 00:00");
    EXPECT_EQ(Timeline.Markers.size(), 1U);
}

TEST_F(AddMarker, RefusesWithoutATimeline)
{
    Host().Children.clear();
    EXPECT_EQ(Add(), "Video timeline is not available for marker placement.");
    EXPECT_EQ(MarkersLabel.Text, "");
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)",
                                   "Status(Video timeline is not available for marker "
                                   "placement.)"));
}

TEST_F(AddMarker, RefusesWithoutAWindow)
{
    TakeVideoWindowAway();
    EXPECT_EQ(Add(), "Video timeline is not available for marker placement.");
}

TEST_F(ClearRange, RemovesTheRangeAndTellsTheLabels)
{
    EXPECT_EQ(Clear(), "Cleared current In/Out range.");
    EXPECT_FALSE(TimelineAnswer().bHasRange);
    EXPECT_EQ(RangeLabel.Text, "Current Range: Set In/Out on the video timeline first.");
}

TEST_F(ClearRange, CallsTheHostInItsOrder)
{
    Clear();
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)",
                                   "ClearRangeSelection(false)", // then the labels
                                   "GetWindow(7)", "GetWindow(7)", "GetChild(0)",
                                   "HasRangeSelection()", "GetWindow(7)", "GetChild(0)",
                                   "DisplayedTimeSec()", "Status(Cleared current In/Out range.)"));
}

TEST_F(ClearRange, RefusesWithoutATimeline)
{
    Host().Children.clear();
    EXPECT_EQ(Clear(), "Video timeline is not available.");
    EXPECT_TRUE(TimelineAnswer().bHasRange);
    EXPECT_EQ(RangeLabel.Text, "");
}

TEST_F(ClearRange, RefusesWithoutAWindow)
{
    TakeVideoWindowAway();
    EXPECT_EQ(Clear(), "Video timeline is not available.");
    EXPECT_THAT(Log(), ElementsAre("GetWindow(3)", "Status(Video timeline is not available.)"));
}
