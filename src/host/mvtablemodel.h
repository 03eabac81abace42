// The texts of a table: column titles and rows of cells.
//
// Rows may have fewer or more cells than there are headers; a reader treats what is missing as empty.
// Each change moves the revision, so a view compares one number instead of all cells. UI thread only.

#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

class MvTableModel
{
public:
    using HeaderList = std::vector<std::string>;
    using Row = std::vector<std::string>;
    using RowList = std::vector<Row>;

    void SetHeaders(const HeaderList& NewHeaders)
    {
        MarkChanged();
        Headers = NewHeaders;
    }
    /// Replaces all rows.
    void SetRows(const RowList& NewRows)
    {
        MarkChanged();
        Rows = NewRows;
    }
    void SetRows(RowList&& NewRows)
    {
        MarkChanged();
        Rows = std::move(NewRows);
    }
    void AddRow(const Row& NewRow)
    {
        MarkChanged();
        Rows.push_back(NewRow);
    }
    void ClearRows()
    {
        MarkChanged();
        Rows.clear();
    }

    const HeaderList& GetHeaders() const { return Headers; }
    const RowList& GetRows() const { return Rows; }
    int HeaderCount() const { return static_cast<int>(Headers.size()); }
    int RowCount() const { return static_cast<int>(Rows.size()); }

    /// The stored item, or null for an index out of range (also a negative one). The pointer is valid
    /// until the model is changed.
    const std::string* HeaderAt(int Column) const { return ItemAt(Headers, Column); }
    const Row* RowAt(int RowIndex) const { return ItemAt(Rows, RowIndex); }
    const std::string* CellAt(int RowIndex, int Column) const
    {
        const Row* row = RowAt(RowIndex);
        return row == nullptr ? nullptr : ItemAt(*row, Column);
    }

    /// Drops rows at the end or adds empty ones; a negative count counts as 0.
    void ResizeRows(int Count)
    {
        MarkChanged();
        Rows.resize(Count < 0 ? 0 : static_cast<std::size_t>(Count));
    }

    /// Adds empty cells to a row until it has at least Width; never drops any. A row that does not
    /// exist stays so.
    void EnsureRowWidth(int RowIndex, int Width)
    {
        if (RowAt(RowIndex) != nullptr && Width > 0)
        {
            MarkChanged();
            Row& row = Rows[static_cast<std::size_t>(RowIndex)];
            row.resize(row.size() < static_cast<std::size_t>(Width)
                           ? static_cast<std::size_t>(Width)
                           : row.size());
        }
    }

    /// Sets a cell, widening its row when needed. A row that does not exist, a negative column and
    /// the last of all ints, behind which no width lies, change nothing.
    void SetCell(int RowIndex, int Column, const std::string& Text)
    {
        if (RowAt(RowIndex) != nullptr && Column >= 0 && Column < std::numeric_limits<int>::max())
        {
            std::string text = Text; // Text may be a cell of the row that is widened
            EnsureRowWidth(RowIndex, Column + 1);
            Rows[static_cast<std::size_t>(RowIndex)][static_cast<std::size_t>(Column)] =
                std::move(text);
        }
    }

    /// Grows with every call that may have changed a text, also where the text is the same again.
    std::uint64_t Revision() const { return ChangeCount; }
    /// For whoever writes Headers or Rows itself, or changes what the rows are made of.
    void MarkChanged() { ++ChangeCount; }

    HeaderList Headers;
    RowList Rows;

private:
    std::uint64_t ChangeCount = 0;

    template <typename T> static const T* ItemAt(const std::vector<T>& Items, int Index)
    {
        const bool bInRange = Index >= 0 && static_cast<std::size_t>(Index) < Items.size();
        return bInRange ? &Items[static_cast<std::size_t>(Index)] : nullptr;
    }
};
