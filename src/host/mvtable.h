// The record of a table on the screen: its place, its text, its columns and its selection.
//
// The widget that draws the table writes its geometry here and applies ColumnFractions(). MvTableModel holds the
// rows. UI thread only.

#pragma once

#include "host/signal.h"

#include <vector>

class MvTable
{
public:
    MvTable() = default;
    virtual ~MvTable() = default;
    MvTable(const MvTable&) = delete;
    MvTable& operator=(const MvTable&) = delete;

    /// Sets the column widths as fractions of the table's width, one a column in column order.
    virtual void SetColumnFractions(const std::vector<double>& NewFractions);
    /// The fractions set last, empty before the first time.
    const std::vector<double>& ColumnFractions() const { return Fractions; }

    /// Selects a row for the user (-1 for none): writes SelectedRow and CurrentRow, then emits
    /// SelectionChanged. Code that writes the two fields directly must notify by itself.
    void SelectRow(int Row);
    Signal<> SelectionChanged;

    int SelectedRow = -1; ///< -1 for none
    int CurrentRow = -1;  ///< the row with the keyboard's cursor, -1 for none

    // -- The table's rectangle as fractions of the area that holds it, from its top left corner.
    double RelX1 = 0.0;
    double RelY1 = 0.0;
    double RelX2 = 1.0;
    double RelY2 = 1.0;

    int TextPx = 14;
    bool bAutoScaleText = false; ///< the text size follows the table's height
    double CellPaddingPx = 4.0;  ///< on each side of a cell
    double MinColumnWidthPx = 0.0;

private:
    std::vector<double> Fractions;
};
