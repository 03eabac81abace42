// The export's progress in the application's entry in the task bar, where the desktop shows one.
//
// Sends the signal Update of com.canonical.Unity.LauncherEntry on the session bus, which names the
// desktop entry and needs no answer: nothing waits for it, and where there is no bus or nobody listens
// nothing happens. UI thread only.

#pragma once

#include <QDBusConnection>
#include <QObject>

#include <optional>

class LauncherProgress : public QObject
{
    Q_OBJECT

public:
    explicit LauncherProgress(QDBusConnection SessionBus, QObject* pParent = nullptr);
    /// Takes the progress away.
    ~LauncherProgress() override;

    /// Shows a fraction from 0 to 1; sends something only when that makes another whole percent.
    void Show(double Fraction);
    /// Takes the progress away, where one is shown.
    void Clear();

private:
    void Send(double Fraction, bool bVisible);

    QDBusConnection Bus;
    std::optional<int> ShownPercent;
};
