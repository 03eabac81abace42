#include "desktop/notify/desktopnotifier.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>

#include <utility>

namespace
{
constexpr const char* Service = "org.freedesktop.Notifications";
constexpr const char* Path = "/org/freedesktop/Notifications";
constexpr const char* Interface = "org.freedesktop.Notifications";
constexpr const char* ActionKey = "action";

QDBusMessage MethodCall(const char* Method)
{
    return QDBusMessage::createMethodCall(Service, Path, Interface, Method);
}

QVariantMap Hints(Movane::NotificationType Type)
{
    // Never critical: that one stays until somebody takes it away.
    const uchar urgency = Type == Movane::NotificationInfo ? 0 : 1;
    return {{"urgency", QVariant::fromValue(urgency)},
            {"desktop-entry", QGuiApplication::desktopFileName()}};
}
} // namespace

DesktopNotifier::DesktopNotifier(QDBusConnection SessionBus, QObject* pParent)
    : QObject(pParent)
    , Bus(std::move(SessionBus))
{
    Bus.connect(Service, Path, Interface, "ActionInvoked", this,
                SLOT(OnActionInvoked(uint, QString)));
    Bus.connect(Service, Path, Interface, "NotificationClosed", this,
                SLOT(OnNotificationClosed(uint, uint)));
}

void DesktopNotifier::Notify(const Movane::Notification& Shown,
                             const QString& ActionText,
                             std::function<void()> Action)
{
    if (!Bus.isConnected())
    {
        return;
    }
    Request wanted{Shown, ActionText, std::move(Action)};
    if (Capabilities.has_value())
    {
        Send(wanted);
        return;
    }
    Waiting.push_back(std::move(wanted));
    if (!bAsking)
    {
        AskCapabilities();
    }
}

// What the service can do decides how the text is written and whether there is a button.
void DesktopNotifier::AskCapabilities()
{
    bAsking = true;
    auto* const watcher =
        new QDBusPendingCallWatcher(Bus.asyncCall(MethodCall("GetCapabilities")), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher]
            {
                watcher->deleteLater();
                bAsking = false;
                const std::vector<Request> requests = std::exchange(Waiting, {});
                const QDBusPendingReply<QStringList> reply = *watcher;
                if (reply.isError())
                {
                    return; // no service now; the next notification asks again
                }
                Capabilities = reply.value();
                for (const Request& wanted : requests)
                {
                    Send(wanted);
                }
            });
}

void DesktopNotifier::Send(const Request& Wanted)
{
    const QString message = QString::fromStdString(Wanted.Shown.Message);
    const bool bMarkup = Capabilities->contains("body-markup");
    const bool bButton = !Wanted.ActionText.isEmpty() && Capabilities->contains("actions");
    QDBusMessage call = MethodCall("Notify");
    call << QGuiApplication::applicationDisplayName() << 0U << QGuiApplication::desktopFileName()
         << QString::fromStdString(Wanted.Shown.Title)
         << (bMarkup ? message.toHtmlEscaped() : message)
         << (bButton ? QStringList{ActionKey, Wanted.ActionText} : QStringList())
         << Hints(Wanted.Shown.Type) << -1;
    auto* const watcher = new QDBusPendingCallWatcher(Bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, watcher, action = bButton ? Wanted.Action : std::function<void()>()]
            {
                watcher->deleteLater();
                const QDBusPendingReply<uint> reply = *watcher;
                if (reply.isError())
                {
                    Capabilities.reset(); // the service has gone; another may do otherwise
                }
                else if (action)
                {
                    Actions.insert(reply.value(), action);
                }
            });
}

void DesktopNotifier::OnActionInvoked(uint Id, const QString& Key)
{
    const std::function<void()> action = Key == ActionKey ? Actions.take(Id) : nullptr;
    if (action)
    {
        action();
    }
}

void DesktopNotifier::OnNotificationClosed(uint Id, uint /*Reason*/)
{
    Actions.remove(Id);
}
