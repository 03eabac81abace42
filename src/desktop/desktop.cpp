#include "desktop/desktop.h"

#include "app/encodercheck.h"
#include "app/typedtime.h"
#include "base/environment.h"
#include "desktop/actions/commands.h"
#include "desktop/actions/desktopopen.h"
#include "desktop/actions/keyspage.h"
#include "desktop/clips/clippanelwidget.h"
#include "desktop/look/pathtext.h"
#include "desktop/look/theme.h"
#include "desktop/look/timetext.h"
#include "desktop/mainwindow.h"
#include "desktop/notify/desktopnotifier.h"
#include "desktop/notify/launcherprogress.h"
#include "desktop/notify/notificationoverlay.h"
#include "desktop/session/session.h"
#include "desktop/session/videodocument.h"
#include "desktop/timeline/timelinewidget.h"
#include "desktop/videopane.h"
#include "host/apppaths.h"
#include "host/mvtheme.h"
#include "host/mvtimecontrol.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QFocusEvent>
#include <QInputDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>
#include <chrono>

namespace
{
// A file has come through when the windows still answer so long after it was opened: the first pictures are
// decoded and drawn by then.
constexpr std::chrono::seconds TimeToComeThrough(3);

VideoPane* PaneAround(QObject* pObject)
{
    for (QObject* object = pObject; object != nullptr; object = object->parent())
    {
        if (auto* const pane = qobject_cast<VideoPane*>(object))
        {
            return pane;
        }
    }
    return nullptr;
}
} // namespace

Desktop::Desktop(Session& NewRunning, Commands& NewActs, SurfaceKind NewKind)
    : Running(NewRunning)
    , Acts(NewActs)
    , Kind(NewKind)
    , Remembered(LoadSettings())
{
    Running.SetVolume(Remembered.VolumePercent);
    Running.SetMuted(Remembered.bMuted);
    ConnectCommands();
    OpeningEnds.setSingleShot(true);
    OpeningEnds.setInterval(TimeToComeThrough);
    connect(&OpeningEnds, &QTimer::timeout, this, [this] { Opening.End(); });
    connect(&Running, &Session::NotificationQueued, this, &Desktop::ShowNotification);
    qApp->installEventFilter(this);
}

Desktop::~Desktop()
{
    qApp->removeEventFilter(this);
    Remember();
    FurtherWindows.clear();
}

// Not only at the end: a program may also be killed.
void Desktop::Remember()
{
    Remembered.VolumePercent = Running.Volume();
    Remembered.bMuted = Running.IsMuted();
    Remembered.TextScale = MvTheme::TextScale();
    if (pMain != nullptr)
    {
        pMain->Store(Remembered);
    }
    SaveSettings(Remembered);
}

bool Desktop::Start(std::string& OutError)
{
    VideoDocument* const document = Running.AddDocument(OutError);
    if (document == nullptr)
    {
        return false;
    }
    pMain = std::make_unique<MainWindow>(Running, Acts, *document, Kind);
    ConnectWindow(*pMain);
    pOverlay = new NotificationOverlay(*pMain->Pane().Picture());
    pNotifier = new DesktopNotifier(QDBusConnection::sessionBus(), this);
    ShowProgressInTaskBar();
    pMain->Restore(Remembered);
    pMain->show();
    pMain->FocusVideo();
    if (const std::string problem =
            EncoderProblem(EncoderPath(EnvironmentValue("MOVANE_FFMPEG_BIN")));
        !problem.empty())
    {
        ShowError(problem);
    }
    return true;
}

void Desktop::ShowProgressInTaskBar()
{
    auto* const launcher = new LauncherProgress(QDBusConnection::sessionBus(), this);
    const ClipExports& exports = Running.Exports();
    connect(&exports, &ClipExports::Changed, launcher,
            [launcher, &exports]
            { exports.IsRunning() ? launcher->Show(exports.FractionOfAll()) : launcher->Clear(); });
}

void Desktop::ConnectCommands()
{
    connect(&Acts, &Commands::OpenRequested, this, &Desktop::AskForFiles);
    connect(&Acts, &Commands::NewWindowRequested, this,
            [this]
            {
                std::string error;
                if (AddWindow(error) == nullptr)
                {
                    ShowError(error);
                }
            });
    // Queued: a window must not go while the action that its own key has triggered is running.
    connect(
        &Acts, &Commands::CloseRequested, this, [this] { ActiveWindow().close(); },
        Qt::QueuedConnection);
    connect(
        &Acts, &Commands::QuitRequested, this, [this] { pMain->close(); }, Qt::QueuedConnection);
    connect(&Acts, &Commands::GoToTimeRequested, this, &Desktop::AskForTime);
    connect(&Acts, &Commands::NameEditRequested, this, [this] { pMain->FocusName(); });
    connect(
        &Acts, &Commands::ZoomRequested, this,
        [this](int Steps)
        {
            TimelineWidget& timeline = ActiveWindow().Pane().Timeline();
            Steps > 0 ? timeline.ZoomIn() : Steps < 0 ? timeline.ZoomOut() : timeline.ZoomToFit();
        });
    connect(&Acts, &Commands::PanRequested, this,
            [this](int Pages) { ActiveWindow().Pane().Timeline().TurnPages(Pages); });
    connect(&Acts, &Commands::TextScaleChanged, this, &Desktop::ApplyTextScale);
    connect(&Acts, &Commands::FullScreenRequested, this, &Desktop::ToggleFullScreen);
    connect(&Acts, &Commands::KeysRequested, this, &Desktop::ShowKeys);
    connect(&Acts, &Commands::AboutRequested, this, &Desktop::ShowAbout);
}

void Desktop::ConnectWindow(VideoWindow& Window)
{
    connect(&Window, &VideoWindow::FilesDropped, this,
            [this, &Window](const QStringList& Paths)
            {
                Running.FocusDocument(Window.DocumentID());
                OpenFiles(Paths, &Window);
            });
    connect(&Window, &VideoWindow::RecentFilePicked, this,
            [this, &Window](const QString& Path) { OpenFiles({Path}, &Window); });
    connect(&Window.Pane(), &VideoPane::FileOpening, this,
            [this](const QString& Path)
            {
                OpeningEnds.stop();
                Opening.Add(PathBytes(Path));
            });
    connect(&Window.Pane(), &VideoPane::FileOpened, this,
            [this, &Window](const QString& Path, bool bLoaded)
            { TakeOpened(Path, bLoaded, Window.Pane().Shown().LoadError()); });
    // Capture the ID: the slot is queued, and the window may be gone when it runs.
    connect(
        &Window, &VideoWindow::Closed, this,
        [this, windowID = Window.DocumentID()] { CloseWindow(windowID); }, Qt::QueuedConnection);
    Window.SetRecentFiles(Remembered.RecentFiles);
}

VideoWindow* Desktop::AddWindow(std::string& OutError)
{
    VideoDocument* const document = Running.AddDocument(OutError);
    if (document == nullptr)
    {
        return nullptr;
    }
    auto& window =
        *FurtherWindows.emplace_back(std::make_unique<VideoWindow>(Running, Acts, *document, Kind));
    ConnectWindow(window);
    window.AddStatusRow();
    window.ResizeOnScreen({800, 560});
    window.show();
    window.activateWindow();
    window.FocusVideo();
    Running.FocusDocument(document->WindowID());
    return &window;
}

void Desktop::CloseWindow(unsigned long WindowID)
{
    if (WindowID == pMain->DocumentID())
    {
        QApplication::quit();
        return;
    }
    std::erase_if(FurtherWindows,
                  [&](const auto& Further) { return Further->DocumentID() == WindowID; });
    Running.RemoveDocument(WindowID);
}

std::vector<VideoWindow*> Desktop::Windows() const
{
    std::vector<VideoWindow*> windows = {pMain.get()};
    for (const std::unique_ptr<VideoWindow>& further : FurtherWindows)
    {
        windows.push_back(further.get());
    }
    return windows;
}

VideoWindow& Desktop::ActiveWindow() const
{
    for (VideoWindow* const window : Windows())
    {
        if (window->isActiveWindow())
        {
            return *window;
        }
    }
    return *pMain;
}

// The panel acts on the video that was used last: by a click, a key, a menu, or by going to its window.
bool Desktop::eventFilter(QObject* pWatched, QEvent* pEvent)
{
    const QEvent::Type type = pEvent->type();
    const bool bFocus = type == QEvent::FocusIn;
    if (!bFocus && type != QEvent::MouseButtonPress && type != QEvent::ShortcutOverride)
    {
        return false;
    }
    if (qobject_cast<QMenuBar*>(pWatched) != nullptr)
    {
        const auto windows = Windows();
        const auto of =
            std::find(windows.begin(), windows.end(), static_cast<QWidget*>(pWatched)->window());
        if (of != windows.end())
        {
            Running.FocusDocument((*of)->DocumentID());
        }
    }
    if (VideoPane* const pane = PaneAround(pWatched))
    {
        // A click on one of the panel's buttons also brings the keyboard back to the main window, and
        // there to its video: that alone must not change what the button acts on.
        const bool bByWindow =
            bFocus && static_cast<QFocusEvent*>(pEvent)->reason() == Qt::ActiveWindowFocusReason;
        if (!bByWindow || pane->window() != pMain.get())
        {
            Running.FocusDocument(pane->Shown().WindowID());
        }
    }
    return false;
}

// -- Files

void Desktop::OpenFiles(const QStringList& Paths, VideoWindow* pWindow)
{
    VideoWindow* window = pWindow != nullptr ? pWindow : &ActiveWindow();
    for (const QString& path : Paths)
    {
        std::string error;
        if (window == nullptr)
        {
            window = AddWindow(error);
        }
        if (window == nullptr)
        {
            ShowError(error);
            return;
        }
        window->Pane().Open(path);
        window = nullptr;
    }
}

void Desktop::TakeOpened(const QString& Path, bool bLoaded, const std::string& LoadError)
{
    OpeningEnds.start();
    if (!bLoaded)
    {
        ShowError(LoadError);
        return;
    }
    AppPaths::SetDefaultVideoFile(PathBytes(Path));
    RememberRecentFile(Remembered.RecentFiles, Path);
    ShowRecentFiles();
    Remember();
}

void Desktop::ShowRecentFiles()
{
    for (VideoWindow* const window : Windows())
    {
        window->SetRecentFiles(Remembered.RecentFiles);
    }
}

void Desktop::AskForFiles()
{
    VideoWindow& window = ActiveWindow();
    auto* const dialog = new QFileDialog(&window, "Open a video");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::ExistingFiles);
    dialog->setNameFilters({"Videos (*.mp4 *.mkv *.mov *.webm *.avi *.m4v *.mpg *.mpeg *.ts *.mts "
                            "*.m2ts *.wmv *.flv *.ogv *.3gp)",
                            "All files (*)"});
    if (!Remembered.RecentFiles.isEmpty())
    {
        dialog->setDirectory(QFileInfo(Remembered.RecentFiles.front()).absolutePath());
    }
    connect(dialog, &QFileDialog::filesSelected, &window,
            [this, &window](const QStringList& Paths) { OpenFiles(Paths, &window); });
    dialog->open();
}

// -- Dialogs

void Desktop::AskForTime()
{
    VideoDocument* const document = Running.TargetDocument();
    if (document == nullptr || !document->HasFile())
    {
        return;
    }
    auto* const dialog = new QInputDialog(&ActiveWindow());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle("Go to time");
    dialog->setLabelText("Time, such as 75.5, 1:15.5 or 01:02:03:");
    dialog->setTextValue(TimeText(document->Timeline().DisplayedTimeSec()));
    connect(dialog, &QInputDialog::textValueSelected, this,
            [this](const QString& Text)
            {
                if (const std::optional<double> sec = ParseTime(Text.toStdString()))
                {
                    Acts.SeekTo(*sec);
                }
            });
    dialog->open();
    // OK is disabled while the text is not a time.
    QPushButton* const ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    connect(dialog, &QInputDialog::textValueChanged, ok,
            [ok](const QString& Text)
            { ok->setEnabled(ParseTime(Text.toStdString()).has_value()); });
}

void Desktop::ShowKeys()
{
    if (pKeysPage == nullptr)
    {
        pKeysPage = new KeysPageDialog(&ActiveWindow());
        pKeysPage->setAttribute(Qt::WA_DeleteOnClose);
    }
    pKeysPage->show(); // not modal: it is read while one works
    pKeysPage->raise();
    pKeysPage->activateWindow();
}

void Desktop::ShowAbout()
{
    auto* const box = new QMessageBox(QMessageBox::NoIcon, "About Movane",
                                      "Movane " + QApplication::applicationVersion(),
                                      QMessageBox::Ok, &ActiveWindow());
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setInformativeText("Marks, names and exports clips of video.\nExported clips go to " +
                            PathText(AppPaths::RecordingsDir()) + "/clips.");
    box->open();
}

void Desktop::ApplyTextScale()
{
    Theme::Apply();
    pMain->ClipPanel().UpdateGeometryRecords();
    ShowRecentFiles();
    Remember();
}

void Desktop::ToggleFullScreen()
{
    VideoWindow& window = ActiveWindow();
    window.setWindowState(window.windowState() ^ Qt::WindowFullScreen);
}

// -- What is told

void Desktop::ShowError(const std::string& Sentence)
{
    Running.Panel().SetStatusTextInternal(Sentence, true);
    Running.RequestFrame();
}

void Desktop::ShowNotification(const Movane::Notification& Shown)
{
    std::function<void()> openFolder;
    const std::string folder = Running.Exports().FinishedFolder();
    const bool bExported = Shown.Title == "Clip Export" && !folder.empty();
    if (bExported)
    {
        openFolder = [folder] { OpenWithDesktop(folder); };
    }
    const QString actionText = bExported ? QString("Open folder") : QString();
    pOverlay->Add(Shown, actionText, openFolder);
    if (QApplication::activeWindow() == nullptr)
    {
        pNotifier->Notify(Shown, actionText, openFolder);
    }
}
