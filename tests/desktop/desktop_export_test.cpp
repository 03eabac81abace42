// Exports in the application: one and several, their rows and the bar, what goes wrong, stopping, and
// closing while some run or wait.

#include "app/runningexport.h"
#include "desktop/actions/desktopopen.h"
#include "desktop/clips/cliptablemodel.h"
#include "desktop/desktopstage.h"
#include "desktop/export/exportbar.h"
#include "desktop/notify/notificationcard.h"
#include "support/fakeffmpeg.h"

#include <QClipboard>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>

#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
/// In ffmpeg's place, with the first clip of the first video saved.
struct ExportStage
{
    explicit ExportStage(const FakeFfmpeg::Behaviour& How = {})
        : Ffmpeg(Folder.Path(), How)
    {
        pStage = std::make_unique<DesktopStage>();
        if (!pStage->OpenFile(Environment().One()))
        {
            qFatal("the video does not open");
        }
        pStage->Save(1.0, 2.0, "Intro");
    }

    DesktopStage* operator->() { return pStage.get(); }
    ExportBar& Bar() { return *pStage->Main().findChild<ExportBar*>(); }
    QProgressBar& Progress() { return *Bar().findChild<QProgressBar*>(); }
    bool IsBarEmpty() { return !Progress().isVisible(); }
    QToolButton& BarButton(const QString& Text)
    {
        for (QToolButton* const button : Bar().findChildren<QToolButton*>())
        {
            if (button->text() == Text)
            {
                return *button;
            }
        }
        qFatal("no such button");
    }
    ExportState StateOf(int Row) { return pStage->Exports().States().Of(Row).State; }
    /// The tooltip or another text of a row's name.
    QString NameText(int Row, int Role)
    {
        const QAbstractItemModel& model = *pStage->Table().model();
        return model.index(Row, ClipTableModel::NameColumn).data(Role).toString();
    }
    void ClickRow(int Row, Qt::KeyboardModifiers Modifiers = {})
    {
        QTableView& table = pStage->Table();
        const QRect place = table.visualRect(table.model()->index(Row, 0));
        QTest::mouseClick(table.viewport(), Qt::LeftButton, Modifiers, place.center());
        pStage->Settle();
    }
    /// Opens the menu of the current row with the menu key, and chooses an action; the texts of those that
    /// could be chosen are returned, joined.
    QString ChooseInMenu(const QString& Text = {})
    {
        QTableView& table = pStage->Table();
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
        QCoreApplication::sendEvent(table.viewport(), &event);
        auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QStringList enabled;
        for (QAction* const action : menu->actions())
        {
            if (action->isEnabled() && !action->isSeparator())
            {
                enabled.append(action->text());
            }
            if (action->text() == Text)
            {
                action->trigger();
            }
        }
        menu->close();
        pStage->Activate(pStage->Main());
        pStage->Settle();
        return enabled.join(", ");
    }
    /// Does something while another program has the keyboard.
    template <typename Work> void GoElsewhere(Work Do)
    {
        QWidget other;
        other.show();
        pStage->Activate(other);
        Do();
        pStage->Activate(pStage->Main());
    }
    std::filesystem::path Output() const
    {
        return Environment().ClipsFolder() / "clip_00000_Intro.mkv";
    }
    bool HasOutput() const { return std::filesystem::exists(Output()); }

    TempFolder Folder;
    FakeFfmpeg Ffmpeg;
    EnvironmentGuard Override{"MOVANE_FFMPEG_BIN", Ffmpeg.Path()};
    std::unique_ptr<DesktopStage> pStage;
};

QStringList TextsOfCards(DesktopStage& Stage)
{
    QStringList texts;
    for (const NotificationCard* const card : Stage.Main().findChildren<NotificationCard*>())
    {
        texts.append(card->findChildren<QLabel*>().last()->text());
    }
    return texts;
}

/// An ffmpeg that begins its file and ends only when it is told how, by a line in a pipe beside it.
struct SlowStage : ExportStage
{
    SlowStage()
        : ExportStage({.OutputCommand = "printf begun > \"$out\"\nread line < \"$0.go\"\n"
                                        "[ \"$line\" = fail ] && { echo disk full >&2; exit 1; }"})
    {
        const std::string pipe = Ffmpeg.Path() + ".go";
        mkfifo(pipe.c_str(), 0600);
        Pipe = open(pipe.c_str(), O_RDWR | O_CLOEXEC);
    }
    ~SlowStage() { close(Pipe); }
    SlowStage(const SlowStage&) = delete;
    SlowStage& operator=(const SlowStage&) = delete;

    /// Starts the export and waits until its file has been begun.
    void Begin()
    {
        pStage->Press(Qt::Key_E);
        QTRY_VERIFY(HasOutput());
    }
    void LetItEnd() { Tell("well\n"); }
    void LetItFail() { Tell("fail\n"); }
    bool IsRunning() { return pStage->Exports().IsRunning(); }
    /// Waits until this many exports have been started.
    void AwaitRuns(std::size_t Count) { QTRY_COMPARE(Ffmpeg.Runs(), Count); }

    /// Asks the window to close, and returns the question that it asks in turn.
    QMessageBox* Close()
    {
        pStage->Main().close();
        return pStage->Open<QMessageBox>();
    }
    static QPushButton* ButtonOf(QMessageBox* pBox, const QString& Text)
    {
        for (QAbstractButton* const button : pBox->buttons())
        {
            if (button->text() == Text)
            {
                return qobject_cast<QPushButton*>(button);
            }
        }
        return nullptr;
    }

private:
    void Tell(const QByteArray& Line) { QCOMPARE(write(Pipe, Line, Line.size()), Line.size()); }

    int Pipe = -1;
};

/// Three clips, saved out of their order in time, all selected, the export of the first one begun.
struct QueueStage : SlowStage
{
    QueueStage()
    {
        pStage->Save(0.0, 1.0, "Middle");
        pStage->Save(2.0, 3.0, "Outro");
        pStage->Press(Qt::Key_A, Qt::ControlModifier);
        pStage->Press(Qt::Key_E);
        AwaitRuns(1);
    }

    std::vector<ExportState> States() { return {StateOf(0), StateOf(1), StateOf(2)}; }
    static std::filesystem::path FileOf(const std::string& Name)
    {
        return Environment().ClipsFolder() / ("clip_00000_" + Name + ".mkv");
    }
};

/// In the place of the desktop's programs: it writes down what it gets, and the encoder's variables.
class FakeOpener
{
public:
    FakeOpener()
    {
        WriteFile(Program, "#!/bin/sh\nprintf '%s\\n%s.' \"$1\" "
                           "\"${MOVANE_EXPORT_SOCKET-none}${MOVANE_FFMPEG_BIN-none}\" > '" +
                               Told.native() + "'\n");
        std::filesystem::permissions(Program, std::filesystem::perms::owner_all);
    }

    /// The two lines, when they are whole.
    QList<QByteArray> Lines() const
    {
        const std::string text = ReadFile(Told);
        return text.ends_with('.') ? QByteArray::fromStdString(text).split('\n')
                                   : QList<QByteArray>();
    }

private:
    TempFolder Folder;
    std::filesystem::path Program = Folder.Path() / "xdg-open";
    std::filesystem::path Told = Folder.Path() / "told";
    EnvironmentGuard Path{"PATH", Folder.Path().native() + ":/usr/bin:/bin"};
};
} // namespace

class DesktopExportTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { Environment().CleanFolders(); }

    void AClipIsExportedByKeyAndByButton()
    {
        ExportStage stage;
        for (int i = 0; i < 3; ++i)
        {
            const QString file = QString("clip_0000%1_Intro.mkv").arg(i);
            switch (i)
            {
            case 0:
                stage->Press(Qt::Key_E);
                break;
            case 1:
                stage->Press(Qt::Key_E, Qt::ControlModifier);
                break;
            default:
                stage->Click(stage->Button(ActionId::ExportClip));
                break;
            }
            QTRY_COMPARE(stage->Status(), "Exported " + file);
            QVERIFY(!stage->Exports().IsRunning());
        }
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{3});
    }

    void TheBarHasContentOnlyWhileAnExportRuns()
    {
        SlowStage stage;
        QVERIFY(stage.IsBarEmpty());
        const QRect place = stage.Bar().geometry();
        stage.Begin();
        QVERIFY(!stage.IsBarEmpty());
        QCOMPARE(stage.Bar().geometry(), place);
        QVERIFY(stage.Progress().text().startsWith("Intro"));
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        QTRY_VERIFY(stage.IsBarEmpty());
        QVERIFY(stage.Bar().isVisible());
        QCOMPARE(stage.Bar().geometry(), place);
        QVERIFY(stage.HasOutput());
    }

    void NoButtonMovesWhenAnExportStartsOrEnds_data()
    {
        QTest::addColumn<QSize>("Size");
        QTest::addColumn<double>("Scale");
        QTest::newRow("usual") << QSize(1280, 760) << 1.0;
        QTest::newRow("small") << QSize(1024, 640) << 1.0;
        QTest::newRow("larger text") << QSize(1280, 800) << 1.5;
        QTest::newRow("largest text") << QSize(1280, 800) << 3.0;
    }
    void NoButtonMovesWhenAnExportStartsOrEnds()
    {
        QFETCH(QSize, Size);
        QFETCH(double, Scale);
        SlowStage stage;
        stage->Main().resize(Size);
        MvTheme::SetTextScale(Scale);
        Q_EMIT stage->Acts.TextScaleChanged();
        // Its texts take more lines than those before.
        stage->Save(1.0, 3.0, std::string(40, 'm') + ' ' + std::string(20, 'm'));
        using Places = QMap<const QAbstractButton*, QRect>;
        const auto places = [&]
        {
            stage->Main().grab(); // does what is left of the layouts
            QCoreApplication::processEvents();
            Places all;
            for (const QAbstractButton* const button :
                 stage->Main().findChildren<QAbstractButton*>())
            {
                if (button->isVisible())
                {
                    all[button] = QRect(button->mapTo(&stage->Main(), QPoint()), button->size());
                }
            }
            return all;
        };
        Places before;
        QTRY_VERIFY(std::exchange(before, places()) == places());
        const auto verifyPlaces = [&]
        {
            const Places now = places();
            for (auto place = before.begin(); place != before.end(); ++place)
            {
                QVERIFY(now.contains(place.key()));
                QCOMPARE(now[place.key()], place.value());
            }
        };
        QVERIFY(before.size() >= 14);
        stage->Press(Qt::Key_E);
        stage.AwaitRuns(1);
        verifyPlaces();
        for (const char* const name : {"Stop", "Stop all"})
        {
            before[&stage.BarButton(name)] = places()[&stage.BarButton(name)];
        }
        stage->Press(Qt::Key_Up, Qt::AltModifier);
        stage->Press(Qt::Key_E);
        verifyPlaces();
        stage.LetItEnd();
        stage.AwaitRuns(2);
        verifyPlaces();
        stage.LetItFail();
        QTRY_VERIFY(!stage.IsRunning());
        before.remove(&stage.BarButton("Stop"));
        before.remove(&stage.BarButton("Stop all"));
        verifyPlaces();
        MvTheme::SetTextScale(1.0);
        Theme::Apply();
    }

    void TheRunningTimeStandsInTheBarWithoutAPercent()
    {
        SlowStage stage;
        stage.Begin();
        QTRY_COMPARE(stage.Progress().text(), "Intro   0:01");
    }

    void TheBarTellsPercentTimeLeftAndHowManyWait()
    {
        QAction action;
        ExportBar bar(&action, &action);
        bar.resize(400, 100);
        const QProgressBar& shown = *bar.findChild<QProgressBar*>();
        RunningExport running;
        running.Clip.Name = "Intro";
        running.Phase = ExportPhase::Encode;
        running.Fraction = 0.425;
        bar.show();
        bar.Show(&running, 0);
        bar.grab(); // lays it out
        QCOMPARE(shown.text(), "Intro   42 %");
        running.SecondsLeft = 11.2;
        bar.Show(&running, 3);
        QCOMPARE(shown.text(), "Intro   42 %, 0:12 left, 3 more");
        running.SecondsLeft = 5400.0;
        bar.Show(&running, 1);
        QCOMPARE(shown.text(), "Intro   42 %, 1:30:00 left, 1 more");
        running.bStopping = true;
        bar.Show(&running, 0);
        QCOMPARE(shown.text(), "Intro   42 %, stopping");
    }

    void TheBarLeavesWordsOutWhereTheyHaveNoRoom()
    {
        QAction action;
        ExportBar bar(&action, &action);
        RunningExport running;
        running.Clip.Name = "50 %p of a name <b>that is long";
        running.Phase = ExportPhase::Encode;
        running.Fraction = 0.42;
        running.SecondsLeft = 12.0;
        bar.show();
        const QProgressBar& shown = *bar.findChild<QProgressBar*>();
        const auto textAt = [&](int WidthPx)
        {
            bar.resize(WidthPx, 100);
            bar.Show(&running, 3);
            bar.grab();
            return shown.text();
        };
        const QString all = "50 %p of a name <b>that is long   42 %, 0:12 left, 3 more";
        QCOMPARE(textAt(900), all);
        const QString shorter = textAt(300);
        QVERIFY2(shorter.startsWith("50 %p of") && shorter.endsWith("…   42 %, 0:12 left, 3 more"),
                 qPrintable(shorter));
        QCOMPARE(textAt(200), "42 %, 0:12 left, 3 more");
        QCOMPARE(textAt(150), "42 %  0:12  +3");
        for (const int widthPx : {150, 200, 300, 900})
        {
            QVERIFY(shown.fontMetrics().horizontalAdvance(textAt(widthPx)) <= shown.width());
            QVERIFY(shown.toolTip().contains("&lt;b&gt;"));
            QVERIFY(shown.accessibleDescription().contains("0:12 left, 3 more"));
        }
    }

    void TheRealEncoderWritesTheClip()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        stage.Save(1.0, 3.0, "Real");
        stage.Press(Qt::Key_E);
        QTRY_COMPARE_WITH_TIMEOUT(stage.Status(), "Exported clip_00000_Real.mkv", stage.DeadlineMs);
        QVERIFY(std::filesystem::file_size(Environment().ClipsFolder() / "clip_00000_Real.mkv") >
                1000);
    }

    void TheSelectionMayChangeWhileAnExportRuns()
    {
        SlowStage stage;
        stage->Save(2.0, 3.0, "Other");
        stage->Press(Qt::Key_Up, Qt::AltModifier);
        stage.Begin();
        stage->Press(Qt::Key_Down, Qt::AltModifier);
        stage->Press(Qt::Key_Delete);
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
    }

    // -- Several

    void AllSelectedClipsAreExportedInTheOrderOfTheTable()
    {
        using enum ExportState;
        QueueStage stage;
        QCOMPARE(stage.States(), std::vector({Running, Queued, Queued}));
        QVERIFY(stage.Progress().text().endsWith("2 more"));
        QCOMPARE(stage->Status(), "Exporting Intro to clip_00000_Intro.mkv...");
        stage.LetItEnd();
        stage.AwaitRuns(2);
        QCOMPARE(stage.States(), std::vector({Done, Running, Queued}));
        QVERIFY(stage.Progress().text().startsWith("Middle"));
        QCOMPARE(stage->Exports().FractionOfAll(), 1.0 / 3.0); // as the task bar shows it
        stage.LetItEnd();
        stage.AwaitRuns(3);
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.States(), std::vector({Done, Done, Done}));
        QCOMPARE(TextsOfCards(*stage.pStage), QStringList("Exported 3 of 3 clips."));
        for (const char* const name : {"Intro", "Middle", "Outro"})
        {
            QVERIFY(std::filesystem::exists(stage.FileOf(name)));
        }
    }

    void OneThatFailsDoesNotEndTheRest()
    {
        using enum ExportState;
        QueueStage stage;
        stage.LetItEnd();
        stage.LetItFail();
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.States(), std::vector({Done, Failed, Done}));
        const QStringList cards = TextsOfCards(*stage.pStage);
        QCOMPARE(cards.size(), 1);
        QVERIFY2(cards.first().startsWith("Exported 2 of 3 clips.") &&
                     cards.first().contains("Middle: Clip export failed: disk full"),
                 qPrintable(cards.first()));
        const auto* const card = stage->Main().findChild<NotificationCard*>();
        QVERIFY(card->findChild<QPushButton*>() != nullptr); // some files are there
        QVERIFY(stage.NameText(1, Qt::ToolTipRole).contains("Clip export failed: disk full"));
    }

    void WhoeverMarksMeanwhileSeesNoSelectionMove()
    {
        QueueStage stage;
        stage.ClickRow(2);
        stage->Press(Qt::Key_F2);
        QTest::keyClicks(&stage->NameField(), "Half a na");
        stage.LetItEnd();
        stage.AwaitRuns(2);
        stage.LetItEnd();
        stage.AwaitRuns(3);
        QCOMPARE(stage->Panel().SelectedClipIndex(), 2);
        QCOMPARE(stage->NameField().text(), "Half a na");
        QVERIFY(stage->NameField().hasFocus());
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
    }

    void AClipThatIsUnderWayIsNotQueuedTwice()
    {
        SlowStage stage;
        stage.Begin();
        stage->Press(Qt::Key_E);
        QCOMPARE(stage->Status(), "Clip export already in progress.");
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{1});
    }

    void AClipIsExportedAsItWasWhenItWasQueuedAndIsOutdatedThen()
    {
        QueueStage stage;
        stage.ClickRow(1);
        stage->Press(Qt::Key_F2);
        QTest::keyClicks(&stage->NameField(), "Renamed");
        stage->Press(Qt::Key_Return);
        for (int i = 0; i < 3; ++i)
        {
            stage.LetItEnd();
        }
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(std::filesystem::exists(stage.FileOf("Middle")));
        QCOMPARE(stage.StateOf(1), ExportState::Outdated);
        QVERIFY(stage.NameText(1, Qt::AccessibleTextRole).endsWith("changed since its export"));
    }

    void ARefusalInTheQueueIsThePanelsSentence()
    {
        SlowStage stage;
        stage->Save(1.0, 1.01, "Short");
        stage->Press(Qt::Key_A, Qt::ControlModifier);
        stage->Press(Qt::Key_E);
        stage.AwaitRuns(1);
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage->Status(), "Selected clip is too short to export.");
        QCOMPARE(stage.StateOf(1), ExportState::Failed);
        QCOMPARE(stage.NameText(1, Qt::AccessibleTextRole),
                 "Short, Selected clip is too short to export.");
    }

    void ExportAllTakesWhatIsMissingOrOutdated()
    {
        using enum ExportState;
        ExportStage stage;
        stage->Save(0.0, 1.0, "Middle");
        stage->Save(2.0, 3.0, "Outro");
        stage.ClickRow(0);
        stage.ClickRow(1, Qt::ControlModifier);
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(!stage->Exports().IsRunning());
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{2});
        stage.ClickRow(1);
        stage->Press(Qt::Key_F2);
        QTest::keyClicks(&stage->NameField(), "Renamed");
        stage->Press(Qt::Key_Return);
        stage->Press(Qt::Key_E, Qt::ShiftModifier);
        QTRY_VERIFY(!stage->Exports().IsRunning());
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{4});
        QCOMPARE(stage->Exports().States().CountMissing(), 0);

        // Nothing is left, until a file goes.
        stage->Button(ActionId::ExportClip).menu()->actions().first()->trigger();
        stage->Settle();
        QCOMPARE(stage->Status(), "All clips are exported.");
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{4});
        std::filesystem::remove(stage.Output());
        stage->Press(Qt::Key_E, Qt::ShiftModifier);
        QTRY_VERIFY(!stage->Exports().IsRunning());
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{5});
    }

    void ExportAllWithoutClipsIsRefusedByThePanel()
    {
        DesktopStage stage;
        stage.Press(Qt::Key_E, Qt::ShiftModifier);
        QCOMPARE(stage.Status(), "Select a saved clip to export it.");
    }

    // -- Rows and their menu

    void TheMenuOffersWhatMakesSense()
    {
        const QString marking = "Load, To In, To Out, ";
        const QString file = "Open file, Open folder, Copy path, ";
        SlowStage stage;
        QCOMPARE(stage.ChooseInMenu(), marking + "Export, Edit name, Delete");
        stage->Save(0.0, 1.0, "Middle");
        stage->Press(Qt::Key_A, Qt::ControlModifier);
        stage->Press(Qt::Key_E);
        stage.AwaitRuns(1);
        stage.ClickRow(0);
        QCOMPARE(stage.ChooseInMenu(), marking + "Export, Edit name, Delete");
        stage.ClickRow(1);
        QCOMPARE(stage.ChooseInMenu(), marking + "Export, Remove from queue, Edit name, Delete");
        stage.LetItEnd();
        stage.LetItFail();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.ChooseInMenu(), marking + "Export, Export again, Edit name, Delete");
        stage.ClickRow(0);
        QCOMPARE(stage.ChooseInMenu(), marking + file + "Export, Export again, Edit name, Delete");
    }

    void AWaitingClipIsRemovedFromTheQueue()
    {
        using enum ExportState;
        QueueStage stage;
        stage.ClickRow(1);
        stage.ChooseInMenu("Remove from queue");
        QTRY_COMPARE(stage.States(), std::vector({Running, None, Queued}));
        stage.LetItEnd();
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.States(), std::vector({Done, None, Done}));
        QVERIFY(!std::filesystem::exists(stage.FileOf("Middle")));
    }

    void AllSelectedClipsThatWaitAreRemovedFromTheQueue()
    {
        using enum ExportState;
        QueueStage stage;
        stage->Save(0.0, 2.0, "Last");
        stage->Press(Qt::Key_E);
        stage.ClickRow(3);
        stage.ClickRow(2, Qt::ControlModifier);
        stage.ClickRow(0, Qt::ControlModifier); // the current one, which runs
        QVERIFY(stage.ChooseInMenu("Remove from queue").contains("Remove from queue"));
        QTRY_COMPARE(stage.StateOf(3), None);
        QCOMPARE(stage.States(), std::vector({Running, Queued, None}));
        stage.ClickRow(2);
        stage.ClickRow(3, Qt::ControlModifier);
        QVERIFY(!stage.ChooseInMenu().contains("Remove from queue"));
        stage->Acts.StopAllExports();
        QTRY_VERIFY(!stage.IsRunning());
    }

    void AClipIsExportedAgainAlone()
    {
        ExportStage stage;
        stage->Save(0.0, 1.0, "Middle");
        stage->Press(Qt::Key_A, Qt::ControlModifier);
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(!stage->Exports().IsRunning());
        stage->Press(Qt::Key_A, Qt::ControlModifier);
        stage.ChooseInMenu("Export again");
        QTRY_COMPARE(stage->Status(), "Exported clip_00001_Middle.mkv");
        QTRY_VERIFY(!stage->Exports().IsRunning());
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{3});
    }

    void TheFileItsFolderAndItsPathAreAtHand()
    {
        const FakeOpener opener;
        ExportStage stage;
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        stage.ChooseInMenu("Copy path");
        QCOMPARE(QGuiApplication::clipboard()->text().toStdString(), stage.Output().native());
        stage.ChooseInMenu("Open file");
        const QByteArray address = "file://" + QByteArray::fromStdString(stage.Output().native());
        QTRY_COMPARE(opener.Lines().value(0), address);
        stage.ChooseInMenu("Open folder");
        QTRY_COMPARE(opener.Lines().value(0), address.left(address.lastIndexOf('/')));
        std::filesystem::remove(stage.Output());
        stage->Acts.OpenClipFile();
        stage->Settle();
        QCOMPARE(stage->Status(), "The clip has no file: export it.");
    }

    void TheMenuKnowsThatAFileHasGone()
    {
        ExportStage stage;
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage.StateOf(0), ExportState::Done);
        QTRY_VERIFY(!stage->Exports().IsRunning());
        std::filesystem::remove(stage.Output());
        QCOMPARE(stage.ChooseInMenu(), "Load, To In, To Out, Export, Edit name, Delete");
        QCOMPARE(stage.NameText(0, Qt::AccessibleTextRole), "Intro");
    }

    void AFileThatHasGoneIsSeenWhenTheWindowIsActiveAgain()
    {
        ExportStage stage;
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(!stage->Exports().IsRunning());
        stage.GoElsewhere([&] { std::filesystem::remove(stage.Output()); });
        QTRY_COMPARE(stage.StateOf(0), ExportState::None);
        stage->Press(Qt::Key_E, Qt::ShiftModifier);
        QTRY_COMPARE(stage.StateOf(0), ExportState::Done);
        QVERIFY(stage.HasOutput());
    }

    void AVideoThatWasRewrittenIsSeenWhenTheWindowIsActiveAgain()
    {
        ExportStage stage;
        const std::filesystem::path source = stage.Folder.Path() / "source.mp4";
        std::filesystem::copy_file(Environment().One(), source);
        QVERIFY(stage->OpenFile(source));
        stage->Acts.DeleteClip();
        stage->Save(0.0, 1.0, "Intro");
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(!stage->Exports().IsRunning());
        QCOMPARE(stage.StateOf(0), ExportState::Done);
        stage.GoElsewhere([] {});
        QCOMPARE(stage.StateOf(0), ExportState::Done);
        stage.GoElsewhere(
            [&]
            {
                std::filesystem::last_write_time(source, std::filesystem::last_write_time(source) +
                                                             std::chrono::seconds(1));
            });
        QTRY_COMPARE(stage.StateOf(0), ExportState::Outdated);
        QTRY_VERIFY(stage.NameText(0, Qt::ToolTipRole).contains("changed since its export"));
        stage->Press(Qt::Key_E, Qt::ShiftModifier);
        QTRY_COMPARE(stage.StateOf(0), ExportState::Done);
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{2});
    }

    void EachStateHasAPictureOfItsOwn()
    {
        QueueStage stage;
        const auto picture = [&](int Row)
        {
            stage.ClickRow(Row == 0 ? 1 : 0); // not the row itself, whose ground is another
            QTableView& table = stage->Table();
            const QRect cell = table.visualRect(table.model()->index(Row, 0));
            return table.viewport()->grab(cell.adjusted(cell.width() / 2, 0, 0, 0)).toImage();
        };
        QList<QImage> pictures = {picture(0), picture(2)}; // running, queued
        stage.LetItEnd();
        stage.LetItFail();
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        pictures.append(picture(0)); // done
        stage->Panel().Clips[0].Name += " 2";
        pictures.append(picture(0)); // outdated
        stage->Save(0.0, 1.0, "New");
        pictures.append(picture(3)); // none
        for (int i = 0; i < pictures.size(); ++i)
        {
            for (int k = 0; k < i; ++k)
            {
                // Without their colours, too.
                QVERIFY2(pictures[i].convertToFormat(QImage::Format_Mono, Qt::ThresholdDither) !=
                             pictures[k].convertToFormat(QImage::Format_Mono, Qt::ThresholdDither),
                         qPrintable(QString("%1 and %2").arg(i).arg(k)));
            }
        }
    }

    // -- Failures

    void AFailingExportShowsItsFirstLine()
    {
        ExportStage stage({.ExitCode = 1, .ErrorText = "disk full\nmore\n"});
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Clip export failed: disk full");
        auto* const card = stage->Main().findChild<NotificationCard*>();
        QVERIFY(card != nullptr);
        QVERIFY(card->findChild<QPushButton*>() == nullptr);
        QTRY_VERIFY(stage.IsBarEmpty());
    }

    void TheMessageOfTheRealEncoderIsShown()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(Environment().One()));
        const std::filesystem::path noVideo = Environment().StateFolder() / "novideo.mp4";
        QVERIFY(WriteFile(noVideo, "this is no video"));
        stage.Save(1.0, 2.0, "Broken");
        stage.Panel().Clips[0].SourcePath = noVideo.native();
        stage.Press(Qt::Key_E);
        QTRY_VERIFY_WITH_TIMEOUT(!stage.Exports().IsRunning(), stage.DeadlineMs);
        QVERIFY2(stage.Status().startsWith("Clip export failed: ") &&
                     stage.Status().contains("moov atom not found"),
                 qPrintable(stage.Status()));
    }

    void AMissingEncoderIsToldAndMarkingStillWorks()
    {
        const EnvironmentGuard missing("MOVANE_FFMPEG_BIN", "/nonexistent/ffmpeg");
        DesktopStage stage;
        QTRY_COMPARE(stage.Status(), "MOVANE_FFMPEG_BIN is not executable: /nonexistent/ffmpeg");
        QVERIFY(stage.OpenFile(Environment().One()));
        stage.Press(Qt::Key_I);
        stage.Press(Qt::Key_Right);
        stage.Press(Qt::Key_O);
        stage.Press(Qt::Key_Plus);
        QCOMPARE(stage.Status(), "Saved Clip 1 from one.mp4");
        stage.Press(Qt::Key_E);
        QCOMPARE(stage.Status(), "MOVANE_FFMPEG_BIN is not executable: /nonexistent/ffmpeg");
        QVERIFY(!stage.Exports().IsRunning());
    }

    void AnExportWhoseJobThrowsIsToldAndTheNextOneWorks()
    {
        // A link to itself is an error for whoever looks for the exported file.
        ExportStage stage({.OutputCommand = "ln -s \"$out\" \"$out\""});
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(stage->Status().startsWith("Clip export failed: "));
        QTRY_VERIFY(!stage->Exports().IsRunning());
        QVERIFY(stage.IsBarEmpty());

        std::filesystem::remove(stage.Output());
        FakeFfmpeg(stage.Folder.Path());
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
    }

    // -- The file manager

    void OpenFolderStartsTheFileManagerWithoutTheEncodersVariables_data()
    {
        QTest::addColumn<QByteArray>("Name");
        QTest::newRow("plain") << QByteArray("recordings");
        QTest::newRow("signs") << QByteArray("a b#c?d%20é\n");
        QTest::newRow("no UTF-8") << QByteArray("lat\xE9");
    }
    void OpenFolderStartsTheFileManagerWithoutTheEncodersVariables()
    {
        QFETCH(QByteArray, Name);
        const std::filesystem::path recordings = Environment().StateFolder() / Name.toStdString();
        const EnvironmentGuard folder("MOVANE_RECORDINGS_DIR", recordings.native());
        const FakeOpener opener;
        ExportStage stage;
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        const EnvironmentGuard socket("MOVANE_EXPORT_SOCKET", "/nonexistent/socket");
        stage->Click(*stage->Main().findChild<NotificationCard*>()->findChild<QPushButton*>());
        QTRY_COMPARE(opener.Lines().size(), 2);
        const QByteArray url = opener.Lines()[0];
        QVERIFY2(url.startsWith("file:///"), url.constData());
        QCOMPARE(QByteArray::fromPercentEncoding(url.mid(7)).toStdString(),
                 (recordings / "clips").native());
        QCOMPARE(opener.Lines()[1], "nonenone.");
    }

    // -- Stopping

    void StopEndsTheExportAndTheNextOneFollows_data()
    {
        QTest::addColumn<bool>("bByKey");
        QTest::newRow("button") << false;
        QTest::newRow("key") << true;
    }
    void StopEndsTheExportAndTheNextOneFollows()
    {
        using enum ExportState;
        QFETCH(bool, bByKey);
        QueueStage stage;
        if (bByKey)
        {
            stage->Press(Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
        }
        else
        {
            stage->Click(stage.BarButton("Stop"));
        }
        stage.AwaitRuns(2);
        QCOMPARE(stage.States(), std::vector({None, Running, Queued}));
        QVERIFY(!stage.HasOutput());
        stage.LetItEnd();
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.States(), std::vector({None, Done, Done}));
        QVERIFY(stage.IsBarEmpty());
    }

    void StopAllEndsTheWholeQueue_data() { StopEndsTheExportAndTheNextOneFollows_data(); }
    void StopAllEndsTheWholeQueue()
    {
        using enum ExportState;
        QFETCH(bool, bByKey);
        QueueStage stage;
        if (bByKey)
        {
            stage->Press(Qt::Key_E, Qt::ControlModifier | Qt::AltModifier);
        }
        else
        {
            stage->Click(stage.BarButton("Stop all"));
        }
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.States(), std::vector({None, None, None}));
        QVERIFY(std::filesystem::is_empty(Environment().ClipsFolder()));
        QVERIFY(stage.IsBarEmpty());
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{1});
    }

    // It was the user's wish.
    void AStopIsToldOnceAndNotAsAnError()
    {
        SlowStage stage;
        QList<Movane::Notification> told;
        QObject::connect(&stage->Running, &Session::NotificationQueued, &stage->Main(),
                         [&](const Movane::Notification& Told) { told.append(Told); });
        stage.Begin();
        stage->Acts.Run(ActionId::StopExport);
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(told.size(), 1);
        QCOMPARE(told.first().Type, Movane::NotificationInfo);
        QCOMPARE(stage.StateOf(0), ExportState::None);
    }

    void ARowSaysThatItsExportWasStopped()
    {
        SlowStage stage;
        const auto stop = [&]
        {
            stage->Press(Qt::Key_E);
            QTRY_VERIFY(stage->Exports().Running() != nullptr);
            stage->Acts.StopExport();
            QTRY_VERIFY(!stage.IsRunning());
        };
        stop();
        QCOMPARE(stage.NameText(0, Qt::AccessibleTextRole), "Intro, export stopped");
        stage.LetItFail();
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(!stage.IsRunning());
        stop();
        QCOMPARE(stage.NameText(0, Qt::AccessibleTextRole),
                 "Intro, Clip export failed: disk full (last export stopped)");
        stage.LetItEnd();
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.NameText(0, Qt::AccessibleTextRole), "Intro, exported");
        stage->Panel().Clips[0].EndSec = 1.5;
        stop();
        QCOMPARE(stage.StateOf(0), ExportState::Outdated);
        QCOMPARE(stage.NameText(0, Qt::ToolTipRole),
                 "<span>Intro<br>changed since its export (last export stopped)</span>");
    }

    void TheButtonKeepsTheKeyboardFromOneExportToTheNext()
    {
        QueueStage stage;
        QToolButton& stop = stage.BarButton("Stop");
        stop.setFocus();
        stage.LetItEnd();
        stage.AwaitRuns(2);
        QCoreApplication::processEvents();
        QVERIFY(stop.hasFocus());
        stage->Acts.Run(ActionId::StopAllExports);
        QTRY_VERIFY(!stage.IsRunning());
    }

    void AStopInTheFirstMomentCountsToo()
    {
        SlowStage stage;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_E);
        stage->Running.Frame();
        stage->Acts.Run(ActionId::StopExport); // the encoder may not be there yet
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(stage->Status().startsWith("Clip export failed"));
        QVERIFY(!stage.HasOutput());
        // Also before the panel was asked.
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_E);
        stage->Acts.StopExport();
        QTRY_VERIFY(!stage.IsRunning());
        QCOMPARE(stage.StateOf(0), ExportState::None);
    }

    void AnExportAfterAStoppedOneSucceeds()
    {
        SlowStage stage;
        stage.Begin();
        stage->Acts.Run(ActionId::StopExport);
        QTRY_VERIFY(!stage.IsRunning());
        stage.LetItEnd();
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        QVERIFY(stage.HasOutput());
    }

    void TheEndOfTheProgramStopsTheExport()
    {
        SlowStage stage;
        stage.Begin();
        stage.pStage.reset();
        QVERIFY(!stage.HasOutput());
    }

    // -- Closing

    void ClosingAsksAndWaits()
    {
        SlowStage stage;
        stage.Begin();
        QSignalSpy closed(&stage->Main(), &VideoWindow::Closed);
        QMessageBox* const question = stage.Close();
        QVERIFY(question != nullptr);
        QVERIFY(stage->Main().isVisible());
        stage->Click(*stage.ButtonOf(question, "Wait, then close"));
        QVERIFY(stage.IsRunning());
        QCOMPARE(closed.count(), 0);
        stage.LetItEnd();
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(!stage->Main().isVisible());
        QVERIFY(stage.HasOutput());
    }

    void ClosingAsksAndStops()
    {
        SlowStage stage;
        stage.Begin();
        QSignalSpy closed(&stage->Main(), &VideoWindow::Closed);
        QMessageBox* const question = stage.Close();
        QVERIFY(question != nullptr);
        stage->Click(*stage.ButtonOf(question, "Stop and close"));
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(!stage.IsRunning());
        QVERIFY(!stage.HasOutput());
    }

    void ClosingAsksAndStays()
    {
        SlowStage stage;
        stage.Begin();
        QSignalSpy closed(&stage->Main(), &VideoWindow::Closed);
        QMessageBox* const question = stage.Close();
        QVERIFY(question != nullptr);
        stage->Click(*stage.ButtonOf(question, "Stay"));
        QVERIFY(stage.IsRunning());
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        QVERIFY(stage->Main().isVisible());
        QCOMPARE(closed.count(), 0);
    }

    void QuittingAsksToo()
    {
        SlowStage stage;
        stage.Begin();
        stage->Press(Qt::Key_Q, Qt::ControlModifier);
        QTRY_VERIFY(stage->Open<QMessageBox>() != nullptr);
        QVERIFY(stage->Main().isVisible());
        QVERIFY(stage.IsRunning());
    }

    void EscapeInTheQuestionStays()
    {
        SlowStage stage;
        stage.Begin();
        QMessageBox* const question = stage.Close();
        QVERIFY(question != nullptr);
        QTest::keyClick(question, Qt::Key_Escape);
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        QVERIFY(stage->Main().isVisible());
    }

    void TheQuestionGoesWhenTheExportEndsMeanwhile()
    {
        SlowStage stage;
        stage.Begin();
        QPointer<QMessageBox> question = stage.Close();
        QVERIFY(question != nullptr);
        QVERIFY(stage.Close() == question); // no second one
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        QTRY_VERIFY(question == nullptr);
        QVERIFY(stage->Main().isVisible());
        stage->Main().close();
        QVERIFY(!stage->Main().isVisible());
    }

    void AFailureWhileWaitingToCloseIsSeen()
    {
        SlowStage stage;
        stage.Begin();
        stage->Click(*stage.ButtonOf(stage.Close(), "Wait, then close"));
        const QLabel* const note = stage->Main().findChild<QLabel*>("closesAfterExport");
        QVERIFY(note != nullptr && note->isVisible());
        stage.LetItFail();
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(stage->Status().startsWith("Clip export failed"));
        QVERIFY(stage->Main().isVisible());
        QVERIFY(!note->isVisible());
        // The wish to close went with it.
        stage->Activate(stage->Main());
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(stage.IsRunning());
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(stage->Main().isVisible());
    }

    void StayTakesTheWaitingBack()
    {
        SlowStage stage;
        stage.Begin();
        stage->Click(*stage.ButtonOf(stage.Close(), "Wait, then close"));
        stage->Click(*stage.ButtonOf(stage.Close(), "Stay"));
        QVERIFY(!stage->Main().findChild<QLabel*>("closesAfterExport")->isVisible());
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(stage->Main().isVisible());
    }

    void TheQuestionTellsHowManyRunWaitAndAreNotExported()
    {
        QueueStage stage;
        stage->Save(0.0, 2.0, "Later");
        QMessageBox* const question = stage.Close();
        QVERIFY(question != nullptr);
        QCOMPARE(question->text(), "An export is running and 2 more wait.");
        QCOMPARE(question->informativeText(), "A file is finished only when its export ends. 1 "
                                              "other clip was not exported and will be lost.");
        QSignalSpy closed(&stage->Main(), &VideoWindow::Closed);
        stage->Click(*stage.ButtonOf(question, "Wait, then close"));
        stage.LetItEnd();
        stage.AwaitRuns(2);
        stage.LetItEnd();
        stage.AwaitRuns(3);
        QCOMPARE(closed.count(), 0);
        stage.LetItEnd();
        QTRY_COMPARE(closed.count(), 1);
    }

    void StopAndCloseEndsTheWholeQueue()
    {
        QueueStage stage;
        QSignalSpy closed(&stage->Main(), &VideoWindow::Closed);
        stage->Click(*stage.ButtonOf(stage.Close(), "Stop and close"));
        QTRY_COMPARE(closed.count(), 1);
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{1});
        QVERIFY(std::filesystem::is_empty(Environment().ClipsFolder()));
    }

    void AFailureInTheQueueKeepsTheWindowThatWaits()
    {
        QueueStage stage;
        stage->Click(*stage.ButtonOf(stage.Close(), "Wait, then close"));
        stage.LetItFail();
        stage.LetItEnd();
        stage.LetItEnd();
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(stage->Main().isVisible());
    }

    // -- Clips that would be lost

    void ClosingAsksForClipsThatWereNotExported_data()
    {
        QTest::addColumn<QString>("How");
        for (const char* const how : {"Ctrl+Q", "Ctrl+W", "window"})
        {
            QTest::newRow(how) << how;
        }
    }
    void ClosingAsksForClipsThatWereNotExported()
    {
        QFETCH(QString, How);
        ExportStage stage;
        stage->Save(0.0, 1.0, "B");
        stage->Save(2.0, 3.0, "C");
        QSignalSpy closed(&stage->Main(), &VideoWindow::Closed);
        const auto ask = [&]
        {
            if (How == "window")
            {
                stage->Main().close();
            }
            else
            {
                stage->Press(QKeySequence(How));
            }
        };
        ask();
        QTRY_VERIFY(stage->Open<QMessageBox>() != nullptr);
        QMessageBox* const question = stage->Open<QMessageBox>();
        QCOMPARE(question->text(), "3 clips were not exported and will be lost: close anyway?");
        QCOMPARE(question->defaultButton()->text(), "Stay");
        QVERIFY(stage->Main().isVisible());
        QTest::keyClick(question, Qt::Key_Escape);
        QTRY_VERIFY(stage->Open<QMessageBox>() == nullptr);
        QVERIFY(stage->Main().isVisible());
        QCOMPARE(closed.count(), 0);

        stage->Activate(stage->Main());
        ask();
        QTRY_VERIFY(stage->Open<QMessageBox>() != nullptr);
        stage->Click(*SlowStage::ButtonOf(stage->Open<QMessageBox>(), "Close"));
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(!stage->Main().isVisible());
    }

    void ClosingDoesNotAskWithoutClipsOrWhenAllWereExported()
    {
        ExportStage stage;
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        stage->Main().close();
        QVERIFY(!stage->Main().isVisible());
        QVERIFY(stage->Open<QMessageBox>() == nullptr);

        DesktopStage empty;
        empty.Main().close();
        QVERIFY(!empty.Main().isVisible());
    }

    void AClipThatWasRenamedAfterItsExportCountsAsNotExported()
    {
        ExportStage stage;
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        stage->Press(Qt::Key_F2);
        QTest::keyClicks(&stage->NameField(), "Outro");
        stage->Press(Qt::Key_Return);
        stage->Main().close();
        QMessageBox* const question = stage->Open<QMessageBox>();
        QVERIFY(question != nullptr);
        QCOMPARE(question->text(), "1 clip was not exported and will be lost: close anyway?");
    }

    void AFailedExportIsNoExport()
    {
        ExportStage stage({.ExitCode = 1, .ErrorText = "disk full\n"});
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Clip export failed: disk full");
        stage->Main().close();
        QVERIFY(stage->Open<QMessageBox>() != nullptr);
        QVERIFY(stage->Main().isVisible());
    }

    void OnlyTheClipThatWasExportedCounts()
    {
        SlowStage stage;
        stage.Begin();
        stage->Save(0.0, 1.0, "Later"); // selects another clip while the first one is exported
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        QMessageBox* const question = stage.Close();
        QVERIFY(question != nullptr);
        QCOMPARE(question->text(), "1 clip was not exported and will be lost: close anyway?");
    }

    void TheQuestionOfARunningExportTellsOfTheOtherClipsAndIsTheOnlyOne_data()
    {
        QTest::addColumn<QString>("Answer");
        QTest::newRow("wait") << "Wait, then close";
        QTest::newRow("stop") << "Stop and close";
    }
    void TheQuestionOfARunningExportTellsOfTheOtherClipsAndIsTheOnlyOne()
    {
        QFETCH(QString, Answer);
        SlowStage stage;
        stage->Save(2.0, 3.0, "Other");
        stage->Press(Qt::Key_Up, Qt::AltModifier);
        stage.Begin();
        QSignalSpy closed(&stage->Main(), &VideoWindow::Closed);
        QMessageBox* const question = stage.Close();
        QCOMPARE(question->text(), "An export is running.");
        QVERIFY(question->informativeText().endsWith(
            "1 other clip was not exported and will be lost."));
        stage->Click(*stage.ButtonOf(question, Answer));
        stage.LetItEnd();
        QTRY_COMPARE(closed.count(), 1);
        QVERIFY(stage->Open<QMessageBox>() == nullptr);
    }

    void AClipThatWasMadeWhileWaitingIsAskedFor()
    {
        SlowStage stage;
        stage.Begin();
        stage->Click(*stage.ButtonOf(stage.Close(), "Wait, then close"));
        stage->Save(0.0, 1.0, "New");
        stage.LetItEnd();
        QTRY_VERIFY(stage->Open<QMessageBox>() != nullptr);
        QCOMPARE(stage->Open<QMessageBox>()->text(),
                 "1 clip was not exported and will be lost: close anyway?");
        QVERIFY(stage->Main().isVisible());
    }

    void ClosingAFurtherWindowLosesNoClipAndDoesNotAsk()
    {
        ExportStage stage;
        stage->Press(Qt::Key_N, Qt::ControlModifier);
        QCOMPARE(stage->Program.Windows().size(), std::size_t{2});
        stage->Program.Windows().at(1)->close();
        QTRY_COMPARE(stage->Program.Windows().size(), std::size_t{1});
        QVERIFY(stage->Open<QMessageBox>() == nullptr);
        QCOMPARE(stage->Clips().size(), std::size_t{1});
    }
};

int main(int argc, char** argv)
{
    return RunDesktopTests<DesktopExportTest>(argc, argv);
}
#include "desktop_export_test.moc"
