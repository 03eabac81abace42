// The application in one window with a real video: what each action does, by its key and by its button.

#include "desktop/actions/actiontable.h"
#include "desktop/actions/keyspage.h"
#include "desktop/desktopstage.h"

#include <QDialogButtonBox>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>

#include <cmath>

namespace
{
constexpr double FramesPerSecond = 25.0;

/// The main window with the first video open, paused at its start.
struct OpenStage : DesktopStage
{
    OpenStage()
    {
        if (!OpenFile(Environment().One()))
        {
            qFatal("the video does not open");
        }
    }

    bool IsAt(double Sec) { return std::abs(NowSec() - Sec) < 1e-6; }
    bool Plays() { return Document().IsPlaying(); }
    QAction& Action(ActionId Id) { return *Main().actions().at(static_cast<int>(Id)); }
    MvTimeControl& Timeline() { return Document().Timeline(); }
    QSlider& VolumeSlider() { return *Main().findChild<QSlider*>("Volume"); }
    int SelectedRow() { return Panel().SelectedClipIndex(); }
};
} // namespace

class DesktopAppTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        Environment().CleanFolders();
        MvTheme::SetTextScale(1.0);
    }

    // -- All actions

    void EveryKeyOfTheTableReachesItsAction()
    {
        OpenStage stage;
        for (const ActionInfo& info : ActionTable())
        {
            QAction& action = stage.Action(info.Id);
            QCOMPARE(action.text(), QString::fromUtf8(info.Name));
            QObject::disconnect(&action, nullptr, &stage.Acts,
                                nullptr); // the key is all that counts
            for (const QKeySequence& key : KeysOf(info))
            {
                QSignalSpy triggered(&action, &QAction::triggered);
                stage.Press(key);
                QVERIFY2(triggered.count() == 1, qPrintable(key.toString() + ": " + info.Name));
            }
        }
    }

    void EveryActionIsInAMenu()
    {
        OpenStage stage;
        QList<QAction*> inMenus;
        for (const QMenu* const menu : stage.Main().findChildren<QMenu*>())
        {
            inMenus += menu->actions();
        }
        for (const ActionInfo& info : ActionTable())
        {
            QVERIFY2(inMenus.contains(&stage.Action(info.Id)), info.Name);
        }
    }

    // -- Playback

    void SpacePlaysAndPauses()
    {
        OpenStage stage;
        stage.Press(Qt::Key_Space);
        QVERIFY(stage.Plays());
        QTRY_VERIFY(stage.NowSec() > 0.1);
        stage.Press(Qt::Key_Space);
        QVERIFY(!stage.Plays());
        QVERIFY(stage.NowSec() < 4.0);
    }

    void ThePlayButtonPlaysAndPausesAndLeavesTheFocus()
    {
        OpenStage stage;
        QToolButton& button = stage.TransportButton(stage.Main(), "PlayPause");
        stage.Click(button);
        QVERIFY(stage.Plays());
        QCOMPARE(button.accessibleName(), "Pause");
        QTRY_VERIFY(stage.NowSec() > 0.1);
        stage.Click(button);
        QVERIFY(!stage.Plays());
        QCOMPARE(button.accessibleName(), "Play");
        QCOMPARE(QApplication::focusWidget(), &stage.Main().Pane().Timeline());
    }

    void CommaAndPointStepByFrames()
    {
        OpenStage stage;
        stage.GoTo(1.0);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 25);
        stage.Press(Qt::Key_Period);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 26);
        QVERIFY(stage.IsAt(26 / FramesPerSecond));
        stage.Press(Qt::Key_Comma);
        stage.Press(Qt::Key_Comma);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 24);
        QCOMPARE(stage.LabelText("Frame").simplified(), "Frame 24");
        QVERIFY(stage.LabelText("Time").startsWith("0:00:00.960 / 0:00:04"));
    }

    void TheStepButtonsStepByFrames()
    {
        OpenStage stage;
        stage.GoTo(1.0);
        stage.Click(stage.TransportButton(stage.Main(), "StepFrameForward"));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 26);
        stage.Click(stage.TransportButton(stage.Main(), "StepFrameBack"));
        stage.Click(stage.TransportButton(stage.Main(), "StepFrameBack"));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 24);
    }

    void ArrowsGoByASecondAndWithControlByTen()
    {
        OpenStage stage;
        stage.Press(Qt::Key_Right);
        stage.Press(Qt::Key_Right);
        QVERIFY(stage.IsAt(2.0));
        stage.Press(Qt::Key_Left);
        QVERIFY(stage.IsAt(1.0));
        stage.Press(Qt::Key_Right, Qt::ControlModifier);
        QVERIFY(stage.IsAt(99 / FramesPerSecond));
        stage.Press(Qt::Key_Left, Qt::ControlModifier);
        QVERIFY(stage.IsAt(0.0));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 0);
    }

    void HomeAndEndGoToTheFirstAndTheLastFrame()
    {
        OpenStage stage;
        stage.Press(Qt::Key_End);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 99);
        stage.Press(Qt::Key_Home);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 0);
        QVERIFY(stage.IsAt(0.0));
    }

    void GGoesToATypedTime()
    {
        OpenStage stage;
        stage.Press(Qt::Key_G);
        auto* const dialog = stage.Open<QInputDialog>();
        QVERIFY(dialog != nullptr);
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        QTest::keyClicks(QApplication::focusWidget(), "0:02.4");
        stage.Press(Qt::Key_Return);
        QVERIFY(stage.IsAt(2.4));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 60);
        stage.Activate(stage.Main());
        stage.Press(Qt::Key_Period);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 61);
    }

    void WhatIsNoTimeKeepsTheDialogAndItsText()
    {
        OpenStage stage;
        stage.GoTo(1.0);
        const QString status = stage.Status();
        stage.Press(Qt::Key_G);
        QPointer<QInputDialog> dialog = stage.Open<QInputDialog>();
        QVERIFY(dialog != nullptr);
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        const QPushButton& ok =
            *dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        QVERIFY(ok.isEnabled()); // the time that is there
        QTest::keyClicks(QApplication::focusWidget(), "1:75");
        QVERIFY(!ok.isEnabled());
        stage.Press(Qt::Key_Return);
        QVERIFY(dialog != nullptr && dialog->isVisible());
        QCOMPARE(dialog->textValue(), "1:75");
        QCOMPARE(stage.Status(), status);
        QVERIFY(stage.IsAt(1.0));
        stage.Press(Qt::Key_Backspace);
        stage.Press(Qt::Key_Backspace);
        QTest::keyClicks(QApplication::focusWidget(), "02");
        QVERIFY(ok.isEnabled());
        stage.Press(Qt::Key_Return);
        QTRY_VERIFY(dialog == nullptr);
        QVERIFY(stage.IsAt(99 / FramesPerSecond));
    }

    void JKLShuttle()
    {
        OpenStage stage;
        VideoDocument& document = stage.Document();
        stage.Press(Qt::Key_L);
        QVERIFY(stage.Plays());
        QCOMPARE(document.Speed(), 1.0);
        stage.Press(Qt::Key_L);
        QCOMPARE(document.Speed(), 2.0);
        stage.Press(Qt::Key_J);
        QCOMPARE(document.Speed(), 1.0);
        QVERIFY(!document.IsPlayingBackward());
        stage.Press(Qt::Key_K);
        QVERIFY(!stage.Plays());

        stage.GoTo(3.0);
        stage.Press(Qt::Key_J);
        QVERIFY(document.IsPlayingBackward());
        QTRY_VERIFY(stage.NowSec() < 2.9);
        stage.Press(Qt::Key_J);
        QCOMPARE(document.Speed(), 2.0);
        stage.Press(Qt::Key_L);
        QVERIFY(stage.Plays());
        QVERIFY(!document.IsPlayingBackward());
        QCOMPARE(document.Speed(), 1.0);
        stage.Press(Qt::Key_K);
        QVERIFY(!stage.Plays());
        QCOMPARE(document.Speed(), 1.0);
    }

    void PlayingBackwardGoesOnFromWhereTheUserSeeks()
    {
        OpenStage stage;
        stage.GoTo(1.0);
        stage.Press(Qt::Key_J);
        stage.Acts.SeekTo(3.9);
        QTRY_VERIFY(stage.NowSec() > 3.0 && stage.NowSec() < 3.9);
        QVERIFY(stage.Document().IsPlayingBackward());
        stage.Save(2.0, 3.0, "Clip");
        stage.Acts.Run(ActionId::JumpToOut);
        QVERIFY(stage.NowSec() > 2.0);
        QTRY_VERIFY(stage.NowSec() < 2.9);
        QVERIFY(stage.NowSec() > 1.5);
    }

    void AnotherFileStandsStillAfterPlayingBackward()
    {
        OpenStage stage;
        stage.GoTo(3.0);
        stage.Press(Qt::Key_J);
        QVERIFY(stage.OpenFile(Environment().Two()));
        QVERIFY(!stage.Plays());
    }

    void PlayingBackwardEndsAtTheStart()
    {
        OpenStage stage;
        stage.GoTo(0.4);
        stage.Press(Qt::Key_J);
        QTRY_VERIFY(!stage.Plays());
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 0);
        QVERIFY(stage.IsAt(0.0));
    }

    void BracketsChangeTheSpeedAndBackspaceMakesItNormal()
    {
        OpenStage stage;
        auto& button = stage.TransportButton(stage.Main(), "Speed");
        stage.Press(Qt::Key_BracketRight);
        QCOMPARE(stage.Document().Speed(), 2.0);
        QVERIFY(button.text().startsWith(QString("2") + QChar(0x00D7)));
        stage.Press(Qt::Key_BracketLeft);
        stage.Press(Qt::Key_BracketLeft);
        QCOMPARE(stage.Document().Speed(), 0.5);
        stage.Press(Qt::Key_Backspace);
        QCOMPARE(stage.Document().Speed(), 1.0);
        button.menu()->actions().first()->trigger();
        QCOMPARE(stage.Document().Speed(), 0.25);
    }

    void TheVolumeFollowsKeysAndSlider()
    {
        OpenStage stage;
        stage.Press(Qt::Key_Down, Qt::ControlModifier);
        stage.Press(Qt::Key_Down, Qt::ControlModifier);
        QCOMPARE(stage.Running.Volume(), 90.0);
        QTRY_COMPARE(stage.VolumeSlider().value(), 90);
        stage.Press(Qt::Key_Up, Qt::ControlModifier);
        QCOMPARE(stage.Running.Volume(), 95.0);
        stage.VolumeSlider().setValue(30);
        QCOMPARE(stage.Running.Volume(), 30.0);
    }

    void TheSoundIsMutedByKeyAndByButton()
    {
        OpenStage stage;
        QToolButton& button = stage.TransportButton(stage.Main(), "Mute");
        stage.Press(Qt::Key_M, Qt::ControlModifier);
        QVERIFY(stage.Running.IsMuted());
        QTRY_COMPARE(button.accessibleName(), "Unmute");
        stage.Click(button);
        QVERIFY(!stage.Running.IsMuted());
    }

    void AClickInTheMiddleOfTheTimelineShowsTheFrameThatBelongsThere()
    {
        OpenStage stage;
        TimelineWidget& timeline = stage.Main().Pane().Timeline();
        const QPoint middle(timeline.width() / 2, qRound(timeline.Rows().Ruler.center().y()));
        stage.Click(timeline, middle);
        // Half a pixel is less than a frame here, so at most a neighbour can be meant.
        const int shown = stage.ShownFrame(stage.Main());
        QVERIFY2(std::abs(shown - 50) <= 1, qPrintable(QString::number(shown)));
        const double clickedSec = timeline.Scale().SecAt(middle.x());
        QVERIFY(stage.IsAt(shown / FramesPerSecond));
        QCOMPARE(shown, static_cast<int>(std::floor(clickedSec * FramesPerSecond)));
        QTRY_COMPARE(stage.LabelText("Frame").simplified(), QString("Frame %1").arg(shown));
    }

    // -- Marking

    void InAloneAndOutAloneDestroyNothing()
    {
        OpenStage stage;
        stage.GoTo(1.0);
        stage.Press(Qt::Key_I);
        QVERIFY(!stage.Timeline().HasRangeSelection());
        QCOMPARE(stage.Main().Pane().Timeline().State().PendingInSec, std::optional(1.0));
        stage.GoTo(3.0);
        stage.Press(Qt::Key_O);
        QVERIFY(stage.Timeline().HasRangeSelection());
        QCOMPARE(stage.Timeline().RangeStartSec(), 1.0);
        QCOMPARE(stage.Timeline().RangeEndSec(), 3.04);
        QVERIFY(stage.LabelText("clipRange").contains("00:01 -> 00:03"));

        stage.GoTo(2.0);
        stage.Press(Qt::Key_I);
        QCOMPARE(stage.Timeline().RangeStartSec(), 2.0);
        QCOMPARE(stage.Timeline().RangeEndSec(), 3.04);
        stage.GoTo(2.6);
        stage.Press(Qt::Key_O);
        QCOMPARE(stage.Timeline().RangeStartSec(), 2.0);
        QCOMPARE(stage.Timeline().RangeEndSec(), 2.64);
    }

    void OutMayBeSetBeforeIn()
    {
        OpenStage stage;
        stage.GoTo(3.0);
        stage.Press(Qt::Key_O);
        QVERIFY(!stage.Timeline().HasRangeSelection());
        stage.GoTo(0.8);
        stage.Press(Qt::Key_I);
        QCOMPARE(stage.Timeline().RangeStartSec(), 0.8);
        QCOMPARE(stage.Timeline().RangeEndSec(), 3.04);
    }

    void AnInBehindOutAndAnOutBeforeInBeginANewRange()
    {
        OpenStage stage;
        stage.GoTo(1.0);
        stage.Press(Qt::Key_I);
        stage.GoTo(2.0);
        stage.Press(Qt::Key_O);
        QVERIFY(stage.Timeline().HasRangeSelection());
        stage.GoTo(3.0);
        stage.Press(Qt::Key_I);
        QVERIFY(!stage.Timeline().HasRangeSelection());
        QCOMPARE(stage.Document().PendingInSec(), std::optional(3.0));
        QCOMPARE(stage.Document().PendingOutSec(), std::nullopt);
        stage.Press(Qt::Key_Plus);
        QCOMPARE(stage.Clips().size(), std::size_t{0});
        QCOMPARE(stage.Status(), "Set In and Out on the timeline before saving a clip.");

        stage.GoTo(2.0);
        stage.Press(Qt::Key_O);
        QVERIFY(!stage.Timeline().HasRangeSelection());
        QCOMPARE(stage.Document().PendingInSec(), std::nullopt);
        QCOMPARE(stage.Document().PendingOutSec(), std::optional(2.04));
    }

    void TheRangeIsClearedByKeyAndByButton()
    {
        OpenStage stage;
        stage.Timeline().SetRangeSelection(1.0, 2.0, false);
        stage.Press(Qt::Key_K, Qt::AltModifier);
        QVERIFY(!stage.Timeline().HasRangeSelection());
        QCOMPARE(stage.Status(), "Cleared current In/Out range.");

        stage.Press(Qt::Key_I);
        stage.Click(stage.Button(ActionId::ClearRange));
        QVERIFY(!stage.Document().PendingInSec());
        QCOMPARE(stage.Main().Pane().Timeline().State().PendingInSec, std::nullopt);
    }

    void AMarkerIsAddedByKeyAndByButton()
    {
        OpenStage stage;
        stage.GoTo(2.0);
        stage.Press(Qt::Key_M);
        QCOMPARE(stage.Status(), "Added marker at 00:02");
        stage.GoTo(3.0);
        stage.Click(stage.Button(ActionId::AddMarker));
        QCOMPARE(stage.Timeline().Markers.size(), std::size_t{2});
        QVERIFY(stage.LabelText("clipMarkers").startsWith("Markers: 2"));

        const TimelineWidget& timeline = stage.Main().Pane().Timeline();
        const QRectF flag = FlagsIn(timeline.Picture()).front().Flag;
        stage.GoTo(0.0);
        stage.Click(stage.Main().Pane().Timeline(), flag.center().toPoint());
        QVERIFY(stage.IsAt(2.0));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 50);
    }

    // -- Clips

    void AClipIsSavedByKeyAndByButton_data()
    {
        QTest::addColumn<int>("Key");
        QTest::addColumn<int>("Modifiers");
        QTest::newRow("+") << int(Qt::Key_Plus) << 0;
        QTest::newRow("+ of the keypad") << int(Qt::Key_Plus) << int(Qt::KeypadModifier);
        QTest::newRow("Ctrl+I") << int(Qt::Key_I) << int(Qt::ControlModifier);
        QTest::newRow("button") << 0 << 0;
    }
    void AClipIsSavedByKeyAndByButton()
    {
        QFETCH(int, Key);
        QFETCH(int, Modifiers);
        OpenStage stage;
        stage.Timeline().SetRangeSelection(1.0, 2.0, false);
        if (Key != 0)
        {
            stage.Press(Key, Qt::KeyboardModifiers(Modifiers));
        }
        else
        {
            stage.Click(stage.Button(ActionId::SaveClip));
        }
        QCOMPARE(stage.Clips().size(), std::size_t{1});
        QCOMPARE(stage.Status(), "Saved Clip 1 from one.mp4");
        QCOMPARE(stage.Table().model()->index(0, 0).data().toString(), "Clip 1");
        QCOMPARE(stage.NameField().text(), "Clip 1");
        QCOMPARE(stage.Main().Pane().Timeline().State().Clips.size(), std::size_t{1});
    }

    void F2GoesToTheNameAndEnterRenames()
    {
        OpenStage stage;
        stage.Save(1.0, 2.0, "Intro");
        stage.Press(Qt::Key_F2);
        QVERIFY(stage.NameField().hasFocus());
        QTest::keyClicks(&stage.NameField(), "I go+?"); // plain keys type
        stage.Press(Qt::Key_Return);
        QCOMPARE(stage.Status(), "Renamed clip to I go+?");
        QCOMPARE(QString::fromStdString(stage.Clips()[0].Name), "I go+?");
        QCOMPARE(QApplication::focusWidget(), &stage.Main().Pane().Timeline());
        QCOMPARE(stage.Timeline().RangeStartSec(), 1.0);
        stage.Press(Qt::Key_I);
        QCOMPARE(stage.Timeline().RangeStartSec(), 0.0);
    }

    void AClipIsRenamedByKeyAndByButton()
    {
        OpenStage stage;
        stage.Save(1.0, 2.0, "Intro");
        stage.Press(Qt::Key_F2);
        QTest::keyClicks(&stage.NameField(), "Key");
        stage.Press(Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(stage.Clips()[0].Name, std::string("Key"));
        stage.NameField().selectAll();
        QTest::keyClicks(&stage.NameField(), "Button");
        stage.Click(stage.Button(ActionId::RenameClip));
        QCOMPARE(stage.Clips()[0].Name, std::string("Button"));
    }

    void EscapeInTheNameGivesTheFocusBack()
    {
        OpenStage stage;
        stage.Save(1.0, 2.0, "Intro");
        stage.Press(Qt::Key_F2);
        QTest::keyClicks(&stage.NameField(), "Other");
        stage.Press(Qt::Key_Escape);
        QCOMPARE(stage.NameField().text(), "Intro");
        QCOMPARE(QApplication::focusWidget(), &stage.Main().Pane().Timeline());
    }

    void AClipIsDeletedByKeyAndByButton()
    {
        OpenStage stage;
        stage.Save(1.0, 2.0, "One");
        stage.Save(2.0, 3.0, "Two");
        stage.Press(Qt::Key_Delete);
        QCOMPARE(stage.Status(), "Deleted Two");
        QCOMPARE(stage.SelectedRow(), 0);
        stage.Click(stage.Button(ActionId::DeleteClip));
        QCOMPARE(stage.Status(), "Deleted One");
        QCOMPARE(stage.Table().model()->rowCount(), 0);
    }

    void AClipIsLoadedByKeyAndByButton()
    {
        OpenStage stage;
        stage.Save(1.0, 2.0, "Intro");
        for (int i = 0; i < 3; ++i)
        {
            stage.Timeline().ClearRangeSelection(false);
            stage.GoTo(3.0);
            switch (i)
            {
            case 0:
                stage.Press(Qt::Key_Return, Qt::ControlModifier);
                break;
            case 1:
                stage.Press(Qt::Key_Enter, Qt::ControlModifier);
                break;
            default:
                stage.Click(stage.Button(ActionId::LoadClip));
                break;
            }
            QCOMPARE(stage.Status(), "Loaded Intro onto the video timeline.");
            QVERIFY(stage.IsAt(1.0));
            QCOMPARE(stage.Timeline().RangeEndSec(), 2.0);
            QTRY_COMPARE(stage.ShownFrame(stage.Main()), 25);
        }
    }

    void InAndOutOfAClipAreJumpedToByKeyAndByButton()
    {
        OpenStage stage;
        stage.Save(1.0, 2.0, "Intro");
        stage.Press(Qt::Key_I, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.0));
        QCOMPARE(stage.Status(), "Jumped to Intro");
        stage.Press(Qt::Key_O, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.96));
        QCOMPARE(stage.Status(), "Jumped to Out for Intro");
        stage.Press(Qt::Key_Left, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.0));
        stage.Press(Qt::Key_Right, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.96));
        stage.Click(stage.Button(ActionId::JumpToIn));
        QVERIFY(stage.IsAt(1.0));
        stage.Click(stage.Button(ActionId::JumpToOut));
        QVERIFY(stage.IsAt(1.96));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 49);
        QVERIFY(!stage.Document().PendingInSec() && !stage.Document().PendingOutSec());
    }

    // The first and the last frame that ffmpeg would cut.
    void AClipThatBeginsAndEndsBetweenFramesIsJumpedToAsItIsExported()
    {
        OpenStage stage;
        stage.Save(1.01, 2.03, "Typed");
        stage.Press(Qt::Key_I, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.04));
        stage.Press(Qt::Key_O, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(2.04)); // the length counts from 1.04
        stage.GoTo(0.0);
        stage.Click(stage.Button(ActionId::LoadClip));
        QVERIFY(stage.IsAt(1.04));
        QCOMPARE(stage.Timeline().RangeStartSec(), 1.01);
        QCOMPARE(stage.Timeline().RangeEndSec(), 2.03);
    }

    void AltWithUpAndDownSelectsFromAnywhere()
    {
        OpenStage stage;
        stage.Save(0.0, 1.0, "A");
        stage.Save(1.0, 2.0, "B");
        stage.Save(2.0, 3.0, "C");
        stage.Press(Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(stage.SelectedRow(), 1);
        QCOMPARE(stage.NameField().text(), "B");
        stage.Press(Qt::Key_F2);
        stage.Press(Qt::Key_Up, Qt::AltModifier);
        stage.Press(Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(stage.SelectedRow(), 0);
        QCOMPARE(stage.NameField().text(), "A");
        stage.Press(Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(stage.NameField().text(), "B");
    }

    void ABarOnTheTimelineSelectsAndLoadsItsClip()
    {
        OpenStage stage;
        stage.Save(1.0, 2.0, "A");
        stage.Save(2.0, 3.0, "B");
        stage.Timeline().ClearRangeSelection(false);
        stage.Settle();
        TimelineWidget& timeline = stage.Main().Pane().Timeline();
        const QPoint bar =
            BarRect(timeline.Rows(), timeline.Scale(), 0, 1.0, 2.0).center().toPoint();
        stage.Click(timeline, bar);
        QCOMPARE(stage.SelectedRow(), 0);
        QTest::mouseDClick(&timeline, Qt::LeftButton, {}, bar);
        stage.Settle();
        QCOMPARE(stage.Status(), "Loaded A onto the video timeline.");
        QVERIFY(stage.IsAt(1.0));
    }

    void AMarkerIsRemovedFromItsMenu()
    {
        OpenStage stage;
        for (const double sec : {1.0, 2.0, 3.0})
        {
            stage.GoTo(sec);
            stage.Press(Qt::Key_M);
        }
        TimelineWidget& timeline = stage.Main().Pane().Timeline();
        const auto openMenu = [&](QPoint Point)
        {
            QContextMenuEvent event(QContextMenuEvent::Mouse, Point, timeline.mapToGlobal(Point));
            QCoreApplication::sendEvent(&timeline, &event);
            return qobject_cast<QMenu*>(QApplication::activePopupWidget());
        };
        QVERIFY(openMenu(stage.RulerPoint(stage.Main(), 2.0)) == nullptr);
        QMenu* const menu = openMenu(FlagsIn(timeline.Picture()).at(1).Flag.center().toPoint());
        QVERIFY(menu != nullptr);
        QCOMPARE(menu->actions().size(), 1);
        QCOMPARE(menu->actions().front()->text(), "Remove marker");
        menu->actions().front()->trigger();
        menu->close();
        stage.Settle();
        QCOMPARE(stage.Timeline().Markers.size(), std::size_t{2});
        QCOMPARE(stage.Timeline().Markers[0].TimeSec, 1.0);
        QCOMPARE(stage.Timeline().Markers[1].TimeSec, 3.0);
        QCOMPARE(timeline.State().Markers.size(), std::size_t{2});
        QVERIFY(stage.LabelText("clipMarkers").startsWith("Markers: 2"));
    }

    void ADraggedEndShowsItsPictureAndThePlayheadGoesBack()
    {
        OpenStage stage;
        stage.Timeline().SetRangeSelection(1.0, 3.0, false);
        stage.GoTo(2.0);
        TimelineWidget& timeline = stage.Main().Pane().Timeline();
        const auto place = [&](double Sec) {
            return GripRect(timeline.Rows(), timeline.Scale(), RangeEnd::In, Sec)
                .center()
                .toPoint();
        };
        const auto move = [&](QPoint Point)
        {
            QMouseEvent event(QEvent::MouseMove, Point, timeline.mapToGlobal(Point), Qt::NoButton,
                              Qt::LeftButton, Qt::NoModifier);
            QCoreApplication::sendEvent(&timeline, &event);
        };
        QTest::mousePress(&timeline, Qt::LeftButton, {}, place(1.0));
        move(place(1.6));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 40);
        QTest::mouseRelease(&timeline, Qt::LeftButton, {}, place(1.6));
        QVERIFY(stage.Settle());
        QCOMPARE(stage.Timeline().RangeStartSec(), 1.6);
        QCOMPARE(stage.Timeline().RangeEndSec(), 3.0);
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 50);
        QVERIFY(stage.IsAt(2.0));
    }

    // -- View and help

    void TheTimelineIsZoomedByKeys()
    {
        OpenStage stage;
        const TimelineScale& scale = stage.Main().Pane().Timeline().Scale();
        stage.Press(Qt::Key_Plus, Qt::ControlModifier);
        const double zoomedSec = scale.SpanSec();
        QVERIFY(zoomedSec < 4.0);
        stage.Press(Qt::Key_Plus, Qt::ControlModifier);
        stage.Press(Qt::Key_Minus, Qt::ControlModifier);
        QCOMPARE(scale.SpanSec(), zoomedSec);
        stage.Press(Qt::Key_Z, Qt::ShiftModifier);
        QVERIFY(scale.IsWhole());
    }

    void TheTimelineIsPannedByKeysAndStaysThereWhilePaused()
    {
        OpenStage stage;
        const TimelineScale& scale = stage.Main().Pane().Timeline().Scale();
        for (int i = 0; i < 4; ++i)
        {
            stage.Press(Qt::Key_Plus, Qt::ControlModifier);
        }
        const double firstSec = scale.StartSec();
        stage.Press(Qt::Key_PageDown);
        QVERIFY(scale.StartSec() > firstSec + scale.SpanSec() / 2.0);
        QVERIFY(scale.StartSec() < firstSec + scale.SpanSec());
        QVERIFY(!scale.Shows(stage.NowSec()));
        stage.Running.Frame();
        QVERIFY(!scale.Shows(stage.NowSec()));
        stage.Press(Qt::Key_PageUp);
        QVERIFY(std::abs(scale.StartSec() - firstSec) < 1e-9);
        QVERIFY(stage.IsAt(0.0));
    }

    void MarkersAreGoneToByKeys()
    {
        OpenStage stage;
        for (const double sec : {3.0, 1.0, 2.0})
        {
            stage.GoTo(sec);
            stage.Press(Qt::Key_M);
        }
        stage.Press(Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(3.0));
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 75);
        stage.Press(Qt::Key_PageDown, Qt::ShiftModifier); // there is none behind it
        QVERIFY(stage.IsAt(3.0));
        stage.Press(Qt::Key_PageUp, Qt::ShiftModifier);
        stage.Press(Qt::Key_PageUp, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.0));
        stage.Press(Qt::Key_PageUp, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.0));
        stage.GoTo(1.52);
        stage.Press(Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(2.0));
    }

    void AMarkerBetweenTwoFramesIsPassed()
    {
        OpenStage stage;
        stage.Timeline().Markers.push_back({.TimeSec = 1.0123454, .Label = "odd"});
        stage.Timeline().Markers.push_back({.TimeSec = 2.0, .Label = "even"});
        stage.Press(Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.0));
        stage.Press(Qt::Key_PageDown, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(2.0));
        stage.Press(Qt::Key_PageUp, Qt::ShiftModifier);
        stage.Press(Qt::Key_PageUp, Qt::ShiftModifier);
        QVERIFY(stage.IsAt(1.0));
    }

    void TheTextIsScaledByKeys()
    {
        OpenStage stage;
        const int heightPx = stage.Button(ActionId::SaveClip).sizeHint().height();
        stage.Press(Qt::Key_BracketRight, Qt::ControlModifier);
        stage.Press(Qt::Key_BracketRight, Qt::ControlModifier);
        QCOMPARE(MvTheme::TextScale(), 1.25);
        QVERIFY(stage.Button(ActionId::SaveClip).sizeHint().height() > heightPx);
        QCOMPARE(stage.Main().findChild<QLabel*>("Time")->font().pixelSize(),
                 Theme::TimeFont().pixelSize());
        stage.Press(Qt::Key_BracketLeft, Qt::ControlModifier);
        QCOMPARE(MvTheme::TextScale(), 1.1);
        stage.Press(Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(MvTheme::TextScale(), 1.0);
        QCOMPARE(stage.Button(ActionId::SaveClip).sizeHint().height(), heightPx);
    }

    void F11FillsTheScreenAndBack()
    {
        OpenStage stage;
        stage.Press(Qt::Key_F11);
        QVERIFY(stage.Main().isFullScreen());
        stage.Press(Qt::Key_F11);
        QVERIFY(!stage.Main().isFullScreen());
    }

    void EscapeLeavesTheFullScreen()
    {
        OpenStage stage;
        stage.Press(Qt::Key_Escape);
        QVERIFY(!stage.Main().isFullScreen());
        stage.Press(Qt::Key_F11);
        stage.Press(Qt::Key_F2);
        stage.Press(Qt::Key_Escape); // leaves the field alone
        QVERIFY(stage.Main().isFullScreen());
        stage.Press(Qt::Key_Escape);
        QVERIFY(!stage.Main().isFullScreen());
        stage.Press(Qt::Key_F11);
        stage.Table().setFocus();
        stage.Press(Qt::Key_Escape);
        QVERIFY(!stage.Main().isFullScreen());
    }

    void TheKeysPageStaysOpenBesideTheWork()
    {
        OpenStage stage;
        stage.Press(Qt::Key_F1);
        QPointer<KeysPageDialog> page = stage.Open<KeysPageDialog>();
        QVERIFY(page != nullptr);
        QVERIFY(!page->isModal());
        QVERIFY(QTest::qWaitForWindowActive(page));
        stage.Main().activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), &stage.Main());
        stage.Press(Qt::Key_Right);
        QVERIFY(stage.IsAt(1.0));
        QVERIFY(page != nullptr && page->isVisible());
        stage.Press(Qt::Key_F1); // the same one comes to the front
        QVERIFY(QTest::qWaitForWindowActive(page));
        stage.Press(Qt::Key_Escape);
        QTRY_VERIFY(page == nullptr);
        QVERIFY(stage.Open<KeysPageDialog>() == nullptr);
    }

    void F1AndTheQuestionMarkShowAllKeys()
    {
        OpenStage stage;
        for (const int key : {int(Qt::Key_F1), int(Qt::Key_Question)})
        {
            stage.Press(key);
            auto* const page = stage.Open<KeysPageDialog>();
            QVERIFY(page != nullptr);
            QVERIFY(QTest::qWaitForWindowActive(page));
            stage.Press(Qt::Key_Escape);
            QTRY_VERIFY(stage.Open<KeysPageDialog>() == nullptr);
            stage.Activate(stage.Main());
        }
    }

    void AboutSaysWhereClipsGo()
    {
        OpenStage stage;
        stage.Action(ActionId::About).trigger();
        auto* const box = stage.Open<QMessageBox>();
        QVERIFY(box != nullptr);
        QVERIFY(box->informativeText().contains(
            QFile::decodeName(Environment().ClipsFolder().c_str())));
    }

    // -- Refusals

    void MarkingWithoutAVideoSaysWhatToDo()
    {
        DesktopStage stage;
        stage.Press(Qt::Key_I);
        QCOMPARE(stage.Status(), "Open a video before setting In.");
        stage.Press(Qt::Key_O);
        QCOMPARE(stage.Status(), "Open a video before setting Out.");
    }

    void ARefusalIsThePanelsSentence_data()
    {
        QTest::addColumn<int>("Id");
        QTest::addColumn<QString>("Sentence");
        const auto row = [](const char* Name, ActionId Id, const char* Sentence)
        { QTest::newRow(Name) << static_cast<int>(Id) << QString(Sentence); };
        row("save", ActionId::SaveClip, "Set In and Out on the timeline before saving a clip.");
        row("rename", ActionId::RenameClip, "Select a saved clip to rename it.");
        row("delete", ActionId::DeleteClip, "Select a clip to delete it.");
        row("load", ActionId::LoadClip, "Select a clip and ensure a video timeline is available.");
        row("in", ActionId::JumpToIn, "Select a clip and ensure a video window is available.");
        row("out", ActionId::JumpToOut, "Select a clip and ensure a video window is available.");
        row("export", ActionId::ExportClip, "Select a saved clip to export it.");
    }
    void ARefusalIsThePanelsSentence()
    {
        QFETCH(int, Id);
        QFETCH(QString, Sentence);
        const auto id = static_cast<ActionId>(Id);
        OpenStage stage;
        QVERIFY(stage.Button(id).isEnabled());
        stage.Click(stage.Button(id));
        QCOMPARE(stage.Status(), Sentence);
        stage.Panel().SetStatusTextInternal("", true);
        stage.Press(KeysOf(InfoOf(id)).front());
        QCOMPARE(stage.Status(), Sentence);
        QVERIFY(stage.Clips().empty());
    }

    void AMissingSourceIsTold()
    {
        OpenStage stage;
        const std::filesystem::path copy = Environment().StateFolder() / "copy.mp4";
        std::filesystem::create_directories(copy.parent_path());
        std::filesystem::copy_file(Environment().Two(), copy);
        QVERIFY(stage.OpenFile(copy.native()));
        stage.Save(0.0, 1.0, "Gone");
        QVERIFY(stage.OpenFile(Environment().One()));
        std::filesystem::remove(copy);
        stage.Press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(stage.Status().toStdString(), "Clip source file is missing: " + copy.native());
        stage.Press(Qt::Key_E);
        QCOMPARE(stage.Status(), "Clip source file is missing: copy.mp4");
        QCOMPARE(stage.Document().pVideo->FilePath, Environment().One());
    }

    void ASourceThatCanNotBeLookedForIsToldAndTheNextSaveWorks()
    {
        OpenStage stage;
        const std::filesystem::path folder = Environment().StateFolder() / "in";
        const std::string copy = (folder / "copy.mp4").native();
        std::filesystem::create_directories(folder);
        std::filesystem::copy_file(Environment().Two(), copy);
        QVERIFY(stage.OpenFile(copy));
        stage.Save(0.0, 1.0, "Lost");
        QVERIFY(stage.OpenFile(Environment().One()));
        std::filesystem::remove_all(folder);
        std::filesystem::create_symlink("in", folder); // an error other than absence
        for (const ActionId id :
             {ActionId::LoadClip, ActionId::JumpToIn, ActionId::JumpToOut, ActionId::ExportClip})
        {
            stage.Panel().SetStatusTextInternal("", true);
            stage.Click(stage.Button(id));
            QCOMPARE(
                stage.Status(),
                QString("%1 can't be found: Too many levels of symbolic links.").arg(copy.c_str()));
        }
        QVERIFY(!stage.Exports().IsRunning());
        QCOMPARE(stage.Document().pVideo->FilePath, Environment().One());
        stage.Save(1.0, 2.0, "Next");
        QCOMPARE(stage.Status(), "Saved Next from one.mp4");
        QCOMPARE(stage.Clips().size(), 2U);
    }
};

int main(int argc, char** argv)
{
    return RunDesktopTests<DesktopAppTest>(argc, argv);
}
#include "desktop_app_test.moc"
