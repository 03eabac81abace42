#include "desktop/notify/notificationcard.h"

#include "desktop/look/plainlabel.h"
#include "desktop/look/theme.h"

#include <QAccessible>
#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <limits>
#include <utility>

namespace
{
constexpr int EdgePx = 3;
constexpr int RadiusPx = 4;

QColor EdgeColor(Movane::NotificationType Type)
{
    switch (Type)
    {
    case Movane::NotificationSuccess:
        return Theme::Success;
    case Movane::NotificationWarning:
        return Theme::Warning;
    case Movane::NotificationError:
        return Theme::Error;
    case Movane::NotificationInfo:
        break;
    }
    return Theme::Accent;
}

int TimerMs(std::uint64_t DurationMs)
{
    constexpr std::uint64_t LongestMs = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(DurationMs, LongestMs));
}
} // namespace

NotificationCard::NotificationCard(const Movane::Notification& Shown,
                                   const QString& ActionText,
                                   std::function<void()> Action,
                                   QWidget* pParent)
    : QFrame(pParent)
    , Type(Shown.Type)
{
    pTitle = new PlainLabel(PlainLabel::Overflow::Wrap);
    pTitle->setText(QString::fromStdString(Shown.Title));
    QFont bold; // nothing but the weight: the size stays the application's
    bold.setBold(true);
    pTitle->setFont(bold);
    pMessage = new PlainLabel(PlainLabel::Overflow::Wrap);
    pMessage->setText(QString::fromStdString(Shown.Message));
    auto* const lines = new QVBoxLayout(this);
    lines->addWidget(pTitle);
    lines->addWidget(pMessage);
    if (!ActionText.isEmpty())
    {
        pButton = new QPushButton(ActionText);
        pButton->installEventFilter(this);
        connect(pButton, &QPushButton::clicked, this,
                [this, action = std::move(Action)]
                {
                    Q_EMIT Finished();
                    if (action)
                    {
                        action();
                    }
                });
        lines->addWidget(pButton, 0, Qt::AlignLeft);
    }
    setAccessibleName(pTitle->text() + ": " + pMessage->text());
    ApplyTextScale();

    Timer.setSingleShot(true);
    Timer.setInterval(TimerMs(Shown.DurationMs));
    connect(&Timer, &QTimer::timeout, this, &NotificationCard::Finished);
    Timer.start();
    QAccessibleEvent announcement(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&announcement);
}

void NotificationCard::ApplyTextScale()
{
    const int marginPx = Theme::ScaledPx(10);
    layout()->setContentsMargins(marginPx + EdgePx, marginPx, marginPx, marginPx);
    layout()->setSpacing(Theme::ScaledPx(4));
}

int NotificationCard::HeightForPx(int WidthPx) const
{
    return layout()->totalHeightForWidth(WidthPx);
}

// Whoever comes back to it later has the full time again.
void NotificationCard::UpdateTimer()
{
    const bool bKept = bPointerOnIt || (pButton != nullptr && pButton->hasFocus());
    if (bKept)
    {
        Timer.stop();
    }
    else if (!Timer.isActive())
    {
        Timer.start();
    }
}

bool NotificationCard::eventFilter(QObject* pWatched, QEvent* pEvent)
{
    if (pEvent->type() == QEvent::FocusIn || pEvent->type() == QEvent::FocusOut)
    {
        // Queued: the button has the focus, or has lost it, only after this event.
        QMetaObject::invokeMethod(this, &NotificationCard::UpdateTimer, Qt::QueuedConnection);
    }
    return QFrame::eventFilter(pWatched, pEvent);
}

void NotificationCard::changeEvent(QEvent* pEvent)
{
    QFrame::changeEvent(pEvent);
    if (pEvent->type() == QEvent::StyleChange)
    {
        ApplyTextScale();
    }
}

void NotificationCard::enterEvent(QEnterEvent* pEvent)
{
    QFrame::enterEvent(pEvent);
    bPointerOnIt = true;
    UpdateTimer();
}

void NotificationCard::leaveEvent(QEvent* pEvent)
{
    QFrame::leaveEvent(pEvent);
    bPointerOnIt = false;
    UpdateTimer();
}

void NotificationCard::paintEvent(QPaintEvent* /*pEvent*/)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF frame = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath outline;
    outline.addRoundedRect(frame, RadiusPx, RadiusPx);
    painter.fillPath(outline, Theme::Raised);
    painter.save();
    painter.setClipPath(outline);
    painter.fillRect(QRectF(0.0, 0.0, EdgePx, height()), EdgeColor(Type));
    painter.restore();
    painter.setPen(Theme::Line);
    painter.drawPath(outline);
}
