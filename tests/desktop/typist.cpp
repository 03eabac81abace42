// A person at the program under test: a plugin that the program loads when QT_QPA_GENERIC_PLUGINS names it.
//
// It presses the keys that are written, one a line ("Ctrl+E"), into the pipe MOVANE_TEST_KEYS, in the widget
// that has the focus (a compositor without a seat makes no window active; the first one is, then), and keeps the texts that are to be seen in the file MOVANE_TEST_TEXTS.

#include <QApplication>
#include <QGenericPlugin>
#include <QKeySequence>
#include <QLabel>
#include <QProgressBar>
#include <QSaveFile>
#include <QSocketNotifier>
#include <QTest>
#include <QTimer>

#include <array>

#include <fcntl.h>
#include <unistd.h>

namespace
{
QString TextsOnScreen()
{
    QString texts;
    for (const QWidget* const widget : QApplication::allWidgets())
    {
        if (!widget->isVisible())
        {
            continue;
        }
        texts += widget->windowTitle() + '\n';
        if (const auto* const label = qobject_cast<const QLabel*>(widget))
        {
            texts += label->text() + '\n';
        }
        if (const auto* const bar = qobject_cast<const QProgressBar*>(widget))
        {
            texts += bar->text() + '\n';
        }
    }
    return texts;
}

class Typist : public QObject
{
public:
    Typist()
        : Keys(open(qgetenv("MOVANE_TEST_KEYS").constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC))
        , TextsFile(qEnvironmentVariable("MOVANE_TEST_TEXTS"))
        , KeysWaiting(Keys, QSocketNotifier::Read)
    {
        connect(&KeysWaiting, &QSocketNotifier::activated, this, &Typist::PressKeys);
        connect(&Looks, &QTimer::timeout, this, &Typist::WriteTexts);
        Looks.start(20);
    }
    ~Typist() override { close(Keys); }

private:
    static void ActivateAWindow()
    {
        for (QWidget* const window : QApplication::topLevelWidgets())
        {
            if (window->isVisible() && window->focusWidget() != nullptr)
            {
                QT_WARNING_PUSH
                QT_WARNING_DISABLE_DEPRECATED // nothing takes its place where no seat is
                    QApplication::setActiveWindow(window);
                QT_WARNING_POP
                return;
            }
        }
    }

    void PressKeys()
    {
        if (QApplication::activeWindow() == nullptr && QApplication::platformName() == "wayland")
        {
            ActivateAWindow();
        }
        std::array<char, 256> piece = {};
        const ssize_t count = read(Keys, piece.data(), piece.size());
        const QByteArray lines(piece.data(), count > 0 ? count : 0);
        for (const QByteArray& line : lines.split('\n'))
        {
            const QKeySequence key(QString::fromUtf8(line));
            if (!key.isEmpty() && QApplication::focusWidget() != nullptr)
            {
                QTest::keyClick(QApplication::focusWidget(), key[0].key(),
                                key[0].keyboardModifiers());
            }
        }
    }

    void WriteTexts()
    {
        QSaveFile file(TextsFile);
        if (file.open(QIODevice::WriteOnly))
        {
            file.write(TextsOnScreen().toUtf8());
            file.commit();
        }
    }

    int Keys;
    QString TextsFile;
    QSocketNotifier KeysWaiting;
    QTimer Looks;
};
} // namespace

class TypistPlugin : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "typist.json")

public:
    // NOLINTNEXTLINE(readability-identifier-naming): the toolkit's name
    QObject* create(const QString& /*Key*/, const QString& /*Specification*/) override
    {
        return new Typist;
    }
};

#include "typist.moc"
