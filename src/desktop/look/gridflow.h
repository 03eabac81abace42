// A layout of buttons in rows that fill the width: equal columns while at least two fit side by side,
// else each row takes what fits it. UI thread only.

#pragma once

#include <QLayout>

#include <memory>
#include <vector>

class GridFlow : public QLayout
{
    Q_OBJECT

public:
    explicit GridFlow(QWidget* pParent = nullptr);
    ~GridFlow() override;

    void addItem(QLayoutItem* pItem) override; ///< takes the item over
    int count() const override;
    QLayoutItem* itemAt(int Index) const override;
    QLayoutItem* takeAt(int Index) override; ///< gives the item to the caller

    QSize sizeHint() const override;
    QSize minimumSize() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int Width) const override;
    Qt::Orientations expandingDirections() const override;
    void setGeometry(const QRect& Rect) override;

private:
    /// Widths of the items of one row; together with the spacing they fill it.
    using Row = std::vector<int>;

    QSize CellHint() const;
    std::vector<Row> EqualColumns(int Columns, int WidthPx) const;
    std::vector<Row> FilledRows(int WidthPx) const;
    std::vector<Row> RowsFor(int WidthPx) const;

    std::vector<std::unique_ptr<QLayoutItem>> Items;
};
