// Saving the current range as a clip.

#include "panel/panelfixture.h"

#include <array>

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{
class SaveRange : public PanelTest
{
protected:
    SaveRange() { SetRange(2.0, 5.0); }

    std::string Save() const { return StatusOf(&MvClipControlPanel::SaveCurrentRangeAsClip); }

    /// Saves with a name typed in and returns the name of the clip.
    std::string NameOfSaved(const std::string& Typed)
    {
        NameInput.Text = Typed;
        Save();
        return Panel->Clips.back().Name;
    }

    void ExpectRefusal(const std::string& Status)
    {
        AddClip("earlier");
        Table.SelectedRow = 0;
        Table.CurrentRow = -1;
        NameInput.Text = "typed";
        Panel->NextClipOrdinal = 4;
        Panel->bSyncingNameInput = true;
        EXPECT_EQ(Save(), Status);
        EXPECT_THAT(ClipNames(), ElementsAre("earlier"));
        EXPECT_EQ(Panel->NextClipOrdinal, 4);
        EXPECT_EQ(Table.SelectedRow, 0);
        EXPECT_EQ(Table.CurrentRow, -1);
        EXPECT_EQ(NameInput.Text, "typed");
        EXPECT_TRUE(Panel->bSyncingNameInput);
        EXPECT_THAT(Panel->TableModel->Rows, IsEmpty());
    }

    const std::string NoWindow = "No active MvVideoWindow to save a clip from.";
};
} // namespace

TEST_F(SaveRange, AppendsANamedColouredClip)
{
    AddClip("earlier");
    NameInput.Text = "Intro";
    Panel->NextClipOrdinal = 2;
    EXPECT_EQ(Save(), "Saved Intro from holiday.mp4");
    ASSERT_THAT(Panel->Clips, SizeIs(2));
    const SavedClip& clip = Panel->Clips[1];
    EXPECT_EQ(clip.Name, "Intro");
    EXPECT_EQ(clip.SourcePath, "/media/holiday.mp4");
    EXPECT_EQ(clip.SourceLabel, "holiday.mp4");
    EXPECT_EQ(clip.ColorName, "Cyan");
    EXPECT_EQ(clip.ColorR, 0.28F);
    EXPECT_EQ(clip.ColorG, 0.84F);
    EXPECT_EQ(clip.ColorB, 0.98F);
    EXPECT_EQ(clip.ColorA, 1.0F);
    EXPECT_EQ(clip.StartSec, 2.0);
    EXPECT_EQ(clip.EndSec, 5.0);
    EXPECT_EQ(Panel->NextClipOrdinal, 3);
}

TEST_F(SaveRange, CallsTheHostInItsOrder)
{
    Save();
    EXPECT_THAT(Log(),
                ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)", "HasRangeSelection()",
                            "RangeStartSec()", "RangeEndSec()", "SetRows(1)",
                            "ScaleTextPx(14, 8, 220)", "GetCellWidth(14)", "SetColumnFractions()",
                            "SetText(Clip 1, false)", "Status(Saved Clip 1 from holiday.mp4)"));
}

TEST_F(SaveRange, SelectsTheNewClipBetweenTheRowsAndTheNameInput)
{
    AddClip("earlier");
    Select(0);
    std::vector<std::array<int, 2>> rows;
    Host().OnCall = [&](const std::string& Call)
    {
        if (Call.starts_with("SetColumnFractions") || Call.starts_with("SetText"))
        {
            rows.push_back({Table.SelectedRow, Table.CurrentRow});
        }
    };
    Save();
    EXPECT_THAT(rows, ElementsAre(ElementsAre(0, 0), ElementsAre(1, 1)));
    EXPECT_EQ(Table.SelectedRow, 1);
    EXPECT_EQ(Table.CurrentRow, 1);
}

TEST_F(SaveRange, ReachesTheInputThoughASyncWasUnderWay)
{
    Panel->bSyncingNameInput = true;
    Save();
    EXPECT_EQ(NameInput.Text, "Clip 1");
    EXPECT_FALSE(Panel->bSyncingNameInput);
}

TEST_F(SaveRange, ClearsTheSyncFlagWithATableThoughThereIsNoInput)
{
    Panel->pNameInput = nullptr;
    Panel->bSyncingNameInput = true;
    Save();
    EXPECT_FALSE(Panel->bSyncingNameInput);
}

TEST_F(SaveRange, RefusesWithoutAWindow)
{
    TakeVideoWindowAway();
    ExpectRefusal(NoWindow);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(3)", "GetWindow(3)", "Status(" + NoWindow + ")"));
}

TEST_F(SaveRange, RefusesWithoutATimelineButResolvesTheWindowToo)
{
    Host().Children.clear();
    ExpectRefusal(NoWindow);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                                   "Status(" + NoWindow + ")"));
}

TEST_F(SaveRange, RefusesWhenTheWindowGoesBehindItsTimeline)
{
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "GetChild(0)")
        {
            TakeVideoWindowAway();
        }
    };
    ExpectRefusal(NoWindow);
}

TEST_F(SaveRange, RefusesWithoutAVideoBeforeAskingForTheRange)
{
    VideoWindow.pVideo = nullptr;
    TimelineAnswer().bHasRange = false;
    ExpectRefusal(NoWindow);
    EXPECT_THAT(Log(), ElementsAre("GetWindow(7)", "GetChild(0)", "GetWindow(7)",
                                   "Status(" + NoWindow + ")"));
}

TEST_F(SaveRange, RefusesWithoutARange)
{
    TimelineAnswer().bHasRange = false;
    ExpectRefusal("Set In and Out on the timeline before saving a clip.");
}

TEST_F(SaveRange, RefusesWithoutACore)
{
    p = nullptr;
    ExpectRefusal(NoWindow);
}

TEST_F(SaveRange, TrimsTheName)
{
    EXPECT_EQ(NameOfSaved("  Intro  "), "Intro");
    EXPECT_EQ(NameOfSaved("\t\r\n Intro \n\r\t"), "Intro");
    EXPECT_EQ(NameOfSaved("a  b\tc"), "a  b\tc");
}

TEST_F(SaveRange, TakesVerticalTabAndFormFeedForText)
{
    EXPECT_EQ(NameOfSaved(" \v "), "\v");
    EXPECT_EQ(NameOfSaved(" \fIntro\v "), "\fIntro\v");
}

TEST_F(SaveRange, TakesTheNoBreakSpaceForText)
{
    EXPECT_EQ(NameOfSaved(" \xC2\xA0 "), "\xC2\xA0");
}

TEST_F(SaveRange, NamesAClipByItsOrdinalWhenNoNameIsGiven)
{
    Panel->NextClipOrdinal = 4;
    EXPECT_EQ(NameOfSaved("   "), "Clip 4");
    EXPECT_EQ(Panel->Clips.back().ColorName, "Yellow");
    EXPECT_EQ(NameOfSaved(""), "Clip 5");
    Panel->NextClipOrdinal = 12345;
    EXPECT_EQ(NameOfSaved("\n"), "Clip 12345");
}

TEST_F(SaveRange, NamesAClipByItsOrdinalWithoutAnInput)
{
    Panel->pNameInput = nullptr;
    EXPECT_EQ(Save(), "Saved Clip 1 from holiday.mp4");
}

TEST_F(SaveRange, GivesOrdinal1TwiceFromACounterOf0)
{
    Panel->NextClipOrdinal = 0;
    EXPECT_EQ(NameOfSaved(""), "Clip 1");
    EXPECT_EQ(Panel->Clips.back().ColorName, "Amber");
    EXPECT_EQ(Panel->NextClipOrdinal, 1);
    EXPECT_EQ(NameOfSaved(""), "Clip 1");
    EXPECT_EQ(Panel->Clips.back().ColorName, "Amber");
    EXPECT_EQ(NameOfSaved(""), "Clip 2");
}

TEST_F(SaveRange, GivesOrdinal1FromANegativeCounter)
{
    Panel->NextClipOrdinal = -5;
    EXPECT_EQ(NameOfSaved(""), "Clip 1");
    EXPECT_EQ(Panel->NextClipOrdinal, -4);
}

TEST_F(SaveRange, GoesRoundThePalette)
{
    std::vector<std::string> colours;
    for (int i = 0; i < 8; ++i)
    {
        Save();
        colours.push_back(Panel->Clips.back().ColorName);
    }
    EXPECT_THAT(colours,
                ElementsAre("Amber", "Cyan", "Green", "Yellow", "Pink", "Violet", "Amber", "Cyan"));
}

TEST_F(SaveRange, KeepsAnOutBeforeItsIn)
{
    SetRange(9.0, -4.0);
    Save();
    EXPECT_EQ(Panel->Clips[0].StartSec, 9.0);
    EXPECT_EQ(Panel->Clips[0].EndSec, -4.0);
}

TEST_F(SaveRange, LabelsTheSourceByItsFileName)
{
    struct Case
    {
        const char* Path;
        const char* Label;
    };
    for (const Case& c : std::vector<Case>{
             {"/media/a/b.mkv", "b.mkv"}, {"/media/a/", "/media/a/"}, {"", "Unknown Source"}})
    {
        Video.FilePath = c.Path;
        NameInput.Text = "Intro";
        EXPECT_EQ(Save(), std::string("Saved Intro from ") + c.Label);
        EXPECT_EQ(Panel->Clips.back().SourcePath, c.Path);
        EXPECT_EQ(Panel->Clips.back().SourceLabel, c.Label);
    }
}

TEST_F(SaveRange, KeepsNulBytes)
{
    const std::string name("a\0b\0", 4);
    const std::string label("c\0d.mkv", 7);
    Video.FilePath = "/media/" + label;
    NameInput.Text = " " + name + " ";
    EXPECT_EQ(Save(), "Saved " + name + " from " + label);
    EXPECT_EQ(Panel->Clips[0].Name, name);
    EXPECT_EQ(Panel->Clips[0].SourcePath, "/media/" + label);
    EXPECT_EQ(Panel->Clips[0].SourceLabel, label);
    EXPECT_EQ(NameInput.Text, name);
    EXPECT_EQ(Panel->TableModel->Rows[0][0], name);
    EXPECT_EQ(Panel->TableModel->Rows[0][5], label);
}

TEST_F(SaveRange, TellsTheClipThatItSavedThoughItChangesMeanwhile)
{
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call == "SetRows(1)")
        {
            Panel->Clips[0].Name = "other";
            Panel->Clips[0].SourceLabel = "other.mp4";
        }
    };
    EXPECT_EQ(Save(), "Saved Clip 1 from holiday.mp4");
    EXPECT_EQ(NameInput.Text, "other");
}

TEST_F(SaveRange, SavesWithoutATableButSelectsAndSyncsNothing)
{
    Panel->pClipTable = nullptr;
    Panel->bSyncingNameInput = true;
    NameInput.Text = "Intro";
    EXPECT_EQ(Save(), "Saved Intro from holiday.mp4");
    EXPECT_THAT(ClipNames(), ElementsAre("Intro"));
    EXPECT_TRUE(Panel->bSyncingNameInput);
    EXPECT_EQ(Table.SelectedRow, -1);
    EXPECT_EQ(Table.CurrentRow, -1);
    EXPECT_EQ(NameInput.Text, "Intro");
}

TEST_F(SaveRange, EmptiesTheInputWithoutATableWhenNoSyncIsUnderWay)
{
    Panel->pClipTable = nullptr;
    NameInput.Text = "Intro";
    Save();
    EXPECT_EQ(NameInput.Text, ""); // nothing is selected
}

TEST_F(SaveRange, SavesWithoutAModel)
{
    Panel->TableModel.reset();
    EXPECT_EQ(Save(), "Saved Clip 1 from holiday.mp4");
    EXPECT_THAT(Panel->Clips, SizeIs(1));
    EXPECT_EQ(Table.SelectedRow, 0);
}
