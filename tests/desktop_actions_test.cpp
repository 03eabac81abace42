// The table of actions, and the shortcuts that are made from it.

#include "desktop/actionset.h"
#include "desktop/actiontable.h"
#include "desktop/commands.h"
#include "desktop/session.h"
#include "media/mpvvideo.h"

#include <QFile>
#include <QLineEdit>
#include <QMap>
#include <QTest>
#include <QVBoxLayout>

namespace
{
QString ReadText(const QString& Path)
{
    QFile file(Path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// A window with a text field and something else that takes the focus.
class FieldWindow : public QWidget
{
public:
    explicit FieldWindow(Commands& Target)
        : Actions(*this, Target)
    {
        auto* const layout = new QVBoxLayout(this);
        layout->addWidget(&Field);
        layout->addWidget(&Other);
        Other.setFocusPolicy(Qt::StrongFocus);
        show();
        activateWindow();
    }

    ActionSet Actions;
    QLineEdit Field;
    QWidget Other;
};
} // namespace

class DesktopActionsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void NoTwoActionsShareAKey()
    {
        QMap<QString, QString> owners;
        for (const ActionInfo& info : ActionTable())
        {
            for (const QKeySequence& key : KeysOf(info))
            {
                const QString text = key.toString(QKeySequence::PortableText);
                QVERIFY2(!text.isEmpty(), info.Name);
                QVERIFY2(!owners.contains(text), qPrintable(text + ": " + owners.value(text)));
                owners.insert(text, info.Name);
            }
        }
        QVERIFY(owners.contains("I"));
    }

    void EveryActionHasANameATooltipAndAHandler()
    {
        for (const ActionInfo& info : ActionTable())
        {
            QVERIFY(!QString(info.Name).isEmpty());
            QVERIFY2(QString(info.Tooltip).endsWith('.'), info.Name);
            QVERIFY2(info.Handler != nullptr, info.Name);
        }
    }

    void TheKeysPageOfTheManualIsMadeFromTheTable()
    {
        const QString path = MOVANE_KEYS_PAGE;
        if (qEnvironmentVariableIsSet("MOVANE_WRITE_KEYS"))
        {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(KeysPage().toUtf8());
        }
        QVERIFY2(ReadText(path) == KeysPage(), "docs/keys.md is out of date: run script/keys");
    }

    void ATooltipNamesTheKeys()
    {
        Session session([](std::string&) { return std::unique_ptr<MpvVideo>(); });
        Commands commands(session);
        FieldWindow window(commands);
        QCOMPARE(window.Actions.Get(ActionId::SetIn)->toolTip(), "Sets In at the playhead. (I)");
        QVERIFY(window.Actions.Get(ActionId::ExportClip)->toolTip().contains("E, Ctrl+E"));
    }

    void PlainKeysActOnlyWhileNoTextFieldHasTheFocus()
    {
        Session session([](std::string&) { return std::unique_ptr<MpvVideo>(); });
        Commands commands(session);
        FieldWindow window(commands);
        QVERIFY(QTest::qWaitForWindowActive(&window));
        int requests = 0;
        QObject::connect(&commands, &Commands::GoToTimeRequested, &window, [&] { ++requests; });

        window.Field.setFocus();
        QTest::keyClick(&window.Field, Qt::Key_G);
        QCOMPARE(requests, 0);
        QCOMPARE(window.Field.text(), "g");

        window.Other.setFocus();
        QTest::keyClick(&window.Other, Qt::Key_G);
        QCOMPARE(requests, 1);
    }

    void KeysWithControlActInATextFieldToo()
    {
        Session session([](std::string&) { return std::unique_ptr<MpvVideo>(); });
        Commands commands(session);
        FieldWindow window(commands);
        QVERIFY(QTest::qWaitForWindowActive(&window));
        int requests = 0;
        QObject::connect(&commands, &Commands::OpenRequested, &window, [&] { ++requests; });
        window.Field.setFocus();
        QTest::keyClick(&window.Field, Qt::Key_O, Qt::ControlModifier);
        QCOMPARE(requests, 1);
    }
};

QTEST_MAIN(DesktopActionsTest)
#include "desktop_actions_test.moc"
