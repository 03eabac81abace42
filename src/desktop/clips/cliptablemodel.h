// The panel's clips as a Qt model: the texts of the panel's MvTableModel, the colours of its Clips, and the
// state of each clip's export.
//
// It reads the panel and the states whenever a view asks and keeps no copy; their revisions say when the rows
// in view are to be painted anew. UI thread only; both must outlive it.

#pragma once

#include "app/exportstates.h"

#include <QAbstractTableModel>
#include <QColor>
#include <QMetaType>

#include <cstdint>
#include <utility>

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
    /// The clip's export as a ClipExport, in the name column only.
    static constexpr int ExportRole = Qt::UserRole + 1;

    ClipTableModel(const MvClipControlPanel& ShownPanel,
                   const ExportStates& ShownStates,
                   QObject* pParent = nullptr);

    /// Tells the views of rows that came or went. Costs nothing when the count is the same.
    bool TakeRowCount();
    /// Tells the views that these rows are others, when a clip or an export has changed since the last
    /// call; the rest are read when they come into view. Rows out of range are left out.
    void TakeRows(int FirstRow, int LastRow);

    /// The length of the longest text in a column, in bytes; 0 in an empty table. O(rows).
    int LongestText(int Column) const;

    int rowCount(const QModelIndex& Parent = {}) const override;
    int columnCount(const QModelIndex& Parent = {}) const override;
    QVariant data(const QModelIndex& Index, int Role) const override;
    QVariant headerData(int Section, Qt::Orientation Orientation, int Role) const override;

private:
    QColor ColorOfClip(int Row) const;
    QString CellText(int Row, int Column) const;
    QString TextWithState(int Row, int Column, const QString& Separator) const;

    const MvClipControlPanel& Panel;
    const ExportStates& States;
    int ToldRowCount = 0;
    std::pair<std::uint64_t, std::uint64_t> ToldRevisions; ///< of the clips and of their exports
};

Q_DECLARE_METATYPE(ClipExport)
