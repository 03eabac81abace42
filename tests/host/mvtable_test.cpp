#include "host/mvtable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

TEST(MvTable, HasNoSelectionAndNoFractionsAtFirst)
{
    const MvTable table;
    EXPECT_EQ(table.SelectedRow, -1);
    EXPECT_EQ(table.CurrentRow, -1);
    EXPECT_THAT(table.ColumnFractions(), IsEmpty());
}

TEST(MvTable, FillsTheAreaThatHoldsItAtFirst)
{
    const MvTable table;
    EXPECT_EQ(table.RelX1, 0.0);
    EXPECT_EQ(table.RelY1, 0.0);
    EXPECT_EQ(table.RelX2, 1.0);
    EXPECT_EQ(table.RelY2, 1.0);
    EXPECT_FALSE(table.bAutoScaleText);
    EXPECT_EQ(table.MinColumnWidthPx, 0.0);
}

TEST(MvTable, KeepsTheColumnFractionsSetLast)
{
    MvTable table;
    table.SetColumnFractions({0.25, 0.75});
    EXPECT_THAT(table.ColumnFractions(), ElementsAre(0.25, 0.75));
    table.SetColumnFractions({1.0});
    EXPECT_THAT(table.ColumnFractions(), ElementsAre(1.0));
    table.SetColumnFractions({});
    EXPECT_THAT(table.ColumnFractions(), IsEmpty());
}

TEST(MvTable, TakesItsOwnFractionsBack)
{
    MvTable table;
    table.SetColumnFractions({0.25, 0.75});
    table.SetColumnFractions(table.ColumnFractions());
    EXPECT_THAT(table.ColumnFractions(), ElementsAre(0.25, 0.75));
}

TEST(MvTable, WritesBothRowsWhenTheUserSelects)
{
    for (const int row : {-1, 0, 1, std::numeric_limits<int>::max()})
    {
        MvTable table;
        table.SelectRow(row);
        EXPECT_EQ(table.SelectedRow, row);
        EXPECT_EQ(table.CurrentRow, row);
    }
}

TEST(MvTable, TellsOfASelectionAfterBothRowsAreWritten)
{
    MvTable table;
    std::vector<int> rows;
    table.SelectionChanged.connect(
        [&]
        {
            rows.push_back(table.SelectedRow);
            rows.push_back(table.CurrentRow);
        });
    table.SelectRow(2);
    table.SelectRow(2);
    table.SelectRow(-1);
    EXPECT_THAT(rows, ElementsAre(2, 2, 2, 2, -1, -1));
}

TEST(MvTable, IsSilentWhenItsFieldsAreWritten)
{
    MvTable table;
    int changeCount = 0;
    table.SelectionChanged.connect([&changeCount] { ++changeCount; });
    table.SelectedRow = 3;
    table.CurrentRow = 3;
    table.SetColumnFractions({1.0});
    EXPECT_EQ(changeCount, 0);
}

TEST(MvTable, LetsASubclassFollowTheFractions)
{
    class FollowingTable : public MvTable
    {
    public:
        void SetColumnFractions(const std::vector<double>& NewFractions) override
        {
            MvTable::SetColumnFractions(NewFractions);
            ++FollowCount;
        }
        int FollowCount = 0;
    };
    FollowingTable following;
    MvTable& table = following;
    table.SetColumnFractions({1.0});
    EXPECT_EQ(following.FollowCount, 1);
    EXPECT_THAT(table.ColumnFractions(), ElementsAre(1.0));
}
} // namespace
