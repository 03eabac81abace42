// The panel's clips as a Qt model: the texts of the panel's MvTableModel and the colours of its Clips.
//
// It reads the panel whenever a view asks and keeps no copy but of the rows in view, by which it finds
// out what to have painted anew. UI thread only; the panel must outlive it.

#pragma once

#include <QAbstractTableModel>
#include <QColor>

#include <string>
#include <vector>

class MvClipControlPanel;

class ClipTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum ColumnIndex
    {
        NameColumn,
        InColumn,
        OutColumn,
        LenColumn,
        ColorColumn,
        SourceColumn,
        ColumnCount,
    };

    /// The clip's colour as a QColor, in the colour column only.
    static constexpr int ColorRole = Qt::UserRole;

    explicit ClipTableModel(const MvClipControlPanel& ShownPanel, QObject* pParent = nullptr);

    /// Tells the views of rows that came or went. Costs nothing when the count is the same.
    bool TakeRowCount();
    /// Tells the views when something in these rows differs from what they were told last; the other
    /// rows are read when they come into view. Rows out of range are left out.
    bool TakeRows(int FirstRow, int LastRow);

    /// The length of the longest text in a column, in bytes; 0 in an empty table. O(rows).
    int LongestText(int Column) const;

    int rowCount(const QModelIndex& Parent = {}) const override;
    int columnCount(const QModelIndex& Parent = {}) const override;
    QVariant data(const QModelIndex& Index, int Role) const override;
    QVariant headerData(int Section, Qt::Orientation Orientation, int Role) const override;

private:
    struct ShownRow
    {
        std::vector<std::string> Cells;
        QRgb Color = 0;

        bool operator==(const ShownRow&) const = default;
    };

    ShownRow RowNow(int Row) const;
    QString CellText(int Row, int Column) const;

    const MvClipControlPanel& Panel;
    int ToldRowCount = 0;
    std::vector<ShownRow> ToldRows; ///< the rows of the last TakeRows
};
