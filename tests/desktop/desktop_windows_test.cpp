// Files and windows of the application: several videos, what is remembered, sizes, and rest.

#include "app/clippanelrecords.h"
#include "app/runningexport.h"
#include "desktop/desktopstage.h"
#include "desktop/export/exportbar.h"
#include "desktop/look/pathtext.h"
#include "support/touchedmemory.h"

#include <QAbstractEventDispatcher>
#include <QFileDialog>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QScrollArea>
#include <QSignalSpy>
#include <QSplitter>

namespace
{
QString One()
{
    return QString::fromStdString(Environment().One());
}
QString Two()
{
    return QString::fromStdString(Environment().Two());
}

/// The main window with the first video and a second window with the other one.
struct TwoWindows : DesktopStage
{
    TwoWindows()
    {
        if (!OpenFile(Environment().One()))
        {
            qFatal("the video does not open");
        }
        Press(Qt::Key_N, Qt::ControlModifier);
        if (Program.Windows().size() != 2 || !OpenFile(Environment().Two(), &Second()))
        {
            qFatal("there is no second window with a video");
        }
    }

    VideoWindow& Second() { return *Program.Windows().at(1); }
    bool IsTarget(VideoWindow& Window) { return Running.TargetDocument() == &DocumentOf(Window); }

    /// A click as a window manager passes it on: the window gets the keyboard first.
    void ClickIn(VideoWindow& Window, QWidget& Widget)
    {
        Activate(Window);
        Click(Widget);
    }
    void CloseSecond()
    {
        ClickIn(Second(), *Second().Pane().Picture());
        Press(Qt::Key_W, Qt::ControlModifier);
        QTRY_COMPARE(Program.Windows().size(), std::size_t{1});
    }
};

QStringList RecentNames(VideoWindow& Window)
{
    QStringList names;
    for (const QMenu* const menu : Window.findChildren<QMenu*>())
    {
        if (menu->title() == "Open recent")
        {
            for (const QAction* const action : menu->actions())
            {
                names.append(action->text());
            }
        }
    }
    return names;
}

/// Whether a widget is between the left and right edges of all that it stands in; up and down an area
/// may scroll.
bool IsWithinSides(const QWidget& Widget)
{
    for (const QWidget* outer = Widget.parentWidget(); outer != nullptr;
         outer = outer->isWindow() ? nullptr : outer->parentWidget())
    {
        const int leftPx = Widget.mapTo(outer, QPoint(0, 0)).x();
        if (leftPx < 0 || leftPx + Widget.width() > outer->width())
        {
            return false;
        }
    }
    return true;
}

/// The texts that are cut off, with their sizes; empty when all fits.
QString ClippedTexts(QWidget& Window)
{
    QStringList clipped;
    const auto check = [&](const QWidget& Widget, const QString& Text, QSize Needed)
    {
        const bool bFits = Widget.width() >= Needed.width() && Widget.height() >= Needed.height();
        if (!Text.isEmpty() && Widget.isVisibleTo(&Window) && (!bFits || !IsWithinSides(Widget)))
        {
            clipped.append(QString("\"%1\" %2x%3 at %4 needs %5x%6")
                               .arg(Text)
                               .arg(Widget.width())
                               .arg(Widget.height())
                               .arg(Widget.mapTo(&Window, QPoint(0, 0)).x())
                               .arg(Needed.width())
                               .arg(Needed.height()));
        }
    };
    for (const QAbstractButton* const button : Window.findChildren<QAbstractButton*>())
    {
        check(*button, button->text(), button->sizeHint());
    }
    for (const QLabel* const label : Window.findChildren<QLabel*>())
    {
        // What may be wrapped or shortened says so by its smallest size.
        QSize needed = label->minimumSizeHint();
        if (label->hasHeightForWidth())
        {
            needed.setHeight(label->heightForWidth(label->width()));
        }
        check(*label, label->text(), needed);
    }
    return clipped.join("\n");
}

/// Whether a widget has its smallest size within all that it stands in, or can be scrolled to.
bool IsReachable(const QWidget& Widget)
{
    for (const QWidget* outer = Widget.parentWidget(); outer != nullptr;
         outer = outer->isWindow() ? nullptr : outer->parentWidget())
    {
        if (qobject_cast<const QScrollArea*>(outer->parentWidget()) != nullptr)
        {
            return IsWithinSides(Widget);
        }
        if (!outer->rect().contains(QRect(Widget.mapTo(outer, QPoint()), Widget.size())))
        {
            return false;
        }
    }
    const QSize smallest = Widget.minimumSizeHint();
    return Widget.width() >= smallest.width() && Widget.height() >= smallest.height();
}

/// The names of the shown controls that the pointer can't reach.
QStringList ControlsOutOfSight(const QWidget& Window)
{
    QStringList names;
    for (const QWidget* const widget : Window.findChildren<QWidget*>())
    {
        const bool bControl = qobject_cast<const QAbstractButton*>(widget) != nullptr ||
                              qobject_cast<const QAbstractSlider*>(widget) != nullptr ||
                              qobject_cast<const QLineEdit*>(widget) != nullptr ||
                              qobject_cast<const QTableView*>(widget) != nullptr ||
                              qobject_cast<const TimelineWidget*>(widget) != nullptr;
        if (bControl && widget->isVisible() && !IsReachable(*widget))
        {
            names.append(widget->metaObject()->className() + (' ' + widget->objectName()));
        }
    }
    return names;
}

/// Keeps a picture for the eye where somebody wants one.
void SavePicture(QWidget& Window, const QString& Name)
{
    if (qEnvironmentVariableIsSet("MOVANE_TEST_PICTURES"))
    {
        Window.grab().save(qEnvironmentVariable("MOVANE_TEST_PICTURES") + '/' + Name + ".png");
    }
}

/// The objects of a window that run a timer.
QStringList TimersIn(QObject& Root)
{
    QStringList owners;
    const QList<QObject*> objects = QList<QObject*>{&Root} + Root.findChildren<QObject*>();
    for (QObject* const object : objects)
    {
        if (!QAbstractEventDispatcher::instance()->registeredTimers(object).isEmpty())
        {
            owners.append(object->metaObject()->className());
        }
    }
    return owners;
}

/// Fills the list without an action for each clip.
void Fill(DesktopStage& Stage, int Count)
{
    for (int i = 0; i < Count; ++i)
    {
        MvClipControlPanel::SavedClip clip;
        clip.Name = "Clip " + std::to_string(i);
        clip.SourcePath = Environment().One();
        clip.SourceLabel = "one.mp4";
        clip.ColorName = "Amber";
        clip.StartSec = i % 4;
        clip.EndSec = clip.StartSec + 0.5;
        Stage.Panel().Clips.push_back(clip);
    }
    Stage.Panel().RebuildTableModel();
    Stage.Running.RequestFrame();
    Stage.Settle();
}

/// How many frames there are in this time of handling events.
qsizetype FramesIn(DesktopStage& Stage, int DurationMs)
{
    QSignalSpy frames(&Stage.Running, &Session::FrameDone);
    QTest::qWait(DurationMs);
    return frames.count();
}
} // namespace

class DesktopWindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Environment().CleanFolders();
        MvTheme::SetTextScale(1.0);
    }

    // -- Opening

    void ControlOOpensTheChosenFile()
    {
        DesktopStage stage;
        stage.Press(Qt::Key_O, Qt::ControlModifier);
        auto* const dialog = stage.Open<QFileDialog>();
        QVERIFY(dialog != nullptr);
        dialog->findChild<QLineEdit*>()->setText(One());
        QTest::keyClick(dialog->findChild<QLineEdit*>(), Qt::Key_Return);
        QTRY_VERIFY(stage.Document().HasFile());
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 0);
    }

    void EachDroppedFileGetsItsWindow()
    {
        DesktopStage stage;
        stage.Drop(stage.Main(), {One(), Two()});
        QTRY_COMPARE(stage.Program.Windows().size(), std::size_t{2});
        VideoWindow& second = *stage.Program.Windows().at(1);
        QTRY_VERIFY(stage.Document().HasFile());
        QTRY_VERIFY(stage.DocumentOf(second).HasFile());
        QCOMPARE(stage.Document().pVideo->FilePath, Environment().One());
        QCOMPARE(stage.DocumentOf(second).pVideo->FilePath, Environment().Two());
    }

    void AFileOpensWhateverTheBytesOfItsName()
    {
        DesktopStage stage;
        const std::filesystem::path file = Environment().StateFolder() / "lat\xE9 one.mp4";
        std::filesystem::create_directories(file.parent_path());
        std::filesystem::copy_file(Environment().One(), file);
        stage.Program.OpenFiles({PathText(file.native())}, &stage.Main());
        QTRY_VERIFY(stage.Document().HasFile());
        QCOMPARE(stage.Document().pVideo->FilePath, file.native());
        QCOMPARE(AppPaths::DefaultVideoFile(), file.native());
    }

    void ANewWindowIsNoLargerThanTheScreen()
    {
        DesktopStage stage;
        stage.Main().ResizeOnScreen({100000, 100000});
        const QSize screen = stage.Main().screen()->availableSize();
        QVERIFY(stage.Main().width() < screen.width() && stage.Main().height() < screen.height());
        stage.Main().ResizeOnScreen({1000, 700});
        QCOMPARE(stage.Main().size(), QSize(1000, 700));
    }

    void AMenuActsOnTheVideoOfItsWindow()
    {
        TwoWindows stage;
        stage.ClickIn(stage.Second(), *stage.Second().Pane().Picture());
        QVERIFY(stage.IsTarget(stage.Second()));
        stage.ClickIn(stage.Main(), *stage.Main().menuBar());
        QVERIFY(stage.IsTarget(stage.Main()));
    }

    void AFileThatIsNoVideoIsToldAndTheEarlierOneStays()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        stage.GoTo(2.0);
        stage.Press(Qt::Key_M);
        const std::filesystem::path noVideo = Environment().StateFolder() / "notes.txt";
        QVERIFY(WriteFile(noVideo, "milk, bread"));
        for (const std::string& path : {noVideo.native(), std::string("/nonexistent/video.mp4")})
        {
            QVERIFY(!stage.OpenFile(path));
            QVERIFY2(stage.Status().contains(QFile::decodeName(path.c_str())) &&
                         stage.Status().endsWith('.'),
                     qPrintable(stage.Status()));
            QCOMPARE(stage.Document().pVideo->FilePath, Environment().One());
            QCOMPARE(stage.Document().Timeline().Markers.size(), std::size_t{1});
            QTRY_COMPARE(stage.ShownFrame(stage.Main()), 50);
            QCOMPARE(AppPaths::DefaultVideoFile(), Environment().One());
            QCOMPARE(RecentNames(stage.Main()), QStringList{"one.mp4"});
        }
    }

    void WithoutAVideoThePictureSaysWhyAndWhatToDo()
    {
        DesktopStage stage;
        const QWidget& picture = *stage.Main().Pane().Picture();
        QVERIFY(picture.accessibleDescription().contains("Drop a video here"));
        QVERIFY(!stage.OpenFile("/nonexistent/video.mp4"));
        QVERIFY(picture.accessibleDescription().contains("/nonexistent/video.mp4"));
        QVERIFY(picture.accessibleDescription().contains("Drop a video here"));
        QVERIFY(stage.OpenFile(Environment().One()));
        QCOMPARE(picture.accessibleDescription(), QString());
    }

    void AnotherFileDropsWhatWasHalfMarkedAndBringsItsOwnMarkers()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        stage.Press(Qt::Key_M);
        stage.Press(Qt::Key_I);
        QVERIFY(stage.OpenFile(Environment().Two()));
        QVERIFY(!stage.Document().PendingInSec());
        QVERIFY(stage.Document().Timeline().Markers.empty());
        QVERIFY(stage.OpenFile(Environment().One()));
        QCOMPARE(stage.Document().Timeline().Markers.size(), std::size_t{1});
    }

    void AWindowThatCanNotBeMadeIsToldAtOnce()
    {
        DesktopStage stage;
        QTRY_COMPARE(FramesIn(stage, 100), 0);
        stage.PlayerError = "No player here.";
        stage.Acts.Run(ActionId::NewVideoWindow);
        QTRY_COMPARE(stage.Status(), "No player here.");
        QCOMPARE(stage.Program.Windows().size(), std::size_t{1});
    }

    // -- Several windows

    void ANewWindowIsTheTargetAndHasAVideoOfItsOwn()
    {
        TwoWindows stage;
        QCOMPARE(stage.Main().DocumentID(), 3UL);
        QVERIFY(stage.IsTarget(stage.Second()));
        QCOMPARE(stage.LabelText("clipSource"), "Source: two.mp4");
        QVERIFY(stage.Second().windowTitle().endsWith("marking here – Movane"));
        stage.Press(Qt::Key_Right);
        QCOMPARE(stage.DocumentOf(stage.Second()).pVideo->CurrentTimeSec(), 1.0);
        QCOMPARE(stage.NowSec(), 0.0);
        QTRY_COMPARE(stage.ShownFrame(stage.Second()), 25);
        QCOMPARE(stage.ShownFrame(stage.Main()), 0);
    }

    void AClickInAPaneMakesItTheTarget()
    {
        TwoWindows stage;
        stage.ClickIn(stage.Main(), *stage.Main().Pane().Picture());
        QVERIFY(stage.IsTarget(stage.Main()));
        QCOMPARE(stage.LabelText("clipSource"), "Source: one.mp4");
        stage.ClickIn(stage.Second(), *stage.Second().Pane().Picture());
        QVERIFY(stage.IsTarget(stage.Second()));
    }

    void TheKeysOfAWindowActOnItsVideo()
    {
        TwoWindows stage;
        stage.Activate(stage.Main());
        stage.Press(Qt::Key_Right);
        QCOMPARE(stage.NowSec(), 1.0);
        stage.Activate(stage.Second());
        stage.Press(Qt::Key_Right);
        QCOMPARE(stage.NowSec(), 1.0);
        QCOMPARE(stage.DocumentOf(stage.Second()).pVideo->CurrentTimeSec(), 1.0);
    }

    void TheTransportButtonsActOnTheirOwnWindow()
    {
        TwoWindows stage;
        stage.ClickIn(stage.Main(), stage.TransportButton(stage.Main(), "StepFrameForward"));
        QVERIFY(stage.NowSec() > 0.0);
        QCOMPARE(stage.DocumentOf(stage.Second()).pVideo->CurrentTimeSec(), 0.0);
    }

    void ThePanelsButtonsActOnTheVideoThatWasUsedLast()
    {
        TwoWindows stage;
        stage.ClickIn(stage.Main(), *stage.Main().Pane().Picture()); // as it is in a long session
        stage.ClickIn(stage.Second(), *stage.Second().Pane().Picture());
        stage.Press(Qt::Key_I);
        stage.Press(Qt::Key_Right);
        stage.Press(Qt::Key_O);
        stage.ClickIn(stage.Main(), stage.Button(ActionId::SaveClip));
        QCOMPARE(stage.Status(), "Saved Clip 1 from two.mp4");
        QVERIFY(stage.IsTarget(stage.Second()));
        stage.ClickIn(stage.Main(), stage.Button(ActionId::AddMarker));
        QCOMPARE(stage.DocumentOf(stage.Second()).Timeline().Markers.size(), std::size_t{1});
        stage.ClickIn(stage.Main(), stage.NameField());
        QVERIFY(stage.IsTarget(stage.Second()));
    }

    void F2InASecondWindowGoesToTheNameAndKeepsTheTarget()
    {
        TwoWindows stage;
        stage.Save(0.0, 1.0, "B");
        stage.Activate(stage.Second());
        stage.Press(Qt::Key_F2);
        QTRY_COMPARE(QApplication::focusWidget(), &stage.NameField());
        QTest::keyClicks(&stage.NameField(), "New");
        stage.Press(Qt::Key_Return);
        QCOMPARE(stage.Clips()[0].Name, std::string("New"));
        QVERIFY(stage.IsTarget(stage.Second()));
    }

    void TheNameFieldGivesTheKeyboardBackToTheWindowThatItCameFrom()
    {
        TwoWindows stage;
        stage.Save(0.0, 1.0, "B");
        for (const auto key : {Qt::Key_Return, Qt::Key_Escape})
        {
            stage.Activate(stage.Second());
            stage.Press(Qt::Key_F2);
            QTRY_COMPARE(QApplication::focusWidget(), &stage.NameField());
            stage.Press(key);
            QTRY_COMPARE(QApplication::activeWindow(), &stage.Second());
            QCOMPARE(QApplication::focusWidget(), &stage.Second().Pane().Timeline());
        }
        // From its own window it goes back there.
        stage.Activate(stage.Main());
        stage.Main().FocusVideo();
        stage.Press(Qt::Key_F2);
        stage.Press(Qt::Key_Return);
        QCOMPARE(QApplication::focusWidget(), &stage.Main().Pane().Timeline());
    }

    void AFurtherWindowShowsTheStatusToo()
    {
        TwoWindows stage;
        const auto* const status = stage.Second().findChild<QLabel*>("windowStatus");
        QVERIFY(status != nullptr);
        stage.Activate(stage.Second());
        stage.Press(Qt::Key_E);
        QCOMPARE(status->text(), "Select a saved clip to export it.");
        QVERIFY(status->isVisible());
        QVERIFY(stage.Main().findChild<QLabel*>("windowStatus") == nullptr); // has the panel's
    }

    void NoneOfTheKeysPageAndItsWindowOutlivesTheOther()
    {
        TwoWindows stage;
        stage.Activate(stage.Second());
        stage.Press(Qt::Key_F1);
        stage.Second().close();
        QTRY_COMPARE(stage.Program.Windows().size(), std::size_t{1});
        stage.Activate(stage.Main());
        stage.Press(Qt::Key_F1);
        QTRY_VERIFY(stage.Open<QDialog>() != nullptr);
    }

    void ADropMakesItsWindowTheTarget()
    {
        TwoWindows stage;
        stage.ClickIn(stage.Main(), *stage.Main().Pane().Picture());
        stage.Drop(stage.Second(), {One()});
        QTRY_COMPARE(stage.DocumentOf(stage.Second()).pVideo->FilePath, Environment().One());
        QVERIFY(stage.IsTarget(stage.Second()));
    }

    void ClipsOfSeveralSourcesAreInOneList()
    {
        TwoWindows stage;
        stage.Save(0.0, 1.0, "of two");
        stage.ClickIn(stage.Main(), *stage.Main().Pane().Picture());
        stage.Save(1.0, 2.0, "of one");
        QCOMPARE(stage.Table().model()->rowCount(), 2);
        QCOMPARE(stage.Table().model()->index(0, 5).data().toString(), "two.mp4");
        QCOMPARE(stage.Table().model()->index(1, 5).data().toString(), "one.mp4");
        const auto& barsOfMain = stage.Main().Pane().Timeline().State().Clips;
        QCOMPARE(barsOfMain.size(), std::size_t{1});
        QCOMPARE(barsOfMain[0].Row, 1);
        QCOMPARE(stage.Second().Pane().Timeline().State().Clips[0].Row, 0);
    }

    void LoadingAClipOfAnotherSourceOpensItInTheTarget()
    {
        TwoWindows stage;
        stage.Save(1.0, 1.6, "of two");
        stage.ClickIn(stage.Main(), *stage.Main().Pane().Picture());
        stage.Press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(stage.Document().pVideo->FilePath, Environment().Two());
        QCOMPARE(stage.NowSec(), 1.0);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 25);
        QTRY_VERIFY(stage.Main().windowTitle().startsWith("two.mp4"));
        QCOMPARE(stage.Main().Pane().Timeline().State().DurationSec,
                 stage.DocumentOf(stage.Second()).Timeline().DurationSec());
    }

    void ClosingTheSecondWindowLeavesNothingOfIt()
    {
        TwoWindows stage;
        stage.Press(Qt::Key_Space); // it plays while it is closed
        QPointer<VideoWindow> second = &stage.Second();
        QSignalSpy removed(&stage.Running, &Session::DocumentRemoved);
        stage.CloseSecond();
        QVERIFY(second == nullptr);
        QCOMPARE(removed.count(), 1);
        QCOMPARE(stage.Running.Documents().size(), std::size_t{1});
        QVERIFY(stage.IsTarget(stage.Main()));
        QCOMPARE(stage.LabelText("clipSource"), "Source: one.mp4");
        stage.Activate(stage.Main());
        stage.Press(Qt::Key_Right);
        QCOMPARE(stage.NowSec(), 1.0);
    }

    void AWindowMayBeClosedTwiceAndOthersMadeAfterIt()
    {
        TwoWindows stage;
        VideoWindow& second = stage.Second();
        second.close();
        second.close();
        QTRY_COMPARE(stage.Program.Windows().size(), std::size_t{1});
        stage.Activate(stage.Main());
        stage.Press(Qt::Key_N, Qt::ControlModifier);
        QCOMPARE(stage.Program.Windows().size(), std::size_t{2});
        QVERIFY(stage.OpenFile(Environment().Two(), &stage.Second()));
        QTRY_COMPARE(stage.ShownFrame(stage.Second()), 0);
    }

    void ADialogOfAClosedWindowChangesNothing()
    {
        TwoWindows stage;
        stage.Activate(stage.Second());
        stage.Press(Qt::Key_G);
        stage.Second().close();
        QTRY_COMPARE(stage.Program.Windows().size(), std::size_t{1});
        QCOMPARE(stage.NowSec(), 0.0);
    }

    void AHiddenWindowIsNoTarget()
    {
        TwoWindows stage;
        stage.Second().hide();
        stage.Settle();
        QVERIFY(stage.IsTarget(stage.Main()));
        stage.Second().show();
        stage.Settle();
        QVERIFY(stage.IsTarget(stage.Second()));
    }

    // -- Remembered

    void WhatTheUserSetIsThereAgainInTheNextRun()
    {
        QRect geometry;
        QList<int> sizes;
        {
            DesktopStage stage;
            QVERIFY(stage.OpenFile(Environment().One()));
            QVERIFY(stage.OpenFile(Environment().Two()));
            stage.Acts.TextLarger();
            stage.Main().setGeometry(60, 70, 1200, 800);
            auto* const splitter = stage.Main().findChild<QSplitter*>();
            splitter->setSizes({600, 600});
            stage.Running.SetVolume(35.0);
            stage.Acts.Run(ActionId::Mute);
            stage.Settle();
            geometry = stage.Main().geometry();
            sizes = splitter->sizes();
            stage.Save(0.0, 1.0, "Forgotten");
        }
        MvTheme::SetTextScale(1.0);
        DesktopStage stage;
        QCOMPARE(MvTheme::TextScale(), 1.1);
        QCOMPARE(stage.Main().geometry(), geometry);
        QCOMPARE(stage.Main().findChild<QSplitter*>()->sizes(), sizes);
        QCOMPARE(stage.Running.Volume(), 35.0);
        QVERIFY(stage.Running.IsMuted());
        QCOMPARE(RecentNames(stage.Main()), QStringList({"two.mp4", "one.mp4"}));
        QCOMPARE(AppPaths::DefaultVideoFile(), Environment().Two());
        QVERIFY(stage.Clips().empty());
    }

    void WhatWasOpenedIsRememberedWithoutACleanEnd()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        QCOMPARE(LoadSettings().RecentFiles, QStringList{One()});
        QVERIFY(!LoadSettings().WindowGeometry.isEmpty());
        stage.Acts.TextLarger();
        QCOMPARE(LoadSettings().TextScale, 1.1);
    }

    void RecentFilesAreRememberedWhateverTheBytesOfTheirNames()
    {
        const QStringList files = {PathText("/videos/lat\xE9.mp4"), "/videos/é, \"@b\".mp4"};
        for (qsizetype count = 0; count <= files.size(); ++count)
        {
            const TempFolder next; // the toolkit remembers what stood in a file of the same name
            Settings settings;
            settings.RecentFiles = files.mid(0, count);
            SaveSettings(settings);
            std::filesystem::copy(AppPaths::StateDir(), next.Path() / "movane");
            const EnvironmentGuard state("XDG_STATE_HOME", next.Path().native());
            QCOMPARE(LoadSettings().RecentFiles, settings.RecentFiles);
        }
    }

    void RecentFilesThatAnEarlierVersionSavedAreThere_data()
    {
        QTest::addColumn<QByteArray>("Saved");
        QTest::addColumn<QStringList>("Wanted");
        QTest::newRow("none") << QByteArray("@Invalid()") << QStringList();
        QTest::newRow("one") << QByteArray("/videos/one.mp4") << QStringList{"/videos/one.mp4"};
        QTest::newRow("two") << QByteArray("/videos/one.mp4, \"/videos/a, b.mp4\"")
                             << QStringList{"/videos/one.mp4", "/videos/a, b.mp4"};
    }
    void RecentFilesThatAnEarlierVersionSavedAreThere()
    {
        QFETCH(QByteArray, Saved);
        QFETCH(QStringList, Wanted);
        QVERIFY(WriteFile(std::filesystem::path(AppPaths::StateDir()) / "desktop.ini",
                          "[General]\nRecentFiles=" + Saved.toStdString() + '\n'));
        QCOMPARE(LoadSettings().RecentFiles, Wanted);
    }

    void RecentFilesOfOneNameAreToldApartAndLongNamesShortened()
    {
        DesktopStage stage;
        const QString longName = QString("a").repeated(190) + ".mp4";
        QStringList paths = {"/videos/monday/take.mp4", "/videos/tuesday/take.mp4",
                             "/videos/monday/R&D.mp4", "/videos/" + longName};
        stage.Main().SetRecentFiles(paths);
        const QStringList names = RecentNames(stage.Main());
        QCOMPARE(names[0], "take.mp4 – monday");
        QCOMPARE(names[1], "take.mp4 – tuesday");
        QCOMPARE(names[2], "R&&D.mp4");
        QVERIFY(names[3].startsWith("aaa") && names[3].endsWith(".mp4"));
        const auto menus = stage.Main().findChildren<QMenu*>();
        const auto recent =
            std::find_if(menus.begin(), menus.end(),
                         [](const QMenu* pMenu) { return pMenu->title() == "Open recent"; });
        QVERIFY((*recent)->sizeHint().width() <= Theme::ScaledPx(500));
    }

    void ARecentFileIsOpenedFromTheMenu()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        QVERIFY(stage.OpenFile(Environment().Two()));
        for (const QMenu* const menu : stage.Main().findChildren<QMenu*>())
        {
            if (menu->title() == "Open recent")
            {
                menu->actions().at(1)->trigger();
                break;
            }
        }
        QTRY_COMPARE(stage.Document().pVideo->FilePath, Environment().One());
        QCOMPARE(RecentNames(stage.Main()), QStringList({"one.mp4", "two.mp4"}));
    }

    // -- At rest

    void NothingRunsWhileNothingChanges()
    {
        TwoWindows stage;
        stage.Save(0.0, 1.0, "Clip");
        stage.Press(Qt::Key_Space);
        stage.Press(Qt::Key_K);
        QTRY_COMPARE(FramesIn(stage, 100), 0);
        QCOMPARE(FramesIn(stage, 300), 0);
        for (VideoWindow* const window : stage.Program.Windows())
        {
            QCOMPARE(TimersIn(*window), QStringList());
        }
        QCOMPARE(TimersIn(stage.Program), QStringList());
        QCOMPARE(TimersIn(stage.Running), QStringList());
    }

    void AnEmptyApplicationRestsToo()
    {
        DesktopStage stage;
        QTRY_COMPARE(FramesIn(stage, 100), 0);
        QCOMPARE(FramesIn(stage, 300), 0);
        QCOMPARE(TimersIn(stage.Main()), QStringList());
    }

    // -- Sizes

    void TenThousandClipsAreListedAndStillHandled()
    {
        constexpr int Count = 10000;
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        Fill(stage, Count);
        QCOMPARE(stage.Table().model()->rowCount(), Count);
        stage.Acts.SelectClip(Count - 1);
        stage.Settle();
        QVERIFY(stage.Table().visualRect(stage.Table().model()->index(Count - 1, 0)).isValid());
        stage.Press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(stage.Status(), "Loaded Clip 9999 onto the video timeline.");
        stage.Press(Qt::Key_Delete);
        QCOMPARE(stage.Table().model()->rowCount(), Count - 1);
    }

    // What a frame while playing costs must not grow with the list, so it may not look at it.
    void AFrameLooksAtNoneOfAHundredThousandClips()
    {
        constexpr int Count = 100000;
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        Fill(stage, Count);
        MvTimeControl& timeline = stage.Document().Timeline();
        timeline.Markers.resize(Count);
        timeline.MarkMarkersChanged();
        stage.Running.RequestFrame();
        QTRY_COMPARE(FramesIn(stage, 100), 0);
        const TimelineState& drawn = stage.Main().Pane().Timeline().State();
        QCOMPARE(drawn.Clips.size(), qsizetype{Count});
        QCOMPARE(drawn.Markers.size(), qsizetype{Count});

        TouchedMemory touched;
        QVERIFY(touched.Watch(stage.Clips()));
        QVERIFY(touched.Watch(stage.Panel().TableModel->GetRows()));
        QVERIFY(touched.Watch(timeline.Markers));
        QVERIFY(touched.Watch(drawn.Clips));
        for (int i = 0; i < 3; ++i)
        {
            stage.Running.Frame();
            QCoreApplication::processEvents();
        }
        QCOMPARE(touched.TouchedCount(), 0);
        stage.Panel().RebuildTableModel();
        QVERIFY(touched.TouchedCount() > 0);
    }

    void ASelectionLeavesTheBarsOfTheTimelineAsTheyAre()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        Fill(stage, 100);
        const TimelineState& drawn = stage.Main().Pane().Timeline().State();
        const QList<TimelineClip> before = drawn.Clips;
        stage.Acts.SelectClip(99);
        stage.Settle();
        QCOMPARE(drawn.SelectedRow, 99);
        QVERIFY(drawn.Clips.isSharedWith(before));
        stage.Acts.Run(ActionId::DeleteClip);
        stage.Settle();
        QCOMPARE(drawn.Clips.size(), qsizetype{99});
    }

    // An action that fails between its change and the rebuild of the table leaves the widgets behind the clips.
    void AnActionThatThrowsHasTheClipsLookedAtAgain()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        stage.Save(0.0, 1.0, "Clip");
        stage.Panel().Clips[0].SourcePath = std::string(5000, 'x'); // no file system takes it
        const std::uint64_t before = ClipsRevision(stage.Panel());
        stage.Acts.Run(ActionId::JumpToIn);
        stage.Settle();
        QVERIFY(ClipsRevision(stage.Panel()) > before);
        QCOMPARE(stage.Main().Pane().Timeline().State().Clips.size(), qsizetype{0});
    }

    void NoTextIsClippedAtAnyTextScale_data()
    {
        QTest::addColumn<double>("Scale");
        for (const double scale : {0.75, 1.0, 1.5, 2.0, 3.0})
        {
            QTest::addRow("%g", scale) << scale;
        }
    }
    void NoTextIsClippedAtAnyTextScale()
    {
        QFETCH(double, Scale);
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        stage.Save(0.0, 1.0, "Intro");
        MvTheme::SetTextScale(Scale);
        Q_EMIT stage.Acts.TextScaleChanged();
        stage.Main().resize(1024, 640);
        stage.Settle();
        QCOMPARE(stage.Main().size(), QSize(1024, 640));
        // Layouts within layouts take some rounds of events.
        const bool bFits = QTest::qWaitFor([&] { return ClippedTexts(stage.Main()).isEmpty(); });
        QVERIFY2(bFits, qPrintable("\n" + ClippedTexts(stage.Main())));
        SavePicture(stage.Main(), QString("scale%1").arg(Scale));
    }

    void TheWindowFitsASmallScreenWithAllControlsAtAnyTextScale_data()
    {
        QTest::addColumn<double>("Scale");
        for (const double scale : {0.75, 1.0, 1.5, 2.0, 3.0})
        {
            QTest::addRow("%g", scale) << scale;
        }
    }
    void TheWindowFitsASmallScreenWithAllControlsAtAnyTextScale()
    {
        QFETCH(double, Scale);
        constexpr QSize Screen(1024, 640);
        DesktopStage stage;
        stage.Main().resize(1280, 760);
        QVERIFY(stage.OpenFile(Environment().One()));
        stage.Save(0.0, 1.0, "Intro");
        stage.Acts.SetSpeed(0.25); // the widest of them
        MvTheme::SetTextScale(Scale);
        Q_EMIT stage.Acts.TextScaleChanged();
        stage.Settle();
        auto* const exports = stage.Main().findChild<ExportBar*>();
        const RunningExport running{.Clip = stage.Clips().front(),
                                    .Phase = ExportPhase::Encode,
                                    .Fraction = 0.5,
                                    .SecondsLeft = 90.0};
        constexpr const RunningExport* None = nullptr;
        for (const RunningExport* const shown : {None, &running})
        {
            exports->Show(shown, 12);
            const auto smallest = [&] { return stage.Main().minimumSizeHint(); };
            stage.Main().resize(Screen);
            QTRY_COMPARE(stage.Main().size(), Screen);
            QTRY_COMPARE(smallest().boundedTo(Screen), smallest());
            QTRY_COMPARE(ControlsOutOfSight(stage.Main()), QStringList());
            SavePicture(stage.Main(), QString("small%1%2").arg(Scale).arg(shown ? "-export" : ""));
        }
    }
};

int main(int argc, char** argv)
{
    return RunDesktopTests<DesktopWindowsTest>(argc, argv);
}
#include "desktop_windows_test.moc"
