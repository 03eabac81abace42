#include "desktop/videowindow.h"

#include "desktop/commands.h"
#include "desktop/session.h"
#include "desktop/timelinewidget.h"
#include "desktop/videodocument.h"
#include "desktop/videopane.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QUrl>

namespace
{
QStringList LocalFiles(const QMimeData& Data)
{
    QStringList paths;
    for (const QUrl& url : Data.urls())
    {
        if (url.isLocalFile())
        {
            paths.append(url.toLocalFile());
        }
    }
    return paths;
}
} // namespace

VideoWindow::VideoWindow(Session& NewRunning,
                         Commands& Target,
                         VideoDocument& Shown,
                         SurfaceKind Kind)
    : Running(NewRunning)
    , Actions(*this, Target)
    , Document(Shown)
    , ID(Shown.WindowID())
    , pPane(new VideoPane(NewRunning, Target, Actions, Shown, Kind, this))
{
    setAcceptDrops(true);
    setCentralWidget(pPane);
    MakeMenus();
    connect(&Running, &Session::FrameDone, this, &VideoWindow::SyncTitle);
    SyncTitle();
}

void VideoWindow::FocusVideo()
{
    pPane->Timeline().setFocus();
}

void VideoWindow::SetRecentFiles(const QStringList& Paths)
{
    pRecentMenu->clear();
    pRecentMenu->setEnabled(!Paths.isEmpty());
    for (const QString& path : Paths)
    {
        // A '&' in a name would be taken for a mnemonic.
        QAction* const action =
            pRecentMenu->addAction(QFileInfo(path).fileName().replace('&', "&&"));
        action->setToolTip(path);
        connect(action, &QAction::triggered, this, [this, path] { Q_EMIT RecentFilePicked(path); });
    }
}

void VideoWindow::MakeMenus()
{
    QMenu* menu = nullptr;
    const ActionInfo* previous = nullptr;
    for (const ActionInfo& info : ActionTable())
    {
        if (previous == nullptr || previous->Group != info.Group)
        {
            menu = menuBar()->addMenu(GroupName(info.Group));
        }
        menu->addAction(Actions.Get(info.Id));
        if (info.Id == ActionId::OpenFile)
        {
            pRecentMenu = menu->addMenu("Open recent");
            pRecentMenu->setToolTipsVisible(true);
            pRecentMenu->setEnabled(false);
        }
        previous = &info;
    }
}

void VideoWindow::SyncTitle()
{
    const QString file = QFileInfo(QFile::decodeName(Document.pVideo->FilePath.c_str())).fileName();
    const bool bActedOn = Running.Documents().size() > 1 && Running.TargetDocument() == &Document;
    // The name at the end, or the toolkit would add it there.
    setWindowTitle((file.isEmpty() ? QString() : file + " – ") +
                   (bActedOn ? "marking here – " : "") + "Movane");
}

void VideoWindow::closeEvent(QCloseEvent* pEvent)
{
    pEvent->accept();
    Q_EMIT Closed();
}

void VideoWindow::showEvent(QShowEvent* pEvent)
{
    QMainWindow::showEvent(pEvent);
    Document.bVisible = true;
    Running.RequestFrame();
}

void VideoWindow::hideEvent(QHideEvent* pEvent)
{
    QMainWindow::hideEvent(pEvent);
    Document.bVisible = false;
    Running.RequestFrame();
}

void VideoWindow::dragEnterEvent(QDragEnterEvent* pEvent)
{
    if (pEvent->mimeData()->hasUrls() && !LocalFiles(*pEvent->mimeData()).isEmpty())
    {
        pEvent->acceptProposedAction();
    }
}

void VideoWindow::dropEvent(QDropEvent* pEvent)
{
    pEvent->acceptProposedAction();
    Q_EMIT FilesDropped(LocalFiles(*pEvent->mimeData()));
}
