// The first two minutes of a new user, from a dropped video to the exported file.

#include "desktop/desktopstage.h"
#include "desktop/notify/notificationcard.h"

#include <QInputMethodEvent>
#include <QProcess>
#include <QPushButton>

#include <cmath>

namespace
{
// A text from an input method: first composed, then committed.
void Compose(QWidget& Field, const QString& Text)
{
    QInputMethodEvent composing(Text.left(1), {});
    QCoreApplication::sendEvent(&Field, &composing);
    QInputMethodEvent done;
    done.setCommitString(Text);
    QCoreApplication::sendEvent(&Field, &done);
}

/// What ffprobe says of a file's streams and length, one entry a line.
QString Probe(const QString& File)
{
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-show_entries",
                            "stream=codec_name,width,height,nb_read_frames:format=duration",
                            "-count_frames", "-of", "default=noprint_wrappers=1", File});
    probe.waitForFinished();
    return QString::fromUtf8(probe.readAllStandardOutput());
}
} // namespace

class DesktopFirstMinutesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { Environment().CleanFolders(); }

    void AVideoIsDroppedMarkedNamedAndExported()
    {
        DesktopStage stage;
        VideoDocument& document = stage.Document();
        QVERIFY(!document.HasFile());

        stage.Drop(stage.Main(), {QString::fromStdString(Environment().One())});
        QTRY_VERIFY(document.HasFile());
        QTRY_COMPARE(stage.ShownFrame(stage.Main()), 0);
        QTRY_VERIFY(stage.Main().windowTitle().contains("one.mp4"));
        QCOMPARE(stage.LabelText("clipSource"), "Source: one.mp4");

        stage.Press(Qt::Key_Space);
        QTRY_VERIFY(stage.NowSec() >= 0.5);
        stage.Press(Qt::Key_I);
        QTRY_VERIFY(stage.NowSec() >= 1.5);
        stage.Press(Qt::Key_O);
        stage.Press(Qt::Key_Space);
        QVERIFY(!document.IsPlaying());
        const double inSec = document.Timeline().RangeStartSec();
        const double outSec = document.Timeline().RangeEndSec();
        QVERIFY(document.Timeline().HasRangeSelection());
        QVERIFY(inSec >= 0.5 && outSec >= 1.5 && outSec > inSec);

        stage.Press(Qt::Key_Plus);
        QCOMPARE(stage.Status(), "Saved Clip 1 from one.mp4");
        QCOMPARE(stage.Table().model()->index(0, 4).data().toString(), "Amber");

        // Japanese, and an accent that is a character of its own.
        const QString name = QString::fromUtf8("日本語 Cafe\u0301");
        stage.Press(Qt::Key_F2);
        QVERIFY(stage.NameField().hasFocus());
        Compose(stage.NameField(), name);
        stage.Press(Qt::Key_Return);
        QCOMPARE(stage.Clips()[0].Name, name.toStdString());
        QCOMPARE(stage.Table().model()->index(0, 0).data().toString(), name);
        QCOMPARE(stage.Status(), "Renamed clip to " + name);

        stage.Press(Qt::Key_Home);
        stage.Press(Qt::Key_I, Qt::ShiftModifier);
        QVERIFY(std::abs(stage.NowSec() - inSec) < 1e-5);
        stage.Press(Qt::Key_O, Qt::ShiftModifier);
        QVERIFY(std::abs(stage.NowSec() - (outSec - 0.04)) < 1e-5); // the last frame
        stage.Press(Qt::Key_K, Qt::AltModifier);
        QVERIFY(!document.Timeline().HasRangeSelection());
        stage.Press(Qt::Key_Return, Qt::ControlModifier);
        QCOMPARE(document.Timeline().RangeStartSec(), inSec);
        QCOMPARE(document.Timeline().RangeEndSec(), outSec);

        stage.Press(Qt::Key_E);
        QCOMPARE(stage.Status(), "Exporting " + name + " to clip_00000__Cafe.mkv...");
        QTRY_COMPARE_WITH_TIMEOUT(stage.Status(), "Exported clip_00000__Cafe.mkv",
                                  stage.DeadlineMs);
        auto* const card = stage.Main().findChild<NotificationCard*>();
        QVERIFY(card != nullptr && card->isVisible());
        QVERIFY(card->accessibleName().contains("Exported clip_00000__Cafe.mkv"));
        QCOMPARE(card->findChild<QPushButton*>()->text(), "Open folder");

        const std::filesystem::path file = Environment().ClipsFolder() / "clip_00000__Cafe.mkv";
        const QString probed = Probe(QFile::decodeName(file.c_str()));
        QVERIFY2(probed.contains("codec_name=h264"), qPrintable(probed));
        QVERIFY2(probed.contains("codec_name=aac"), qPrintable(probed));
        QVERIFY2(probed.contains("width=320\nheight=180"), qPrintable(probed));
        const double frames = probed.section("nb_read_frames=", 1).section('\n', 0, 0).toDouble();
        QVERIFY2(std::abs(frames - (outSec - inSec) * 25.0) <= 1.0, qPrintable(probed));
    }
};

int main(int argc, char** argv)
{
    return RunDesktopTests<DesktopFirstMinutesTest>(argc, argv);
}
#include "desktop_firstminutes_test.moc"
