#include "desktop/notify/launcherprogress.h"

#include <QDBusMessage>
#include <QGuiApplication>
#include <QVariantMap>

#include <utility>

LauncherProgress::LauncherProgress(QDBusConnection SessionBus, QObject* pParent)
    : QObject(pParent)
    , Bus(std::move(SessionBus))
{
}

LauncherProgress::~LauncherProgress()
{
    Clear();
}

void LauncherProgress::Show(double Fraction)
{
    const int percent = static_cast<int>(Fraction * 100.0);
    if (ShownPercent != percent)
    {
        ShownPercent = percent;
        Send(percent / 100.0, true);
    }
}

void LauncherProgress::Clear()
{
    if (std::exchange(ShownPercent, std::nullopt).has_value())
    {
        Send(0.0, false);
    }
}

void LauncherProgress::Send(double Fraction, bool bVisible)
{
    if (!Bus.isConnected())
    {
        return;
    }
    QDBusMessage update = QDBusMessage::createSignal("/com/canonical/Unity/LauncherEntry",
                                                     "com.canonical.Unity.LauncherEntry", "Update");
    update << "application://" + QGuiApplication::desktopFileName() + ".desktop"
           << QVariantMap{{"progress", Fraction}, {"progress-visible", bVisible}};
    Bus.send(update); // queued, not waited for
}
