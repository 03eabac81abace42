#include "desktop/clips/cliptableview.h"

#include "desktop/clips/cliptablemodel.h"
#include "desktop/export/exportmarks.h"
#include "desktop/look/theme.h"
#include "host/mvtheme.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QPainter>
#include <QResizeEvent>
#include <QStyledItemDelegate>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace
{
// Narrower than the narrowest column that a layout gives, wide enough to be found and dragged.
constexpr int MinSectionPx = 16;
constexpr int MinRows = 3;
constexpr int MinutesLength = 5; // of "00:00"
constexpr const char* EmptyHint = "Press I and O on the timeline, then + to save a clip.";

// Rows are selected whole, so no cell shows a focus of its own; where several are, the current one has a bar
// at its edge. A colour is a chip with its name on it, in small letters: its column is the narrowest. Behind
// a name stands the state of the clip's export.
class CellDelegate : public QStyledItemDelegate
{
public:
    explicit CellDelegate(ClipTableView* pView)
        : QStyledItemDelegate(pView)
        , View(*pView)
    {
    }

    void paint(QPainter* pPainter,
               const QStyleOptionViewItem& Option,
               const QModelIndex& Index) const override
    {
        QStyledItemDelegate::paint(pPainter, Option, Index);
        if (Index.column() == ClipTableModel::NameColumn)
        {
            PaintName(*pPainter, Option, Index);
        }
        const QVariant color = Index.data(ClipTableModel::ColorRole);
        if (color.isValid())
        {
            PaintChip(*pPainter, Option, color.value<QColor>(), Index.data().toString());
        }
    }

protected:
    void initStyleOption(QStyleOptionViewItem* pOption, const QModelIndex& Index) const override
    {
        QStyledItemDelegate::initStyleOption(pOption, Index);
        pOption->state &= ~QStyle::State_HasFocus;
        if (Index.column() == ClipTableModel::NameColumn ||
            Index.column() == ClipTableModel::ColorColumn)
        {
            pOption->text.clear();
        }
    }

private:
    // The text stands where the style puts those of the other columns.
    void
    PaintName(QPainter& Painter, const QStyleOptionViewItem& Option, const QModelIndex& Index) const
    {
        const auto shown = Index.data(ClipTableModel::ExportRole).value<ClipExport>();
        Painter.save();
        if (shown.State == ExportState::Running)
        {
            QRect done = Option.rect;
            done.setWidth(static_cast<int>(shown.Fraction * done.width()));
            const bool bSelected = (Option.state & QStyle::State_Selected) != 0;
            Painter.fillRect(done, Theme::Accent.darker(bSelected ? 130 : 200));
        }
        if (Index.row() == View.currentIndex().row() && View.HasSeveralSelected())
        {
            Painter.fillRect(
                QRect(Option.rect.topLeft(), QSize(CurrentBarPx, Option.rect.height())),
                Theme::Accent);
        }
        QRect room = Option.rect.adjusted(NameMarginPx, 0, -1, 0);
        room.setRight(PaintState(Painter, room, Option.fontMetrics, shown));
        room.adjust(0, (room.height() - Option.fontMetrics.height()) / 2, 0, 0);
        Painter.setFont(Option.font);
        Painter.setPen(Theme::Text);
        Painter.drawText(
            room, Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine,
            Option.fontMetrics.elidedText(Index.data().toString(), Qt::ElideRight, room.width()));
        Painter.restore();
    }

    // At the right end of the room; returns where it begins.
    static int PaintState(QPainter& Painter,
                          const QRect& Room,
                          const QFontMetrics& Metrics,
                          const ClipExport& Shown)
    {
        const int gapPx = Theme::ScaledPx(2);
        if (Shown.State == ExportState::None)
        {
            return Room.right();
        }
        if (Shown.State == ExportState::Running)
        {
            const QString percent = QString("%1 %").arg(static_cast<int>(Shown.Fraction * 100.0));
            Painter.setFont(Theme::SmallFont());
            Painter.setPen(Theme::Text);
            Painter.drawText(Room, Qt::AlignRight | Qt::AlignVCenter, percent);
            return Room.right() - Painter.fontMetrics().horizontalAdvance(percent) - gapPx;
        }
        const int sidePx = Metrics.ascent();
        QRect mark(0, 0, sidePx, sidePx);
        mark.moveCenter(Room.center());
        mark.moveRight(Room.right());
        PaintExportMark(Painter, mark, Shown.State);
        return mark.left() - gapPx;
    }

private:
    static void PaintChip(QPainter& Painter,
                          const QStyleOptionViewItem& Option,
                          const QColor& Color,
                          const QString& Name)
    {
        const int gapPx = Theme::ScaledPx(2);
        const QRect chip = Option.rect.adjusted(0, gapPx, -gapPx, -gapPx);
        const QRect inner = chip.adjusted(1, 0, -1, 0);
        Painter.save();
        Painter.setRenderHint(QPainter::Antialiasing);
        Painter.setPen(Qt::NoPen);
        Painter.setBrush(Color);
        Painter.drawRoundedRect(chip, gapPx, gapPx);
        Painter.setFont(Theme::SmallFont());
        Painter.setPen(Color.lightnessF() > 0.4 ? Theme::Window : Theme::Text);
        Painter.drawText(inner, Qt::AlignCenter,
                         Painter.fontMetrics().elidedText(Name, Qt::ElideRight, inner.width()));
        Painter.restore();
    }

    static constexpr int NameMarginPx = 3; // the style's own
    static constexpr int CurrentBarPx = 3;

    const ClipTableView& View;
};

// A style sheet's header cuts a title that is too long, so it is shortened before.
class TitleHeader : public QHeaderView
{
public:
    explicit TitleHeader(QWidget* pParent)
        : QHeaderView(Qt::Horizontal, pParent)
    {
    }

protected:
    void initStyleOptionForIndex(QStyleOptionHeader* pOption, int LogicalIndex) const override
    {
        QHeaderView::initStyleOptionForIndex(pOption, LogicalIndex);
        const int roomPx = sectionSize(LogicalIndex) - 2 * TitleMarginPx;
        pOption->text = fontMetrics().elidedText(pOption->text, Qt::ElideRight, roomPx);
    }

private:
    static constexpr int TitleMarginPx = 5; // the style sheet's padding and edge
};
} // namespace

ClipTableView::ClipTableView(QWidget* pParent)
    : QTableView(pParent)
{
    setHorizontalHeader(new TitleHeader(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setTabKeyNavigation(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTextElideMode(Qt::ElideRight);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setItemDelegate(new CellDelegate(this));
    setAccessibleName("Saved clips");
    setAccessibleDescription(EmptyHint);

    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(false);
    horizontalHeader()->setMinimumSectionSize(MinSectionPx);
    ApplyTextScale();
}

// By the font that the view has: it is the application's, which grows with the text scale.
void ClipTableView::ApplyTextScale()
{
    const QFontMetrics metrics = fontMetrics();
    const int rowHeightPx = metrics.height() + Theme::ScaledPx(6);
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setDefaultSectionSize(rowHeightPx);
    setMinimumHeight(horizontalHeader()->sizeHint().height() + MinRows * rowHeightPx +
                     2 * frameWidth());
}

// The narrowest columns that a layout gives hold minutes and seconds at 100 % text scale.
int ClipTableView::WidthForTimesPx(const std::vector<double>& Fractions) const
{
    constexpr std::array TimeColumns = {ClipTableModel::InColumn, ClipTableModel::OutColumn,
                                        ClipTableModel::LenColumn};
    const auto* const pClips = qobject_cast<const ClipTableModel*>(model());
    double widthPx = 0.0;
    for (const int column : TimeColumns)
    {
        const int length = pClips != nullptr ? pClips->LongestText(column) : 0;
        const double fraction = Fractions[static_cast<std::size_t>(column)];
        if (fraction > 0.0 && (length > MinutesLength || MvTheme::TextScale() > 1.0))
        {
            const int textPx = fontMetrics().horizontalAdvance(QString(length, '0'));
            widthPx = std::max(widthPx, (textPx + 2 * CellPaddingPx()) / fraction);
        }
    }
    return static_cast<int>(std::ceil(widthPx));
}

void ClipTableView::ApplyFractions(const std::vector<double>& Fractions)
{
    const int columns = horizontalHeader()->count();
    if (static_cast<int>(Fractions.size()) != columns)
    {
        return;
    }
    const int widthPx = std::max(viewport()->width(), WidthForTimesPx(Fractions));
    double rightFraction = 0.0;
    int leftPx = 0;
    for (int column = 0; column < columns; ++column)
    {
        // From edge to edge, so that no rounding error adds up.
        rightFraction += Fractions[static_cast<std::size_t>(column)];
        const bool bLast = column == columns - 1;
        const int rightPx =
            bLast ? widthPx : static_cast<int>(std::lround(rightFraction * widthPx));
        horizontalHeader()->resizeSection(column, rightPx - leftPx);
        leftPx = rightPx;
    }
}

int ClipTableView::CellPaddingPx()
{
    return Theme::ScaledPx(4);
}

std::vector<int> ClipTableView::SelectedRows() const
{
    std::vector<int> rows;
    for (const QItemSelectionRange& range : selectionModel()->selection())
    {
        for (int row = range.top(); row <= range.bottom(); ++row)
        {
            rows.push_back(row);
        }
    }
    std::ranges::sort(rows);
    return rows;
}

bool ClipTableView::HasSeveralSelected() const
{
    const QItemSelection selection = selectionModel()->selection();
    return selection.size() > 1 || (!selection.isEmpty() && selection.first().height() > 1);
}

int ClipTableView::CurrentSelectedRow() const
{
    const int current = currentIndex().row();
    int nearest = -1;
    for (const QItemSelectionRange& range : selectionModel()->selection())
    {
        const int row = std::clamp(current, range.top(), range.bottom());
        if (nearest < 0 || std::abs(row - current) < std::abs(nearest - current))
        {
            nearest = row;
        }
    }
    return nearest;
}

void ClipTableView::SelectOnly(int Row)
{
    selectionModel()->setCurrentIndex(model()->index(Row, 0), QItemSelectionModel::ClearAndSelect |
                                                                  QItemSelectionModel::Rows);
}

std::pair<int, int> ClipTableView::RowsInView() const
{
    const int rows = model() != nullptr ? model()->rowCount() : 0;
    const int first = rowAt(0);
    const int last = rowAt(viewport()->height() - 1);
    // No row under a point of the viewport means that it lies below the last one.
    return {first < 0 ? rows : first, last < 0 ? rows - 1 : last};
}

void ClipTableView::paintEvent(QPaintEvent* pEvent)
{
    QTableView::paintEvent(pEvent);
    if (model() != nullptr && model()->rowCount() > 0)
    {
        return;
    }
    QPainter painter(viewport());
    painter.setPen(Theme::TextDim);
    painter.setFont(font());
    const int marginPx = Theme::ScaledPx(12);
    painter.drawText(viewport()->rect().adjusted(marginPx, 0, -marginPx, 0),
                     Qt::AlignCenter | Qt::TextWordWrap, EmptyHint);
}

void ClipTableView::resizeEvent(QResizeEvent* pEvent)
{
    QTableView::resizeEvent(pEvent);
    // A status line that takes another line must not hide the row that it speaks of.
    const QRect row = visualRect(currentIndex());
    if (row.isValid() && row.top() >= 0 && row.bottom() < pEvent->oldSize().height())
    {
        scrollTo(currentIndex());
    }
    Q_EMIT ViewportResized();
}

void ClipTableView::changeEvent(QEvent* pEvent)
{
    QTableView::changeEvent(pEvent);
    if (pEvent->type() == QEvent::FontChange || pEvent->type() == QEvent::StyleChange)
    {
        ApplyTextScale();
        Q_EMIT TextResized();
    }
}

void ClipTableView::contextMenuEvent(QContextMenuEvent* pEvent)
{
    // The menu key means the selected row, wherever the pointer is.
    if (pEvent->reason() == QContextMenuEvent::Keyboard)
    {
        if (selectionModel()->hasSelection())
        {
            const QRect row = visualRect(currentIndex());
            Q_EMIT MenuRequested(viewport()->mapToGlobal(row.bottomLeft()));
        }
        return;
    }
    if (indexAt(pEvent->pos()).isValid())
    {
        Q_EMIT MenuRequested(pEvent->globalPos());
    }
}
