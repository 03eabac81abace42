// Notifications through the desktop's own service, for when the application is not in sight.
//
// Speaks version 1.2 of the freedesktop protocol (org.freedesktop.Notifications on the session
// bus). Every call is asynchronous; where there is no bus or no service nothing happens and nothing is
// said. UI thread only.

#pragma once

#include "host/movane.h"

#include <QDBusConnection>
#include <QHash>
#include <QObject>

#include <functional>
#include <optional>
#include <vector>

class QDBusPendingCallWatcher;

class DesktopNotifier : public QObject
{
    Q_OBJECT

public:
    explicit DesktopNotifier(QDBusConnection SessionBus, QObject* pParent = nullptr);

    /// Shows a notification for as long as the desktop sees fit. Where the service can, ActionText is
    /// a button on it that calls Action; empty for none.
    void Notify(const Movane::Notification& Shown,
                const QString& ActionText = {},
                std::function<void()> Action = {});

private Q_SLOTS:
    void OnActionInvoked(uint Id, const QString& Key);
    void OnNotificationClosed(uint Id, uint Reason);

private:
    struct Request
    {
        Movane::Notification Shown;
        QString ActionText;
        std::function<void()> Action;
    };

    void AskCapabilities();
    void Send(const Request& Wanted);

    QDBusConnection Bus;
    bool bAsking = false;                       ///< the question for the capabilities is on its way
    std::optional<QStringList> Capabilities;    ///< of the service, once it has told them
    std::vector<Request> Waiting;               ///< for the capabilities
    QHash<uint, std::function<void()>> Actions; ///< by the service's number of the notification
};
