#include "desktop/look/theme.h"
#include "desktop/timeline/timelineaccessible.h"
#include "desktop/timeline/timelinepainter.h"
#include "desktop/timeline/timelinewidget.h"
#include "host/mvtheme.h"
#include "support/extremes.h"
#include "support/touchedmemory.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QSignalSpy>
#include <QTest>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace
{
/// 20 seconds at 25 frames a second, as wide as 50 pixels a second: whole seconds are whole pixels.
TimelineState TwentySeconds()
{
    TimelineState state;
    state.DurationSec = 20.0;
    state.FramesPerSecond = 25.0;
    state.PlayheadSec = 1.0;
    return state;
}

TimelineState WithRange(double StartSec, double EndSec)
{
    TimelineState state = TwentySeconds();
    state.bHasRange = true;
    state.RangeStartSec = StartSec;
    state.RangeEndSec = EndSec;
    return state;
}

TimelineClip Clip(int Row, double StartSec, double EndSec)
{
    return {Row, QString("Clip %1").arg(Row), Qt::green, StartSec, EndSec};
}

TimelineState WithClips(const QList<TimelineClip>& Clips)
{
    TimelineState state = TwentySeconds();
    state.Clips = Clips;
    return state;
}

std::vector<double> SecsOf(const QSignalSpy& Spy)
{
    std::vector<double> secs;
    for (const QList<QVariant>& arguments : Spy)
    {
        secs.push_back(arguments.at(0).toDouble());
    }
    return secs;
}

bool IsNear(double A, double B)
{
    return std::abs(A - B) < 1e-9;
}

/// Counts what a widget is asked to paint.
class PaintCount : public QObject
{
public:
    explicit PaintCount(QWidget& Watched) { Watched.installEventFilter(this); }
    int Count = 0;

protected:
    bool eventFilter(QObject* /*pWatched*/, QEvent* pEvent) override
    {
        Count += pEvent->type() == QEvent::Paint ? 1 : 0;
        return false;
    }
};

QImage Picture(TimelineWidget& Timeline, double Ratio)
{
    QImage image((QSizeF(Timeline.size()) * Ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(Ratio);
    Timeline.render(&image);
    return image;
}

/// The interface that a screen reader gets.
QAccessibleInterface* InterfaceOf(TimelineWidget& Timeline)
{
    return QAccessible::queryAccessibleInterface(&Timeline);
}

} // namespace

class DesktopTimelineTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TimelineWidget> pTimeline;
    std::unique_ptr<QSignalSpy> pSeeks;
    std::unique_ptr<QSignalSpy> pEdits;
    std::unique_ptr<QSignalSpy> pPicks;
    std::unique_ptr<QSignalSpy> pOpens;

    int PxOf(double Sec) const { return qRound(pTimeline->Scale().PxOf(Sec)); }
    QPoint On(const QRectF& Row, double Sec) const { return {PxOf(Sec), qRound(Row.center().y())}; }
    QPoint OnRuler(double Sec) const { return On(pTimeline->Rows().Ruler, Sec); }
    QPoint OnLane(int Lane, double Sec) const { return On(pTimeline->Rows().Lane(Lane), Sec); }
    QPoint OnGrip(RangeEnd End, double Sec) const
    {
        return GripRect(pTimeline->Rows(), pTimeline->Scale(), End, Sec).center().toPoint();
    }
    void Press(QPoint Point, Qt::MouseButton Button = Qt::LeftButton)
    {
        QTest::mousePress(pTimeline.get(), Button, Qt::NoModifier, Point);
    }
    // Sent straight to the widget: QTest::mouseMove also moves the real pointer, which a small screen
    // stops.
    void Move(QPoint Point)
    {
        QMouseEvent event(QEvent::MouseMove, Point, pTimeline->mapToGlobal(Point), Qt::NoButton,
                          Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(pTimeline.get(), &event);
    }
    void Release(QPoint Point, Qt::MouseButton Button = Qt::LeftButton)
    {
        QTest::mouseRelease(pTimeline.get(), Button, Qt::NoModifier, Point);
    }
    void Click(QPoint Point)
    {
        QTest::mouseClick(pTimeline.get(), Qt::LeftButton, Qt::NoModifier, Point);
    }
    void DragFromTo(QPoint From, QPoint To)
    {
        Press(From);
        Move((From + To) / 2);
        Move(To);
        Release(To);
    }
    void Wheel(QPointF Point, QPoint Turn, Qt::KeyboardModifiers Modifiers = Qt::NoModifier)
    {
        QWheelEvent event(Point, pTimeline->mapToGlobal(Point), QPoint(), Turn, Qt::NoButton,
                          Modifiers, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(pTimeline.get(), &event);
        QVERIFY(event.isAccepted());
    }
    void SetPlayhead(double Sec)
    {
        TimelineState state = pTimeline->State();
        state.PlayheadSec = Sec;
        pTimeline->SetState(state);
    }

private Q_SLOTS:
    void init()
    {
        pTimeline = std::make_unique<TimelineWidget>();
        pTimeline->resize(1000 + 2 * Theme::ScaledPx(12), HeightOfLanes(3));
        pTimeline->show();
        QVERIFY(QTest::qWaitForWindowExposed(pTimeline.get()));
        pTimeline->SetState(TwentySeconds());
        pSeeks = std::make_unique<QSignalSpy>(pTimeline.get(), &TimelineWidget::SeekRequested);
        pEdits = std::make_unique<QSignalSpy>(pTimeline.get(), &TimelineWidget::RangeEdited);
        pPicks = std::make_unique<QSignalSpy>(pTimeline.get(), &TimelineWidget::ClipPicked);
        pOpens = std::make_unique<QSignalSpy>(pTimeline.get(), &TimelineWidget::ClipOpened);
    }

    void cleanup()
    {
        pTimeline.reset();
        MvTheme::SetTextScale(1.0);
        Theme::Apply();
    }

    // -- Seeking

    void AClickSeeksToItsTime()
    {
        Click(OnRuler(7.0));
        QCOMPARE(SecsOf(*pSeeks), std::vector<double>{7.0});
    }

    void TheMiddleOfTheWidgetIsTheMiddleOfTheSource()
    {
        Click(QPoint(pTimeline->width() / 2, pTimeline->height() - 2));
        QCOMPARE(SecsOf(*pSeeks), std::vector<double>{10.0});
    }

    void ADragSeeksAtEachStep()
    {
        DragFromTo(OnRuler(4.0), OnRuler(8.0));
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{4.0, 6.0, 8.0}));
    }

    void ADragThatStandsStillAsksOnce()
    {
        Press(OnRuler(4.0));
        Move(OnRuler(4.0));
        Release(OnRuler(4.0));
        QCOMPARE(pSeeks->count(), 1);
    }

    void TheHandHoldsThePlayheadWhileThePlayerIsBehind()
    {
        Press(OnRuler(4.0));
        Move(OnRuler(8.0));
        SetPlayhead(4.5);
        QCOMPARE(pTimeline->Picture().PlayheadSec, 8.0);
        Release(OnRuler(8.0));
        QCOMPARE(pTimeline->Picture().PlayheadSec, 4.5);
    }

    void APlaceBesideTheSourceSeeksToItsEnd()
    {
        Click(QPoint(0, 5));
        Click(QPoint(pTimeline->width() - 1, 5));
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{0.0, 20.0}));
    }

    void EscapeDuringASeekGoesBack()
    {
        Press(OnRuler(4.0));
        SetPlayhead(4.0);
        QTest::keyClick(pTimeline.get(), Qt::Key_Escape);
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{4.0, 1.0}));
        Move(OnRuler(8.0));
        Release(OnRuler(8.0));
        QCOMPARE(pSeeks->count(), 2);
    }

    void OtherButtonsDoNotSeek()
    {
        QTest::mouseClick(pTimeline.get(), Qt::RightButton, Qt::NoModifier, OnRuler(4.0));
        QTest::mouseClick(pTimeline.get(), Qt::MiddleButton, Qt::NoModifier, OnRuler(4.0));
        QCOMPARE(pSeeks->count(), 0);
    }

    // -- Range

    void AnEndIsDraggedAndReportedOnceAtRelease()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint in = OnGrip(RangeEnd::In, 5.0);
        Press(in);
        Move(in + QPoint(25, 0));
        Move(in + QPoint(50, 0));
        QCOMPARE(pEdits->count(), 0);
        Release(in + QPoint(50, 0));
        QCOMPARE(pEdits->count(), 1);
        QVERIFY(IsNear(pEdits->at(0).at(0).toDouble(), 6.0));
        QCOMPARE(pEdits->at(0).at(1).toDouble(), 10.0);
    }

    void ADraggedEndIsShownAndThePlayheadGoesBackAtRelease()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint out = OnGrip(RangeEnd::Out, 10.0);
        Press(out);
        Move(out + QPoint(50, 0));
        Move(out + QPoint(50, 0)); // stands still
        SetPlayhead(11.0);
        Move(out + QPoint(100, 0));
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{11.0, 12.0}));
        Release(out + QPoint(100, 0));
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{11.0, 12.0, 1.0}));
        QCOMPARE(pEdits->count(), 1);
    }

    void ADraggedEndGoesWhereTheRuleSays()
    {
        pTimeline->SetDragRule(
            [](const TimelineRange& Before, RangeEnd End, double HandSec)
            {
                const bool bIn = End == RangeEnd::In;
                const double sec = std::round(HandSec);
                return bIn ? TimelineDrag{{sec, Before.EndSec}, sec + 0.25}
                           : TimelineDrag{{Before.StartSec, sec}, sec - 0.25};
            });
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint in = OnGrip(RangeEnd::In, 5.0);
        DragFromTo(in, in + QPoint(53, 0)); // 6.06 s
        QCOMPARE(pEdits->at(0).at(0).toDouble(), 6.0);
        QCOMPARE(SecsOf(*pSeeks).back(), 1.0);
        const std::vector<double> seeks = SecsOf(*pSeeks);
        QVERIFY(std::ranges::find(seeks, 6.25) != seeks.end());
        const QPoint out = OnGrip(RangeEnd::Out, 10.0);
        DragFromTo(out, out + QPoint(47, 0));
        QCOMPARE(pEdits->at(1).at(1).toDouble(), 11.0);
        const std::vector<double> seeksOfOut = SecsOf(*pSeeks);
        QVERIFY(std::ranges::find(seeksOfOut, 10.75) != seeksOfOut.end());
    }

    void AGripThatWasOnlyPressedMovesNoPlayhead()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        Click(OnGrip(RangeEnd::In, 5.0));
        QCOMPARE(pSeeks->count(), 0);
    }

    void AMenuIsAskedForAtAFlagAlone()
    {
        TimelineState state = TwentySeconds();
        state.Markers = {{4.0, "A", Qt::red}, {8.0, "B", Qt::red}};
        pTimeline->SetState(state);
        QSignalSpy menus(pTimeline.get(), &TimelineWidget::MarkerMenuRequested);
        const auto ask = [&](QPoint Point)
        {
            QContextMenuEvent event(QContextMenuEvent::Mouse, Point, pTimeline->mapToGlobal(Point));
            QCoreApplication::sendEvent(pTimeline.get(), &event);
        };
        ask(OnRuler(8.0));
        QCOMPARE(menus.count(), 0);
        ask(FlagsIn(pTimeline->Picture()).at(1).Flag.center().toPoint());
        QCOMPARE(menus.count(), 1);
        QCOMPARE(menus.at(0).at(0).toInt(), 1);
    }

    void TheOutEndIsDraggedToo()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint out = OnGrip(RangeEnd::Out, 10.0);
        DragFromTo(out, out + QPoint(100, 0));
        QCOMPARE(pEdits->count(), 1);
        QCOMPARE(pEdits->at(0).at(0).toDouble(), 5.0);
        QVERIFY(IsNear(pEdits->at(0).at(1).toDouble(), 12.0));
    }

    void ADragOfAnEndWorksOnACopy()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint in = OnGrip(RangeEnd::In, 5.0);
        Press(in);
        Move(in + QPoint(50, 0));
        QVERIFY(IsNear(pTimeline->Picture().Range->StartSec, 6.0));
        QCOMPARE(pTimeline->State().RangeStartSec, 5.0);
        Release(in + QPoint(50, 0));
    }

    void EscapeDuringADragOfAnEndRestoresTheRange()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint in = OnGrip(RangeEnd::In, 5.0);
        Press(in);
        Move(in + QPoint(50, 0));
        QTest::keyClick(pTimeline.get(), Qt::Key_Escape);
        QCOMPARE(*pTimeline->Picture().Range, (TimelineRange{5.0, 10.0}));
        Move(in + QPoint(90, 0));
        Release(in + QPoint(90, 0));
        QCOMPARE(pEdits->count(), 0);
        QCOMPARE(*pTimeline->Picture().Range, (TimelineRange{5.0, 10.0}));
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{6.0, 1.0}));
    }

    void AClickOnAGripChangesNothing()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        Click(OnGrip(RangeEnd::In, 5.0));
        Click(OnGrip(RangeEnd::Out, 10.0));
        QCOMPARE(pEdits->count(), 0);
        QCOMPARE(pSeeks->count(), 0);
    }

    void WithoutARuleAnEndStopsAtTheOther()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        DragFromTo(OnGrip(RangeEnd::In, 5.0), OnGrip(RangeEnd::In, 15.0));
        QCOMPARE(pEdits->count(), 1);
        QCOMPARE(pEdits->at(0).at(0).toDouble(), 10.0);
        pTimeline->SetState(WithRange(5.0, 9.0));
        DragFromTo(OnGrip(RangeEnd::Out, 9.0), OnGrip(RangeEnd::Out, 2.0));
        QCOMPARE(pEdits->count(), 2);
        QCOMPARE(pEdits->at(1).at(1).toDouble(), 5.0);
    }

    void AnEndStaysWithinTheSource()
    {
        pTimeline->SetState(WithRange(0.5, 19.5));
        const QPoint in = OnGrip(RangeEnd::In, 0.5);
        const QPoint out = OnGrip(RangeEnd::Out, 19.5);
        DragFromTo(in, in - QPoint(300, 0));
        DragFromTo(out, out + QPoint(300, 0));
        QCOMPARE(pEdits->at(0).at(0).toDouble(), 0.0);
        QCOMPARE(pEdits->at(1).at(1).toDouble(), 20.0);
    }

    void AReversedRangeCanBePutRight()
    {
        pTimeline->SetState(WithRange(12.0, 8.0));
        const QPoint in = OnGrip(RangeEnd::In, 12.0);
        DragFromTo(in, in - QPoint(300, 0));
        QCOMPARE(pEdits->count(), 1);
        QVERIFY(IsNear(pEdits->at(0).at(0).toDouble(), 6.0));
        QCOMPARE(pEdits->at(0).at(1).toDouble(), 8.0);
    }

    void BothEndsOfAnEmptyRangeCanBeTaken()
    {
        pTimeline->SetState(WithRange(10.0, 10.0));
        const QPoint in = OnGrip(RangeEnd::In, 10.0);
        DragFromTo(in, in - QPoint(100, 0));
        QVERIFY(IsNear(pEdits->at(0).at(0).toDouble(), 8.0));
        pTimeline->SetState(WithRange(10.0, 10.0));
        const QPoint out = OnGrip(RangeEnd::Out, 10.0);
        DragFromTo(out, out + QPoint(100, 0));
        QVERIFY(IsNear(pEdits->at(1).at(1).toDouble(), 12.0));
    }

    void TheEndsOfTheWholeSourceCanBeTaken()
    {
        pTimeline->SetState(WithRange(0.0, 20.0));
        const QPoint in = OnGrip(RangeEnd::In, 0.0);
        DragFromTo(in, in + QPoint(50, 0));
        QVERIFY(IsNear(pEdits->at(0).at(0).toDouble(), 1.0));
        const QPoint out = OnGrip(RangeEnd::Out, 20.0);
        DragFromTo(out, out - QPoint(50, 0));
        QVERIFY(IsNear(pEdits->at(1).at(1).toDouble(), 19.0));
    }

    void TheLineOfAnEndIsTakenOnFreeGround()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        DragFromTo(OnLane(2, 5.0), OnLane(2, 6.0));
        QCOMPARE(pEdits->count(), 1);
    }

    void TheRulerSeeksAlsoOverAnEnd()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        Click(OnRuler(5.0));
        QCOMPARE(SecsOf(*pSeeks), std::vector<double>{5.0});
    }

    void ABarAtAnEndIsPicked()
    {
        TimelineState state = WithRange(5.0, 10.0);
        state.Clips = {Clip(3, 5.0, 10.0)};
        pTimeline->SetState(state);
        Click(OnLane(0, 5.0) + QPoint(1, 0));
        QCOMPARE(pPicks->count(), 1);
    }

    void AnotherRangeEndsTheDragOfItsEnd()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint in = OnGrip(RangeEnd::In, 5.0);
        Press(in);
        Move(in + QPoint(50, 0));
        pTimeline->SetState(WithRange(2.0, 10.0));
        QCOMPARE(*pTimeline->Picture().Range, (TimelineRange{2.0, 10.0}));
        Release(in + QPoint(50, 0));
        QCOMPARE(pEdits->count(), 0);
    }

    void AnotherSourceEndsADrag()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        const QPoint in = OnGrip(RangeEnd::In, 5.0);
        Press(in);
        Move(in + QPoint(50, 0));
        TimelineState other = WithRange(5.0, 10.0);
        other.DurationSec = 30.0;
        pTimeline->SetState(other);
        Release(in + QPoint(50, 0));
        QCOMPARE(pEdits->count(), 0);
    }

    void TheCursorTellsOfAGrip()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        Move(OnGrip(RangeEnd::In, 5.0));
        QCOMPARE(pTimeline->cursor().shape(), Qt::SizeHorCursor);
        Move(OnRuler(5.0));
        QCOMPARE(pTimeline->cursor().shape(), Qt::ArrowCursor);
    }

    // -- Markers and clips

    void AClickOnAMarkerSeeksToItsTime()
    {
        TimelineState state = TwentySeconds();
        state.Markers = {{12.0, "Later", Qt::white}, {6.01, "Goal", Qt::white}};
        pTimeline->SetState(state);
        const auto flags = FlagsIn(pTimeline->Picture());
        QCOMPARE(flags.size(), std::size_t{2});
        Click(flags[0].Flag.center().toPoint());
        Click(flags[0].Label.center().toPoint());
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{6.01, 6.01}));
    }

    void LabelsOfMarkersKeepOffTheNextFlag()
    {
        for (const double textScale : {0.75, 1.0, 3.0})
        {
            MvTheme::SetTextScale(textScale);
            Theme::Apply();
            TimelineState state = TwentySeconds();
            for (int i = 0; i < 30; ++i)
            {
                state.Markers.push_back({i * i * 0.012, "A label of some length", Qt::white});
            }
            pTimeline->SetState(state);
            const auto flags = FlagsIn(pTimeline->Picture());
            QVERIFY(flags.size() > 5);
            QVERIFY(std::ranges::any_of(flags, [](const PlacedFlag& Each)
                                        { return !Each.LabelText.isEmpty(); }));
            for (std::size_t i = 1; i < flags.size(); ++i)
            {
                QVERIFY(flags[i - 1].Label.right() <= flags[i].Flag.left());
            }
        }
    }

    void AClickOnABarPicksItsRowAndDoesNotSeek()
    {
        pTimeline->SetState(WithClips({Clip(7, 2.0, 6.0)}));
        Click(OnLane(0, 3.0));
        QCOMPARE(pPicks->count(), 1);
        QCOMPARE(pPicks->at(0).at(0).toInt(), 7);
        QCOMPARE(pSeeks->count(), 0);
    }

    void AReversedClipIsPickedToo()
    {
        pTimeline->SetState(WithClips({Clip(7, 6.0, 2.0)}));
        Click(OnLane(0, 3.0));
        QCOMPARE(pPicks->count(), 1);
    }

    void AnEmptyClipIsPickedToo()
    {
        pTimeline->SetState(WithClips({Clip(7, 6.0, 6.0)}));
        Click(OnLane(0, 6.0));
        QCOMPARE(pPicks->count(), 1);
    }

    void OverlappingClipsLieInLanesOfTheirOwn()
    {
        pTimeline->SetState(WithClips({Clip(0, 2.0, 8.0), Clip(1, 4.0, 10.0), Clip(2, 8.0, 12.0)}));
        Click(OnLane(0, 5.0));
        Click(OnLane(1, 5.0));
        Click(OnLane(0, 9.0));
        QCOMPARE(pPicks->count(), 3);
        QCOMPARE(pPicks->at(0).at(0).toInt(), 0);
        QCOMPARE(pPicks->at(1).at(0).toInt(), 1);
        QCOMPARE(pPicks->at(2).at(0).toInt(), 2);
    }

    void TheSelectedBarIsPickedAboveOthers()
    {
        QList<TimelineClip> clips;
        for (int row = 0; row < 12; ++row)
        {
            clips.push_back(Clip(row, 2.0, 8.0));
        }
        TimelineState state = WithClips(clips);
        state.SelectedRow = 0;
        pTimeline->SetState(state);
        Click(OnLane(0, 5.0));
        QCOMPARE(pPicks->at(0).at(0).toInt(), 0);
    }

    void ADragFromABarSeeks()
    {
        pTimeline->SetState(WithClips({Clip(7, 2.0, 6.0)}));
        DragFromTo(OnLane(0, 3.0), OnLane(0, 9.0));
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{6.0, 9.0}));
        QCOMPARE(pPicks->count(), 0);
    }

    void ADoubleClickOpensAClip()
    {
        pTimeline->SetState(WithClips({Clip(7, 2.0, 6.0)}));
        QTest::mouseDClick(pTimeline.get(), Qt::LeftButton, Qt::NoModifier, OnLane(0, 3.0));
        QCOMPARE(pOpens->count(), 1);
        QCOMPARE(pOpens->at(0).at(0).toInt(), 7);
        QCOMPARE(pSeeks->count(), 0);
    }

    void ADoubleClickOnFreeGroundSeeks()
    {
        QTest::mouseDClick(pTimeline.get(), Qt::LeftButton, Qt::NoModifier, OnRuler(3.0));
        QCOMPARE(pOpens->count(), 0);
        QVERIFY(pSeeks->count() >= 1);
        QCOMPARE(SecsOf(*pSeeks).back(), 3.0);
    }

    void AToolTipShowsANameAsItIsWritten()
    {
        TimelineClip clip = Clip(0, 2.0, 6.0);
        clip.Name = "<b>bold</b>";
        pTimeline->SetState(WithClips({clip}));
        const QPoint point = OnLane(0, 3.0);
        QHelpEvent event(QEvent::ToolTip, point, pTimeline->mapToGlobal(point));
        QCoreApplication::sendEvent(pTimeline.get(), &event);
        QVERIFY(QToolTip::text().contains("&lt;b&gt;bold&lt;/b&gt;"));
        QVERIFY(QToolTip::text().contains("0:00:06.000"));
        QToolTip::hideText();
    }

    void ClipsAreFoundAmongTenThousand()
    {
        QList<TimelineClip> clips;
        for (int row = 0; row < 10000; ++row)
        {
            clips.push_back(Clip(row, 0.001 * row, 0.001 * row + 0.0009));
        }
        clips.push_back(Clip(10000, 0.0, 20.0));
        pTimeline->SetState(WithClips(clips));
        Wheel(OnRuler(5.0), {0, 120 * 100});
        Click(OnLane(0, 5.0004));
        QCOMPARE(pPicks->count(), 1);
        QCOMPARE(pPicks->at(0).at(0).toInt(), 5000);
    }

    // -- View

    void TheWheelKeepsTheTimeUnderThePointer()
    {
        for (const auto modifiers : {Qt::NoModifier, Qt::ControlModifier})
        {
            const QPointF point = OnRuler(13.0);
            const double sec = pTimeline->Scale().SecAt(point.x());
            const double spanSec = pTimeline->Scale().SpanSec();
            Wheel(point, {0, 120}, modifiers);
            QVERIFY(pTimeline->Scale().SpanSec() < spanSec);
            QVERIFY(IsNear(pTimeline->Scale().SecAt(point.x()), sec));
        }
    }

    void TheWheelTheOtherWayZoomsOut()
    {
        Wheel(OnRuler(13.0), {0, 480});
        Wheel(OnRuler(13.0), {0, -1200});
        QVERIFY(pTimeline->Scale().IsWhole());
    }

    void ShiftAndTheWheelPan()
    {
        Wheel(OnRuler(10.0), {0, 480});
        const double startSec = pTimeline->Scale().StartSec();
        const double spanSec = pTimeline->Scale().SpanSec();
        Wheel(OnRuler(10.0), {0, -120}, Qt::ShiftModifier);
        QVERIFY(IsNear(pTimeline->Scale().StartSec(), startSec + spanSec / 10.0));
        QCOMPARE(pTimeline->Scale().SpanSec(), spanSec);
        Wheel(OnRuler(10.0), {120, 0});
        QVERIFY(IsNear(pTimeline->Scale().StartSec(), startSec));
    }

    void TheMiddleButtonPans()
    {
        Wheel(OnRuler(10.0), {0, 480});
        const double sec = pTimeline->Scale().SecAt(500.0);
        Press(QPoint(500, 5), Qt::MiddleButton);
        Move(QPoint(400, 5));
        Move(QPoint(300, 5));
        Release(QPoint(300, 5), Qt::MiddleButton);
        QVERIFY(IsNear(pTimeline->Scale().SecAt(300.0), sec));
        QCOMPARE(pSeeks->count(), 0);
    }

    void EscapeDuringAPanRestoresTheView()
    {
        Wheel(OnRuler(10.0), {0, 480});
        const double startSec = pTimeline->Scale().StartSec();
        Press(QPoint(500, 5), Qt::MiddleButton);
        Move(QPoint(300, 5));
        QVERIFY(pTimeline->Scale().StartSec() > startSec);
        QTest::keyClick(pTimeline.get(), Qt::Key_Escape);
        QCOMPARE(pTimeline->Scale().StartSec(), startSec);
        Release(QPoint(300, 5), Qt::MiddleButton);
    }

    void ADragBeyondTheEdgePullsTheView()
    {
        Wheel(OnRuler(10.0), {0, 480});
        const double endSec = pTimeline->Scale().EndSec();
        Press(OnRuler(10.0));
        Move(QPoint(pTimeline->width() + 100, 5));
        Release(QPoint(pTimeline->width() + 100, 5));
        QVERIFY(pTimeline->Scale().EndSec() > endSec);
        QVERIFY(SecsOf(*pSeeks).back() > endSec);
    }

    void ZoomStepsKeepAVisiblePlayhead()
    {
        SetPlayhead(15.0);
        const double px = pTimeline->Scale().PxOf(15.0);
        pTimeline->ZoomIn();
        QVERIFY(pTimeline->Scale().SpanSec() < 20.0);
        QVERIFY(IsNear(pTimeline->Scale().PxOf(15.0), px));
        pTimeline->ZoomOut();
        QVERIFY(pTimeline->Scale().IsWhole());
    }

    void ZoomToFitShowsTheWhole()
    {
        pTimeline->ZoomIn();
        pTimeline->ZoomToFit();
        QVERIFY(pTimeline->Scale().IsWhole());
    }

    void AnotherSourceIsShownWhole()
    {
        pTimeline->ZoomIn();
        TimelineState other = TwentySeconds();
        other.DurationSec = 50.0;
        pTimeline->SetState(other);
        QVERIFY(pTimeline->Scale().IsWhole());
    }

    void APlayingPlayheadTurnsThePage()
    {
        Wheel(OnRuler(1.0), {0, 960});
        const double endSec = pTimeline->Scale().EndSec();
        SetPlayhead(endSec - 0.01);
        const double startSec = pTimeline->Scale().StartSec();
        SetPlayhead(endSec + 0.03);
        QVERIFY(pTimeline->Scale().StartSec() > startSec);
        QVERIFY(pTimeline->Scale().Shows(endSec + 0.03));
    }

    void AViewMovedAwayFromAPlayingPlayheadStays()
    {
        Wheel(OnRuler(18.0), {0, 1200});
        const double startSec = pTimeline->Scale().StartSec();
        SetPlayhead(1.04);
        QCOMPARE(pTimeline->Scale().StartSec(), startSec);
    }

    void AJumpOfThePlayheadIsFollowed()
    {
        Wheel(OnRuler(18.0), {0, 1200});
        SetPlayhead(3.0);
        QVERIFY(pTimeline->Scale().Shows(3.0));
    }

    // -- Keys and focus

    void KeysOfTheApplicationPass()
    {
        for (const auto key : {Qt::Key_Left, Qt::Key_Right, Qt::Key_Home, Qt::Key_End,
                               Qt::Key_Space, Qt::Key_Plus, Qt::Key_Escape})
        {
            for (const auto modifiers : {Qt::NoModifier, Qt::ControlModifier})
            {
                QKeyEvent shortcut(QEvent::ShortcutOverride, key, modifiers);
                shortcut.ignore();
                QCoreApplication::sendEvent(pTimeline.get(), &shortcut);
                QVERIFY(!shortcut.isAccepted());
                QKeyEvent press(QEvent::KeyPress, key, modifiers);
                QCoreApplication::sendEvent(pTimeline.get(), &press);
                QVERIFY(!press.isAccepted());
            }
        }
    }

    void EscapeEndsADragBeforeItIsAShortcut()
    {
        Press(OnRuler(4.0));
        QKeyEvent shortcut(QEvent::ShortcutOverride, Qt::Key_Escape, Qt::NoModifier);
        shortcut.ignore();
        QCoreApplication::sendEvent(pTimeline.get(), &shortcut);
        QVERIFY(shortcut.isAccepted());
        Release(OnRuler(4.0));
    }

    void TheKeyboardFocusIsVisible()
    {
        QCOMPARE(pTimeline->focusPolicy(), Qt::StrongFocus);
        pTimeline->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(pTimeline.get()));
        pTimeline->setFocus();
        QTRY_VERIFY(pTimeline->hasFocus());
        const QImage focused = Picture(*pTimeline, 1.0);
        QCOMPARE(focused.pixelColor(0, 50), Theme::Accent);
        pTimeline->clearFocus();
        QVERIFY(Picture(*pTimeline, 1.0).pixelColor(0, 50) != Theme::Accent);
    }

    // -- Painting

    void TheSameStatePaintsNothing()
    {
        TimelineState state = WithRange(5.0, 10.0);
        state.Clips = {Clip(0, 2.0, 6.0)};
        pTimeline->SetState(state);
        QCoreApplication::processEvents();
        const PaintCount paints(*pTimeline);
        pTimeline->SetState(state);
        QCoreApplication::processEvents();
        QCOMPARE(paints.Count, 0);
        state.Clips[0].Name = "Other";
        pTimeline->SetState(state);
        QTRY_VERIFY(paints.Count > 0);
    }

    void APlayheadThatStaysOnItsPixelPaintsNothing()
    {
        QCoreApplication::processEvents();
        const PaintCount paints(*pTimeline);
        SetPlayhead(1.0001);
        QCoreApplication::processEvents();
        QCOMPARE(paints.Count, 0);
        QCOMPARE(pTimeline->State().PlayheadSec, 1.0001);
        SetPlayhead(1.5);
        QTRY_VERIFY(paints.Count > 0);
    }

    void APlayheadThatMovesHasNoClipPaintedAnew()
    {
        QList<TimelineClip> clips;
        for (int row = 0; row < 10000; ++row)
        {
            clips.append(Clip(row, 0.002 * row, 0.002 * row + 0.001));
        }
        const TimelineState state = WithClips(clips);
        pTimeline->SetState(state);
        clips.clear();
        const PaintCount paints(*pTimeline);
        pTimeline->repaint();
        QCOMPARE(paints.Count, 1);
        TouchedMemory touched;
        QVERIFY(touched.Watch(state.Clips));
        SetPlayhead(7.0);
        pTimeline->repaint();
        SetPlayhead(12.0);
        pTimeline->repaint();
        QCOMPARE(paints.Count, 3);
        QCOMPARE(touched.TouchedCount(), 0);
        pTimeline->ZoomIn();
        pTimeline->repaint();
        QCOMPARE(touched.TouchedCount(), 1);
    }

    // What is kept of an earlier painting must be what a new one would be.
    void APictureIsTheSameAsPaintedAnew()
    {
        const std::uint32_t seed = std::random_device()();
        qInfo("seed %u", seed);
        std::mt19937 random(seed);
        const auto upTo = [&](int Most) { return std::uniform_int_distribution(0, Most)(random); };
        TimelineState state = TwentySeconds();
        const std::vector<std::function<void()>> changes = {
            [&] { state.PlayheadSec = upTo(20); },
            [&] {
                state.Clips = {Clip(0, upTo(9), upTo(20)), Clip(1, upTo(9), upTo(20))};
            },
            [&] { state.SelectedRow = upTo(2) - 1; },
            [&] {
                state.Markers.append({1.0 * upTo(20), "A marker", Qt::red});
            },
            [&]
            {
                state.bHasRange = upTo(1) == 1;
                state.RangeStartSec = upTo(20);
                state.RangeEndSec = upTo(20);
            },
            [&] { state.PendingInSec = upTo(20); },
            [&] { state.PendingOutSec.reset(); },
            [&] { state.DurationSec = 20.0 + upTo(3); },
            [&] { pTimeline->ZoomIn(); },
            [&] { pTimeline->ZoomToFit(); },
            [&] { pTimeline->TurnPages(upTo(2) - 1); },
            [&] { pTimeline->resize(800 + upTo(300), 90 + upTo(60)); },
            [&] { Move(QPoint(upTo(800), upTo(80))); },
            [&]
            {
                MvTheme::SetTextScale(1.0 + upTo(1));
                Theme::Apply();
            },
        };
        for (int i = 0; i < 300; ++i)
        {
            changes[static_cast<std::size_t>(upTo(static_cast<int>(changes.size()) - 1))]();
            pTimeline->SetState(state);
            const double ratio = 1.0 + upTo(1);
            QImage anew((QSizeF(pTimeline->size()) * ratio).toSize(), QImage::Format_RGB32);
            anew.setDevicePixelRatio(ratio);
            QPainter painter(&anew);
            PaintMarking(painter, pTimeline->Picture());
            PaintHands(painter, pTimeline->Picture());
            painter.end();
            QCOMPARE(Picture(*pTimeline, ratio), anew);
        }
        MvTheme::SetTextScale(1.0);
        Theme::Apply();
    }

    void ThePlayheadStandsAtItsTimeAtEveryDisplayScale()
    {
        for (const double ratio : {1.0, 2.0})
        {
            SetPlayhead(7.0);
            const QImage image = Picture(*pTimeline, ratio);
            const int y = image.height() - qRound(4 * ratio);
            const int x = qRound(pTimeline->Scale().PxOf(7.0) * ratio);
            QCOMPARE(image.pixelColor(x, y), Theme::Text);
            QVERIFY(image.pixelColor(x - 1, y) != Theme::Text);
            QVERIFY(image.pixelColor(x + qRound(ratio), y) != Theme::Text);
        }
    }

    void BarsWearTheColourOfTheirClip()
    {
        TimelineClip clip = Clip(0, 5.0, 10.0);
        clip.Color = QColor(250, 143, 56);
        TimelineState state = WithClips({clip});
        state.SelectedRow = 0;
        pTimeline->SetState(state);
        const QPoint place = OnLane(0, 9.5);
        QCOMPARE(Picture(*pTimeline, 1.0).pixelColor(place), clip.Color);
        QVERIFY(Picture(*pTimeline, 1.0).pixelColor(OnLane(0, 10.5)) != clip.Color);
    }

    void APendingEndIsDrawnWithoutARange()
    {
        TimelineState state = TwentySeconds();
        state.PendingInSec = 5.0;
        pTimeline->SetState(state);
        const QPoint place = OnLane(2, 5.0);
        QCOMPARE(Picture(*pTimeline, 1.0).pixelColor(place), Theme::Accent);
        QVERIFY(!pTimeline->Picture().Range);
    }

    void TheHoverLineHasItsTimeOnTheRuler()
    {
        const QImage before = Picture(*pTimeline, 1.0);
        Move(OnLane(2, 10.0));
        QCOMPARE(*pTimeline->Picture().HoverPx, pTimeline->Scale().PxOf(10.0));
        const QImage after = Picture(*pTimeline, 1.0);
        QVERIFY(before.copy(0, 0, 1024, 16) != after.copy(0, 0, 1024, 16));
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(pTimeline.get(), &leave);
        QVERIFY(!pTimeline->Picture().HoverPx);
        QCOMPARE(Picture(*pTimeline, 1.0), before);
    }

    void ThingsWithoutAFiniteTimeAreLeftOut()
    {
        TimelineState state = TwentySeconds();
        const QImage plain = Picture(*pTimeline, 1.0);
        for (const double sec : {NotANumber, Infinity, -Infinity})
        {
            state.Clips.push_back(Clip(0, sec, 3.0));
            state.Clips.push_back(Clip(0, 3.0, sec));
            state.Markers.push_back({sec, "None", Qt::white});
            state.bHasRange = true;
            state.RangeStartSec = 2.0;
            state.RangeEndSec = sec;
            state.PendingInSec = sec;
            pTimeline->SetState(state);
            QCOMPARE(Picture(*pTimeline, 1.0), plain);
        }
    }

    void FarTimesDoNotDisturbADeepZoom()
    {
        TimelineState state = WithRange(-1e300, 1e300);
        state.DurationSec = 1e6;
        state.Clips = {Clip(0, -1e300, 1e300)};
        pTimeline->SetState(state);
        Wheel(OnRuler(5e5), {0, 120 * 100});
        const QImage image = Picture(*pTimeline, 1.0);
        QCOMPARE(image.pixelColor(OnLane(0, 5e5)).name(), QColor(Qt::green).darker(112).name());
    }

    void GrowsWithTheTextScale()
    {
        const int heightPx = pTimeline->minimumSizeHint().height();
        const double rulerPx = pTimeline->Rows().Ruler.height();
        MvTheme::SetTextScale(3.0);
        Theme::Apply();
        QVERIFY(pTimeline->minimumSizeHint().height() > 2 * heightPx);
        QVERIFY(pTimeline->Rows().Ruler.height() > 2.0 * rulerPx);
    }

    void AnEmptyTimelineAsksForNothing()
    {
        pTimeline->SetState({});
        Click(QPoint(300, 5));
        DragFromTo(QPoint(300, 60), QPoint(500, 60));
        QTest::mouseDClick(pTimeline.get(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 60));
        pTimeline->ZoomIn();
        pTimeline->RequestSeek(3.0);
        QCOMPARE(pSeeks->count() + pEdits->count() + pPicks->count() + pOpens->count(), 0);
        QVERIFY(!Picture(*pTimeline, 1.0).isNull());
    }

    // -- Screen reader

    void IsASliderToAScreenReader()
    {
        SetPlayhead(3.0);
        QAccessibleInterface* pInterface = InterfaceOf(*pTimeline);
        QVERIFY(pInterface != nullptr);
        QCOMPARE(pInterface->role(), QAccessible::Slider);
        QCOMPARE(pInterface->text(QAccessible::Name), QString("Timeline"));
        QCOMPARE(pInterface->text(QAccessible::Value), QString("0:00:03.000"));
        QCOMPARE(pInterface->text(QAccessible::Description),
                 QString("Playhead at 0:00:03.000 of 0:00:20.000"));
        QAccessibleValueInterface* pValue = pInterface->valueInterface();
        QVERIFY(pValue != nullptr);
        QCOMPARE(pValue->currentValue().toDouble(), 3.0);
        QCOMPARE(pValue->minimumValue().toDouble(), 0.0);
        QCOMPARE(pValue->maximumValue().toDouble(), 20.0);
        QCOMPARE(pValue->minimumStepSize().toDouble(), 0.04);
    }

    void AScreenReaderHearsOfTheRange()
    {
        pTimeline->SetState(WithRange(5.0, 10.0));
        QVERIFY(InterfaceOf(*pTimeline)
                    ->text(QAccessible::Description)
                    .endsWith(", In at 0:00:05.000, Out at 0:00:10.000"));
    }

    void AValueFromAScreenReaderSeeks()
    {
        QAccessibleValueInterface* pValue = InterfaceOf(*pTimeline)->valueInterface();
        pValue->setCurrentValue(4.5);
        pValue->setCurrentValue(-1.0);
        pValue->setCurrentValue(99.0);
        pValue->setCurrentValue(NotANumber);
        QCOMPARE(SecsOf(*pSeeks), (std::vector<double>{4.5, 0.0, 20.0}));
    }

    // Whether Qt delivers depends on the platform, which offscreen has no reader to deliver to.
    void AScreenReaderIsToldOfJumpsAndOfPlaybackOnceASecond()
    {
        QVERIFY(IsWorthTelling(1.0, 7.0));
        QVERIFY(IsWorthTelling(7.0, 6.98));
        QVERIFY(IsWorthTelling(6.5, 7.0));
        QVERIFY(IsWorthTelling(6.98, 7.02));
        QVERIFY(!IsWorthTelling(6.5, 6.54));
        QVERIFY(!IsWorthTelling(6.5, 6.5));
    }

    void AnEmptyTimelineIsDisabledToAScreenReader()
    {
        QVERIFY(!InterfaceOf(*pTimeline)->state().disabled);
        pTimeline->SetState({});
        QVERIFY(InterfaceOf(*pTimeline)->state().disabled);
        QCOMPARE(InterfaceOf(*pTimeline)->text(QAccessible::Description),
                 QString("No video is open"));
    }
};

QTEST_MAIN(DesktopTimelineTest)
#include "desktop_timeline_test.moc"
