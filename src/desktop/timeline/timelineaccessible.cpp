#include "desktop/timeline/timelineaccessible.h"

#include "desktop/look/timetext.h"
#include "desktop/timeline/timelinewidget.h"

#include <QAccessible>
#include <QAccessibleWidget>

#include <cmath>

namespace
{
class TimelineAccessible : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    explicit TimelineAccessible(TimelineWidget* pWidget)
        : QAccessibleWidget(pWidget, QAccessible::Slider, QStringLiteral("Timeline"))
        , pTimeline(pWidget)
    {
    }

    void* interface_cast(QAccessible::InterfaceType Type) override
    {
        return Type == QAccessible::ValueInterface ? static_cast<QAccessibleValueInterface*>(this)
                                                   : QAccessibleWidget::interface_cast(Type);
    }

    QString text(QAccessible::Text Kind) const override
    {
        if (Kind == QAccessible::Description)
        {
            return Description();
        }
        return Kind == QAccessible::Value ? TimeText(Shown().PlayheadSec)
                                          : QAccessibleWidget::text(Kind);
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.disabled = state.disabled || pTimeline->Scale().IsEmpty();
        return state;
    }

    QVariant currentValue() const override { return Shown().PlayheadSec; }
    QVariant minimumValue() const override { return 0.0; }
    QVariant maximumValue() const override { return pTimeline->Scale().DurationSec(); }
    QVariant minimumStepSize() const override
    {
        const double framesPerSecond = Shown().FramesPerSecond;
        return framesPerSecond > 0.0 ? 1.0 / framesPerSecond : 0.04;
    }
    void setCurrentValue(const QVariant& Value) override
    {
        pTimeline->RequestSeek(Value.toDouble());
    }

private:
    const TimelineState& Shown() const { return pTimeline->State(); }

    QString Description() const
    {
        if (pTimeline->Scale().DurationSec() <= 0.0)
        {
            return QStringLiteral("No video is open");
        }
        QString text = "Playhead at " + TimeText(Shown().PlayheadSec) + " of " +
                       TimeText(pTimeline->Scale().DurationSec());
        if (Shown().bHasRange)
        {
            text += ", In at " + TimeText(Shown().RangeStartSec) + ", Out at " +
                    TimeText(Shown().RangeEndSec);
        }
        return text;
    }

    TimelineWidget* pTimeline;
};

QAccessibleInterface* MakeInterface(const QString& /*ClassName*/, QObject* pObject)
{
    auto* pTimeline = qobject_cast<TimelineWidget*>(pObject);
    return pTimeline != nullptr ? new TimelineAccessible(pTimeline) : nullptr;
}
} // namespace

void InstallTimelineAccessible()
{
    QAccessible::installFactory(MakeInterface); // which ignores one that it knows already
}

bool IsWorthTelling(double OldSec, double NewSec)
{
    return IsJump(OldSec, NewSec) || std::floor(OldSec) != std::floor(NewSec);
}

void TellValue(TimelineWidget& Timeline)
{
    QAccessibleValueChangeEvent event(&Timeline, Timeline.State().PlayheadSec);
    QAccessible::updateAccessibility(&event);
}
