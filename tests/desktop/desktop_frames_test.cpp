// The rule of marks through the real window, with keys: what is seen at I and at O is what the file begins and
// ends with.

#include "desktop/desktopstage.h"
#include "support/filmnumbers.h"
#include "support/numberedfilms.h"

#include "desktop/timeline/timelinelayout.h"

#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <numeric>
#include <string>
#include <vector>

class DesktopFramesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { Environment().CleanFolders(); }

    void WhatIsSeenAtInAndOutIsWhatIsExported_data()
    {
        QTest::addColumn<QString>("Rate");
        QTest::addColumn<QString>("Container");
        QTest::newRow("MP4") << "30000/1001"
                             << "mp4";
        QTest::newRow("MOV") << "jitter"
                             << "mov";
        QTest::newRow("MKV") << "24000/1001"
                             << "mkv";
        QTest::newRow("WebM") << "60000/1001"
                              << "webm";
        QTest::newRow("TS") << "25"
                            << "ts";
    }
    void WhatIsSeenAtInAndOutIsWhatIsExported()
    {
        QFETCH(const QString, Rate);
        QFETCH(const QString, Container);
        DesktopStage stage;
        QVERIFY(stage.OpenFile(NumberedFilm(Rate.toStdString(), Container.toStdString())));
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        qInfo("seed %u", seed);

        // To a place in the first half, and from there a few frames by key.
        stage.Click(stage.Main().Pane().Timeline(),
                    stage.RulerPoint(stage.Main(), stage.Document().Timeline().DurationSec() *
                                                       random.bounded(0.5)));
        Step(stage, Qt::Key_Period, 1 + random.bounded(4));
        const int first = ShownNumber(stage);
        stage.Press(Qt::Key_I);
        Step(stage, Qt::Key_Period, 7 + random.bounded(8));
        Step(stage, Qt::Key_Comma, 1 + random.bounded(3));
        const int last = ShownNumber(stage);
        stage.Press(Qt::Key_O);
        QVERIFY(last - first >= 4);
        QCOMPARE(stage.LabelText("Frame").simplified(),
                 QString("Frame %1, range %2").arg(last).arg(last - first + 1));
        stage.Press(Qt::Key_Plus);
        stage.Press(Qt::Key_E);
        QTRY_VERIFY_WITH_TIMEOUT(stage.Status().startsWith("Exported "), DesktopStage::DeadlineMs);

        std::vector<int> expected(static_cast<std::size_t>(last - first + 1));
        std::iota(expected.begin(), expected.end(), first);
        const std::string name = stage.Status().mid(QString("Exported ").size()).toStdString();
        QCOMPARE(NumbersIn((Environment().ClipsFolder() / name).native()), expected);

        stage.Press(Qt::Key_O, Qt::ShiftModifier);
        QTRY_COMPARE(ShownNumber(stage), last);
        stage.Press(Qt::Key_I, Qt::ShiftModifier);
        QTRY_COMPARE(ShownNumber(stage), first);
    }

    void EveryStepChangesThePictureToItsNeighbour()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(NumberedFilm(IrregularRate, "mp4")));
        for (int number = 1; number < 20; ++number)
        {
            stage.Press(Qt::Key_Period);
            QTRY_COMPARE(ShownNumber(stage), number);
        }
        for (int number = 18; number >= 0; --number)
        {
            stage.Press(Qt::Key_Comma);
            QTRY_COMPARE(ShownNumber(stage), number);
        }
    }

    void SecondsForwardAndBackLeadHome()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(NumberedFilm("30000/1001", "mp4")));
        Step(stage, Qt::Key_Period, 5);
        for (int i = 1; i <= 2; ++i)
        {
            stage.Press(Qt::Key_Right);
            QTRY_COMPARE(ShownNumber(stage), 5 + 30 * i);
        }
        stage.Press(Qt::Key_Left);
        stage.Press(Qt::Key_Left);
        QTRY_COMPARE(ShownNumber(stage), 5);
    }

    void AfterPlayingTheFrameThatIsSeenIsMarked_data()
    {
        QTest::addColumn<int>("PlayKey");
        QTest::newRow("forward") << int(Qt::Key_L);
        QTest::newRow("backward") << int(Qt::Key_J);
    }
    void AfterPlayingTheFrameThatIsSeenIsMarked()
    {
        QFETCH(const int, PlayKey);
        DesktopStage stage;
        QVERIFY(stage.OpenFile(NumberedFilm("24000/1001", "ts")));
        stage.GoTo(2.0);
        const double fromSec = stage.NowSec();
        QTest::keyClick(QApplication::focusWidget(), static_cast<Qt::Key>(PlayKey));
        QTRY_VERIFY(std::abs(stage.NowSec() - fromSec) > 0.3);
        stage.Press(Qt::Key_K);
        QTRY_COMPARE(ShownNumber(stage), NumberAtPlayhead(stage));
        const int seen = ShownNumber(stage);
        stage.Press(Qt::Key_I);
        FrameTimes& frames = *stage.Document().Player().Frames();
        const auto place = frames.FirstOfClip(*stage.Document().PendingInSec());
        QCOMPARE(frames.NumberAt(frames.UsOf(place->Ticks)), std::optional<std::int64_t>(seen));
        stage.Press(Qt::Key_Period);
        QTRY_COMPARE(ShownNumber(stage), seen + 1);
    }

    void WhilePlayingTheFrameThatIsSeenIsMarked()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(NumberedFilm("24", "mp4")));
        FrameTimes& frames = *stage.Document().Player().Frames();
        QTRY_VERIFY(frames.Count());
        stage.Acts.SetSpeed(0.5);
        stage.Document().Play();
        for (int i = 1; i <= 10; ++i)
        {
            QTRY_VERIFY(ShownNumber(stage) >= 4 * i);
            // No event is taken between the look and the key.
            const int seen = ShownNumber(stage);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_I);
            const auto place = frames.FirstOfClip(*stage.Document().PendingInSec());
            QCOMPARE(frames.NumberAt(frames.UsOf(place->Ticks)), std::optional<std::int64_t>(seen));
        }
        stage.Press(Qt::Key_K);
    }

    void ADraggedHandleStandsOnAFrameAndShowsIt()
    {
        DesktopStage stage;
        QVERIFY(stage.OpenFile(NumberedFilm("30000/1001", "mp4")));
        stage.GoTo(0.5);
        stage.Press(Qt::Key_I);
        stage.GoTo(2.0);
        stage.Press(Qt::Key_O);
        TimelineWidget& timeline = stage.Main().Pane().Timeline();
        FrameTimes& frames = *stage.Document().Player().Frames();
        QTRY_VERIFY(frames.Count());
        const MvTimeControl& marked = stage.Document().Timeline();
        const QPoint from =
            GripRect(timeline.Rows(), timeline.Scale(), RangeEnd::Out, marked.RangeEndSec())
                .center()
                .toPoint();
        const QPoint to = from + QPoint(131, 0);
        QTest::mousePress(&timeline, Qt::LeftButton, {}, from);
        QMouseEvent move(QEvent::MouseMove, to, timeline.mapToGlobal(to), Qt::NoButton,
                         Qt::LeftButton, {});
        QCoreApplication::sendEvent(&timeline, &move);
        const int last = NumberOfLast(stage, *timeline.Picture().Range);
        QVERIFY(last > 60);
        QTRY_COMPARE(ShownNumber(stage), last);
        QTest::mouseRelease(&timeline, Qt::LeftButton, {}, to);
        QCOMPARE(NumberOfLast(stage, {marked.RangeStartSec(), marked.RangeEndSec()}), last);
        // On the grid: what the same frames give when they are marked by key.
        const double outSec = marked.RangeEndSec();
        stage.GoTo(outSec - 0.01);
        stage.Press(Qt::Key_O);
        QCOMPARE(marked.RangeEndSec(), outSec);
    }

private:
    static int ShownNumber(DesktopStage& Stage) { return Stage.ShownFrame(Stage.Main()); }
    static void Step(DesktopStage& Stage, Qt::Key Key, int Count)
    {
        const int from = NumberAtPlayhead(Stage);
        for (int i = 0; i < Count; ++i)
        {
            Stage.Press(Key);
        }
        QTRY_COMPARE(ShownNumber(Stage), Key == Qt::Key_Comma ? from - Count : from + Count);
    }
    static int NumberAtPlayhead(DesktopStage& Stage)
    {
        FrameTimes& frames = *Stage.Document().Player().Frames();
        return static_cast<int>(frames.NumberAt(std::llround(Stage.NowSec() * 1e6)).value_or(-1));
    }
    static int NumberOfLast(DesktopStage& Stage, const TimelineRange& Range)
    {
        FrameTimes& frames = *Stage.Document().Player().Frames();
        const auto last = frames.LastOfClip(Range.StartSec, Range.EndSec);
        return static_cast<int>(frames.NumberAt(frames.UsOf(last->Ticks)).value_or(-1));
    }
};

int main(int ArgumentCount, char** Arguments)
{
    return RunDesktopTests<DesktopFramesTest>(ArgumentCount, Arguments);
}

#include "desktop_frames_test.moc"
