#include "host/mvtablemodel.h"

#include "support/extremes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pointee;
using testing::SizeIs;

MvTableModel TwoByTwo()
{
    MvTableModel model;
    model.SetHeaders({"A", "B"});
    model.SetRows({{"a0", "b0"}, {"a1", "b1"}});
    return model;
}

TEST(MvTableModel, IsEmptyAtFirst)
{
    const MvTableModel model;
    EXPECT_EQ(model.HeaderCount(), 0);
    EXPECT_EQ(model.RowCount(), 0);
    EXPECT_THAT(model.GetHeaders(), IsEmpty());
    EXPECT_THAT(model.GetRows(), IsEmpty());
    EXPECT_EQ(model.HeaderAt(0), nullptr);
    EXPECT_EQ(model.RowAt(0), nullptr);
    EXPECT_EQ(model.CellAt(0, 0), nullptr);
}

TEST(MvTableModel, ReplacesItsHeaders)
{
    MvTableModel model = TwoByTwo();
    model.SetHeaders({"X"});
    EXPECT_THAT(model.Headers, ElementsAre("X"));
    EXPECT_THAT(model.GetHeaders(), ElementsAre("X"));
    EXPECT_EQ(model.HeaderCount(), 1);
    EXPECT_EQ(model.RowCount(), 2);
}

TEST(MvTableModel, ReplacesItsRowsAsAWhole)
{
    MvTableModel model = TwoByTwo();
    model.SetRows({{"x"}});
    EXPECT_THAT(model.Rows, ElementsAre(ElementsAre("x")));
    EXPECT_THAT(model.GetRows(), ElementsAre(ElementsAre("x")));
    EXPECT_EQ(model.RowCount(), 1);
    EXPECT_THAT(model.Headers, ElementsAre("A", "B"));
}

TEST(MvTableModel, TakesItsOwnRowsBack)
{
    MvTableModel model = TwoByTwo();
    model.SetRows(model.GetRows());
    EXPECT_THAT(model.Rows, ElementsAre(ElementsAre("a0", "b0"), ElementsAre("a1", "b1")));
}

TEST(MvTableModel, AddsARowAtTheEnd)
{
    MvTableModel model = TwoByTwo();
    model.AddRow({"a2"});
    model.AddRow({});
    ASSERT_EQ(model.RowCount(), 4);
    EXPECT_THAT(model.Rows[2], ElementsAre("a2"));
    EXPECT_THAT(model.Rows[3], IsEmpty());
}

TEST(MvTableModel, AddsACopyOfARowOfItsOwn)
{
    MvTableModel model = TwoByTwo();
    model.Rows.shrink_to_fit();
    model.AddRow(model.Rows[0]);
    EXPECT_THAT(model.Rows[2], ElementsAre("a0", "b0"));
}

TEST(MvTableModel, ClearsRowsAndKeepsHeaders)
{
    MvTableModel model = TwoByTwo();
    model.ClearRows();
    EXPECT_EQ(model.RowCount(), 0);
    EXPECT_EQ(model.HeaderCount(), 2);
}

TEST(MvTableModel, PointsAtTheStoredItems)
{
    const MvTableModel model = TwoByTwo();
    EXPECT_EQ(model.HeaderAt(1), &model.Headers[1]);
    EXPECT_EQ(model.RowAt(1), &model.Rows[1]);
    EXPECT_EQ(model.CellAt(1, 0), &model.Rows[1][0]);
}

TEST(MvTableModel, AnswersNullOutOfRange)
{
    const MvTableModel model = TwoByTwo();
    for (const int index : {MinInt, -1, 2, 3, MaxInt})
    {
        EXPECT_EQ(model.HeaderAt(index), nullptr) << index;
        EXPECT_EQ(model.RowAt(index), nullptr) << index;
        EXPECT_EQ(model.CellAt(index, 0), nullptr) << index;
        EXPECT_EQ(model.CellAt(0, index), nullptr) << index;
        EXPECT_EQ(model.CellAt(index, index), nullptr) << index;
    }
}

TEST(MvTableModel, AnswersNullPastTheEndOfAShortRow)
{
    MvTableModel model = TwoByTwo();
    model.SetRows({{"only"}, {}});
    EXPECT_THAT(model.CellAt(0, 0), Pointee(std::string("only")));
    EXPECT_EQ(model.CellAt(0, 1), nullptr);
    EXPECT_EQ(model.CellAt(1, 0), nullptr);
}

TEST(MvTableModel, ResizesRowsAtTheEnd)
{
    struct Case
    {
        int Count;
        std::size_t ExpectedCount;
    };
    for (const Case& one :
         {Case{MinInt, 0}, Case{-1, 0}, Case{0, 0}, Case{1, 1}, Case{2, 2}, Case{3, 3}})
    {
        MvTableModel model = TwoByTwo();
        model.ResizeRows(one.Count);
        ASSERT_THAT(model.Rows, SizeIs(one.ExpectedCount)) << one.Count;
        if (one.ExpectedCount > 0)
        {
            EXPECT_THAT(model.Rows[0], ElementsAre("a0", "b0"));
        }
        if (one.ExpectedCount > 2)
        {
            EXPECT_THAT(model.Rows[2], IsEmpty());
        }
    }
}

TEST(MvTableModel, WidensARowAndNeverNarrowsIt)
{
    struct Case
    {
        int Width;
        std::size_t ExpectedWidth;
    };
    for (const Case& one :
         {Case{MinInt, 2}, Case{-1, 2}, Case{0, 2}, Case{1, 2}, Case{2, 2}, Case{3, 3}})
    {
        MvTableModel model = TwoByTwo();
        model.EnsureRowWidth(1, one.Width);
        ASSERT_THAT(model.Rows[1], SizeIs(one.ExpectedWidth)) << one.Width;
        EXPECT_EQ(model.Rows[1][1], "b1");
        EXPECT_EQ(model.Rows[1].back(), one.ExpectedWidth == 3 ? "" : "b1");
        EXPECT_THAT(model.Rows[0], SizeIs(2));
    }
}

TEST(MvTableModel, WidensNoRowThatDoesNotExist)
{
    for (const int row : {MinInt, -1, 2, MaxInt})
    {
        MvTableModel model = TwoByTwo();
        model.EnsureRowWidth(row, 5);
        EXPECT_THAT(model.Rows, ElementsAre(SizeIs(2), SizeIs(2))) << row;
    }
}

TEST(MvTableModel, SetsACell)
{
    MvTableModel model = TwoByTwo();
    model.SetCell(1, 0, "new");
    EXPECT_THAT(model.Rows, ElementsAre(ElementsAre("a0", "b0"), ElementsAre("new", "b1")));
}

TEST(MvTableModel, WidensTheRowForACellPastItsEnd)
{
    MvTableModel model = TwoByTwo();
    model.SetCell(0, 4, "far");
    EXPECT_THAT(model.Rows[0], ElementsAre("a0", "b0", "", "", "far"));
    EXPECT_THAT(model.Rows[1], SizeIs(2));
}

TEST(MvTableModel, SetsNoCellOutOfRange)
{
    struct Case
    {
        int Row;
        int Column;
    };
    for (const Case& one : {Case{MinInt, 0}, Case{-1, 0}, Case{2, 0}, Case{MaxInt, 0}, Case{0, -1},
                            Case{0, MinInt}, Case{0, MaxInt}, Case{-1, -1}, Case{2, MaxInt}})
    {
        MvTableModel model = TwoByTwo();
        model.SetCell(one.Row, one.Column, "lost");
        EXPECT_THAT(model.Rows, ElementsAre(ElementsAre("a0", "b0"), ElementsAre("a1", "b1")))
            << one.Row << ' ' << one.Column;
    }
}

TEST(MvTableModel, CopiesACellToAColumnPastTheEndOfItsRow)
{
    MvTableModel model = TwoByTwo();
    const std::string longText(100, 'x');
    model.SetCell(0, 0, longText);
    model.Rows[0].shrink_to_fit();
    model.SetCell(0, 2, *model.CellAt(0, 0));
    EXPECT_THAT(model.Rows[0], ElementsAre(longText, "b0", longText));
}
TEST(MvTableModel, EveryChangeMovesTheRevision)
{
    using Change = void (*)(MvTableModel&);
    const Change changes[] = {
        [](MvTableModel& Model) { Model.SetHeaders({"X"}); },
        [](MvTableModel& Model)
        {
            const MvTableModel::RowList rows = {{"x"}};
            Model.SetRows(rows);
        },
        [](MvTableModel& Model) { Model.SetRows({{"x"}}); },
        [](MvTableModel& Model) { Model.AddRow({"x"}); },
        [](MvTableModel& Model) { Model.ClearRows(); },
        [](MvTableModel& Model) { Model.ResizeRows(1); },
        [](MvTableModel& Model) { Model.EnsureRowWidth(0, 3); },
        [](MvTableModel& Model) { Model.SetCell(1, 1, "x"); },
        [](MvTableModel& Model) { Model.MarkChanged(); },
    };
    for (const Change change : changes)
    {
        MvTableModel model = TwoByTwo();
        const std::uint64_t before = model.Revision();
        change(model);
        EXPECT_GT(model.Revision(), before) << &change - changes;
    }
}

TEST(MvTableModel, ReadingLeavesTheRevision)
{
    MvTableModel model = TwoByTwo();
    const std::uint64_t before = model.Revision();
    static_cast<void>(model.CellAt(0, 0));
    static_cast<void>(model.RowAt(7));
    static_cast<void>(model.HeaderAt(1));
    model.SetCell(7, 0, "lost");
    model.EnsureRowWidth(-1, 3);
    EXPECT_EQ(model.Revision(), before);
}
} // namespace
