// The table of actions, and the shortcuts that are made from it.

#include "desktop/actions/actionset.h"
#include "desktop/actions/actiontable.h"
#include "desktop/actions/commands.h"
#include "desktop/actions/widgetkeys.h"
#include "desktop/look/pathtext.h"
#include "desktop/session/session.h"
#include "player/mpvvideo.h"

#include <QFile>
#include <QLineEdit>
#include <QMap>
#include <QSignalSpy>
#include <QSlider>
#include <QTableWidget>
#include <QTest>
#include <QToolButton>
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

    void EveryActionHasANameATooltipAndAFunction()
    {
        for (const ActionInfo& info : ActionTable())
        {
            QVERIFY(!QString(info.Name).isEmpty());
            QVERIFY2(QString(info.Tooltip).endsWith('.'), info.Name);
            QVERIFY2(info.Do != nullptr, info.Name);
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
        QCOMPARE(window.Actions.Get(ActionId::SetIn)->toolTip(),
                 "Makes the frame that is shown the first one of the range. (I)");
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

    void AFocusedButtonIsPressedBySpaceAndReturn_data()
    {
        QTest::addColumn<Qt::Key>("Key");
        QTest::newRow("Space") << Qt::Key_Space;
        QTest::newRow("Return") << Qt::Key_Return;
        QTest::newRow("Enter") << Qt::Key_Enter;
    }

    void AFocusedButtonIsPressedBySpaceAndReturn()
    {
        QFETCH(Qt::Key, Key);
        Session session([](std::string&) { return std::unique_ptr<MpvVideo>(); });
        Commands commands(session);
        FieldWindow window(commands);
        WidgetKeys keys;
        qApp->installEventFilter(&keys);
        QToolButton button;
        window.layout()->addWidget(&button);
        button.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const QSignalSpy pressed(&button, &QToolButton::clicked);
        const QSignalSpy played(window.Actions.Get(ActionId::PlayPause), &QAction::triggered);
        button.setFocus();
        QTest::keyClick(&button, Key);
        QCOMPARE(pressed.count(), 1);
        QCOMPARE(played.count(), 0);
    }

    void AFocusedSliderTakesTheArrows()
    {
        Session session([](std::string&) { return std::unique_ptr<MpvVideo>(); });
        Commands commands(session);
        FieldWindow window(commands);
        WidgetKeys keys;
        qApp->installEventFilter(&keys);
        QSlider slider(Qt::Horizontal);
        window.layout()->addWidget(&slider);
        slider.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        slider.setFocus();
        QTest::keyClick(&slider, Qt::Key_Right);
        QCOMPARE(slider.value(), 1);
    }

    void AFocusedTableTurnsItsPages()
    {
        Session session([](std::string&) { return std::unique_ptr<MpvVideo>(); });
        Commands commands(session);
        FieldWindow window(commands);
        WidgetKeys keys;
        qApp->installEventFilter(&keys);
        QTableWidget table(200, 1);
        table.setMinimumHeight(300);
        window.layout()->addWidget(&table);
        table.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QCoreApplication::processEvents();
        table.setFocus();
        table.setCurrentCell(0, 0);
        QTest::keyClick(&table, Qt::Key_PageDown);
        QVERIFY(table.currentRow() > 1);
    }

    void ATextFieldKeepsNoKeyWithControlButThoseThatMoveInIt()
    {
        Session session([](std::string&) { return std::unique_ptr<MpvVideo>(); });
        Commands commands(session);
        FieldWindow window(commands);
        WidgetKeys keys;
        qApp->installEventFilter(&keys);
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.Field.setText("two words");
        window.Field.setFocus();
        const QSignalSpy exported(window.Actions.Get(ActionId::ExportClip), &QAction::triggered);
        QTest::keyClick(&window.Field, Qt::Key_E, Qt::ControlModifier);
        QCOMPARE(exported.count(), 1);
        QTest::keyClick(&window.Field, Qt::Key_Left, Qt::ControlModifier);
        QCOMPARE(window.Field.cursorPosition(), 4);
    }

    void APathWithAnyBytesComesBackTheSame()
    {
        for (const std::string& path :
             {std::string(), std::string("/a b.mp4"), std::string("/日本語/\xF0\x9F\x8E\xAC.mp4"),
              std::string("/lat\xE9 日.mp4"), std::string("\xFF\x80\n")})
        {
            QCOMPARE(PathBytes(PathText(path)), path);
            QCOMPARE(PathBytes("/日\U0001F3AC/" + PathText(path)), "/日\xF0\x9F\x8E\xAC/" + path);
        }
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
