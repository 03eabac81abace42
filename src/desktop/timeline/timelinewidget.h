// The timeline of a video window: shows a TimelineState and turns gestures into requests.
//
// It changes nothing itself. A click or a drag asks to seek; a drag of an end of the In/Out range works
// on a copy that is reported once, at release, and shows its picture meanwhile; Escape drops what the
// hand holds and puts everything back. The wheel zooms at the pointer (with or without Ctrl), Shift and
// the wheel or a drag with the middle button move the view. Of the keys only Escape during a drag is
// taken; seeking and zooming by keyboard are the application's actions, which the focused timeline lets
// pass. To a screen reader it is a slider. Times are seconds from the start of the source. UI thread only.

#pragma once

#include "desktop/timeline/timelinelayout.h"

#include <QPixmap>
#include <QWidget>

#include <functional>
#include <optional>
#include <utility>

class TimelineWidget : public QWidget
{
    Q_OBJECT

public:
    explicit TimelineWidget(QWidget* pParent = nullptr);

    /// Shows another state; the same state costs a comparison and no painting.
    ///
    /// Another duration shows the whole again and drops a drag, and so does another range for a drag
    /// of its end. When the playhead runs out of a zoomed view, or jumps, the view turns to its page;
    /// it stays when the user has moved it away from a playhead that plays on.
    void SetState(const TimelineState& NewState);
    const TimelineState& State() const { return Shown; }
    const TimelineScale& Scale() const { return View; }
    const TimelineRows& Rows() const { return Places; }
    /// What is painted now, a drag's working copy and the pointer's line included. Borrows from the
    /// widget: valid until it changes.
    TimelinePicture Picture() const;

    /// Sets what tells the range whose End (that of Before) was dragged to HandSec: where frames begin is
    /// not the widget's to know. Without it an end goes with the hand, up to the other one.
    using DragRule =
        std::function<TimelineDrag(const TimelineRange& Before, RangeEnd End, double HandSec)>;
    void SetDragRule(DragRule NewRule) { RuleOfDrag = std::move(NewRule); }

    /// Emits SeekRequested for a time, kept within the source.
    void RequestSeek(double Sec);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

public Q_SLOTS:
    /// Zoom at the playhead where it is visible, else at the middle.
    void ZoomIn();
    void ZoomOut();
    void ZoomToFit();
    /// Moves the view by its own width, less a little that stays in sight; later times for a positive
    /// number. The playhead stays where it is.
    void TurnPages(int Pages);

Q_SIGNALS:
    /// A click, each step of a drag (also of an end, so that its picture is seen), or the way back.
    void SeekRequested(double Sec);
    /// One end was dragged; once, at release, and only when the range is another one.
    void RangeEdited(double StartSec, double EndSec);
    /// A click on a bar; the clip's row in the clip table.
    void ClipPicked(int Row);
    /// A double click on a bar, after the ClipPicked of its first click.
    void ClipOpened(int Row);
    /// A menu is asked for at a flag; Index is that of State().Markers.
    void MarkerMenuRequested(int Index, QPoint GlobalPoint);

protected:
    bool event(QEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;
    void hideEvent(QHideEvent* pEvent) override;
    void leaveEvent(QEvent* pEvent) override;
    void mousePressEvent(QMouseEvent* pEvent) override;
    void mouseMoveEvent(QMouseEvent* pEvent) override;
    void mouseReleaseEvent(QMouseEvent* pEvent) override;
    void mouseDoubleClickEvent(QMouseEvent* pEvent) override;
    void wheelEvent(QWheelEvent* pEvent) override;
    void keyPressEvent(QKeyEvent* pEvent) override;
    void contextMenuEvent(QContextMenuEvent* pEvent) override;

private:
    enum class Gesture
    {
        None,
        Seek,
        Clip, ///< a press on a bar: a click picks it, a drag seeks
        Range,
        Pan,
    };

    /// What the pressed button holds, with all that a cancel puts back.
    struct Hold
    {
        Gesture Kind = Gesture::None;
        Qt::MouseButton Button = Qt::NoButton;
        QPointF PressPoint;
        bool bMoved = false; ///< far enough to be no click
        TimelineScale ViewBefore;
        double PlayheadBeforeSec = 0.0;
        double SeekSec = 0.0; ///< asked for last
        int Row = -1;
        RangeEnd End = RangeEnd::In;
        TimelineRange RangeBefore;
        TimelineRange Range; ///< the working copy
    };

    /// All that the painted marking is made of.
    struct MarkingLook
    {
        TimelineState State; ///< with the playhead at 0
        TimelineRows Rows;
        TimelineScale Scale;
        std::optional<TimelineRange> Range;
        std::optional<RangeEnd> HotEnd;
        double PixelRatio = 0.0;

        bool operator==(const MarkingLook&) const = default;
    };

    void TakeMarking(const TimelineState& NewState);
    const QPixmap& Marking(const TimelinePicture& Wanted, double PixelRatio);
    void PlayheadMoved(double OldSec);
    void LayOut();
    void ZoomByStep(double Factor);

    void Press(QPointF Point);
    void Drag(QPointF Point);
    static TimelineDrag FreeDrag(const TimelineRange& Before, RangeEnd End, double HandSec);
    void DragRange(double Px);
    void PullView(double Px);
    void SeekTo(double Sec);
    void CancelGesture();
    void SeekBack(const Hold& Ended);
    void PointAt(QPointF Point);
    bool ShowToolTip(QPointF Point, QPoint GlobalPoint);

    TimelineState Shown;
    TimelineScale View;
    TimelineRows Places;
    TimelineIndex Index;
    QPixmap PaintedMarking; ///< kept, so that a playhead that moves has no clip painted
    MarkingLook PaintedLook;
    Hold Held;
    DragRule RuleOfDrag = &TimelineWidget::FreeDrag;
    std::optional<double> PointerPx; ///< while the pointer is over the widget
    std::optional<RangeEnd> HotEnd;
};
