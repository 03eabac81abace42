// The windows of the application: the main one, the further video windows, and what they ask for.
//
// It opens files, answers the requests of the commands, keeps the panel's target at the video that was
// used last, and shows notifications. UI thread only. Destroyed before the session.

#pragma once

#include "app/openingmark.h"
#include "desktop/session/settings.h"
#include "desktop/video/videosurface.h"
#include "host/movane.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <string>
#include <vector>

class Commands;
class DesktopNotifier;
class KeysPageDialog;
class MainWindow;
class NotificationOverlay;
class Session;
class VideoWindow;

class Desktop : public QObject
{
    Q_OBJECT

public:
    Desktop(Session& NewRunning, Commands& NewActs, SurfaceKind NewKind);
    /// Saves the settings and closes all windows.
    ~Desktop() override;

    /// Makes the main window and shows it. False sets OutError to one sentence.
    bool Start(std::string& OutError);

    /// Opens the first file in Window (null for the active one) and each other in a new window. Paths are
    /// absolute.
    void OpenFiles(const QStringList& Paths, VideoWindow* pWindow = nullptr);

    /// Shows an error in the status line of the clip panel.
    void ShowError(const std::string& Sentence);

    MainWindow& Main() { return *pMain; }
    /// All windows, the main one first.
    std::vector<VideoWindow*> Windows() const;
    /// The one with the keyboard, the main one when none has it.
    VideoWindow& ActiveWindow() const;

protected:
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;

private:
    void ConnectCommands();
    void ConnectWindow(VideoWindow& Window);
    void ShowProgressInTaskBar();
    VideoWindow* AddWindow(std::string& OutError);
    void CloseWindow(unsigned long WindowID);
    void TakeOpened(const QString& Path, bool bLoaded, const std::string& LoadError);

    void ShowRecentFiles();
    void Remember();

    void AskForFiles();
    void AskForTime();
    void ShowKeys();
    void ShowAbout();
    void ApplyTextScale();
    void ToggleFullScreen();
    void ShowNotification(const Movane::Notification& Shown);

    Session& Running;
    Commands& Acts;
    SurfaceKind Kind;
    Settings Remembered;
    OpeningMark Opening; ///< of the files that have not come through yet
    QTimer OpeningEnds;
    std::unique_ptr<MainWindow> pMain;
    std::vector<std::unique_ptr<VideoWindow>> FurtherWindows;
    NotificationOverlay* pOverlay = nullptr;
    DesktopNotifier* pNotifier = nullptr;
    QPointer<KeysPageDialog> pKeysPage; ///< while it is open
};
