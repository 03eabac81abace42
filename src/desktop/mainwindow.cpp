#include "desktop/mainwindow.h"

#include "desktop/actions/commands.h"
#include "desktop/clips/clippanelwidget.h"
#include "desktop/export/exportbar.h"
#include "desktop/look/plainlabel.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "desktop/videopane.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>

namespace
{
constexpr int StartWidthPx = 1280;
constexpr int StartHeightPx = 760;
constexpr int NoteMarginPx = 8;  // that of the clip panel
constexpr int SideWidthPx = 400; // room for the six columns at 100 % text

QString RunningText(bool bRuns, std::size_t WaitingCount)
{
    if (!bRuns)
    {
        return QString("%1 export%2.")
            .arg(WaitingCount)
            .arg(WaitingCount == 1 ? " waits" : "s wait");
    }
    return WaitingCount == 0 ? QString("An export is running.")
                             : QString("An export is running and %1 more %2.")
                                   .arg(WaitingCount)
                                   .arg(WaitingCount == 1 ? "waits" : "wait");
}

QString LossText(int Count, const QString& Kind)
{
    return QString("%1 %2 not exported and will be lost")
        .arg(Count)
        .arg(Kind + (Count == 1 ? " was" : "s were"));
}
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
    connect(&exports, &ClipExports::Idle, this, &MainWindow::TakeIdle);
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

void MainWindow::TakeIdle(bool bAllExported)
{
    if (pQuestion != nullptr)
    {
        pQuestion->reject();
    }
    const bool bCloses =
        Then == AfterExports::Close || (Then == AfterExports::CloseWithFiles && bAllExported);
    if (bCloses && close())
    {
        return; // what was accepted stays so: the end of the program asks its windows once more
    }
    SetAfterExports(AfterExports::Stay, 0);
}

void MainWindow::SetAfterExports(AfterExports Wanted, int LossCount)
{
    Then = Wanted;
    AcceptedLossCount = LossCount;
    pClosingNote->setVisible(Wanted == AfterExports::CloseWithFiles);
}

// -- Closing

void MainWindow::closeEvent(QCloseEvent* pEvent)
{
    if (Running.Exports().IsRunning())
    {
        pEvent->ignore();
        AskAboutExports();
        return;
    }
    if (Running.Exports().States().CountMissing() > AcceptedLossCount)
    {
        pEvent->ignore();
        AskAboutClips();
        return;
    }
    VideoWindow::closeEvent(pEvent);
}

void MainWindow::AskAboutExports()
{
    if (pQuestion != nullptr)
    {
        return;
    }
    ClipExports& exports = Running.Exports();
    pQuestion = new QMessageBox(QMessageBox::NoIcon, "Movane",
                                RunningText(exports.Running() != nullptr, exports.WaitingCount()),
                                QMessageBox::NoButton, this);
    // Told here, for whoever answers is not asked again.
    const int otherCount = exports.States().CountMissingAfterExports();
    const QString loss =
        otherCount == 0 ? QString() : ' ' + LossText(otherCount, "other clip") + '.';
    pQuestion->setInformativeText("A file is finished only when its export ends." + loss);
    QPushButton* const wait = pQuestion->addButton("Wait, then close", QMessageBox::AcceptRole);
    QPushButton* const stop = pQuestion->addButton("Stop and close", QMessageBox::DestructiveRole);
    QPushButton* const stay = pQuestion->addButton("Stay", QMessageBox::RejectRole);
    pQuestion->setDefaultButton(wait);
    connect(wait, &QPushButton::clicked, this,
            [this, otherCount] { SetAfterExports(AfterExports::CloseWithFiles, otherCount); });
    connect(stop, &QPushButton::clicked, this,
            [this]
            {
                SetAfterExports(AfterExports::Close, Running.Exports().States().CountMissing());
                Running.Exports().StopAll();
            });
    connect(stay, &QPushButton::clicked, this, [this] { SetAfterExports(AfterExports::Stay, 0); });
    OpenQuestion(stay);
}

void MainWindow::AskAboutClips()
{
    if (pQuestion != nullptr)
    {
        return;
    }
    const int count = Running.Exports().States().CountMissing();
    pQuestion =
        new QMessageBox(QMessageBox::NoIcon, "Movane", LossText(count, "clip") + ": close anyway?",
                        QMessageBox::NoButton, this);
    QPushButton* const closeAnyway = pQuestion->addButton("Close", QMessageBox::DestructiveRole);
    QPushButton* const stay = pQuestion->addButton("Stay", QMessageBox::RejectRole);
    pQuestion->setDefaultButton(stay);
    // When the question has gone: a window does not close under its own dialog.
    connect(
        closeAnyway, &QPushButton::clicked, this,
        [this, count]
        {
            AcceptedLossCount = count;
            if (!close())
            {
                AcceptedLossCount = 0;
            }
        },
        Qt::QueuedConnection);
    OpenQuestion(stay);
}

void MainWindow::OpenQuestion(QAbstractButton* pStay)
{
    pQuestion->setAttribute(Qt::WA_DeleteOnClose);
    pQuestion->setEscapeButton(pStay);
    connect(pQuestion, &QMessageBox::finished, this, [this] { pQuestion = nullptr; });
    raise(); // it may have been asked for from another window
    pQuestion->open();
}
