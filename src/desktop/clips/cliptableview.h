// The table of saved clips as the user sees it: whole rows selected, one of them the current one, nothing
// edited in place, rows of one height, column widths given as fractions. An empty table says how to make a
// clip.
//
// UI thread only.

#pragma once

#include <QTableView>

#include <vector>

class ClipTableView : public QTableView
{
    Q_OBJECT

public:
    /// Text size of the cells at 100 % text scale, which is that of the application's normal font.
    static constexpr int TextPx = 13;

    explicit ClipTableView(QWidget* pParent = nullptr);

    /// Divides the viewport's width among the columns, to the pixel. Until the next call the user may
    /// drag a column. A wrong number of fractions changes nothing.
    ///
    /// Where large text or long times would be cut in their columns, the columns together get the width
    /// that these need, in the same fractions, and the table scrolls sideways.
    void ApplyFractions(const std::vector<double>& Fractions);
    /// The room on each side of a cell's text at the current text scale.
    static int CellPaddingPx();
    /// The selected rows in their order. O(selected rows).
    std::vector<int> SelectedRows() const;
    bool HasSeveralSelected() const;
    /// The current row where it is selected, else the selected one that is nearest to it; -1 without any.
    int CurrentSelectedRow() const;
    /// Selects one row alone, which becomes the current one; -1 for none.
    void SelectOnly(int Row);
    /// The rows in view, first and last; last is before first when there are none.
    std::pair<int, int> RowsInView() const;

Q_SIGNALS:
    /// The user asked for the menu of the current row.
    void MenuRequested(const QPoint& GlobalPos);
    /// The width or height that the rows have on the screen is another.
    void ViewportResized();
    /// The text has another size.
    void TextResized();

protected:
    void paintEvent(QPaintEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;
    void contextMenuEvent(QContextMenuEvent* pEvent) override;

private:
    void ApplyTextScale();
    int WidthForTimesPx(const std::vector<double>& Fractions) const;
};
