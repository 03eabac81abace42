// Waits for a colour on the screen: awaitpixel X Y RRGGBB
//
// Looks at one point of the X server's screen every few milliseconds. Once it has about that colour, as
// a video's colours are never exact, prints the time in microseconds since 1970 and returns 0; returns 1
// after 30 seconds.

#include <QColor>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QThread>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace
{
constexpr int LookEveryMs = 3;
constexpr int WaitMs = 30'000;
constexpr int Tolerance = 24;

bool IsAbout(const QColor& Seen, const QColor& Wanted)
{
    return std::abs(Seen.red() - Wanted.red()) <= Tolerance &&
           std::abs(Seen.green() - Wanted.green()) <= Tolerance &&
           std::abs(Seen.blue() - Wanted.blue()) <= Tolerance;
}
} // namespace

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 4)
    {
        std::fputs("awaitpixel X Y RRGGBB\n", stderr);
        return 2;
    }
    const int x = arguments[1].toInt();
    const int y = arguments[2].toInt();
    const QColor wanted('#' + arguments[3]);
    QScreen* const screen = QGuiApplication::primaryScreen();
    QElapsedTimer waited;
    for (waited.start(); !waited.hasExpired(WaitMs); QThread::msleep(LookEveryMs))
    {
        if (IsAbout(screen->grabWindow(0, x, y, 1, 1).toImage().pixelColor(0, 0), wanted))
        {
            const auto now = std::chrono::system_clock::now().time_since_epoch();
            std::printf("%lld\n",
                        static_cast<long long>(
                            std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
            return 0;
        }
    }
    return 1;
}
