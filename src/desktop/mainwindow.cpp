#include "desktop/mainwindow.h"

#include "desktop/actions/commands.h"
#include "desktop/clips/clippanelwidget.h"
#include "desktop/closing.h"
#include "desktop/export/exportbar.h"
#include "desktop/look/plainlabel.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "desktop/videopane.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>

namespace
{
constexpr int StartWidthPx = 1280;
constexpr int StartHeightPx = 760;
constexpr int NoteMarginPx = 8;  // that of the clip panel
constexpr int SideWidthPx = 400; // room for the six columns at 100 % text
} // namespace

MainWindow::MainWindow(Session& NewRunning,
                       Commands& Target,
                       VideoDocument& Shown,
                       SurfaceKind Kind)
    : VideoWindow(NewRunning, Target, Shown, Kind)
    , pSplitter(new QSplitter(Qt::Horizontal))
    , pClipPanel(new ClipPanelWidget(NewRunning, Actions))
    , pExportBar(
          new ExportBar(Actions.Get(ActionId::StopExport), Actions.Get(ActionId::StopAllExports)))
    , pClosingNote(new PlainLabel(PlainLabel::Overflow::Wrap))
    , pClosing(new Closing(*this, NewRunning.Exports()))
{
    auto* const side = new QWidget;
    side->setMinimumWidth(SideWidthPx);
    auto* const sideLayout = new QVBoxLayout(side);
    sideLayout->setContentsMargins(0, 0, 0, 0);
    sideLayout->addWidget(pClipPanel, 1);
    pClosingNote->setObjectName("closesAfterExport");
    pClosingNote->Show("Closes when the exports are finished.");
    pClosingNote->hide();
    auto* const noteRow = new QHBoxLayout;
    noteRow->setContentsMargins(NoteMarginPx, 0, NoteMarginPx, NoteMarginPx);
    noteRow->addWidget(pClosingNote);
    sideLayout->addLayout(noteRow);
    sideLayout->addWidget(pExportBar);

    pSplitter->setChildrenCollapsible(false);
    pSplitter->addWidget(takeCentralWidget());
    pSplitter->addWidget(side);
    pSplitter->setStretchFactor(0, 3);
    pSplitter->setStretchFactor(1, 1);
    setCentralWidget(pSplitter);
    ResizeOnScreen({StartWidthPx, StartHeightPx});
    const int sidePx = std::min(Theme::ScaledPx(440), width() * 2 / 5);
    pSplitter->setSizes({width() - sidePx, sidePx});

    connect(&Running, &Session::FrameDone, pClipPanel, &ClipPanelWidget::SyncFromHost);
    connect(&Target, &Commands::AllClipsRequested, this, &MainWindow::SelectAllClips);
    const ClipExports& exports = Running.Exports();
    connect(&exports, &ClipExports::Changed, this,
            [this, &exports]
            {
                // Between two of a queue it stays, with the focus that its button may have.
                if (exports.Running() != nullptr || !exports.IsRunning())
                {
                    pExportBar->Show(exports.Running(), exports.WaitingCount());
                }
            });
    connect(pClosing, &Closing::WaitChanged, pClosingNote, &QWidget::setVisible);
}

void MainWindow::SelectAllClips()
{
    pClipPanel->SelectAll();
    activateWindow();
    raise();
}

void MainWindow::FocusName()
{
    pClipPanel->FocusName(); // first, so that it sees which window it was asked from
    activateWindow();
    raise();
}

void MainWindow::Restore(const Settings& Saved)
{
    if (!Saved.WindowGeometry.isEmpty())
    {
        restoreGeometry(Saved.WindowGeometry);
    }
    if (!Saved.SplitterState.isEmpty())
    {
        pSplitter->restoreState(Saved.SplitterState);
    }
}

void MainWindow::Store(Settings& OutSaved) const
{
    OutSaved.WindowGeometry = saveGeometry();
    OutSaved.SplitterState = pSplitter->saveState();
}

void MainWindow::closeEvent(QCloseEvent* pEvent)
{
    if (pClosing->MayClose())
    {
        VideoWindow::closeEvent(pEvent);
        return;
    }
    pEvent->ignore();
}
