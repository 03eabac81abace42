// Exports in the application: progress, the end of one, stopping it, and closing while one runs.

#include "desktop/encodercheck.h"
#include "desktop/exportbar.h"
#include "desktop/notificationcard.h"
#include "desktop/openfolder.h"
#include "desktopstage.h"
#include "fakes/fakeffmpeg.h"
#include "fakes/samplevideo.h"
#include "process/workerchildren.h"

#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>

#include <algorithm>
#include <csignal>

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
    QToolButton& StopButton() { return *Bar().findChild<QToolButton*>(); }
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

/// An ffmpeg that begins its file and ends only when it is told to, by a line in a pipe beside it.
struct SlowStage : ExportStage
{
    explicit SlowStage(const std::string& LastCommand = ":")
        : ExportStage(
              {.OutputCommand = "printf begun > \"$out\"\nread line < \"$0.go\"\n" + LastCommand})
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
    void LetItEnd() { QCOMPARE(write(Pipe, "\n", 1), ssize_t{1}); }
    bool IsRunning() { return pStage->Running.Exports().IsRunning(); }

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
    int Pipe = -1;
};

bool IsAnythingRunning()
{
    WorkerChildren children;
    children.Collect();
    return children.IsRunning();
}

/// In the file manager's place: it writes down what it gets, and the encoder's variables.
class FakeFileManager
{
public:
    FakeFileManager()
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

/// Changes the current folder until the end of the guard.
class CurrentFolderGuard
{
public:
    explicit CurrentFolderGuard(const std::filesystem::path& Folder)
    {
        std::filesystem::current_path(Folder);
    }
    ~CurrentFolderGuard() { std::filesystem::current_path(Earlier); }
    CurrentFolderGuard(const CurrentFolderGuard&) = delete;
    CurrentFolderGuard& operator=(const CurrentFolderGuard&) = delete;

private:
    std::filesystem::path Earlier = std::filesystem::current_path();
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
            QVERIFY(!stage->Running.Exports().IsRunning());
        }
        QCOMPARE(stage.Ffmpeg.Runs(), std::size_t{3});
    }

    void TheBarIsThereWhileAnExportRuns()
    {
        SlowStage stage;
        QVERIFY(!stage.Bar().isVisible());
        stage.Begin();
        QTRY_VERIFY(stage.Bar().isVisible());
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        QVERIFY(!stage.Bar().isVisible());
        QVERIFY(stage.HasOutput());
    }

    void TheRunningTimeStandsInTheBarBeforeThereIsAPercent()
    {
        SlowStage stage;
        stage.Begin();
        const QProgressBar& bar = *stage.Bar().findChild<QProgressBar*>();
        QTRY_COMPARE(bar.text(), "0:01");
        QCOMPARE(bar.toolTip(), "0:01");
    }

    void PercentAndTimesStandInTheBar()
    {
        QAction stop;
        ExportBar bar(&stop);
        const QProgressBar& shown = *bar.findChild<QProgressBar*>();
        bar.ShowProgress({.Phase = ExportPhase::Encode, .Fraction = 0.42, .ElapsedSec = 5400.0});
        QCOMPARE(shown.value(), 42);
        QCOMPARE(shown.toolTip(), "1:30:00");
        bar.ShowProgress({.Phase = ExportPhase::Encode, .ElapsedSec = 3.0, .SecondsLeft = 64.2});
        QCOMPARE(shown.toolTip(), "0:03, 1:04 left");
    }

    void ASecondExportWaitsForTheFirst()
    {
        SlowStage stage;
        stage.Begin();
        stage->Press(Qt::Key_E);
        QCOMPARE(stage->Running.Exports().WaitingCount(), std::size_t{1});
        stage.LetItEnd();
        QTRY_COMPARE(stage->Running.Exports().WaitingCount(), std::size_t{0});
        stage.LetItEnd();
        QTRY_COMPARE(stage->Status(), "Exported clip_00001_Intro.mkv");
        QVERIFY(stage.HasOutput());
        QCOMPARE(TextsOfCards(*stage.pStage), QStringList({"Exported 2 of 2 clips."}));
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

    // -- Failures

    void AFailingExportShowsItsFirstLine()
    {
        ExportStage stage({.ExitCode = 1, .ErrorText = "disk full\nmore\n"});
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Clip export failed: disk full");
        auto* const card = stage->Main().findChild<NotificationCard*>();
        QVERIFY(card != nullptr);
        QVERIFY(card->findChild<QPushButton*>() == nullptr);
        QVERIFY(!stage.Bar().isVisible());
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
        QTRY_VERIFY_WITH_TIMEOUT(!stage.Running.Exports().IsRunning(), stage.DeadlineMs);
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
        QVERIFY(!stage.Running.Exports().IsRunning());
    }

    void WithoutAnEncoderTheInstallCommandIsTold()
    {
        const TempFolder empty;
        const std::vector<std::string> folders = {empty.Path().native()};
        QVERIFY(EncoderProblem({}, folders).find("sudo apt install ffmpeg") != std::string::npos);
        const FakeFfmpeg ffmpeg(empty.Path());
        QCOMPARE(EncoderProblem({}, folders), std::string());
        QCOMPARE(EncoderProblem(ffmpeg.Path(), {}), std::string());
        QVERIFY(!EncoderProblem(folders.front(), folders).empty()); // a folder is no program
    }

    void TheEncoderIsLookedForWhereAnExportLooks_data()
    {
        QTest::addColumn<QByteArray>("Path");
        QTest::addColumn<QList<QByteArray>>("Wanted");
        QTest::newRow("none") << QByteArray("") << QList<QByteArray>{""};
        QTest::newRow("one") << QByteArray("/a") << QList<QByteArray>{"/a"};
        QTest::newRow("empty entries")
            << QByteArray(":/a::b:") << QList<QByteArray>{"", "/a", "", "b", ""};
        QTest::newRow("no UTF-8") << QByteArray("/lat\xE9:/a")
                                  << QList<QByteArray>{"/lat\xE9", "/a"};
    }
    void TheEncoderIsLookedForWhereAnExportLooks()
    {
        QFETCH(QByteArray, Path);
        QFETCH(QList<QByteArray>, Wanted);
        Wanted << "/usr/bin"
               << "/usr/sbin";
        QList<QByteArray> folders;
        for (const std::string& folder : EncoderFolders(Path.toStdString()))
        {
            folders.append(QByteArray::fromStdString(folder));
        }
        QCOMPARE(folders, Wanted);
    }

    void AnEncoderInTheCurrentFolderOrUnderAnyNameIsNoProblem()
    {
        const TempFolder folder;
        const std::filesystem::path latin = folder.Path() / "lat\xE9";
        std::filesystem::create_directory(latin);
        const FakeFfmpeg ffmpeg(latin);
        QCOMPARE(EncoderProblem({}, {latin.native()}), std::string());
        QCOMPARE(EncoderProblem(" \t" + ffmpeg.Path() + "\r\n", {}), std::string());
        QVERIFY(!EncoderProblem('\v' + ffmpeg.Path(), {}).empty()); // a part of the name
        QVERIFY(!EncoderProblem({}, {""}).empty());
        const CurrentFolderGuard current(latin);
        QCOMPARE(EncoderProblem({}, {""}), std::string());
    }

    void AnExportWhoseJobThrowsIsToldAndTheNextOneWorks()
    {
        // A link to itself is an error for whoever looks for the exported file.
        ExportStage stage({.OutputCommand = "ln -s \"$out\" \"$out\""});
        stage->Press(Qt::Key_E);
        QTRY_VERIFY(stage->Status().startsWith("Clip export failed: "));
        QVERIFY(!stage->Running.Exports().IsRunning());
        QVERIFY(!stage.Bar().isVisible());

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
        const FakeFileManager manager;
        ExportStage stage;
        const EnvironmentGuard socket("MOVANE_EXPORT_SOCKET", "/nonexistent/export.socket");
        stage->Press(Qt::Key_E);
        QTRY_COMPARE(stage->Status(), "Exported clip_00000_Intro.mkv");
        stage->Click(*stage->Main().findChild<NotificationCard*>()->findChild<QPushButton*>());
        QTRY_COMPARE(manager.Lines().size(), 2);
        const QByteArray url = manager.Lines()[0];
        QVERIFY2(url.startsWith("file:///"), url.constData());
        QCOMPARE(QByteArray::fromPercentEncoding(url.mid(7)).toStdString(),
                 (recordings / "clips").native());
        QCOMPARE(manager.Lines()[1], "nonenone.");
    }

    // -- Stopping

    void StopEndsTheExportAndRemovesItsFile_data()
    {
        QTest::addColumn<bool>("bByKey");
        QTest::newRow("button") << false;
        QTest::newRow("key") << true;
    }
    void StopEndsTheExportAndRemovesItsFile()
    {
        QFETCH(bool, bByKey);
        SlowStage stage;
        stage.Begin();
        if (bByKey)
        {
            stage->Press(Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
        }
        else
        {
            stage->Click(stage.StopButton());
        }
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(stage->Status().startsWith("Clip export failed"));
        QVERIFY(!stage.HasOutput());
        QTRY_VERIFY(!stage.Bar().isVisible());
        QVERIFY(!IsAnythingRunning());
    }

    void AStopInTheFirstMomentCountsToo()
    {
        SlowStage stage;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_E);
        stage->Acts.StopExport(); // the encoder may not be there yet
        QTRY_VERIFY(!stage.IsRunning());
        QVERIFY(stage->Status().startsWith("Clip export failed"));
        QVERIFY(!stage.HasOutput());
    }

    void AnExportAfterAStoppedOneSucceeds()
    {
        SlowStage stage;
        stage.Begin();
        stage->Acts.StopExport();
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
        QVERIFY(!IsAnythingRunning());
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
        WorkerChildren encoder;
        encoder.Collect();
        encoder.Signal(SIGTERM); // from outside: it fails
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
