// The notifications of the application, stacked in the lower right corner of a widget, the newest at
// the bottom.
//
// It is given the widget that shows the video, stays inside it and follows its size, so it covers no
// controls. Without a notification it is hidden and nothing runs. UI thread only.

#pragma once

#include "host/movane.h"

#include <QWidget>

#include <functional>
#include <vector>

class NotificationCard;

class NotificationOverlay : public QWidget
{
    Q_OBJECT

public:
    /// VideoArea becomes the parent and owns the overlay.
    explicit NotificationOverlay(QWidget& VideoArea);

    /// Shows a notification for its DurationMs, counted anew when the pointer leaves it. With an
    /// ActionText there is a button that calls Action and takes the notification away.
    ///
    /// Where the area has no room for all, the oldest go before their time.
    void Add(const Movane::Notification& Shown,
             const QString& ActionText = {},
             std::function<void()> Action = {});

    /// How many are shown.
    int Count() const { return static_cast<int>(Cards.size()); }

protected:
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;
    bool event(QEvent* pEvent) override;

private:
    void Remove(NotificationCard* pCard);
    void Arrange();

    std::vector<NotificationCard*> Cards; ///< oldest first; children of this widget
};
