// The desktop application as the program builds it, for tests: real windows, real player, real panel,
// files in temporary folders and no sound.
//
// A test program ends with `int main` that calls RunDesktopTests, and makes a DesktopStage in each test
// after CleanFolders. Keys go to the widget that has the focus, clicks to the widget that is named.

#pragma once

#include "desktop/actions/commands.h"
#include "desktop/clips/clippanelwidget.h"
#include "desktop/desktop.h"
#include "desktop/look/theme.h"
#include "desktop/mainwindow.h"
#include "desktop/session/session.h"
#include "desktop/session/settings.h"
#include "desktop/session/videodocument.h"
#include "desktop/timeline/timelinewidget.h"
#include "desktop/videopane.h"
#include "host/apppaths.h"
#include "host/mvtheme.h"
#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"
#include "process/processsetup.h"
#include "support/environmentguard.h"
#include "support/filetext.h"
#include "support/numberedvideo.h"
#include "support/tempfolder.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPointer>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QUrl>
#include <QWindow>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

/// What the whole process runs in. Made before the QApplication, for no thread may be there yet.
class DesktopEnvironment
{
public:
    DesktopEnvironment()
    {
        WriteFile(Folder.Path() / "screen.json",
                  R"({"screens": [{"name": "screen", "x": 0, "y": 0, "width": 1920, "height": 1080,
                      "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})");
        MakeNumberedVideo(One(), 4);
        MakeNumberedVideo(Two(), 2);
    }
    ~DesktopEnvironment() { AppPaths::RemoveRuntimeDir(); }
    DesktopEnvironment(const DesktopEnvironment&) = delete;
    DesktopEnvironment& operator=(const DesktopEnvironment&) = delete;

    /// Forgets what earlier tests have left: remembered settings and exported clips.
    void CleanFolders() const
    {
        for (const auto& folder : {StateFolder(), RecordingsFolder()})
        {
            std::filesystem::remove_all(folder);
        }
    }

    /// A video of 4 s and 100 frames, and one of 2 s and 50 frames.
    std::string One() const { return (Folder.Path() / "one.mp4").native(); }
    std::string Two() const { return (Folder.Path() / "two.mp4").native(); }
    std::filesystem::path StateFolder() const { return Folder.Path() / "state"; }
    std::filesystem::path RecordingsFolder() const { return Folder.Path() / "recordings"; }
    std::filesystem::path ClipsFolder() const { return RecordingsFolder() / "clips"; }

private:
    EnvironmentGuard Variable(const char* Name, const char* SubFolder) const
    {
        return EnvironmentGuard(Name, (Folder.Path() / SubFolder).native());
    }

    TempFolder Folder;
    EnvironmentGuard Home = Variable("HOME", "home");
    EnvironmentGuard Config = Variable("XDG_CONFIG_HOME", "config");
    EnvironmentGuard State = Variable("XDG_STATE_HOME", "state");
    EnvironmentGuard Recordings = Variable("MOVANE_RECORDINGS_DIR", "recordings");
    EnvironmentGuard Runtime = Variable("MOVANE_RUNTIME_DIR", "runtime");
    EnvironmentGuard Encoder{"MOVANE_FFMPEG_BIN"};
    EnvironmentGuard Bus{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"};
    EnvironmentGuard Platform{"QT_QPA_PLATFORM",
                              "offscreen:configfile=" + (Folder.Path() / "screen.json").native()};
};

inline DesktopEnvironment& Environment()
{
    static DesktopEnvironment environment;
    return environment;
}

/// Runs a QtTest class as the program of the tests.
template <typename Tests> int RunDesktopTests(int ArgumentCount, char** Arguments)
{
    Environment();
    QApplication application(ArgumentCount, Arguments);
    KeepDecimalPoint();
    QApplication::setQuitOnLastWindowClosed(false);
    Tests tests;
    return QTest::qExec(&tests, ArgumentCount, Arguments);
}

class DesktopStage
{
public:
    static constexpr int DeadlineMs = 20000;

    DesktopStage()
    {
        std::string error;
        if (!Program.Start(error))
        {
            qFatal("%s", error.c_str());
        }
        if (!QTest::qWaitForWindowActive(&Main()))
        {
            qFatal("the window does not get the keyboard");
        }
    }

    // -- The parts.

    MainWindow& Main() { return Program.Main(); }
    MvClipControlPanel& Panel() { return Running.Panel(); }
    ClipExports& Exports() { return Running.Exports(); }
    const std::vector<MvClipControlPanel::SavedClip>& Clips() { return Panel().Clips; }
    static VideoDocument& DocumentOf(VideoWindow& Window) { return Window.Pane().Shown(); }
    VideoDocument& Document() { return DocumentOf(Main()); }
    double NowSec() { return Document().pVideo->CurrentTimeSec(); }

    QLineEdit& NameField() { return *Main().findChild<QLineEdit*>("clipName"); }
    QTableView& Table() { return *Main().findChild<QTableView*>("clipTable"); }
    QString LabelText(const char* Name) { return Main().findChild<QLabel*>(Name)->text(); }
    QString Status() { return LabelText("clipStatus"); }
    /// A button of the clip panel.
    QToolButton& Button(ActionId Id)
    {
        return *Main().findChild<QToolButton*>(QString("clipButton%1").arg(static_cast<int>(Id)));
    }
    /// A button of the row below the picture.
    static QToolButton& TransportButton(VideoWindow& Window, const char* Name)
    {
        return *Window.findChild<QToolButton*>(Name);
    }
    /// The dialog of this type that is open, or null.
    template <typename Dialog> static Dialog* Open()
    {
        for (QWidget* const widget : QApplication::topLevelWidgets())
        {
            auto* const dialog = qobject_cast<Dialog*>(widget);
            if (dialog != nullptr && dialog->isVisible())
            {
                return dialog;
            }
        }
        return nullptr;
    }

    // -- What the user does. Each waits until the players have answered.

    /// Opens a file in a window, the main one by default; false when it is not open after that.
    bool OpenFile(const std::string& Path, VideoWindow* pWindow = nullptr)
    {
        VideoWindow& window = pWindow != nullptr ? *pWindow : Main();
        Program.OpenFiles({QFile::decodeName(Path.c_str())}, &window);
        return Settle() && DocumentOf(window).HasFile() &&
               DocumentOf(window).pVideo->FilePath == Path;
    }
    void Press(int Key, Qt::KeyboardModifiers Modifiers = {})
    {
        QWidget* const focused = QApplication::focusWidget();
        QVERIFY2(focused != nullptr, "nothing has the keyboard");
        QTest::keyClick(focused, static_cast<Qt::Key>(Key), Modifiers);
        Settle();
    }
    /// As a key of an action is written in the table.
    void Press(const QKeySequence& Key) { Press(Key[0].key(), Key[0].keyboardModifiers()); }
    void Click(QWidget& Widget, QPoint Place)
    {
        QTest::mouseClick(&Widget, Qt::LeftButton, {}, Place);
        Settle();
    }
    void Click(QWidget& Widget) { Click(Widget, Widget.rect().center()); }
    /// The place of a time on the ruler of a window's timeline.
    static QPoint RulerPoint(VideoWindow& Window, double Sec)
    {
        const TimelineWidget& timeline = Window.Pane().Timeline();
        return {qRound(timeline.Scale().PxOf(Sec)), qRound(timeline.Rows().Ruler.center().y())};
    }
    /// Drops files as the window system does it: onto the window, which looks for the widget.
    static void Drop(QWidget& Window, const QStringList& Paths)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& path : Paths)
        {
            urls.append(QUrl::fromLocalFile(path));
        }
        data.setUrls(urls);
        const QPoint place = Window.rect().center();
        QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(Window.windowHandle(), &enter);
        QVERIFY(enter.isAccepted());
        QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(Window.windowHandle(), &drop);
        QVERIFY(drop.isAccepted());
    }
    /// Gives a window the keyboard, as a window manager does for its title bar, or when a dialog goes.
    static void Activate(QWidget& Window)
    {
        Window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&Window));
    }
    void GoTo(double Sec)
    {
        Acts.SeekTo(Sec);
        Settle();
    }
    /// Marks a range of the target's video, and saves it under a name.
    void Save(double InSec, double OutSec, const std::string& Name)
    {
        Running.TargetDocument()->Timeline().SetRangeSelection(InSec, OutSec, false);
        Running.Records().NameInput.SetText(Name, true);
        Acts.Run(ActionId::SaveClip);
        Settle();
    }

    /// Waits until no seek is under way and what was posted has been done.
    bool Settle()
    {
        const auto bLanded = [this]
        {
            for (VideoDocument* const document : Running.Documents())
            {
                // Playing backward is one seek after the other.
                if (document->Player().IsSeeking() && !document->IsPlayingBackward())
                {
                    return false;
                }
            }
            return true;
        };
        const bool bSettled = QTest::qWaitFor(bLanded, DeadlineMs);
        QCoreApplication::processEvents();
        return bSettled;
    }

    /// The number of the frame that stands in a window's picture.
    static int ShownFrame(VideoWindow& Window)
    {
        return NumberOnPicture(Window.Pane().Picture()->grab().toImage());
    }

private:
    struct Look
    {
        Look()
        {
            MvTheme::SetTextScale(LoadSettings().TextScale);
            Theme::Apply();
        }
    };

    std::unique_ptr<MpvVideo> MakePlayer(std::string& OutError) const
    {
        if (!PlayerError.empty())
        {
            OutError = PlayerError;
            return nullptr;
        }
        return MpvVideo::Create({.VideoOutput = "libmpv", .AudioOutput = "null"}, OutError);
    }

    Look Themed;

public:
    std::string PlayerError; ///< not empty: no further player can be made

    // In the order in which the program makes them.
    Session Running{[this](std::string& OutError) { return MakePlayer(OutError); }};
    Commands Acts{Running};
    Desktop Program{Running, Acts, SurfaceKind::Automatic};
};
