// The clip table: its rows, and the widths of its columns, which are computed here a second time.

#include "panel/panelfixture.h"
#include "support/extremes.h"

#include <array>
#include <cmath>
#include <random>

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{
class TableRows : public PanelTest
{
};

class ColumnLayout : public PanelTest
{
protected:
    /// Places the table so that it is WidthPx wide: panel and table fill their parent.
    void SetTableWidthPx(int WidthPx) const { Application.pCoreSDL->Width = WidthPx; }

    /// Lays out and returns the widths that the fractions stand for, given their total.
    std::vector<double> WidthsPx(double TotalPx)
    {
        Panel->UpdateTableColumnLayout();
        std::vector<double> widths;
        for (const double fraction : Host().ColumnFractions)
        {
            widths.push_back(fraction * TotalPx);
        }
        return widths;
    }

    /// Lays out and returns the text size that the theme was asked to scale.
    std::string ScaledText()
    {
        Log().clear();
        Panel->UpdateTableColumnLayout();
        return Log().empty() ? "" : Log().front();
    }

    void ExpectNothingChanges()
    {
        Log().clear();
        Table.MinColumnWidthPx = 123.0;
        Panel->UpdateTableColumnLayout();
        EXPECT_EQ(Table.MinColumnWidthPx, 123.0);
        EXPECT_THAT(Log(), IsEmpty());
    }

    /// What the layout must come to: the fractions, or nothing when it must change nothing. The font
    /// is asked in TextPx.
    std::vector<double> Expected(int& TextPx) const;

    const std::vector<std::string> WholeLayout = {"ScaleTextPx(14, 8, 220)", "GetCellWidth(14)",
                                                  "SetColumnFractions()"};
};

std::vector<double> ColumnLayout::Expected(int& TextPx) const
{
    const double w = Application.pCoreSDL->Width;
    const double h = Application.pCoreSDL->Height;
    const MvWindow& parent = ParentWindow;

    const double bx = (0.5 * parent.BorderWidth) / w;
    const double by = (0.5 * parent.BorderWidth) / h;
    const double panelX1 = (parent.X1 + bx) + (parent.X2 - parent.X1) * Panel->RelX1;
    const double panelX2 = parent.X1 + ((parent.X2 - bx) - parent.X1) * Panel->RelX2;
    double panelY1 = (parent.Y1 - by) + (parent.Y2 - parent.Y1) * Panel->RelY1;
    if (parent.bHasTitleBar)
    {
        panelY1 = (parent.Y1 + (parent.Y2 - parent.Y1) * Panel->RelY1) - parent.TitleBarHeight;
    }
    const double panelY2 = parent.Y1 + ((by + parent.Y2) - parent.Y1) * Panel->RelY2;
    if (!(panelX2 > panelX1) || !(panelY1 > panelY2))
    {
        return {};
    }
    const double padX = Panel->PaddingPx / w;
    const double padY = Panel->PaddingPx / h;
    const double innerX1 = panelX1 + padX;
    const double innerX2 = panelX2 - padX;
    const double innerY1 = panelY1 - padY;
    const double innerY2 = panelY2 + padY;
    if (!(innerX2 > innerX1) || !(innerY1 > innerY2))
    {
        return {};
    }
    const double tableX1 = innerX1 + Table.RelX1 * (innerX2 - innerX1);
    const double tableX2 = innerX1 + (innerX2 - innerX1) * Table.RelX2;
    const double tableY1 = innerY1 + Table.RelY1 * (innerY2 - innerY1);
    const double tableY2 = innerY1 + (innerY2 - innerY1) * Table.RelY2;
    if (!(tableX2 > tableX1) || !(tableY1 > tableY2))
    {
        return {};
    }

    int textPx = Table.TextPx < 8 ? 8 : Table.TextPx;
    if (Table.bAutoScaleText)
    {
        const double tableHeightPx = (std::fabs(tableY1 - tableY2) * h) * 0.5;
        double refPx = Application.pRend->FontSmallPx * 2.2;
        refPx = refPx > 1.0 ? refPx : 1.0;
        double scale = tableHeightPx / refPx;
        scale = scale < 0.5 ? 0.5 : scale;
        scale = scale > 4.0 ? 4.0 : scale;
        const double scaledPx = textPx * scale;
        textPx = static_cast<int>(std::floor(scaledPx));
        textPx += scaledPx - textPx >= 0.5 ? 1 : 0;
    }
    TextPx = textPx;
    const int cell = Host().CellWidthPx;
    const double c = cell > 1 ? cell : 1;

    double availablePx = (w * (tableX2 - tableX1)) * 0.5;
    availablePx = availablePx > 1.0 ? availablePx : 1.0;
    const double padding = 14.0 + 2 * Table.CellPaddingPx;

    std::array<double, 6> widths = {10 * c + padding, 5 * c + padding, 5 * c + padding,
                                    5 * c + padding,  5 * c + padding, 6 * c + padding};
    const std::array<double, 6> floors = {72, 52, 52, 52, 48, 96};
    const std::array<int, 6> headerBytes = {4, 2, 3, 3, 5, 6};
    for (std::size_t i = 0; i < 6; ++i)
    {
        widths[i] = widths[i] < floors[i] ? floors[i] : widths[i];
        const double headerPx = headerBytes[i] * c + padding;
        widths[i] = widths[i] < headerPx ? headerPx : widths[i];
    }
    for (const SavedClip& clip : Panel->Clips)
    {
        const double lengthSec = clip.EndSec > clip.StartSec ? clip.EndSec - clip.StartSec : 0.0;
        const std::array<std::string, 6> cells = {
            clip.Name,
            MvClipControlPanel::FormatTimeLabel(clip.StartSec),
            MvClipControlPanel::FormatTimeLabel(clip.EndSec),
            MvClipControlPanel::FormatTimeLabel(lengthSec),
            clip.ColorName,
            clip.SourceLabel};
        for (std::size_t i = 0; i < 6; ++i)
        {
            const double cellPx = static_cast<double>(cells[i].size()) * c + padding;
            widths[i] = widths[i] < cellPx ? cellPx : widths[i];
        }
    }

    const auto total = [&widths]
    { return widths[0] + widths[1] + widths[2] + widths[3] + widths[4] + widths[5]; };
    const double totalPx = total();
    if (totalPx > availablePx)
    {
        const std::array<double, 5> minimums = {68, 50, 50, 50, 44};
        std::array<double, 5> rooms{};
        double reduciblePx = 0.0;
        for (std::size_t i = 0; i < 5; ++i)
        {
            rooms[i] = widths[i] > minimums[i] ? widths[i] - minimums[i] : 0.0;
            reduciblePx += rooms[i];
        }
        if (reduciblePx > 1e-9)
        {
            double share = (totalPx - availablePx) / reduciblePx;
            share = share > 1.0 ? 1.0 : share;
            for (std::size_t i = 0; i < 5; ++i)
            {
                widths[i] = widths[i] - rooms[i] * share;
            }
        }
        const double nowPx = total();
        if (nowPx > availablePx)
        {
            const double sourcePx = widths[5] - (nowPx - availablePx);
            widths[5] = sourcePx < 96.0 ? 96.0 : sourcePx;
        }
    }
    const double finalPx = total();
    std::vector<double> fractions;
    for (const double width : widths)
    {
        fractions.push_back(width / finalPx);
    }
    return fractions;
}
} // namespace

TEST_F(TableRows, AreSixTextsForEachClipInOrder)
{
    SavedClip& first = AddClip("Intro", 5.0, 3725.0);
    first.ColorName = "Cyan";
    first.SourceLabel = "a.mkv";
    AddClip("Outro", 61.0, 62.0);
    Panel->RebuildTableModel();
    EXPECT_THAT(
        Panel->TableModel->Rows,
        ElementsAre(ElementsAre("Intro", "00:05", "1:02:05", "1:02:00", "Cyan", "a.mkv"),
                    ElementsAre("Outro", "01:01", "01:02", "00:01", "Amber", "holiday.mp4")));
}

TEST_F(TableRows, LeaveTheHeadersAlone)
{
    Panel->TableModel->Headers = {"mine"};
    Panel->RebuildTableModel();
    EXPECT_THAT(Panel->TableModel->Headers, ElementsAre("mine"));
}

TEST_F(TableRows, ShowANegativeLengthAsNone)
{
    AddClip("back", 10.0, 5.0);
    AddClip("none", NotANumber, 5.0);
    Panel->RebuildTableModel();
    EXPECT_THAT(Panel->TableModel->Rows[0],
                ElementsAre("back", "00:10", "00:05", "00:00", "Amber", "holiday.mp4"));
    EXPECT_THAT(Panel->TableModel->Rows[1],
                ElementsAre("none", "00:00", "00:05", "00:00", "Amber", "holiday.mp4"));
}

TEST_F(TableRows, RoundTheLengthByItself)
{
    AddClip("a", 0.5, 2.4);
    Panel->RebuildTableModel();
    EXPECT_THAT(Panel->TableModel->Rows[0],
                ElementsAre("a", "00:01", "00:02", "00:02", "Amber", "holiday.mp4"));
}

TEST_F(TableRows, AreSetBeforeTheColumnsAreLaidOut)
{
    AddClip("a");
    Panel->RebuildTableModel();
    EXPECT_THAT(Log(), ElementsAre("SetRows(1)", "ScaleTextPx(14, 8, 220)", "GetCellWidth(14)",
                                   "SetColumnFractions()"));
}

TEST_F(TableRows, NeedAModelAndLayNothingOutWithoutOne)
{
    AddClip("a");
    Panel->TableModel.reset();
    Panel->RebuildTableModel();
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(TableRows, NeedNoTable)
{
    AddClip("a");
    Panel->pClipTable = nullptr;
    Panel->RebuildTableModel();
    EXPECT_THAT(Panel->TableModel->Rows, SizeIs(1));
    EXPECT_THAT(Log(), ElementsAre("SetRows(1)"));
}

TEST_F(ColumnLayout, NeedsATable)
{
    Panel->pClipTable = nullptr;
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, NeedsAModel)
{
    Panel->TableModel.reset();
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, NeedsACore)
{
    p = nullptr;
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, NeedsADrawingSurface)
{
    Application.pCoreSDL.reset();
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, NeedsARenderer)
{
    Application.pRend.reset();
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, NeedsAFont)
{
    Application.pRend->pTTF = nullptr;
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, NeedsAParentWindow)
{
    Panel->pParentWindow = nullptr;
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, NeedsNoApplicationObject)
{
    Application.pMovane.reset();
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Log(), ElementsAreArray(WholeLayout));
}

TEST_F(ColumnLayout, MeasuresOnceAndTellsTheTable)
{
    AddClip("a");
    AddClip("b");
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Log(), ElementsAreArray(WholeLayout));
    EXPECT_EQ(Table.MinColumnWidthPx, 44.0);
    EXPECT_THAT(Host().ColumnFractions, SizeIs(6));
}

TEST_F(ColumnLayout, SetsTheMinimumWidthBeforeTheFractions)
{
    double minimumPx = 0.0;
    Host().OnCall = [&](const std::string& Call)
    { minimumPx = Call == "SetColumnFractions()" ? Table.MinColumnWidthPx : minimumPx; };
    Panel->UpdateTableColumnLayout();
    EXPECT_EQ(minimumPx, 44.0);
}

TEST_F(ColumnLayout, MeasuresTheScaledText)
{
    Host().TextScale = 3;
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Log(),
                ElementsAre("ScaleTextPx(14, 8, 220)", "GetCellWidth(42)", "SetColumnFractions()"));
}

TEST_F(ColumnLayout, ChangesNothingInARectangleWithoutWidth)
{
    ParentWindow.X2 = ParentWindow.X1;
    ExpectNothingChanges();
    ParentWindow.X2 = 1.0;
    Panel->RelX1 = Panel->RelX2 = 0.5;
    ExpectNothingChanges();
    Panel->RelX1 = 0.0;
    Panel->RelX2 = 1.0;
    Table.RelX1 = Table.RelX2 = 0.5;
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, ChangesNothingInARectangleWithoutHeight)
{
    ParentWindow.Y2 = ParentWindow.Y1;
    ExpectNothingChanges();
    ParentWindow.Y2 = -1.0;
    Panel->RelY1 = Panel->RelY2 = 0.5;
    ExpectNothingChanges();
    Panel->RelY1 = 0.0;
    Panel->RelY2 = 1.0;
    Table.RelY1 = Table.RelY2 = 0.5;
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, ChangesNothingInARectangleInsideOut)
{
    std::swap(ParentWindow.X1, ParentWindow.X2);
    ExpectNothingChanges();
    std::swap(ParentWindow.X1, ParentWindow.X2);
    std::swap(ParentWindow.Y1, ParentWindow.Y2);
    ExpectNothingChanges();
    std::swap(ParentWindow.Y1, ParentWindow.Y2);
    std::swap(Table.RelX1, Table.RelX2);
    ExpectNothingChanges();
    std::swap(Table.RelX1, Table.RelX2);
    std::swap(Table.RelY1, Table.RelY2);
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, ChangesNothingWhenThePaddingTakesAllThereIs)
{
    Application.pCoreSDL->Height = 100000;
    Panel->PaddingPx = Application.pCoreSDL->Width;
    ExpectNothingChanges();
    Application.pCoreSDL->Height = 720;
    Application.pCoreSDL->Width = 100000;
    Panel->PaddingPx = Application.pCoreSDL->Height;
    ExpectNothingChanges();
    // The rectangle must have an area, so one pixel less of padding is enough.
    Panel->PaddingPx = Application.pCoreSDL->Height - 1;
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Log(), ElementsAreArray(WholeLayout));
}

TEST_F(ColumnLayout, ChangesNothingInAPanelWithoutAreaThoughItsInnerAreaHasOne)
{
    Panel->PaddingPx = -100.0; // makes the inner area larger than the panel
    Panel->RelX1 = Panel->RelX2 = 0.5;
    ExpectNothingChanges();
    Panel->RelX1 = 0.0;
    Panel->RelX2 = 1.0;
    Panel->RelY1 = Panel->RelY2 = 0.5;
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, ChangesNothingInAnInnerAreaInsideOutThoughTheTableHasAnArea)
{
    Application.pCoreSDL->Height = 100000;
    Panel->PaddingPx = 2.0 * Application.pCoreSDL->Width;
    std::swap(Table.RelX1, Table.RelX2); // turns the table back
    ExpectNothingChanges();
    std::swap(Table.RelX1, Table.RelX2);
    Application.pCoreSDL->Height = 720;
    Application.pCoreSDL->Width = 100000;
    Panel->PaddingPx = 2.0 * Application.pCoreSDL->Height;
    std::swap(Table.RelY1, Table.RelY2);
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, ChangesNothingWithoutNumbers)
{
    Panel->RelX2 = NotANumber;
    ExpectNothingChanges();
    Panel->RelX2 = 1.0;
    Table.RelY1 = NotANumber;
    ExpectNothingChanges();
    Table.RelY1 = 0.0;
    Application.pCoreSDL->Width = 0; // border and padding over the width
    ExpectNothingChanges();
}

TEST_F(ColumnLayout, LeavesTheTableAloneWhenTheWidthsHaveNoSum)
{
    Table.CellPaddingPx = NotANumber;
    Table.MinColumnWidthPx = 123.0;
    Panel->UpdateTableColumnLayout();
    EXPECT_EQ(Table.MinColumnWidthPx, 123.0);
    EXPECT_THAT(Log(), ElementsAre("ScaleTextPx(14, 8, 220)", "GetCellWidth(14)"));
}

TEST_F(ColumnLayout, StartsFromTheFloorsAndTheHeaders)
{
    // 94 + 54 + 54 + 54 + 54 + 96 px on a table of twice as much.
    SetTableWidthPx(812);
    const double total = 406.0;
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Host().ColumnFractions, ElementsAre(94 / total, 54 / total, 54 / total, 54 / total,
                                                    54 / total, 96 / total));
}

TEST_F(ColumnLayout, StartsFromTheFixedFloorsOfASmallFont)
{
    Host().CellWidthPx = 1;
    const double total = 72 + 52 + 52 + 52 + 48 + 96;
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Host().ColumnFractions, ElementsAre(72 / total, 52 / total, 52 / total, 52 / total,
                                                    48 / total, 96 / total));
}

TEST_F(ColumnLayout, CountsACellWithoutWidthAsOnePixel)
{
    AddClip(std::string(100, 'x'));
    Host().CellWidthPx = 1;
    Panel->UpdateTableColumnLayout();
    const std::vector<double> expected = Host().ColumnFractions;
    EXPECT_EQ(expected[0], 114.0 / (114 + 52 + 52 + 52 + 48 + 96));
    for (const int cellWidthPx : {0, -1, -100})
    {
        Host().CellWidthPx = cellWidthPx;
        Panel->UpdateTableColumnLayout();
        EXPECT_EQ(Host().ColumnFractions, expected) << cellWidthPx;
    }
}

TEST_F(ColumnLayout, WidensAColumnToItsWidestText)
{
    AddClip(std::string(40, 'x'));
    AddClip("short");
    const double total = 334 + 4 * 54 + 102; // "holiday.mp4" is 11 * 8 + 14
    Panel->UpdateTableColumnLayout();
    EXPECT_EQ(Host().ColumnFractions[0], 334 / total);
    EXPECT_EQ(Host().ColumnFractions[5], 102 / total);
}

TEST_F(ColumnLayout, MeasuresBytesNotLetters)
{
    std::string name;
    for (int i = 0; i < 20; ++i)
    {
        name += "\xC3\xA9";
    }
    AddClip(name);
    Panel->UpdateTableColumnLayout();
    EXPECT_EQ(Host().ColumnFractions[0], 334.0 / (334 + 4 * 54 + 102));
}

TEST_F(ColumnLayout, MeasuresTheTimesAsTheyAreShown)
{
    AddClip("back", 360000.0, 3600.0); // 100:00:00, 1:00:00 and a length of 00:00
    Panel->UpdateTableColumnLayout();
    const double total = 94 + (9 * 8 + 14) + (7 * 8 + 14) + 54 + 54 + 102;
    EXPECT_EQ(Host().ColumnFractions[1], 86 / total);
    EXPECT_EQ(Host().ColumnFractions[2], 70 / total);
    EXPECT_EQ(Host().ColumnFractions[3], 54 / total);
}

TEST_F(ColumnLayout, MeasuresTheLengthThatIsRoundedByItself)
{
    AddClip("a", 0.6, 3600.2); // 00:01, 1:00:00 and a length of 1:00:00
    Panel->UpdateTableColumnLayout();
    EXPECT_EQ(Host().ColumnFractions[3], 70.0 / (94 + 54 + 70 + 70 + 54 + 102));
}

TEST_F(ColumnLayout, TakesTheSameShareOfTheRoomOfTheFirstFive)
{
    // Rooms 26, 4, 4, 4, 10; 6 px too much is an eighth of them.
    SetTableWidthPx(400);
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Host().ColumnFractions, ElementsAre(90.75 / 400, 53.5 / 400, 53.5 / 400, 53.5 / 400,
                                                    52.75 / 400, 96.0 / 400));
}

TEST_F(ColumnLayout, ReducesNothingThatJustFits)
{
    SetTableWidthPx(406);
    Panel->UpdateTableColumnLayout();
    EXPECT_EQ(Host().ColumnFractions[0], 94.0 / 406);
}

TEST_F(ColumnLayout, GoesBelowTheStartingFloorsToTheMinimums)
{
    Host().CellWidthPx = 1;
    SetTableWidthPx(358); // the sum of the minimums
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Host().ColumnFractions, ElementsAre(68.0 / 358, 50.0 / 358, 50.0 / 358, 50.0 / 358,
                                                    44.0 / 358, 96.0 / 358));
}

TEST_F(ColumnLayout, TakesFromSourceOnlyWhatTheOthersCanNotGive)
{
    AddClip("a").SourceLabel = std::string(30, 'x'); // 254 px
    SetTableWidthPx(400);
    Panel->UpdateTableColumnLayout();
    // The first five are at their minimums, 262 px together.
    EXPECT_THAT(Host().ColumnFractions, ElementsAre(68.0 / 400, 50.0 / 400, 50.0 / 400, 50.0 / 400,
                                                    44.0 / 400, 138.0 / 400));
}

TEST_F(ColumnLayout, StaysWiderThanTheTableAtTheMinimums)
{
    AddClip("a").SourceLabel = std::string(30, 'x');
    SetTableWidthPx(10);
    Panel->UpdateTableColumnLayout();
    EXPECT_THAT(Host().ColumnFractions, ElementsAre(68.0 / 358, 50.0 / 358, 50.0 / 358, 50.0 / 358,
                                                    44.0 / 358, 96.0 / 358));
}

TEST_F(ColumnLayout, KeepsTheTextSizeAtLeast8)
{
    Table.TextPx = 3;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(8, 8, 220)");
    Table.TextPx = -3;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(8, 8, 220)");
    Table.TextPx = 9;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(9, 8, 220)");
    Table.TextPx = 500;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(500, 8, 220)");
}

TEST_F(ColumnLayout, ScalesTheTextWithTheTablesHeight)
{
    Table.bAutoScaleText = true;
    Table.TextPx = 10;
    Application.pRend->FontSmallPx = 50; // the height for scale 1 is 110 px
    struct Case
    {
        int HeightPx;
        const char* Call;
    };
    const std::vector<Case> cases = {
        {10, "ScaleTextPx(5, 8, 220)"},   {54, "ScaleTextPx(5, 8, 220)"},
        {66, "ScaleTextPx(6, 8, 220)"},   {110, "ScaleTextPx(10, 8, 220)"},
        {220, "ScaleTextPx(20, 8, 220)"}, {439, "ScaleTextPx(40, 8, 220)"},
        {441, "ScaleTextPx(40, 8, 220)"}, {4410, "ScaleTextPx(40, 8, 220)"},
    };
    for (const Case& c : cases)
    {
        Application.pCoreSDL->Height = c.HeightPx;
        EXPECT_EQ(ScaledText(), c.Call) << c.HeightPx;
    }
}

TEST_F(ColumnLayout, RoundsHalfAPixelOfTextUp)
{
    Table.bAutoScaleText = true;
    Application.pCoreSDL->Height = 1; // scale 0.5
    Table.TextPx = 17;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(9, 8, 220)");
    Table.TextPx = 15;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(8, 8, 220)");
    Table.TextPx = 13;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(7, 8, 220)");
    Table.TextPx = 1;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(4, 8, 220)");
}

TEST_F(ColumnLayout, MeasuresTheHeightAgainstOnePixelAtLeast)
{
    Table.bAutoScaleText = true;
    Table.TextPx = 100;
    Application.pRend->FontSmallPx = 0;
    Application.pCoreSDL->Height = 2;
    EXPECT_EQ(ScaledText(), "ScaleTextPx(200, 8, 220)");
}

TEST_F(ColumnLayout, ComesToTheSameBitsAsTheRules)
{
    std::mt19937 random(20240517); // the same numbers in every run
    const auto number = [&random](double Low, double High)
    { return std::uniform_real_distribution<double>(Low, High)(random); };
    const auto whole = [&random](int Low, int High)
    { return std::uniform_int_distribution<int>(Low, High)(random); };

    int layouts = 0;
    int unchanged = 0;
    for (int round = 0; round < 5000; ++round)
    {
        Application.pCoreSDL->Width = whole(200, 4000);
        Application.pCoreSDL->Height = whole(150, 2200);
        Application.pRend->FontSmallPx = whole(0, 40);
        ParentWindow.X1 = number(-1.0, 0.2);
        ParentWindow.X2 = number(0.0, 1.0);
        ParentWindow.Y1 = number(0.0, 1.0);
        ParentWindow.Y2 = number(-1.0, 0.2);
        ParentWindow.BorderWidth = number(0.0, 9.0);
        ParentWindow.bHasTitleBar = whole(0, 1) == 1;
        ParentWindow.TitleBarHeight = number(0.0, 0.1);
        Panel->RelX1 = number(0.0, 0.4);
        Panel->RelX2 = number(0.5, 1.0);
        Panel->RelY1 = number(0.0, 0.4);
        Panel->RelY2 = number(0.5, 1.0);
        Panel->PaddingPx = number(0.0, 20.0);
        Table.RelX1 = number(0.0, 0.3);
        Table.RelX2 = number(0.6, 1.0);
        Table.RelY1 = number(0.0, 0.4);
        Table.RelY2 = number(0.5, 1.0);
        Table.TextPx = whole(0, 40);
        Table.bAutoScaleText = whole(0, 1) == 1;
        Table.CellPaddingPx = number(-8.0, 12.0);
        Host().CellWidthPx = whole(-1, 20);
        Panel->Clips.clear();
        for (int clips = whole(0, 4); clips > 0; --clips)
        {
            SavedClip& clip = AddClip(std::string(static_cast<std::size_t>(whole(0, 60)), 'n'),
                                      number(-10.0, 9000.0), number(-10.0, 900000.0));
            clip.ColorName = std::string(static_cast<std::size_t>(whole(0, 30)), 'c');
            clip.SourceLabel = std::string(static_cast<std::size_t>(whole(0, 60)), 's');
        }

        int textPx = 0;
        const std::vector<double> expected = Expected(textPx);
        Log().clear();
        Host().ColumnFractions.clear();
        Panel->UpdateTableColumnLayout();
        ASSERT_EQ(Host().ColumnFractions, expected) << "round " << round;
        if (!expected.empty())
        {
            ASSERT_EQ(Log().front(), "ScaleTextPx(" + std::to_string(textPx) + ", 8, 220)");
        }
        ++(expected.empty() ? unchanged : layouts);
    }
    // Most rounds lay out, some have nothing to lay out in.
    EXPECT_GT(layouts, 3000);
    EXPECT_GT(unchanged, 20);
}
