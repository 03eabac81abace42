#include "desktop/mainwindow.h"

#include "desktop/clippanelwidget.h"
#include "desktop/exportbar.h"
#include "desktop/exportwatch.h"
#include "desktop/session.h"
#include "desktop/theme.h"
#include "desktop/videopane.h"

#include <QCloseEvent>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>

namespace
{
constexpr int StartWidthPx = 1280;
} // namespace

MainWindow::MainWindow(Session& NewRunning,
                       Commands& Target,
                       VideoDocument& Shown,
                       SurfaceKind Kind,
                       ExportWatch& NewExport)
    : VideoWindow(NewRunning, Target, Shown, Kind)
    , Export(NewExport)
    , pSplitter(new QSplitter(Qt::Horizontal))
    , pClipPanel(new ClipPanelWidget(NewRunning.Panel(), NewRunning.Records(), Actions))
    , pExportBar(new ExportBar(Actions.Get(ActionId::StopExport)))
{
    auto* const side = new QWidget;
    auto* const sideLayout = new QVBoxLayout(side);
    sideLayout->setContentsMargins(0, 0, 0, 0);
    sideLayout->addWidget(pClipPanel, 1);
    sideLayout->addWidget(pExportBar);

    pSplitter->setChildrenCollapsible(false);
    pSplitter->addWidget(takeCentralWidget());
    pSplitter->addWidget(side);
    pSplitter->setStretchFactor(0, 3);
    pSplitter->setStretchFactor(1, 1);
    setCentralWidget(pSplitter);
    resize(StartWidthPx, 760);
    const int sidePx = std::min(Theme::ScaledPx(440), StartWidthPx * 2 / 5);
    pSplitter->setSizes({StartWidthPx - sidePx, sidePx});

    connect(&Running, &Session::FrameDone, pClipPanel, &ClipPanelWidget::SyncFromHost);
    connect(&Export, &ExportWatch::Progressed, this,
            [this](const ExportProgressRecord& progress)
            {
                pExportBar->ShowProgress(progress);
                pExportBar->show();
            });
    connect(&Export, &ExportWatch::Ended, this,
            [this]
            {
                pExportBar->hide();
                if (pQuestion != nullptr)
                {
                    pQuestion->reject();
                }
                if (bCloseAfterExport)
                {
                    close();
                }
            });
}

void MainWindow::FocusName()
{
    activateWindow();
    raise();
    pClipPanel->FocusName();
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
    if (Export.IsRunning())
    {
        pEvent->ignore();
        AskAboutExport();
        return;
    }
    VideoWindow::closeEvent(pEvent);
}

void MainWindow::AskAboutExport()
{
    if (pQuestion != nullptr)
    {
        return;
    }
    pQuestion = new QMessageBox(QMessageBox::NoIcon, "Movane", "An export is running.",
                                QMessageBox::NoButton, this);
    pQuestion->setAttribute(Qt::WA_DeleteOnClose);
    pQuestion->setInformativeText("Its file is finished only when the export ends.");
    QPushButton* const wait = pQuestion->addButton("Wait, then close", QMessageBox::AcceptRole);
    QPushButton* const stop = pQuestion->addButton("Stop and close", QMessageBox::DestructiveRole);
    QPushButton* const stay = pQuestion->addButton("Stay", QMessageBox::RejectRole);
    pQuestion->setDefaultButton(wait);
    pQuestion->setEscapeButton(stay);
    connect(wait, &QPushButton::clicked, this, [this] { bCloseAfterExport = true; });
    connect(stop, &QPushButton::clicked, this,
            [this]
            {
                bCloseAfterExport = true;
                Export.Stop();
            });
    connect(stay, &QPushButton::clicked, this, [this] { bCloseAfterExport = false; });
    connect(pQuestion, &QMessageBox::finished, this, [this] { pQuestion = nullptr; });
    pQuestion->open();
}
