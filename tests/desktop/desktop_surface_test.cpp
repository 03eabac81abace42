// The video surfaces with the real player: does the widget show the frame that belongs there?
//
// The sample's frames are flat and grey, each a little lighter than the one before, so that the shade
// tells the number. MOVANE_TEST_SURFACE=gl runs the same rules on OpenGL, which needs an X server.

#include "desktop/look/theme.h"
#include "desktop/video/videosurface.h"
#include "player/mpvvideo.h"
#include "support/rotatedvideo.h"
#include "support/samplevideo.h"
#include "support/tempfolder.h"

#include <QAbstractEventDispatcher>
#include <QTest>
#include <QWidget>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cmath>
#include <memory>
#include <mpv/client.h>
#include <string>

using namespace std::chrono_literals;

namespace
{
constexpr double FramesPerSecond = 25.0;
constexpr double DurationSec = 2.0;
constexpr int DeadlineMs = 10000;
constexpr int NoFrame = -1;

int FrameOnAt(double Sec)
{
    return static_cast<int>(
        std::min(std::floor(Sec * FramesPerSecond + 1e-6), DurationSec * FramesPerSecond - 1.0));
}

SurfaceKind TestedKind()
{
    return qEnvironmentVariable("MOVANE_TEST_SURFACE") == "gl" ? SurfaceKind::OpenGl
                                                               : SurfaceKind::Software;
}

std::unique_ptr<MpvVideo> MakePlayer()
{
    MpvVideo::Options options;
    options.VideoOutput = "libmpv";
    std::string error;
    return MpvVideo::Create(options, error);
}

// A shown window that a surface fills.
struct Screen
{
    explicit Screen(QSize Size = {320, 180})
    {
        Window.resize(Size);
        pSurface = MakeVideoSurface(TestedKind(), *pPlayer, &Window);
        pSurface->Widget()->setGeometry(QRect(QPoint(0, 0), Size));
        Window.show();
    }

    bool Open(const std::string& Path)
    {
        std::string error;
        if (!QTest::qWaitFor([&] { return pSurface->IsReady(); }, DeadlineMs) ||
            !pPlayer->Open(Path, error))
        {
            return false;
        }
        pSurface->SetState({true, {}});
        return true;
    }

    bool SeekTo(double Sec)
    {
        pPlayer->SeekTargetUs = std::llround(Sec * 1e6);
        pPlayer->Seek(SeekToTarget);
        return pPlayer->WaitForSeek(std::chrono::milliseconds(DeadlineMs));
    }

    QImage Picture() { return pSurface->Widget()->grab().toImage(); }

    // The shade at a place from (0, 0) at the upper left to (1, 1).
    int Shade(double X, double Y)
    {
        const QImage picture = Picture();
        return picture
            .pixelColor(static_cast<int>(X * picture.width()),
                        static_cast<int>(Y * picture.height()))
            .green();
    }

    // What is shown at a place, as a letter: red, green, blue, white, or "-" for black.
    QChar ColorAt(double X, double Y)
    {
        const QImage picture = Picture();
        const QColor color = picture.pixelColor(qRound(X * (picture.width() - 1)),
                                                qRound(Y * (picture.height() - 1)));
        const bool bRed = color.red() > 128;
        const bool bGreen = color.green() > 128;
        const bool bBlue = color.blue() > 128;
        return bRed && bGreen && bBlue ? 'w' : bRed ? 'r' : bGreen ? 'g' : bBlue ? 'b' : '-';
    }

    // The colours of the four corners of what is shown at a part of the surface's width and height in its
    // middle, from the upper left one clockwise, and then those just outside of it.
    QString Corners(QSizeF Part)
    {
        QString colors;
        for (const double out : {0.9, 1.1})
        {
            const double x = std::min(Part.width() * out, 1.0) / 2.0;
            const double y = std::min(Part.height() * out, 1.0) / 2.0;
            colors += ColorAt(0.5 - x, 0.5 - y);
            colors += ColorAt(0.5 + x, 0.5 - y);
            colors += ColorAt(0.5 + x, 0.5 + y);
            colors += ColorAt(0.5 - x, 0.5 + y);
        }
        return colors;
    }

    // The number of the frame that is shown, from its shade in the middle.
    int ShownFrame()
    {
        const int shade = Shade(0.5, 0.5);
        const double luma = shade / 255.0 * 219.0 + 16.0;
        return shade == 0 ? NoFrame : qRound((luma - 40.0) / 3.0);
    }

    // The surface goes first, then the player, then the window.
    QWidget Window;
    std::unique_ptr<MpvVideo> pPlayer = MakePlayer();
    std::unique_ptr<VideoSurface> pSurface;
};

// Hears what the player says of its own accord, apart from the player's class.
class PlayerLog
{
public:
    explicit PlayerLog(const MpvVideo& Player)
        : pClient(mpv_create_client(Player.Handle(), "log"))
    {
        mpv_request_log_messages(pClient, "v");
    }
    ~PlayerLog() { mpv_destroy(pClient); }
    PlayerLog(const PlayerLog&) = delete;
    PlayerLog& operator=(const PlayerLog&) = delete;

    // Whether the player has waited in vain for a picture to be taken.
    bool HasMissedPictures()
    {
        for (;;)
        {
            const mpv_event* pEvent = mpv_wait_event(pClient, 0.0);
            if (pEvent->event_id == MPV_EVENT_NONE)
            {
                return bMissed;
            }
            if (pEvent->event_id == MPV_EVENT_LOG_MESSAGE)
            {
                const auto* pMessage = static_cast<const mpv_event_log_message*>(pEvent->data);
                bMissed = bMissed || QString::fromUtf8(pMessage->text).contains("not being called");
            }
        }
    }

private:
    mpv_handle* pClient;
    bool bMissed = false;
};
} // namespace

class DesktopSurfaceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void OffersTheKindThatWasAskedFor();
    void AutomaticIsSoftwareWithoutAGraphicsProcessor();
    void ImitationsOfAGraphicsProcessorAreKnown();
    void BecomesReadyOnceItsWindowIsShown();
    void ShowsTheFrameThatWasSoughtTo_data();
    void ShowsTheFrameThatWasSoughtTo();
    void ShowsTheFirstFrameAfterOpening();
    void ShowsNewFramesWhilePlaying();
    void KeepsThePictureAtAnotherSize();
    void StandsAnEmptySize();
    void KeepsTheAspectRatio();
    void TurnsAVideoAsItsFileSays_data();
    void TurnsAVideoAsItsFileSays();
    void TurnsEachFileByItself();
    void DrawsEachPixelOfTheScreen();
    void TakesFramesWhileHidden();
    void TakesFramesWhileAFileOpens();
    void ShowsTheNewestFrameWhenShownAgain();
    void LetsGoOfAPlayerThatPlays();
    void IsDestroyedWhileThePlayerPlays();
    void IsDestroyedBeforeItWasShown();
    void TwoSurfacesShowEachItsOwnPlayer();
    void SaysHowToOpenAVideo();
    void SaysTheMessageOverThePicture();
    void RunsNoTimer();

private:
    TempFolder Folder;
    std::string GreyVideo;    ///< frame N of 50 has luma 40 + 3 N
    std::string StripedVideo; ///< columns one pixel wide, black and white by turns
    std::string
        ColoredVideo; ///< corners red, green, white, blue, clockwise from the upper left one
    std::string SquashedVideo; ///< the same with pixels twice as wide as they are high
};

void DesktopSurfaceTest::initTestCase()
{
    std::setlocale(LC_NUMERIC, "C"); // NOLINT(concurrency-mt-unsafe)
    Theme::Apply();
    GreyVideo = (Folder.Path() / "grey.mp4").string();
    MakeMedia("-f lavfi -i \"nullsrc=size=320x180:rate=25:duration=2,format=yuv420p,"
              "geq=lum='40+3*N':cb=128:cr=128\" -f lavfi -i sine=duration=2 "
              "-c:v libx264 -preset ultrafast -g 25 -pix_fmt yuv420p -c:a aac",
              GreyVideo);
    StripedVideo = (Folder.Path() / "striped.mp4").string();
    MakeMedia("-f lavfi -i \"nullsrc=size=320x180:rate=25:duration=1,format=yuv420p,"
              "geq=lum='16+219*mod(X,2)':cb=128:cr=128\" "
              "-c:v libx264 -preset ultrafast -qp 0 -pix_fmt yuv420p",
              StripedVideo);
    const std::string corners =
        "-f lavfi -i color=red:s=160x90:r=25:d=1 -f lavfi -i color=lime:s=160x90:r=25:d=1 "
        "-f lavfi -i color=blue:s=160x90:r=25:d=1 -f lavfi -i color=white:s=160x90:r=25:d=1 "
        "-filter_complex \"[0][1]hstack[a];[2][3]hstack[b];[a][b]vstack";
    const std::string encoder = "\" -c:v libx264 -preset ultrafast -pix_fmt yuv420p";
    ColoredVideo = (Folder.Path() / "colored.mp4").string();
    MakeMedia(corners + encoder, ColoredVideo);
    SquashedVideo = (Folder.Path() / "squashed.mp4").string();
    MakeMedia(corners + ",scale=160:180,setsar=2" + encoder, SquashedVideo);
}

void DesktopSurfaceTest::OffersTheKindThatWasAskedFor()
{
    const Screen screen;
    QCOMPARE(screen.pSurface->Kind(), TestedKind());
}

void DesktopSurfaceTest::AutomaticIsSoftwareWithoutAGraphicsProcessor()
{
    if (TestedKind() == SurfaceKind::OpenGl)
    {
        QSKIP("Depends on the machine.");
    }
    const auto player = MakePlayer();
    QWidget window;
    QCOMPARE(MakeVideoSurface(SurfaceKind::Automatic, *player, &window)->Kind(),
             SurfaceKind::Software);
}

void DesktopSurfaceTest::ImitationsOfAGraphicsProcessorAreKnown()
{
    QVERIFY(IsSoftwareRenderer("llvmpipe (LLVM 15.0.6, 256 bits)"));
    QVERIFY(IsSoftwareRenderer("softpipe"));
    QVERIFY(IsSoftwareRenderer("Mesa DRI swrast"));
    QVERIFY(!IsSoftwareRenderer("Mesa Intel(R) UHD Graphics 620 (KBL GT2)"));
    QVERIFY(!IsSoftwareRenderer(""));
}

void DesktopSurfaceTest::BecomesReadyOnceItsWindowIsShown()
{
    const Screen screen;
    bool bTold = screen.pSurface->IsReady();
    screen.pSurface->Ready.connect([&bTold] { bTold = true; });
    QTRY_VERIFY_WITH_TIMEOUT(bTold, DeadlineMs);
    QVERIFY(screen.pSurface->IsReady());
}

void DesktopSurfaceTest::ShowsTheFrameThatWasSoughtTo_data()
{
    QTest::addColumn<double>("Sec");
    for (const double sec :
         {0.0, 0.04, 0.044, 0.046, 0.079, 0.5, 0.96, 1.0, 1.234, 1.96, 1.99, 2.0})
    {
        QTest::addRow("%.3f s", sec) << sec;
    }
}

void DesktopSurfaceTest::ShowsTheFrameThatWasSoughtTo()
{
    QFETCH(const double, Sec);
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    QVERIFY(screen.SeekTo(Sec == 0.5 ? 1.5 : 0.5));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), FrameOnAt(Sec == 0.5 ? 1.5 : 0.5), DeadlineMs);
    QVERIFY(screen.SeekTo(Sec));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), FrameOnAt(Sec), DeadlineMs);
}

void DesktopSurfaceTest::ShowsTheFirstFrameAfterOpening()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 0, DeadlineMs);
}

void DesktopSurfaceTest::ShowsNewFramesWhilePlaying()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    screen.pPlayer->Play();
    QTRY_VERIFY_WITH_TIMEOUT(screen.ShownFrame() > 10, DeadlineMs);
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 49, DeadlineMs);
}

void DesktopSurfaceTest::KeepsThePictureAtAnotherSize()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    QVERIFY(screen.SeekTo(1.0));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 25, DeadlineMs);
    for (const QSize size : {QSize(640, 360), QSize(16, 9), QSize(320, 180)})
    {
        screen.pSurface->Widget()->resize(size);
        QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 25, DeadlineMs);
    }
}

void DesktopSurfaceTest::StandsAnEmptySize()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    QWidget& widget = *screen.pSurface->Widget();
    for (const QSize size : {QSize(0, 0), QSize(1, 1), QSize(0, 180), QSize(320, 0)})
    {
        widget.resize(size);
        QVERIFY(screen.SeekTo(1.0));
        QCoreApplication::processEvents();
    }
    widget.resize(320, 180);
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 25, DeadlineMs);
}

void DesktopSurfaceTest::KeepsTheAspectRatio()
{
    Screen screen({320, 360});
    QVERIFY(screen.Open(GreyVideo));
    QVERIFY(screen.SeekTo(1.0));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 25, DeadlineMs);
    QCOMPARE(screen.Shade(0.5, 0.24), 0);
    QVERIFY(screen.Shade(0.5, 0.26) > 0);
    QVERIFY(screen.Shade(0.01, 0.5) > 0);
    QVERIFY(screen.Shade(0.5, 0.74) > 0);
    QCOMPARE(screen.Shade(0.5, 0.76), 0);
}

void DesktopSurfaceTest::TurnsAVideoAsItsFileSays_data()
{
    QTest::addColumn<int>("Degrees");
    QTest::addColumn<QSize>("Size");
    QTest::addColumn<bool>("bSquashed");
    QTest::addColumn<QSizeF>("Part");
    QTest::addColumn<QString>("Expected");
    const double sliver = 180.0 / 320.0 * 180.0 / 320.0;
    const QSize wide(320, 180);
    const QSize high(180, 320);
    for (const bool bSquashed : {false, true})
    {
        const auto add = [&](int Degrees, QSize Size, QSizeF Part, const char* pExpected)
        {
            QTest::addRow("%d degrees, %d x %d%s", Degrees, Size.width(), Size.height(),
                          bSquashed ? ", squashed" : "")
                << Degrees << Size << bSquashed << Part << QString(pExpected);
        };
        add(0, wide, {1.0, 1.0}, "rgwbrgwb");
        add(0, high, {1.0, sliver}, "rgwb----");
        add(90, wide, {sliver, 1.0}, "brgw----");
        add(90, high, {1.0, 1.0}, "brgwbrgw");
        add(180, wide, {1.0, 1.0}, "wbrgwbrg");
        add(180, high, {1.0, sliver}, "wbrg----");
        add(270, wide, {sliver, 1.0}, "gwbr----");
        add(270, high, {1.0, 1.0}, "gwbrgwbr");
    }
}

// As phones write it, for a picture that they took upright.
void DesktopSurfaceTest::TurnsAVideoAsItsFileSays()
{
    QFETCH(const int, Degrees);
    QFETCH(const QSize, Size);
    QFETCH(const bool, bSquashed);
    QFETCH(const QSizeF, Part);
    QFETCH(const QString, Expected);
    const std::string path = (Folder.Path() / "turned.mp4").string();
    MakeRotatedVideo(bSquashed ? SquashedVideo : ColoredVideo, Degrees, path);
    Screen screen(Size);
    QVERIFY(screen.Open(path));
    QTRY_COMPARE_WITH_TIMEOUT(screen.Corners(Part), Expected, DeadlineMs);
}

void DesktopSurfaceTest::TurnsEachFileByItself()
{
    Screen screen;
    const std::string path = (Folder.Path() / "turned.mp4").string();
    for (const auto& [degrees, expected] :
         {std::pair(180, "wbrg"), std::pair(0, "rgwb"), std::pair(180, "wbrg")})
    {
        MakeRotatedVideo(ColoredVideo, degrees, path);
        QVERIFY(screen.Open(path));
        QTRY_COMPARE_WITH_TIMEOUT(screen.Corners({0.9, 0.9}).left(4), QString(expected),
                                  DeadlineMs);
    }
    // An angle between the four is no reason to end.
    MakeRotatedVideo(ColoredVideo, 45, path);
    QVERIFY(screen.Open(path));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ColorAt(0.5, 0.2), QChar('r'), DeadlineMs);
}

void DesktopSurfaceTest::DrawsEachPixelOfTheScreen()
{
    const double ratio = qApp->devicePixelRatio();
    Screen screen((QSizeF(320, 180) / ratio).toSize());
    QVERIFY(screen.Open(StripedVideo));
    QTRY_VERIFY_WITH_TIMEOUT(screen.Picture().pixelColor(161, 90).green() > 200, DeadlineMs);
    const QImage picture = screen.Picture();
    QCOMPARE(picture.width(), 320);
    for (int x = 0; x < picture.width(); ++x)
    {
        QCOMPARE(picture.pixelColor(x, 90).green() > 128, x % 2 == 1);
    }
}

void DesktopSurfaceTest::TakesFramesWhileHidden()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 0, DeadlineMs);
    PlayerLog log(*screen.pPlayer);
    screen.Window.hide();
    QVERIFY(screen.SeekTo(1.0));
    screen.pPlayer->Play();
    const auto bStopped = [&]
    {
        screen.pPlayer->PumpEvents();
        return !screen.pPlayer->IsPlaying();
    };
    QTRY_VERIFY_WITH_TIMEOUT(bStopped(), DeadlineMs);
    QVERIFY(!log.HasMissedPictures());
}

void DesktopSurfaceTest::TakesFramesWhileAFileOpens()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    PlayerLog log(*screen.pPlayer);
    std::string error;
    for (int i = 0; i < 3; ++i)
    {
        QVERIFY(screen.pPlayer->Open(i % 2 == 0 ? StripedVideo : GreyVideo, error));
        QVERIFY(screen.SeekTo(0.5));
    }
    QVERIFY(!log.HasMissedPictures());
}

void DesktopSurfaceTest::ShowsTheNewestFrameWhenShownAgain()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 0, DeadlineMs);
    screen.Window.hide();
    QVERIFY(screen.SeekTo(1.2));
    screen.Window.show();
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 30, DeadlineMs);
}

void DesktopSurfaceTest::LetsGoOfAPlayerThatPlays()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    screen.pPlayer->Play();
    QTRY_VERIFY_WITH_TIMEOUT(screen.ShownFrame() > 2, DeadlineMs);
    screen.pSurface->Detach();
    QVERIFY(!screen.pSurface->IsReady());
    screen.pPlayer.reset();
    QCOMPARE(screen.ShownFrame(), NoFrame);
}

void DesktopSurfaceTest::IsDestroyedWhileThePlayerPlays()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    screen.pPlayer->Play();
    QTRY_VERIFY_WITH_TIMEOUT(screen.ShownFrame() > 2, DeadlineMs);
    screen.pSurface.reset();
    QVERIFY(screen.Window.children().isEmpty());
    // Without its picture the player waits for nobody.
    QVERIFY(screen.SeekTo(0.5));
}

void DesktopSurfaceTest::IsDestroyedBeforeItWasShown()
{
    const auto player = MakePlayer();
    QWidget window;
    auto surface = MakeVideoSurface(TestedKind(), *player, &window);
    surface.reset();
    QVERIFY(window.children().isEmpty());
}

void DesktopSurfaceTest::TwoSurfacesShowEachItsOwnPlayer()
{
    Screen first;
    Screen second;
    QVERIFY(first.Open(GreyVideo));
    QVERIFY(second.Open(GreyVideo));
    QVERIFY(first.SeekTo(0.4));
    QVERIFY(second.SeekTo(1.6));
    QTRY_COMPARE_WITH_TIMEOUT(first.ShownFrame(), 10, DeadlineMs);
    QTRY_COMPARE_WITH_TIMEOUT(second.ShownFrame(), 40, DeadlineMs);
    first.pSurface.reset();
    QVERIFY(second.SeekTo(0.8));
    QTRY_COMPARE_WITH_TIMEOUT(second.ShownFrame(), 20, DeadlineMs);
}

void DesktopSurfaceTest::SaysHowToOpenAVideo()
{
    Screen screen({480, 360});
    QVERIFY(screen.pSurface->Widget()->accessibleDescription().contains("Ctrl+O"));
    const QImage empty = screen.Picture();
    QVERIFY(screen.Open(GreyVideo));
    QVERIFY(screen.pSurface->Widget()->accessibleDescription().isEmpty());
    screen.pSurface->SetState({});
    QTRY_COMPARE_WITH_TIMEOUT(screen.Picture(), empty, DeadlineMs);
    // Something stands out from the ground.
    QImage ground = empty;
    ground.fill(Theme::Surface);
    QVERIFY(empty != ground);
}

void DesktopSurfaceTest::SaysTheMessageOverThePicture()
{
    Screen screen({480, 360});
    QVERIFY(screen.Open(GreyVideo));
    QVERIFY(screen.SeekTo(1.0));
    QTRY_COMPARE_WITH_TIMEOUT(screen.ShownFrame(), 25, DeadlineMs);
    const QImage plain = screen.Picture();
    screen.pSurface->SetState({true, "This file has no pictures: choose a video."});
    QCOMPARE(screen.pSurface->Widget()->accessibleDescription(),
             "This file has no pictures: choose a video.");
    QTRY_VERIFY_WITH_TIMEOUT(screen.Picture() != plain, DeadlineMs);
    QCOMPARE(screen.ShownFrame(), 25);
}

void DesktopSurfaceTest::RunsNoTimer()
{
    Screen screen;
    QVERIFY(screen.Open(GreyVideo));
    screen.pPlayer->Play();
    QTRY_VERIFY_WITH_TIMEOUT(screen.ShownFrame() > 2, DeadlineMs);
    const auto* const dispatcher = QAbstractEventDispatcher::instance();
    QVERIFY(dispatcher->registeredTimers(screen.pSurface->Widget()).isEmpty());
    for (QObject* const child : screen.pSurface->Widget()->findChildren<QObject*>())
    {
        QVERIFY(dispatcher->registeredTimers(child).isEmpty());
    }
}

QTEST_MAIN(DesktopSurfaceTest)
#include "desktop_surface_test.moc"
