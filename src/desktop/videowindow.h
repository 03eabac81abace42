// A window with one video: menus, keys, and a pane with picture, transport bar and timeline.
//
// The main window derives from it and adds the clip panel. Files dropped on it are opened: the first
// here, the others in windows of their own. UI thread only; must be destroyed before its document.

#pragma once

#include "desktop/actions/actionset.h"
#include "desktop/video/videosurface.h"

#include <QMainWindow>
#include <QStringList>

class Commands;
class QMenu;
class Session;
class VideoDocument;
class VideoPane;

class VideoWindow : public QMainWindow
{
    Q_OBJECT

public:
    VideoWindow(Session& NewRunning, Commands& Target, VideoDocument& Shown, SurfaceKind Kind);

    VideoPane& Pane() { return *pPane; }
    unsigned long DocumentID() const { return ID; }
    /// Gives the keyboard back to the video, from a field or a dialog.
    void FocusVideo();
    /// Resizes the window, to no more than its screen has room for.
    void ResizeOnScreen(QSize Wanted);
    void SetRecentFiles(const QStringList& Paths);
    /// Adds a row below the pane with the clip panel's status line, for a window without the panel.
    void AddStatusRow();

Q_SIGNALS:
    void FilesDropped(const QStringList& Paths);
    void RecentFilePicked(const QString& Path);
    void Closed();

protected:
    bool event(QEvent* pEvent) override;
    void keyPressEvent(QKeyEvent* pEvent) override;
    void closeEvent(QCloseEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;
    void hideEvent(QHideEvent* pEvent) override;
    void dragEnterEvent(QDragEnterEvent* pEvent) override;
    void dropEvent(QDropEvent* pEvent) override;

    Session& Running;
    ActionSet Actions;

private:
    void MakeMenus();
    void SyncTitle();
    void CheckExportedFiles();

    VideoDocument& Document;
    unsigned long ID;
    VideoPane* pPane;
    QMenu* pRecentMenu = nullptr;
};
