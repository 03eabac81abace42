// Notifications in the window and through the desktop's service, and the progress in the task bar.
//
// Service and task bar are fakes on a bus of the test's own.

#include "desktop/look/theme.h"
#include "desktop/notify/desktopnotifier.h"
#include "desktop/notify/launcherprogress.h"
#include "desktop/notify/notificationcard.h"
#include "desktop/notify/notificationoverlay.h"
#include "host/mvtheme.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QEnterEvent>
#include <QLabel>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <algorithm>
#include <memory>
#include <string>

namespace
{
constexpr std::uint64_t LongMs = 3'600'000;

Movane::Notification Message(const std::string& Text,
                             std::uint64_t DurationMs,
                             Movane::NotificationType Type = Movane::NotificationInfo)
{
    return {Type, "Clip Export", Text, DurationMs};
}

QList<NotificationCard*> VisibleCards(const NotificationOverlay& Overlay)
{
    QList<NotificationCard*> cards = Overlay.findChildren<NotificationCard*>();
    cards.removeIf([](const NotificationCard* pCard) { return pCard->isHidden(); });
    std::sort(cards.begin(), cards.end(),
              [](const NotificationCard* pFirst, const NotificationCard* pSecond)
              { return pFirst->y() < pSecond->y(); });
    return cards;
}

QStringList TextsOf(const NotificationOverlay& Overlay)
{
    QStringList texts;
    for (const NotificationCard* const card : VisibleCards(Overlay))
    {
        texts.append(card->findChildren<QLabel*>().last()->text());
    }
    return texts;
}

void Enter(QWidget& Widget)
{
    QEnterEvent event(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
    QCoreApplication::sendEvent(&Widget, &event);
}

void Leave(QWidget& Widget)
{
    QEvent event(QEvent::Leave);
    QCoreApplication::sendEvent(&Widget, &event);
}

/// What a desktop does with notifications, as far as the calls go.
class FakeService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Call
    {
        QString Summary;
        QString Body;
        QStringList Actions;
        QVariantMap Hints;
    };

    QStringList Capabilities;
    QList<Call> Calls;

public Q_SLOTS:
    // NOLINTBEGIN(readability-identifier-naming): the names of the protocol
    QStringList GetCapabilities() { return Capabilities; }
    uint Notify(const QString& /*app_name*/,
                uint /*replaces_id*/,
                const QString& /*app_icon*/,
                const QString& summary,
                const QString& body,
                const QStringList& actions,
                const QVariantMap& hints,
                int /*expire_timeout*/)
    {
        Calls.append({summary, body, actions, hints});
        return static_cast<uint>(Calls.size());
    }
    // NOLINTEND(readability-identifier-naming)

Q_SIGNALS:
    void ActionInvoked(uint Id, const QString& Key);
    void NotificationClosed(uint Id, uint Reason);
};

/// A session bus of its own, gone with the object.
class PrivateBus
{
public:
    PrivateBus()
    {
        Daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address"});
        if (Daemon.waitForStarted() && Daemon.waitForReadyRead())
        {
            Address = QString::fromUtf8(Daemon.readLine()).trimmed();
        }
    }

    ~PrivateBus()
    {
        for (const QString& name : Names)
        {
            QDBusConnection::disconnectFromBus(name);
        }
        Daemon.terminate();
        Daemon.waitForFinished();
    }

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    QDBusConnection Connect(const QString& Name)
    {
        Names.append(Name);
        return QDBusConnection::connectToBus(Address, Name);
    }

    static bool IsPossible() { return !QStandardPaths::findExecutable("dbus-daemon").isEmpty(); }

private:
    QProcess Daemon;
    QString Address;
    QStringList Names;
};

/// Hears what is told to the task bar.
class FakeTaskBar : public QObject
{
    Q_OBJECT

public:
    explicit FakeTaskBar(QDBusConnection Bus)
    {
        bListens = Bus.connect({}, {}, "com.canonical.Unity.LauncherEntry", "Update", this,
                               SLOT(Take(QString, QVariantMap)));
    }

    bool bListens = false;
    QStringList Entries;
    QList<double> Fractions;
    QList<bool> Visible;

public Q_SLOTS:
    void Take(const QString& Entry, const QVariantMap& Properties)
    {
        Entries.append(Entry);
        Fractions.append(Properties["progress"].toDouble());
        Visible.append(Properties["progress-visible"].toBool());
    }
};

bool Publish(QDBusConnection Bus, FakeService& Service)
{
    return Bus.registerObject("/org/freedesktop/Notifications", &Service,
                              QDBusConnection::ExportAllSlots |
                                  QDBusConnection::ExportAllSignals) &&
           Bus.registerService("org.freedesktop.Notifications");
}
} // namespace

class DesktopNotificationsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(".*"));
        MvTheme::SetTextScale(1.0);
        Theme::Apply();
        pArea = std::make_unique<QWidget>();
        pArea->resize(640, 400);
        pOverlay = new NotificationOverlay(*pArea);
        pArea->show();
    }

    void cleanup()
    {
        pArea.reset();
        MvTheme::SetTextScale(1.0);
    }

    // -- In the window

    void ANotificationIsShownForItsTime()
    {
        QElapsedTimer clock;
        clock.start();
        pOverlay->Add(Message("Exported a.mkv", 60));
        QCOMPARE(TextsOf(*pOverlay), QStringList{"Exported a.mkv"});
        QVERIFY(pOverlay->isVisible());
        QTRY_COMPARE(pOverlay->Count(), 0);
        QVERIFY(clock.elapsed() >= 55); // Qt's timers may be 5 % early
        QVERIFY(pOverlay->isHidden());
    }

    void EachNotificationHasItsOwnTime()
    {
        pOverlay->Add(Message("long", LongMs));
        pOverlay->Add(Message("short", 20));
        QTRY_COMPARE(TextsOf(*pOverlay), QStringList{"long"});
    }

    void TheNewestIsAtTheBottom()
    {
        for (const char* const text : {"first", "second", "third"})
        {
            pOverlay->Add(Message(text, LongMs));
        }
        QCOMPARE(TextsOf(*pOverlay), QStringList({"first", "second", "third"}));
    }

    void ItStaysInsideTheVideoAtEverySize()
    {
        for (const char* const text : {"first", "second", "third"})
        {
            pOverlay->Add(Message(text, LongMs));
        }
        for (const QSize size :
             {QSize(1280, 720), QSize(320, 240), QSize(200, 120), QSize(640, 80)})
        {
            pArea->resize(size);
            QVERIFY(pArea->rect().contains(pOverlay->geometry()));
            for (const NotificationCard* const card : VisibleCards(*pOverlay))
            {
                QVERIFY(pOverlay->rect().contains(card->geometry()));
            }
        }
        QCOMPARE(TextsOf(*pOverlay).last(), "third");
    }

    void TheOldestGoWhereThereIsNoRoom()
    {
        for (int i = 0; i < 50; ++i)
        {
            pOverlay->Add(Message(std::to_string(i), LongMs));
        }
        QVERIFY(pOverlay->Count() < 10);
        QCOMPARE(TextsOf(*pOverlay).last(), "49");
    }

    void ThePointerKeepsIt()
    {
        pOverlay->Add(Message("kept", 20));
        Enter(*VisibleCards(*pOverlay).first());
        pOverlay->Add(Message("not kept", 60));
        QTRY_COMPARE(TextsOf(*pOverlay), QStringList{"kept"});
        Leave(*VisibleCards(*pOverlay).first());
        QTRY_COMPARE(pOverlay->Count(), 0);
    }

    void ItsButtonActsAndTakesItAway()
    {
        int calls = 0;
        pOverlay->Add(Message("Exported a.mkv", LongMs), "Open folder", [&calls] { ++calls; });
        QPushButton& button = *pOverlay->findChild<QPushButton*>();
        QCOMPARE(button.text(), "Open folder");
        QTest::mouseClick(&button, Qt::LeftButton);
        QCOMPARE(calls, 1);
        QCOMPARE(pOverlay->Count(), 0);
    }

    void NothingRunsWhileNoneIsShown()
    {
        pOverlay->Add(Message("short", 20));
        QTRY_COMPARE(pOverlay->Count(), 0);
        QTRY_COMPARE(pOverlay->children().size(), 0);
        QVERIFY(pOverlay->isHidden());
    }

    void TheEdgeTellsTheType_data()
    {
        QTest::addColumn<Movane::NotificationType>("Type");
        QTest::addColumn<QColor>("Color");
        QTest::newRow("info") << Movane::NotificationInfo << Theme::Accent;
        QTest::newRow("success") << Movane::NotificationSuccess << Theme::Success;
        QTest::newRow("warning") << Movane::NotificationWarning << Theme::Warning;
        QTest::newRow("error") << Movane::NotificationError << Theme::Error;
    }

    void TheEdgeTellsTheType()
    {
        QFETCH(Movane::NotificationType, Type);
        QFETCH(QColor, Color);
        pOverlay->Add(Message("text", LongMs, Type));
        const QImage image = VisibleCards(*pOverlay).first()->grab().toImage();
        const int edge = static_cast<int>(1.5 * image.devicePixelRatio()); // beside the outline
        QCOMPARE(image.pixelColor(edge, image.height() / 2), Color);
    }

    void LargeTextIsWhole()
    {
        pArea->resize(900, 700);
        pOverlay->Add(Message("Exported clip_00001_with_a_name_that_is_long_indeed.mkv", LongMs));
        MvTheme::SetTextScale(3.0);
        Theme::Apply();
        QCoreApplication::processEvents();
        for (const QLabel* const label : pOverlay->findChildren<QLabel*>())
        {
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
            QCOMPARE(label->font().pixelSize(), Theme::NormalFont().pixelSize());
        }
    }

    void ACardStaysInsideASmallPictureWithItsButton()
    {
        MvTheme::SetTextScale(3.0);
        Theme::Apply();
        pArea->resize(500, 330);
        const std::string text =
            "Exported clip_00001_with_a_name_that_is_long_indeed_and_takes_many_lines.mkv";
        pOverlay->Add(Message(text, LongMs), "Open folder", [] {});
        QCoreApplication::processEvents();
        QVERIFY(pArea->rect().contains(pOverlay->geometry()));
        const NotificationCard& card = *VisibleCards(*pOverlay).first();
        QVERIFY(pOverlay->rect().contains(card.geometry()));
        const QPushButton& button = *card.findChild<QPushButton*>();
        QVERIFY(card.rect().contains(button.geometry()));
        QVERIFY(button.height() >= button.minimumSizeHint().height());
        const QLabel& message = *card.findChildren<QLabel*>().last();
        QVERIFY(message.height() >= message.fontMetrics().height());
        QVERIFY(message.toolTip().contains("many_lines.mkv"));
    }

    // -- Through the desktop

    void WithoutABusNothingHappens()
    {
        DesktopNotifier notifier{QDBusConnection("a bus that is not there")};
        notifier.Notify(Message("text", LongMs), "Open folder", [] { QFAIL("called"); });
        QCoreApplication::processEvents();
    }

    void WithoutAServiceNothingHappensUntilOneComes()
    {
        if (!PrivateBus::IsPossible())
        {
            QSKIP("needs dbus-daemon");
        }
        PrivateBus bus;
        DesktopNotifier notifier{bus.Connect("application")};
        notifier.Notify(Message("nobody hears this", LongMs));
        // The error comes back before the answer to a later call of the same connection.
        QDBusConnection("application").interface()->registeredServiceNames();
        QCoreApplication::processEvents();

        FakeService service;
        QVERIFY(Publish(bus.Connect("desktop"), service));
        notifier.Notify(Message("somebody hears this", LongMs));
        QTRY_COMPARE(service.Calls.size(), 1);
        QCOMPARE(service.Calls[0].Body, "somebody hears this");
    }

    void APlainServiceGetsPlainTextAndNoButton()
    {
        if (!PrivateBus::IsPossible())
        {
            QSKIP("needs dbus-daemon");
        }
        PrivateBus bus;
        FakeService service;
        service.Capabilities = {"body"};
        QVERIFY(Publish(bus.Connect("desktop"), service));
        DesktopNotifier notifier{bus.Connect("application")};
        notifier.Notify(Message("Exported <a> & b.mkv", LongMs), "Open folder", [] {});
        QTRY_COMPARE(service.Calls.size(), 1);
        QCOMPARE(service.Calls[0].Summary, "Clip Export");
        QCOMPARE(service.Calls[0].Body, "Exported <a> & b.mkv");
        QCOMPARE(service.Calls[0].Actions, QStringList());
    }

    void AFullServiceGetsMarkupAndAButtonThatActsOnce()
    {
        if (!PrivateBus::IsPossible())
        {
            QSKIP("needs dbus-daemon");
        }
        PrivateBus bus;
        FakeService service;
        service.Capabilities = {"body", "body-markup", "actions"};
        QVERIFY(Publish(bus.Connect("desktop"), service));
        DesktopNotifier notifier{bus.Connect("application")};
        int calls = 0;
        notifier.Notify(Message("Exported <a> & b.mkv", LongMs), "Open folder",
                        [&calls] { ++calls; });
        QTRY_COMPARE(service.Calls.size(), 1);
        QCOMPARE(service.Calls[0].Body, "Exported &lt;a&gt; &amp; b.mkv");
        QCOMPARE(service.Calls[0].Actions.value(1), "Open folder");

        const QString key = service.Calls[0].Actions.value(0);
        // Until the reply with the number has come, a button of that number is nobody's.
        QTRY_VERIFY(
            (Q_EMIT service.ActionInvoked(1, key), QCoreApplication::processEvents(), calls > 0));
        Q_EMIT service.ActionInvoked(1, key);
        notifier.Notify(Message("the next one", LongMs));
        QTRY_COMPARE(service.Calls.size(), 2);
        QCOMPARE(calls, 1);
    }

    // -- In the task bar

    void TheTaskBarGetsEachWholePercentOnceAndTheEnd()
    {
        if (!PrivateBus::IsPossible())
        {
            QSKIP("needs dbus-daemon");
        }
        QGuiApplication::setDesktopFileName("movane");
        PrivateBus bus;
        const FakeTaskBar taskBar(bus.Connect("desktop"));
        QVERIFY(taskBar.bListens);
        LauncherProgress progress{bus.Connect("application")};
        progress.Clear(); // nothing is shown yet
        for (const double fraction : {0.0, 0.001, 0.25, 0.259, 0.5})
        {
            progress.Show(fraction);
        }
        progress.Clear();
        progress.Clear();
        QTRY_COMPARE(taskBar.Visible.size(), 4);
        QCOMPARE(taskBar.Fractions, QList<double>({0.0, 0.25, 0.5, 0.0}));
        QCOMPARE(taskBar.Visible, QList<bool>({true, true, true, false}));
        QCOMPARE(taskBar.Entries, QStringList(4, "application://movane.desktop"));
    }

    void TheTaskBarIsClearedWhenTheProgramGoes()
    {
        if (!PrivateBus::IsPossible())
        {
            QSKIP("needs dbus-daemon");
        }
        PrivateBus bus;
        const FakeTaskBar taskBar(bus.Connect("desktop"));
        LauncherProgress(bus.Connect("application")).Show(0.5);
        QTRY_COMPARE(taskBar.Visible, QList<bool>({true, false}));
    }

    void WithoutABusTheTaskBarIsLeftAlone()
    {
        LauncherProgress progress{QDBusConnection("a bus that is not there")};
        progress.Show(0.5);
        progress.Clear();
    }

private:
    std::unique_ptr<QWidget> pArea;
    NotificationOverlay* pOverlay = nullptr; // a child of the area
};

QTEST_MAIN(DesktopNotificationsTest)
#include "desktop_notifications_test.moc"
