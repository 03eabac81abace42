#include "desktop/clips/clippanelwidget.h"

#include "desktop/actions/actionset.h"
#include "desktop/clips/cliptablemodel.h"
#include "desktop/clips/cliptableview.h"
#include "desktop/look/gridflow.h"
#include "desktop/look/plainlabel.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "host/core.h"

#include <QApplication>
#include <QInputMethod>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <array>
#include <utility>

namespace
{
// The same at every text scale: with large text the room is needed for the text.
constexpr int MarginPx = 8;
constexpr int SpacingPx = 6;

// In the order of a clip's life: make it, look at it, change it, use it.
constexpr std::array ButtonIds = {ActionId::SaveClip,   ActionId::AddMarker,  ActionId::ClearRange,
                                  ActionId::LoadClip,   ActionId::JumpToIn,   ActionId::JumpToOut,
                                  ActionId::RenameClip, ActionId::DeleteClip, ActionId::ExportClip};

PlainLabel* NewLabel(const char* Name, PlainLabel::Overflow Overflow)
{
    auto* const label = new PlainLabel(Overflow);
    label->setObjectName(Name);
    return label;
}

QWidget* NewLine()
{
    auto* const line = new QWidget;
    line->setFixedHeight(1);
    line->setAutoFillBackground(true);
    line->setPalette(QPalette(Theme::Line));
    return line;
}

QToolButton* NewButton(const QAction& Action)
{
    auto* const button = new QToolButton;
    button->setText(Action.iconText());
    button->setToolTip(Action.toolTip());
    button->setAccessibleName(Action.iconText());
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    return button;
}

// Scrolls up and down only, so it must never be narrower than what it holds. Its scroll bar comes and goes in
// a strip that is always left free, so that nothing moves sideways.
class BodyScroll : public QScrollArea
{
public:
    BodyScroll()
    {
        verticalScrollBar()->setObjectName("bodyScrollBar");
        connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this] { KeepStrip(); });
        KeepStrip();
    }

    QSize minimumSizeHint() const override
    {
        QSize hint = QScrollArea::minimumSizeHint();
        if (widget() != nullptr)
        {
            hint.setWidth(widget()->minimumSizeHint().width() + StripPx());
        }
        return hint;
    }

    bool eventFilter(QObject* pWatched, QEvent* pEvent) override
    {
        if (pWatched == widget() && pEvent->type() == QEvent::LayoutRequest)
        {
            updateGeometry();
        }
        return QScrollArea::eventFilter(pWatched, pEvent);
    }

protected:
    void changeEvent(QEvent* pEvent) override
    {
        QScrollArea::changeEvent(pEvent);
        if (pEvent->type() == QEvent::StyleChange)
        {
            KeepStrip();
        }
    }

private:
    int StripPx() const { return verticalScrollBar()->sizeHint().width(); }
    void KeepStrip()
    {
        setViewportMargins(0, 0, verticalScrollBar()->maximum() > 0 ? 0 : StripPx(), 0);
    }
};
} // namespace

ClipPanelWidget::ClipPanelWidget(Session& Running, const ActionSet& WindowActions, QWidget* pParent)
    : QWidget(pParent)
    , Panel(Running.Panel())
    , Records(Running.Records())
    , Exports(Running.Exports())
    , Actions(WindowActions)
{
    BuildBody();
    AddButtons();
    ConnectTable();
    ConnectNameField();
    SyncFromHost();
}

// -- Building

void ClipPanelWidget::BuildBody()
{
    pSourceLabel = NewLabel("clipSource", PlainLabel::Overflow::ElideMiddle);
    pRangeLabel = NewLabel("clipRange", PlainLabel::Overflow::Wrap);
    pMarkersLabel = NewLabel("clipMarkers", PlainLabel::Overflow::Wrap);
    pRangeLabel->KeepRoomFor("Current Range: 0:00:00 -> 0:00:00   LEN 0:00:00");
    pMarkersLabel->KeepRoomFor("Markers: 000   Current: 0:00:00");
    pStatusLabel = NewLabel("clipStatus", PlainLabel::Overflow::Wrap);

    pModel = new ClipTableModel(Panel, Exports.States(), this);
    pTable = new ClipTableView;
    pTable->setObjectName("clipTable");
    pTable->setModel(pModel);

    pNameEdit = new QLineEdit;
    pNameEdit->setObjectName("clipName");
    pNameEdit->setAccessibleName("Clip name");
    pNameEdit->setPlaceholderText("Clip name");
    pNameEdit->installEventFilter(this);

    pButtons = new GridFlow;
    pButtons->setSpacing(SpacingPx);

    auto* const body = new QWidget;
    auto* const lines = new QVBoxLayout(body);
    lines->setContentsMargins(MarginPx, MarginPx, 0, MarginPx);
    lines->setSpacing(SpacingPx);
    lines->addWidget(pSourceLabel);
    lines->addWidget(pRangeLabel);
    lines->addWidget(pMarkersLabel);
    // Whatever the status says and whatever runs, the table gives and takes the room, and no button moves.
    lines->addWidget(pNameEdit);
    lines->addLayout(pButtons);
    lines->addWidget(pTable, 1);

    pScroll = new BodyScroll;
    pScroll->setFrameShape(QFrame::NoFrame);
    pScroll->setWidgetResizable(true);
    pScroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    pScroll->setFocusPolicy(Qt::NoFocus);
    pScroll->setWidget(body);
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, MarginPx);
    whole->setSpacing(0);
    whole->addWidget(pScroll, 1);
    // Not in the part that scrolls: it is all that an action says.
    auto* const statusRow = new QHBoxLayout;
    statusRow->setContentsMargins(MarginPx, SpacingPx, MarginPx, 0);
    statusRow->addWidget(pStatusLabel);
    whole->addWidget(NewLine());
    whole->addLayout(statusRow);
}

void ClipPanelWidget::AddButtons()
{
    for (const ActionId id : ButtonIds)
    {
        QToolButton* const button = NewButton(*Actions.Get(id));
        button->setObjectName(QString("clipButton%1").arg(static_cast<int>(id)));
        connect(button, &QToolButton::clicked, this, [this, id] { Trigger(id); });
        if (id == ActionId::ExportClip)
        {
            auto* const more = new QMenu(button);
            more->addAction(Actions.Get(ActionId::ExportAll));
            button->setMenu(more);
            button->setPopupMode(QToolButton::MenuButtonPopup);
        }
        pButtons->addWidget(button);
    }
}

void ClipPanelWidget::ConnectTable()
{
    connect(pTable->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ClipPanelWidget::TakeSelection);
    // A right click on one of several selected rows changes the current row alone. A row that is to be
    // selected, too, becomes the current one first.
    connect(pTable->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& Current)
            {
                if (pTable->selectionModel()->isSelected(Current))
                {
                    TakeSelection();
                }
            });
    connect(pTable, &QTableView::doubleClicked, this,
            [this](const QModelIndex& Index)
            {
                pTable->SelectOnly(Index.row());
                Trigger(ActionId::LoadClip);
            });
    connect(pTable, &ClipTableView::TextResized, this, &ClipPanelWidget::UpdateGeometryRecords);
    connect(pTable, &ClipTableView::MenuRequested, this, &ClipPanelWidget::ShowRowMenu);
    connect(pTable, &ClipTableView::ViewportResized, this,
            [this]
            {
                // With a great many clips a layout takes its time, and another height needs none.
                if (!MirrorGeometry() || pTable->viewport()->width() == LaidOutWidthPx)
                {
                    return;
                }
                UpdateGeometryRecords();
            });
}

void ClipPanelWidget::ConnectNameField()
{
    connect(pNameEdit, &QLineEdit::textEdited, this,
            [this](const QString& Text)
            {
                ShownName = Text.toStdString();
                Records.NameInput.SetText(ShownName, true);
            });
    connect(pNameEdit, &QLineEdit::returnPressed, this,
            [this]
            {
                Trigger(ActionId::RenameClip);
                LeaveName();
            });
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget* pBefore, QWidget* pNow)
            {
                if (pNow == pNameEdit && pBefore != nullptr && pBefore->window() == window())
                {
                    pFocusBeforeName = pBefore;
                }
            });
}

// -- Host to widgets

void ClipPanelWidget::SyncFromHost()
{
    const QScopedValueRollback syncing(bSyncing, true);
    SyncTable();
    SyncName();
    SyncLabels();
}

void ClipPanelWidget::SyncTable()
{
    const bool bCountChanged = pModel->TakeRowCount();
    SyncSelection(bCountChanged);
    const auto [firstRow, lastRow] = pTable->RowsInView();
    pModel->TakeRows(firstRow, lastRow);
    // The same fractions may hold longer times.
    if (bCountChanged || Records.Table.ColumnFractions() != ShownFractions)
    {
        ShownFractions = Records.Table.ColumnFractions();
        pTable->ApplyFractions(ShownFractions);
    }
}

// The rows that the user has selected stay selected while the host's row is the current one of them. A row
// that the host chose itself is selected alone, also after clips came or went: the others are other clips.
void ClipPanelWidget::SyncSelection(bool bCountChanged)
{
    const int row = Panel.SelectedClipIndex();
    const bool bShown =
        row == pTable->CurrentSelectedRow() && (row < 0 || row == pTable->currentIndex().row());
    if (!bShown || bCountChanged)
    {
        pTable->SelectOnly(row);
        Records.SelectedRows.clear();
    }
    if (row >= 0 && (!bShown || bCountChanged))
    {
        pTable->scrollTo(pModel->index(row, 0));
    }
}

// Bytes that are no UTF-8 are shown as replacement characters and stay what they are: the field is
// compared by the bytes it was given, never by what it made of them.
void ClipPanelWidget::SyncName()
{
    if (Records.NameInput.Text != ShownName)
    {
        ShownName = Records.NameInput.Text;
        pNameEdit->setText(QString::fromStdString(ShownName));
    }
}

void ClipPanelWidget::SyncLabels()
{
    pSourceLabel->Show(QString::fromStdString(Records.SourceLabel.Text));
    pRangeLabel->Show(QString::fromStdString(Records.RangeLabel.Text));
    pMarkersLabel->Show(QString::fromStdString(Records.MarkersLabel.Text));
    pStatusLabel->Show(QString::fromStdString(Records.StatusLabel.Text));
}

// -- The user to the host

void ClipPanelWidget::TakeSelection()
{
    if (bSyncing)
    {
        return;
    }
    std::vector<int> rows = pTable->SelectedRows();
    const int row = pTable->CurrentSelectedRow();
    if (row != pTable->currentIndex().row())
    {
        // A click with Ctrl has just taken the current row out.
        const QScopedValueRollback syncing(bSyncing, true);
        pTable->selectionModel()->setCurrentIndex(pModel->index(row, 0),
                                                  QItemSelectionModel::NoUpdate);
    }
    Records.SelectedRows = rows.size() > 1 ? std::move(rows) : std::vector<int>();
    if (row != Panel.SelectedClipIndex())
    {
        Records.Table.SelectRow(row);
        SyncFromHost();
    }
}

// By its signal rather than by trigger(): a button works also while the action's key is switched off.
void ClipPanelWidget::Trigger(ActionId Id)
{
    QGuiApplication::inputMethod()->commit(); // what is still being composed belongs to the name
    Q_EMIT Actions.Get(Id)->triggered();
}

void ClipPanelWidget::FocusName()
{
    QWidget* const before = QApplication::focusWidget();
    if (before != nullptr && before != pNameEdit)
    {
        pFocusBeforeName = before; // it may be in another window
    }
    pScroll->ensureWidgetVisible(pNameEdit);
    pNameEdit->setFocus(Qt::ShortcutFocusReason);
    pNameEdit->selectAll();
}

void ClipPanelWidget::SelectAll()
{
    pTable->setFocus(Qt::ShortcutFocusReason);
    pTable->selectAll();
}

void ClipPanelWidget::LeaveName()
{
    QWidget* const before = pFocusBeforeName;
    const bool bUsable = before != nullptr && before->isVisible() && before->isEnabled() &&
                         qobject_cast<QLineEdit*>(before) == nullptr;
    QWidget* const next = bUsable ? before : pTable;
    next->setFocus(Qt::OtherFocusReason);
    next->activateWindow();
}

bool ClipPanelWidget::eventFilter(QObject* pWatched, QEvent* pEvent)
{
    const bool bKey =
        pEvent->type() == QEvent::KeyPress || pEvent->type() == QEvent::ShortcutOverride;
    if (pWatched != pNameEdit || !bKey || static_cast<QKeyEvent*>(pEvent)->key() != Qt::Key_Escape)
    {
        return QWidget::eventFilter(pWatched, pEvent);
    }
    pEvent->accept();
    if (pEvent->type() == QEvent::KeyPress)
    {
        Panel.SyncNameInputFromSelection();
        SyncFromHost();
        LeaveName();
    }
    return true;
}

void ClipPanelWidget::ShowRowMenu(const QPoint& GlobalPos)
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (Exports.CheckFiles())
    {
        SyncFromHost();
    }
    Actions.EnableFor(Exports.States(), Panel.SelectedClipIndex(), Records.SelectedRows);
    using enum ActionId;
    for (const auto& group : {std::vector{LoadClip, JumpToIn, JumpToOut},
                              {OpenClipFile, OpenClipFolder, CopyClipPath},
                              {ExportClip, ExportAgain, RemoveFromQueue},
                              {EditName, DeleteClip}})
    {
        for (const ActionId id : group)
        {
            menu->addAction(Actions.Get(id));
        }
        menu->addSeparator();
    }
    menu->popup(GlobalPos);
}

// -- Geometry

void ClipPanelWidget::UpdateGeometryRecords()
{
    if (!MirrorGeometry())
    {
        return;
    }
    Panel.UpdateTableColumnLayout();
    LaidOutWidthPx = pTable->viewport()->width();
    ShownFractions = Records.Table.ColumnFractions();
    pTable->ApplyFractions(ShownFractions);
}

// The window is the drawing surface, and the panel's parent covers all of it; the panel and the table
// then stand in it as fractions. Returns false while something has no area.
bool ClipPanelWidget::MirrorGeometry()
{
    if (p == nullptr || p->pCoreSDL == nullptr || Panel.pParentWindow == nullptr)
    {
        return false;
    }
    const QSizeF surface = window()->size();
    const QRectF panel(mapTo(window(), QPoint(0, 0)), QSizeF(size()));
    const QWidget& viewport = *pTable->viewport();
    const QRectF table(viewport.mapTo(window(), QPoint(0, 0)), QSizeF(viewport.size()));
    const QRectF inner = panel.adjusted(MarginPx, MarginPx, -MarginPx, -MarginPx);
    if (surface.isEmpty() || inner.isEmpty() || table.isEmpty())
    {
        return false;
    }
    p->pCoreSDL->Width = window()->width();
    p->pCoreSDL->Height = window()->height();

    MvWindow& parent = *Panel.pParentWindow;
    parent.X1 = -1.0;
    parent.Y1 = 1.0;
    parent.X2 = 1.0;
    parent.Y2 = -1.0;
    parent.BorderWidth = 0.0;
    parent.bHasTitleBar = false;
    parent.TitleBarHeight = 0.0;

    Panel.RelX1 = panel.left() / surface.width();
    Panel.RelY1 = panel.top() / surface.height();
    Panel.RelX2 = panel.right() / surface.width();
    Panel.RelY2 = panel.bottom() / surface.height();
    // The surface is two units wide, so a padding of one pixel takes half a pixel from each side.
    Panel.PaddingPx = 2.0 * MarginPx;

    MvTable& record = Records.Table;
    record.RelX1 = (table.left() - inner.left()) / inner.width();
    record.RelY1 = (table.top() - inner.top()) / inner.height();
    record.RelX2 = (table.right() - inner.left()) / inner.width();
    record.RelY2 = (table.bottom() - inner.top()) / inner.height();
    record.TextPx = ClipTableView::TextPx;
    record.bAutoScaleText = false;
    record.CellPaddingPx = ClipTableView::CellPaddingPx();
    return true;
}

void ClipPanelWidget::moveEvent(QMoveEvent* pEvent)
{
    QWidget::moveEvent(pEvent);
    MirrorGeometry();
}

void ClipPanelWidget::showEvent(QShowEvent* pEvent)
{
    QWidget::showEvent(pEvent);
    UpdateGeometryRecords();
}
