// One notification as it stands over the video: title, message, and a button when something can be
// done about it. It goes away when its time is over, later while the pointer or the keyboard is on it.
//
// The one timer runs only while the card is shown. UI thread only.

#pragma once

#include "host/movane.h"

#include <QFrame>
#include <QTimer>

#include <functional>

class PlainLabel;
class QPushButton;

class NotificationCard : public QFrame
{
    Q_OBJECT

public:
    /// ActionText empty: no button.
    NotificationCard(const Movane::Notification& Shown,
                     const QString& ActionText,
                     std::function<void()> Action,
                     QWidget* pParent);

    /// The height that a width of WidthPx asks for.
    int HeightForPx(int WidthPx) const;

Q_SIGNALS:
    /// The time is over or the action was chosen. The receiver destroys the card later, not in a slot.
    void Finished();

protected:
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;
    void enterEvent(QEnterEvent* pEvent) override;
    void leaveEvent(QEvent* pEvent) override;
    void paintEvent(QPaintEvent* pEvent) override;

private:
    void ApplyTextScale();
    void UpdateTimer();

    Movane::NotificationType Type;
    bool bPointerOnIt = false;
    QTimer Timer;
    PlainLabel* pTitle = nullptr;
    PlainLabel* pMessage = nullptr;
    QPushButton* pButton = nullptr; ///< null without an action
};
