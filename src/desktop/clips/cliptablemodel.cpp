#include "desktop/clips/cliptablemodel.h"

#include "app/clippanelrecords.h"
#include "desktop/export/exportmarks.h"
#include "desktop/look/plainlabel.h"
#include "panel/mvclipcontrolpanel.h"

#include <algorithm>

ClipTableModel::ClipTableModel(const MvClipControlPanel& ShownPanel,
                               const ExportStates& ShownStates,
                               QObject* pParent)
    : QAbstractTableModel(pParent)
    , Panel(ShownPanel)
    , States(ShownStates)
{
    TakeRowCount();
}

bool ClipTableModel::TakeRowCount()
{
    const int count = Panel.TableModel != nullptr ? Panel.TableModel->RowCount() : 0;
    if (count > ToldRowCount)
    {
        beginInsertRows({}, ToldRowCount, count - 1);
        ToldRowCount = count;
        endInsertRows();
        return true;
    }
    if (count < ToldRowCount)
    {
        beginRemoveRows({}, count, ToldRowCount - 1);
        ToldRowCount = count;
        endRemoveRows();
        return true;
    }
    return false;
}

void ClipTableModel::TakeRows(int FirstRow, int LastRow)
{
    const std::pair revisions(ClipsRevision(Panel), States.Revision());
    if (std::exchange(ToldRevisions, revisions) == revisions)
    {
        return;
    }
    const int first = std::max(FirstRow, 0);
    const int last = std::min(LastRow, ToldRowCount - 1);
    if (first <= last)
    {
        Q_EMIT dataChanged(index(first, 0), index(last, ColumnCount - 1));
    }
}

QColor ClipTableModel::ColorOfClip(int Row) const
{
    if (static_cast<std::size_t>(Row) >= Panel.Clips.size())
    {
        return {};
    }
    const MvClipControlPanel::SavedClip& clip = Panel.Clips[static_cast<std::size_t>(Row)];
    const auto component = [](float Value) { return std::clamp(Value, 0.0F, 1.0F); };
    return QColor::fromRgbF(component(clip.ColorR), component(clip.ColorG), component(clip.ColorB));
}

int ClipTableModel::LongestText(int Column) const
{
    std::size_t longest = 0;
    for (int row = 0; row < ToldRowCount; ++row)
    {
        const std::string* const cell = Panel.TableModel->CellAt(row, Column);
        longest = std::max(longest, cell != nullptr ? cell->size() : 0);
    }
    return static_cast<int>(longest);
}

int ClipTableModel::rowCount(const QModelIndex& Parent) const
{
    return Parent.isValid() ? 0 : ToldRowCount;
}

int ClipTableModel::columnCount(const QModelIndex& Parent) const
{
    return Parent.isValid() ? 0 : ColumnCount;
}

QVariant ClipTableModel::data(const QModelIndex& Index, int Role) const
{
    if (!Index.isValid() || Panel.TableModel == nullptr)
    {
        return {};
    }
    switch (Role)
    {
    case Qt::DisplayRole:
        return CellText(Index.row(), Index.column()).replace('\n', ' ');
    case Qt::ToolTipRole:
        return PlainToolTip(TextWithState(Index.row(), Index.column(), "\n")).replace('\n', "<br>");
    case Qt::AccessibleTextRole:
        return TextWithState(Index.row(), Index.column(), ", ");
    case ExportRole:
        return Index.column() == NameColumn ? QVariant::fromValue(States.Of(Index.row()))
                                            : QVariant();
    case ColorRole:
        return Index.column() == ColorColumn ? ColorOfClip(Index.row()) : QVariant();
    default:
        return {};
    }
}

QVariant ClipTableModel::headerData(int Section, Qt::Orientation Orientation, int Role) const
{
    if (Orientation == Qt::Horizontal && Role == Qt::TextAlignmentRole)
    {
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    }
    const bool bText = Role == Qt::DisplayRole || Role == Qt::ToolTipRole;
    if (Orientation != Qt::Horizontal || !bText || Panel.TableModel == nullptr)
    {
        return {};
    }
    const std::string* const header = Panel.TableModel->HeaderAt(Section);
    return header != nullptr ? QString::fromStdString(*header) : QString();
}

QString ClipTableModel::CellText(int Row, int Column) const
{
    const std::string* const cell = Panel.TableModel->CellAt(Row, Column);
    return cell != nullptr ? QString::fromStdString(*cell) : QString();
}

QString ClipTableModel::TextWithState(int Row, int Column, const QString& Separator) const
{
    const QString text = CellText(Row, Column);
    const QString state = Column == NameColumn ? ExportStateText(States.Of(Row)) : QString();
    return state.isEmpty() ? text : text + Separator + state;
}
