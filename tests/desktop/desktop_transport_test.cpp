// The transport bar: shows its state, triggers its actions, tells what the user chose.

#include "desktop/look/theme.h"
#include "desktop/video/transportbar.h"
#include "host/mvtheme.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

namespace
{
struct ActionWithKey : QAction
{
    explicit ActionWithKey(const QString& Name)
        : QAction(Name)
    {
        setToolTip(Name + " (Key)");
    }
};

// A bar with actions of its own, below a text field.
struct BarWindow
{
    BarWindow()
    {
        auto* const layout = new QVBoxLayout(&Window);
        layout->addWidget(&Field);
        layout->addWidget(&Bar);
        Window.resize(1000, 100);
        Window.show();
    }

    template <typename Kind> Kind& Find(const char* Name)
    {
        auto* const found = Bar.findChild<Kind*>(Name);
        Q_ASSERT(found != nullptr);
        return *found;
    }
    void Click(const char* Name) { QTest::mouseClick(&Find<QToolButton>(Name), Qt::LeftButton); }
    QString TextOf(const char* Name) { return Find<QLabel>(Name).text(); }

    ActionWithKey PlayPause{"Play or pause"};
    ActionWithKey Back{"Previous frame"};
    ActionWithKey Forward{"Next frame"};
    ActionWithKey Mute{"Mute"};
    QWidget Window;
    QLineEdit Field;
    TransportBar Bar{{&PlayPause, &Back, &Forward, &Mute}};
};

TransportState OpenFile()
{
    TransportState state;
    state.bHasFile = true;
    state.TimeSec = 1.5;
    state.DurationSec = 20.0;
    state.Frame = 37;
    state.FrameCount = 500;
    return state;
}

bool IsWithin(const QWidget& Outer, const QWidget& Inner)
{
    const QRect place(Inner.mapTo(&Outer, QPoint(0, 0)), Inner.size());
    return Outer.rect().contains(place);
}
} // namespace

class DesktopTransportTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void AButtonTriggersItsAction_data();
    void AButtonTriggersItsAction();
    void AClickLeavesTheFocusWhereItIs();
    void EveryButtonHasANameAndATooltip();
    void ShowsTheTimeToTheMillisecondAndTheFrame();
    void ShowsOnlyTheTimeWhenTheRestIsUnknown();
    void KeepsItsWidthWhileTheTimeRuns();
    void ThePlayButtonSaysWhatItDoesNext();
    void TheMuteButtonSaysWhatItDoesNext();
    void OnlyTheSoundWorksWithoutAFile();
    void ShowsTheVolumeAndTellsNobody();
    void TellsTheVolumeThatTheUserSets();
    void AVolumeInTheUsersHandStaysThere();
    void TellsTheSpeedThatTheUserPicks();
    void ShowsTheSpeedOnlyOnceThePlayerHasIt();
    void ShowsASpeedThatIsNotInTheMenu();
    void GivesTheTimeARowOfItsOwnWhereItIsNarrow();
    void ShowsEverythingAtItsSmallestWidth_data();
    void ShowsEverythingAtItsSmallestWidth();
    void EachIconIsDrawnAndDimmedWhenDisabled();
};

void DesktopTransportTest::init()
{
    MvTheme::SetTextScale(1.0);
    Theme::Apply();
}

void DesktopTransportTest::cleanup()
{
    MvTheme::SetTextScale(1.0);
}

void DesktopTransportTest::AButtonTriggersItsAction_data()
{
    QTest::addColumn<QByteArray>("Button");
    QTest::addColumn<QString>("ActionText");
    QTest::newRow("play") << QByteArray("PlayPause") << "Play or pause";
    QTest::newRow("back") << QByteArray("StepFrameBack") << "Previous frame";
    QTest::newRow("forward") << QByteArray("StepFrameForward") << "Next frame";
    QTest::newRow("mute") << QByteArray("Mute") << "Mute";
}

void DesktopTransportTest::AButtonTriggersItsAction()
{
    QFETCH(const QByteArray, Button);
    QFETCH(const QString, ActionText);
    BarWindow window;
    window.Bar.SetState(OpenFile());
    QStringList triggered;
    for (QAction* const action : {&window.PlayPause, &window.Back, &window.Forward, &window.Mute})
    {
        connect(action, &QAction::triggered, this,
                [&triggered, action] { triggered += action->text(); });
    }
    window.Click(Button.constData());
    QCOMPARE(triggered, QStringList(ActionText));
}

void DesktopTransportTest::AClickLeavesTheFocusWhereItIs()
{
    BarWindow window;
    window.Bar.SetState(OpenFile());
    window.Window.activateWindow();
    window.Field.setFocus();
    QTRY_VERIFY(window.Field.hasFocus());
    window.Click("PlayPause");
    QTest::mouseClick(&window.Find<QSlider>("Volume"), Qt::LeftButton);
    QVERIFY(window.Field.hasFocus());
}

void DesktopTransportTest::EveryButtonHasANameAndATooltip()
{
    BarWindow window;
    for (const QToolButton* const button : window.Bar.findChildren<QToolButton*>())
    {
        QVERIFY(!button->accessibleName().isEmpty());
        QVERIFY(!button->toolTip().isEmpty());
    }
    QCOMPARE(window.Find<QSlider>("Volume").accessibleName(), "Volume");
    QCOMPARE(window.Find<QToolButton>("PlayPause").toolTip(), "Play or pause (Key)");
}

void DesktopTransportTest::ShowsTheTimeToTheMillisecondAndTheFrame()
{
    BarWindow window;
    TransportState state = OpenFile();
    state.TimeSec = 12.3456;
    state.Frame = 308;
    window.Bar.SetState(state);
    QCOMPARE(window.TextOf("Time"), "0:00:12.346 / 0:00:20.000");
    QCOMPARE(window.TextOf("Frame"), "Frame 308");
    state.RangeFrames = 25;
    window.Bar.SetState(state);
    QCOMPARE(window.TextOf("Frame"), "Frame 308, range 25");
}

void DesktopTransportTest::ShowsOnlyTheTimeWhenTheRestIsUnknown()
{
    BarWindow window;
    TransportState state = OpenFile();
    state.DurationSec = 0.0;
    state.Frame.reset(); // not counted yet
    state.FrameCount.reset();
    window.Bar.SetState(state);
    QCOMPARE(window.TextOf("Time"), "0:00:01.500");
    QVERIFY(!window.Find<QLabel>("Frame").isVisible());
}

void DesktopTransportTest::KeepsItsWidthWhileTheTimeRuns()
{
    BarWindow window;
    TransportState state = OpenFile();
    state.TimeSec = 0.0;
    state.Frame = 0;
    window.Bar.SetState(state);
    const int firstPx = window.Bar.minimumSizeHint().width();
    const int frameWidthPx = window.Find<QLabel>("Frame").sizeHint().width();
    state.TimeSec = 20.0;
    state.Frame = 499;
    window.Bar.SetState(state);
    QCOMPARE(window.Bar.minimumSizeHint().width(), firstPx);
    QCOMPARE(window.Find<QLabel>("Frame").sizeHint().width(), frameWidthPx);
}

void DesktopTransportTest::ThePlayButtonSaysWhatItDoesNext()
{
    BarWindow window;
    TransportState state = OpenFile();
    auto& play = window.Find<QToolButton>("PlayPause");
    window.Bar.SetState(state);
    QCOMPARE(play.accessibleName(), "Play");
    const QImage paused = play.grab().toImage();
    state.bPlaying = true;
    window.Bar.SetState(state);
    QCOMPARE(play.accessibleName(), "Pause");
    QVERIFY(play.grab().toImage() != paused);
}

void DesktopTransportTest::TheMuteButtonSaysWhatItDoesNext()
{
    BarWindow window;
    TransportState state = OpenFile();
    auto& mute = window.Find<QToolButton>("Mute");
    window.Bar.SetState(state);
    QCOMPARE(mute.accessibleName(), "Mute");
    const QImage loud = mute.grab().toImage();
    state.bMuted = true;
    window.Bar.SetState(state);
    QCOMPARE(mute.accessibleName(), "Unmute");
    QVERIFY(mute.grab().toImage() != loud);
}

void DesktopTransportTest::OnlyTheSoundWorksWithoutAFile()
{
    BarWindow window;
    const auto bEnabled = [&](const char* Name) { return window.Find<QWidget>(Name).isEnabled(); };
    for (const char* const name : {"PlayPause", "StepFrameBack", "StepFrameForward", "Speed"})
    {
        QVERIFY(!bEnabled(name));
    }
    QVERIFY(bEnabled("Mute"));
    QVERIFY(bEnabled("Volume"));
    window.Bar.SetState(OpenFile());
    QVERIFY(bEnabled("PlayPause"));
}

void DesktopTransportTest::ShowsTheVolumeAndTellsNobody()
{
    BarWindow window;
    const QSignalSpy volumes(&window.Bar, &TransportBar::VolumeEdited);
    for (const double percent : {0.0, 33.4, 100.0})
    {
        TransportState state = OpenFile();
        state.VolumePercent = percent;
        window.Bar.SetState(state);
        QCOMPARE(window.Find<QSlider>("Volume").value(), qRound(percent));
    }
    QVERIFY(volumes.isEmpty());
}

void DesktopTransportTest::TellsTheVolumeThatTheUserSets()
{
    BarWindow window;
    TransportState state = OpenFile();
    state.VolumePercent = 50.0;
    window.Bar.SetState(state);
    QSignalSpy volumes(&window.Bar, &TransportBar::VolumeEdited);
    QTest::keyClick(&window.Find<QSlider>("Volume"), Qt::Key_Up);
    QCOMPARE(volumes.size(), 1);
    QCOMPARE(volumes.first().first().toDouble(), 51.0);
}

void DesktopTransportTest::AVolumeInTheUsersHandStaysThere()
{
    BarWindow window;
    auto& slider = window.Find<QSlider>("Volume");
    slider.setSliderDown(true);
    slider.setValue(70);
    TransportState state = OpenFile();
    state.VolumePercent = 20.0;
    window.Bar.SetState(state);
    QCOMPARE(slider.value(), 70);
}

void DesktopTransportTest::TellsTheSpeedThatTheUserPicks()
{
    BarWindow window;
    window.Bar.SetState(OpenFile());
    QSignalSpy speeds(&window.Bar, &TransportBar::SpeedPicked);
    for (QAction* const item : window.Find<QToolButton>("Speed").menu()->actions())
    {
        item->trigger();
        QCOMPARE(speeds.last().first().toDouble(), item->text().chopped(1).toDouble());
    }
    QVERIFY(speeds.size() > 3);
}

void DesktopTransportTest::ShowsTheSpeedOnlyOnceThePlayerHasIt()
{
    BarWindow window;
    TransportState state = OpenFile();
    window.Bar.SetState(state);
    auto& speed = window.Find<QToolButton>("Speed");
    QAction* const fastest = speed.menu()->actions().last();
    fastest->trigger();
    QVERIFY(speed.text().startsWith(QString::fromUtf8("1×")));
    QVERIFY(!fastest->isChecked());
    state.Speed = fastest->data().toDouble();
    window.Bar.SetState(state);
    QVERIFY(speed.text().startsWith(fastest->text()));
    QVERIFY(fastest->isChecked());
}

void DesktopTransportTest::ShowsASpeedThatIsNotInTheMenu()
{
    BarWindow window;
    TransportState state = OpenFile();
    state.Speed = 0.125;
    window.Bar.SetState(state);
    auto& speed = window.Find<QToolButton>("Speed");
    QVERIFY(speed.text().startsWith(QString::fromUtf8("0.125×")));
    for (const QAction* const item : speed.menu()->actions())
    {
        QVERIFY(!item->isChecked());
    }
}

void DesktopTransportTest::GivesTheTimeARowOfItsOwnWhereItIsNarrow()
{
    BarWindow window;
    window.Bar.SetState(OpenFile());
    const auto bTimeIsBelow = [&]
    {
        const auto bottomOf = [&](const QWidget& Widget)
        { return Widget.mapTo(&window.Bar, QPoint(0, Widget.height())).y(); };
        return window.Find<QLabel>("Time").mapTo(&window.Bar, QPoint(0, 0)).y() >=
               bottomOf(window.Find<QToolButton>("PlayPause"));
    };
    QTRY_VERIFY(!bTimeIsBelow());
    window.Window.resize(window.Window.minimumSizeHint());
    QTRY_VERIFY(bTimeIsBelow());
    window.Window.resize(1000, 100);
    QTRY_VERIFY(!bTimeIsBelow());
}

void DesktopTransportTest::ShowsEverythingAtItsSmallestWidth_data()
{
    QTest::addColumn<double>("TextScale");
    for (const double scale : {0.75, 1.0, 1.5, 2.0, 3.0})
    {
        QTest::addRow("%g", scale) << scale;
    }
}

void DesktopTransportTest::ShowsEverythingAtItsSmallestWidth()
{
    QFETCH(const double, TextScale);
    BarWindow window;
    // Changed while it is shown, as the user does.
    MvTheme::SetTextScale(TextScale);
    Theme::Apply();
    TransportState state = OpenFile();
    state.TimeSec = state.DurationSec = 35999.0;
    state.Speed = 0.25;
    window.Bar.SetState(state);
    window.Window.resize(window.Window.minimumSizeHint());
    QTRY_COMPARE(window.Window.width(), window.Window.minimumSizeHint().width());
    QVERIFY(window.Bar.minimumSizeHint().width() <= 1024);
    const auto bAllFit = [&]
    {
        for (const char* const name : {"PlayPause", "StepFrameBack", "StepFrameForward", "Speed",
                                       "Time", "Frame", "Mute", "Volume"})
        {
            const QWidget& part = window.Find<QWidget>(name);
            if (!IsWithin(window.Bar, part) || part.width() < part.minimumSizeHint().width() ||
                part.height() < part.minimumSizeHint().height())
            {
                return false;
            }
        }
        return true;
    };
    QTRY_VERIFY(bAllFit());
}

void DesktopTransportTest::EachIconIsDrawnAndDimmedWhenDisabled()
{
    QList<QImage> drawn;
    for (const IconKind kind : {IconKind::Play, IconKind::Pause, IconKind::FrameBack,
                                IconKind::FrameForward, IconKind::SoundOn, IconKind::SoundOff})
    {
        const QIcon icon = MakeIcon(kind);
        const QImage normal = icon.pixmap(QSize(24, 24), 2.0).toImage();
        QCOMPARE(normal.size(), QSize(48, 48));
        QVERIFY(normal != icon.pixmap(QSize(24, 24), 2.0, QIcon::Disabled).toImage());
        QVERIFY(!drawn.contains(normal));
        drawn.append(normal);
    }
}

QTEST_MAIN(DesktopTransportTest)
#include "desktop_transport_test.moc"
