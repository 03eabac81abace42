#include "desktop/look/gridflow.h"

#include <algorithm>
#include <numeric>

namespace
{
constexpr int MaxColumns = 3;
}

GridFlow::GridFlow(QWidget* pParent)
    : QLayout(pParent)
{
    setContentsMargins(0, 0, 0, 0);
}

GridFlow::~GridFlow() = default;

void GridFlow::addItem(QLayoutItem* pItem)
{
    Items.emplace_back(pItem);
}

int GridFlow::count() const
{
    return static_cast<int>(Items.size());
}

QLayoutItem* GridFlow::itemAt(int Index) const
{
    const bool bInRange = Index >= 0 && Index < count();
    return bInRange ? Items[static_cast<std::size_t>(Index)].get() : nullptr;
}

QLayoutItem* GridFlow::takeAt(int Index)
{
    if (itemAt(Index) == nullptr)
    {
        return nullptr;
    }
    QLayoutItem* const taken = Items[static_cast<std::size_t>(Index)].release();
    Items.erase(Items.begin() + Index);
    return taken;
}

QSize GridFlow::CellHint() const
{
    QSize hint(1, 1);
    for (const std::unique_ptr<QLayoutItem>& item : Items)
    {
        hint = hint.expandedTo(item->sizeHint());
    }
    return hint;
}

std::vector<GridFlow::Row> GridFlow::EqualColumns(int Columns, int WidthPx) const
{
    std::vector<Row> rows;
    for (int i = 0; i < count(); ++i)
    {
        const int column = i % Columns;
        if (column == 0)
        {
            rows.emplace_back();
        }
        // From edge to edge, so that the last column ends where the row does.
        const int roomPx = WidthPx + spacing();
        const int leftPx = column * roomPx / Columns;
        const int rightPx = (column + 1) * roomPx / Columns;
        rows.back().push_back(rightPx - leftPx - spacing());
    }
    return rows;
}

std::vector<GridFlow::Row> GridFlow::FilledRows(int WidthPx) const
{
    std::vector<Row> rows;
    int freePx = -1;
    for (const std::unique_ptr<QLayoutItem>& item : Items)
    {
        const int itemPx = item->sizeHint().width();
        if (rows.empty() || freePx < itemPx + spacing())
        {
            rows.emplace_back();
            freePx = WidthPx + spacing();
        }
        rows.back().push_back(itemPx);
        freePx -= itemPx + spacing();
    }
    for (Row& row : rows)
    {
        int restPx = WidthPx - static_cast<int>(row.size() - 1) * spacing();
        restPx -= std::accumulate(row.begin(), row.end(), 0);
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            const int sharePx = restPx / static_cast<int>(row.size() - i);
            row[i] += sharePx;
            restPx -= sharePx;
        }
    }
    return rows;
}

std::vector<GridFlow::Row> GridFlow::RowsFor(int WidthPx) const
{
    const int total = std::max(count(), 1);
    // No more than three, so that what belongs together stays in one row on a wide panel, too.
    const int fitting =
        std::min((WidthPx + spacing()) / (CellHint().width() + spacing()), MaxColumns);
    if (fitting < 2)
    {
        return FilledRows(WidthPx);
    }
    // As few columns as give the same number of rows, so that the last row is not left nearly empty.
    const int rows = (total + fitting - 1) / fitting;
    return EqualColumns((total + rows - 1) / rows, WidthPx);
}

QSize GridFlow::sizeHint() const
{
    const int widthPx = 3 * CellHint().width() + 2 * spacing();
    return {widthPx, heightForWidth(widthPx)};
}

QSize GridFlow::minimumSize() const
{
    return CellHint();
}

bool GridFlow::hasHeightForWidth() const
{
    return true;
}

int GridFlow::heightForWidth(int Width) const
{
    const int rows = static_cast<int>(RowsFor(Width).size());
    return rows * CellHint().height() + std::max(rows - 1, 0) * spacing();
}

Qt::Orientations GridFlow::expandingDirections() const
{
    return {};
}

void GridFlow::setGeometry(const QRect& Rect)
{
    QLayout::setGeometry(Rect);
    const int heightPx = CellHint().height();
    int top = Rect.top();
    int index = 0;
    for (const Row& row : RowsFor(Rect.width()))
    {
        int left = Rect.left();
        for (const int widthPx : row)
        {
            itemAt(index)->setGeometry(QRect(left, top, widthPx, heightPx));
            left += widthPx + spacing();
            ++index;
        }
        top += heightPx + spacing();
    }
}
