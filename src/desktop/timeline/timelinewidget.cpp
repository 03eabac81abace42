#include "desktop/timeline/timelinewidget.h"

#include "desktop/look/theme.h"
#include "desktop/look/timetext.h"
#include "desktop/timeline/timelineaccessible.h"
#include "desktop/timeline/timelinepainter.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace
{
constexpr double WheelNotch = 120.0; // of Qt's angle unit, an eighth of a degree
constexpr double ZoomPerNotch = 1.25;
constexpr double ZoomPerStep = 1.5;
constexpr double PanPerNotch = 0.1; // of the width
constexpr double PanPerPage = 0.9;  // of the width

std::optional<TimelineRange> DrawableRange(const TimelineState& State)
{
    const bool bFinite = std::isfinite(State.RangeStartSec) && std::isfinite(State.RangeEndSec);
    return State.bHasRange && bFinite
               ? std::optional(TimelineRange{State.RangeStartSec, State.RangeEndSec})
               : std::nullopt;
}

} // namespace

TimelineWidget::TimelineWidget(QWidget* pParent)
    : QWidget(pParent)
{
    InstallTimelineAccessible();
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    LayOut();
}

void TimelineWidget::SetState(const TimelineState& NewState)
{
    const double oldPlayheadSec = std::exchange(Shown.PlayheadSec, NewState.PlayheadSec);
    const bool bMarkingChanged = Shown != NewState;
    if (bMarkingChanged)
    {
        TakeMarking(NewState);
    }
    // On a long source the playhead needs many frames for one pixel.
    const double devicePx = 1.0 / devicePixelRatioF();
    const bool bVisiblyMoved =
        std::abs(View.PxOf(oldPlayheadSec) - View.PxOf(Shown.PlayheadSec)) >= devicePx / 2.0;
    if (Shown.PlayheadSec != oldPlayheadSec)
    {
        PlayheadMoved(oldPlayheadSec);
    }
    if (bMarkingChanged || bVisiblyMoved)
    {
        update();
    }
}

// The same clips keep their lanes.
void TimelineWidget::TakeMarking(const TimelineState& NewState)
{
    const bool bSourceChanged = NewState.DurationSec != Shown.DurationSec;
    const bool bClipsChanged = !NewState.Clips.isSharedWith(Shown.Clips);
    const bool bMarkersChanged = !NewState.Markers.isSharedWith(Shown.Markers);
    Shown = NewState;
    View.SetSource(Shown.DurationSec, Shown.FramesPerSecond);
    if (bClipsChanged)
    {
        Index.PlaceClips(Shown.Clips, Places.LaneCount);
    }
    if (bMarkersChanged)
    {
        Index.SortMarkers(Shown.Markers);
    }
    const bool bRangeLost =
        Held.Kind == Gesture::Range && DrawableRange(Shown) != std::optional(Held.RangeBefore);
    if (bSourceChanged || bRangeLost)
    {
        Held = {};
    }
}

void TimelineWidget::PlayheadMoved(double OldSec)
{
    const double newSec = Shown.PlayheadSec;
    const bool bJump = IsJump(OldSec, newSec);
    if (Held.Kind == Gesture::None && (bJump || View.Shows(OldSec)) && !View.Shows(newSec))
    {
        View.TurnPageTo(newSec);
        update();
    }
    if (IsWorthTelling(OldSec, newSec))
    {
        TellValue(*this);
    }
}

TimelinePicture TimelineWidget::Picture() const
{
    TimelinePicture picture{.State = Shown, .Rows = Places, .Scale = View, .Index = Index};
    picture.Range = Held.Kind == Gesture::Range ? Held.Range : DrawableRange(Shown);
    picture.PlayheadSec = Held.Kind == Gesture::Seek ? Held.SeekSec : Shown.PlayheadSec;
    picture.bFocused = hasFocus();
    picture.HotEnd = HotEnd;
    if (Held.Kind == Gesture::Range)
    {
        const bool bIn = Held.End == RangeEnd::In;
        picture.HoverPx = View.PxOf(bIn ? Held.Range.StartSec : Held.Range.EndSec);
    }
    else if (PointerPx)
    {
        picture.HoverPx = View.PxOf(View.SecAt(*PointerPx));
    }
    return picture;
}

void TimelineWidget::RequestSeek(double Sec)
{
    if (!View.IsEmpty() && std::isfinite(Sec))
    {
        Q_EMIT SeekRequested(std::clamp(Sec, 0.0, View.DurationSec()));
    }
}

QSize TimelineWidget::sizeHint() const
{
    return {Theme::ScaledPx(640), HeightOfLanes(3)};
}

QSize TimelineWidget::minimumSizeHint() const
{
    // Large text must not push the clip panel out of a small window.
    return {std::min(Theme::ScaledPx(240), 400), HeightOfLanes(1)};
}

// -- View

void TimelineWidget::ZoomIn()
{
    ZoomByStep(ZoomPerStep);
}

void TimelineWidget::ZoomOut()
{
    ZoomByStep(1.0 / ZoomPerStep);
}

void TimelineWidget::ZoomByStep(double Factor)
{
    const bool bPlayheadVisible = View.Shows(Shown.PlayheadSec);
    const double middlePx = View.LeftPx() + View.WidthPx() / 2.0;
    View.ZoomAt(bPlayheadVisible ? View.PxOf(Shown.PlayheadSec) : middlePx, Factor);
    update();
}

void TimelineWidget::ZoomToFit()
{
    View.Fit();
    update();
}

void TimelineWidget::TurnPages(int Pages)
{
    View.PanPx(Pages * PanPerPage * View.WidthPx());
    update();
}

void TimelineWidget::LayOut()
{
    Places = RowsIn(size());
    View.SetExtent(Places.InsetPx, width() - 2.0 * Places.InsetPx);
    if (Index.LaneCount() != Places.LaneCount)
    {
        Index.PlaceClips(Shown.Clips, Places.LaneCount);
    }
}

// -- Gestures

void TimelineWidget::Press(QPointF Point)
{
    const TimelinePicture picture = Picture();
    if (const auto end = RangeEndAt(picture, Point))
    {
        Held.Kind = Gesture::Range;
        Held.End = *end;
        Held.RangeBefore = *picture.Range;
        Held.Range = *picture.Range;
        HotEnd = end;
    }
    else if (const auto marker = MarkerAt(picture, Point))
    {
        Held.Kind = Gesture::Seek;
        SeekTo(Shown.Markers[*marker].TimeSec);
    }
    else if (const auto clip = ClipAt(picture, Point))
    {
        Held.Kind = Gesture::Clip;
        Held.Row = Shown.Clips[*clip].Row;
    }
    else
    {
        Held.Kind = Gesture::Seek;
        Held.bMoved = true; // on free ground the playhead follows the hand from the first pixel on
        SeekTo(View.SecAt(Point.x()));
    }
}

void TimelineWidget::Drag(QPointF Point)
{
    const double distancePx = (Point - Held.PressPoint).manhattanLength();
    Held.bMoved = Held.bMoved || distancePx >= QApplication::startDragDistance();
    if (!Held.bMoved)
    {
        return;
    }
    switch (Held.Kind)
    {
    case Gesture::None:
        break;
    case Gesture::Clip:
        Held.Kind = Gesture::Seek;
        [[fallthrough]];
    case Gesture::Seek:
        PullView(Point.x());
        SeekTo(View.SecAt(Point.x()));
        break;
    case Gesture::Range:
        PullView(Point.x());
        DragRange(Point.x());
        break;
    case Gesture::Pan:
        View = Held.ViewBefore;
        View.PanPx(Held.PressPoint.x() - Point.x());
        break;
    }
}

TimelineDrag TimelineWidget::FreeDrag(const TimelineRange& Before, RangeEnd End, double HandSec)
{
    const bool bIn = End == RangeEnd::In;
    const double sec = bIn ? std::min(HandSec, Before.EndSec) : std::max(HandSec, Before.StartSec);
    return {bIn ? TimelineRange{sec, Before.EndSec} : TimelineRange{Before.StartSec, sec}, sec};
}

void TimelineWidget::DragRange(double Px)
{
    const TimelineRange before = Held.RangeBefore;
    const double grabbedSec = Held.End == RangeEnd::In ? before.StartSec : before.EndSec;
    const double movedPx = Px - Held.PressPoint.x();
    const double handSec = View.SecAt(Held.ViewBefore.PxOf(grabbedSec) + movedPx);
    const TimelineDrag drag = RuleOfDrag(before, Held.End, handSec);
    Held.Range = drag.Range;
    SeekTo(drag.ShownSec);
}

// Beyond the ends of a zoomed view the hand pulls it along, faster the farther it is.
void TimelineWidget::PullView(double Px)
{
    const double leftPx = View.LeftPx();
    const double rightPx = leftPx + View.WidthPx();
    const double beyondPx = Px - std::clamp(Px, leftPx, rightPx);
    const double mostPx = View.WidthPx() / 10.0;
    View.PanPx(std::clamp(beyondPx / 4.0, -mostPx, mostPx));
}

void TimelineWidget::SeekTo(double Sec)
{
    if (Sec != Held.SeekSec)
    {
        Held.SeekSec = Sec;
        RequestSeek(Sec);
    }
}

void TimelineWidget::CancelGesture()
{
    const Hold held = std::exchange(Held, {});
    if (held.Kind == Gesture::None)
    {
        return;
    }
    View = held.ViewBefore;
    LayOut();
    PointAt(mapFromGlobal(QCursor::pos()));
    update();
    SeekBack(held);
}

// To where the playhead stood before a gesture that has moved it.
void TimelineWidget::SeekBack(const Hold& Ended)
{
    if (std::isfinite(Ended.SeekSec))
    {
        RequestSeek(Ended.PlayheadBeforeSec);
    }
}

// The pointer's line, and the cursor's shape for what a press would take.
void TimelineWidget::PointAt(QPointF Point)
{
    const TimelinePicture picture = Picture();
    HotEnd = RangeEndAt(picture, Point);
    const bool bClickable = MarkerAt(picture, Point) || ClipAt(picture, Point);
    setCursor(HotEnd ? Qt::SizeHorCursor : bClickable ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

bool TimelineWidget::ShowToolTip(QPointF Point, QPoint GlobalPoint)
{
    const TimelinePicture picture = Picture();
    QString text;
    if (const auto marker = MarkerAt(picture, Point))
    {
        const TimelineMarker& found = Shown.Markers[*marker];
        text = found.Label + '\n' + TimeText(found.TimeSec);
    }
    else if (const auto clip = ClipAt(picture, Point))
    {
        const TimelineClip& found = Shown.Clips[*clip];
        text = found.Name + '\n' + TimeText(found.StartSec) + " - " + TimeText(found.EndSec);
    }
    // Converted, since a name that looks like markup would be read as such.
    QToolTip::showText(GlobalPoint, text.isEmpty() ? text : Qt::convertFromPlainText(text), this);
    return true;
}

// -- Events

bool TimelineWidget::event(QEvent* pEvent)
{
    if (pEvent->type() == QEvent::ToolTip)
    {
        const auto* pHelp = static_cast<QHelpEvent*>(pEvent);
        return ShowToolTip(pHelp->pos(), pHelp->globalPos());
    }
    if (pEvent->type() == QEvent::ShortcutOverride && Held.Kind != Gesture::None &&
        static_cast<QKeyEvent*>(pEvent)->key() == Qt::Key_Escape)
    {
        pEvent->accept(); // the key ends the drag before it is anybody's shortcut
        return true;
    }
    return QWidget::event(pEvent);
}

void TimelineWidget::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    const TimelinePicture picture = Picture();
    painter.drawPixmap(0, 0, Marking(picture, painter.deviceTransform().m11()));
    PaintHands(painter, picture);
}

const QPixmap& TimelineWidget::Marking(const TimelinePicture& Wanted, double PixelRatio)
{
    MarkingLook look = {Shown, Places, View, Wanted.Range, HotEnd, PixelRatio};
    look.State.PlayheadSec = 0.0;
    if (PaintedMarking.isNull() || look != PaintedLook)
    {
        PaintedMarking = QPixmap((QSizeF(size()) * PixelRatio).toSize());
        PaintedMarking.setDevicePixelRatio(PixelRatio);
        QPainter painter(&PaintedMarking);
        PaintMarking(painter, Wanted);
        PaintedLook = std::move(look);
    }
    return PaintedMarking;
}

void TimelineWidget::resizeEvent(QResizeEvent* /*pEvent*/)
{
    LayOut();
}

void TimelineWidget::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::FontChange || pEvent->type() == QEvent::StyleChange)
    {
        LayOut();
        updateGeometry();
        update();
    }
}

void TimelineWidget::hideEvent(QHideEvent* /*pEvent*/)
{
    CancelGesture();
    PointerPx.reset();
}

void TimelineWidget::leaveEvent(QEvent* /*pEvent*/)
{
    PointerPx.reset();
    HotEnd.reset();
    update();
}

void TimelineWidget::mousePressEvent(QMouseEvent* pEvent)
{
    const bool bPan = pEvent->button() == Qt::MiddleButton;
    if (View.IsEmpty() || (pEvent->button() != Qt::LeftButton && !bPan))
    {
        pEvent->ignore();
        return;
    }
    if (Held.Kind != Gesture::None)
    {
        return;
    }
    Held = {};
    Held.Button = pEvent->button();
    Held.PressPoint = pEvent->position();
    Held.ViewBefore = View;
    Held.PlayheadBeforeSec = Shown.PlayheadSec;
    Held.SeekSec = std::numeric_limits<double>::quiet_NaN(); // differs from every time
    PointerPx = pEvent->position().x();
    if (bPan)
    {
        Held.Kind = Gesture::Pan;
        setCursor(Qt::ClosedHandCursor);
    }
    else
    {
        Press(pEvent->position());
    }
    update();
}

void TimelineWidget::mouseMoveEvent(QMouseEvent* pEvent)
{
    if (View.IsEmpty())
    {
        return;
    }
    PointerPx = pEvent->position().x();
    if (Held.Kind == Gesture::None)
    {
        PointAt(pEvent->position());
    }
    else
    {
        Drag(pEvent->position());
    }
    update();
}

void TimelineWidget::mouseReleaseEvent(QMouseEvent* pEvent)
{
    if (Held.Kind == Gesture::None || pEvent->button() != Held.Button)
    {
        return;
    }
    const Hold held = std::exchange(Held, {});
    if (held.Kind == Gesture::Range && held.Range != held.RangeBefore)
    {
        // Shown at once, so that the old range does not flash up before the answer comes.
        Shown.RangeStartSec = held.Range.StartSec;
        Shown.RangeEndSec = held.Range.EndSec;
        Q_EMIT RangeEdited(held.Range.StartSec, held.Range.EndSec);
    }
    if (held.Kind == Gesture::Range)
    {
        // As editors do: marking moves no playhead, and the hand wanted another end, not another place.
        SeekBack(held);
    }
    else if (held.Kind == Gesture::Clip)
    {
        Q_EMIT ClipPicked(held.Row);
    }
    PointAt(pEvent->position());
    update();
}

void TimelineWidget::mouseDoubleClickEvent(QMouseEvent* pEvent)
{
    const bool bOpens = pEvent->button() == Qt::LeftButton && Held.Kind == Gesture::None;
    const auto clip =
        bOpens && !View.IsEmpty() ? ClipAt(Picture(), pEvent->position()) : std::nullopt;
    if (clip)
    {
        Q_EMIT ClipOpened(Shown.Clips[*clip].Row);
    }
    else
    {
        mousePressEvent(pEvent);
    }
}

void TimelineWidget::wheelEvent(QWheelEvent* pEvent)
{
    const QPoint turn = pEvent->angleDelta();
    const bool bPan = turn.y() == 0 || pEvent->modifiers().testFlag(Qt::ShiftModifier);
    const double notches = (turn.y() != 0 ? turn.y() : turn.x()) / WheelNotch;
    if (bPan)
    {
        View.PanPx(-notches * PanPerNotch * View.WidthPx());
    }
    else
    {
        View.ZoomAt(pEvent->position().x(), std::pow(ZoomPerNotch, notches));
    }
    pEvent->accept(); // also at the end of the zoom, or an area around it would begin to scroll
    update();
}

void TimelineWidget::keyPressEvent(QKeyEvent* pEvent)
{
    if (pEvent->key() == Qt::Key_Escape && Held.Kind != Gesture::None)
    {
        CancelGesture();
        return;
    }
    QWidget::keyPressEvent(pEvent);
}

void TimelineWidget::contextMenuEvent(QContextMenuEvent* pEvent)
{
    const auto marker = View.IsEmpty() ? std::nullopt : MarkerAt(Picture(), pEvent->pos());
    if (!marker || Held.Kind != Gesture::None)
    {
        pEvent->ignore();
        return;
    }
    Q_EMIT MarkerMenuRequested(static_cast<int>(*marker), pEvent->globalPos());
}
