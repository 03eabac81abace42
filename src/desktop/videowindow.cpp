#include "desktop/videowindow.h"

#include "desktop/actions/commands.h"
#include "desktop/look/pathtext.h"
#include "desktop/look/plainlabel.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "desktop/session/videodocument.h"
#include "desktop/timeline/timelinewidget.h"
#include "desktop/videopane.h"

#include <QCloseEvent>
#include <QDir>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileInfo>
#include <QFontMetrics>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QScreen>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>

namespace
{
constexpr int RecentNamePx = 400;
constexpr int StatusMarginPx = 8; // that of the clip panel

QStringList LocalFiles(const QMimeData& Data)
{
    QStringList paths;
    for (const QUrl& url : Data.urls())
    {
        if (url.isLocalFile())
        {
            // By its bytes, which need be no UTF-8.
            const QByteArray encoded = url.path(QUrl::FullyEncoded).toLatin1();
            paths.append(PathText(QByteArray::fromPercentEncoding(encoded).toStdString()));
        }
    }
    return paths;
}

// A file's name, with that of its folder where another one is called the same.
QString NameAmong(const QStringList& Paths, const QString& Path)
{
    const QFileInfo file(Path);
    const auto same = std::count_if(Paths.begin(), Paths.end(),
                                    [&](const QString& Other)
                                    { return QFileInfo(Other).fileName() == file.fileName(); });
    return same > 1 ? file.fileName() + " – " + file.dir().dirName() : file.fileName();
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

void VideoWindow::ResizeOnScreen(QSize Wanted)
{
    // Title bar and edges: their size is known only once they are there.
    constexpr QSize FrameSize(16, 48);
    resize(Wanted.boundedTo(screen()->availableSize() - FrameSize));
}

void VideoWindow::FocusVideo()
{
    pPane->Timeline().setFocus();
}

void VideoWindow::SetRecentFiles(const QStringList& Paths)
{
    pRecentMenu->clear();
    pRecentMenu->setEnabled(!Paths.isEmpty());
    const QFontMetrics metrics(Theme::NormalFont());
    for (const QString& path : Paths)
    {
        QString text = metrics.elidedText(NameAmong(Paths, path), Qt::ElideMiddle,
                                          Theme::ScaledPx(RecentNamePx));
        // A '&' in a name would be taken for a mnemonic.
        QAction* const action = pRecentMenu->addAction(text.replace('&', "&&"));
        action->setToolTip(PlainToolTip(path));
        connect(action, &QAction::triggered, this, [this, path] { Q_EMIT RecentFilePicked(path); });
    }
}

void VideoWindow::AddStatusRow()
{
    auto* const status = new PlainLabel(PlainLabel::Overflow::ElideMiddle);
    status->setObjectName("windowStatus");
    auto* const whole = new QWidget;
    auto* const layout = new QVBoxLayout(whole);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(takeCentralWidget(), 1);
    auto* const row = new QHBoxLayout;
    row->setContentsMargins(StatusMarginPx, 0, StatusMarginPx, StatusMarginPx);
    row->addWidget(status);
    layout->addLayout(row);
    setCentralWidget(whole);
    const auto sync = [this, status]
    { status->Show(QString::fromStdString(Running.Panel().StatusText)); };
    connect(&Running, &Session::FrameDone, status, sync);
    sync();
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
        if (info.Id == ActionId::ExportClip)
        {
            connect(menu, &QMenu::aboutToShow, this,
                    [this]
                    {
                        CheckExportedFiles();
                        Actions.EnableFor(Running.Exports().States(),
                                          Running.Panel().SelectedClipIndex(),
                                          Running.Records().SelectedRows);
                    });
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

// The user may come from a file manager.
bool VideoWindow::event(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::WindowActivate)
    {
        CheckExportedFiles();
    }
    return QMainWindow::event(pEvent);
}

void VideoWindow::CheckExportedFiles()
{
    if (Running.Exports().CheckFiles())
    {
        Running.RequestFrame();
    }
}

void VideoWindow::SyncTitle()
{
    const QString file = QFileInfo(PathText(Document.pVideo->FilePath)).fileName();
    const bool bActedOn = Running.Documents().size() > 1 && Running.TargetDocument() == &Document;
    // The name at the end, or the toolkit would add it there.
    setWindowTitle((file.isEmpty() ? QString() : file + " – ") +
                   (bActedOn ? "marking here – " : "") + "Movane");
}

void VideoWindow::keyPressEvent(QKeyEvent* pEvent)
{
    if (pEvent->key() == Qt::Key_Escape && isFullScreen())
    {
        setWindowState(windowState() & ~Qt::WindowFullScreen);
        return;
    }
    QMainWindow::keyPressEvent(pEvent);
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
