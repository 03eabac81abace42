#include "desktop/application.h"

#include "app/exportsocket.h"
#include "app/openingmark.h"
#include "base/environment.h"
#include "base/openfile.h"
#include "desktop/actions/commands.h"
#include "desktop/actions/widgetkeys.h"
#include "desktop/desktop.h"
#include "desktop/look/icons.h"
#include "desktop/look/pathtext.h"
#include "desktop/look/theme.h"
#include "desktop/mainwindow.h"
#include "desktop/session/session.h"
#include "desktop/session/settings.h"
#include "host/apppaths.h"
#include "host/mvtheme.h"
#include "player/mpvvideo.h"
#include "process/exitcode.h"
#include "process/processsetup.h"
#include "process/sentences.h"
#include "process/stopsignals.h"
#include "process/threadroom.h"
#include "process/wakeup.h"

#include <QApplication>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

namespace
{
// Without this test the toolkit would abort.
bool HasDisplay()
{
    return !EnvironmentValue("DISPLAY").empty() || !EnvironmentValue("WAYLAND_DISPLAY").empty() ||
           !EnvironmentValue("QT_QPA_PLATFORM").empty();
}

std::unique_ptr<MpvVideo> MakePlayer(std::string& OutError)
{
    // MOVANE_AUDIO names the player's sound output; tests set it to null.
    const std::string audioOutput = EnvironmentValue("MOVANE_AUDIO");
    return MpvVideo::Create({.VideoOutput = "libmpv", .AudioOutput = audioOutput}, OutError);
}

QStringList NamedFiles(const WindowOptions& Options)
{
    QStringList files;
    for (const std::string& file : Options.FilePaths)
    {
        // Here, by its bytes: the toolkit knows the current folder only as text.
        std::error_code ec;
        std::filesystem::path path;
        for (const std::filesystem::path& part : std::filesystem::absolute(file, ec))
        {
            // A ".." stays: behind a link it leads elsewhere.
            if (part != ".")
            {
                path /= part;
            }
        }
        files.append(PathText(ec ? file : path.native()));
    }
    return files;
}

// Opens what was named, else the video of the last run. One that is gone, too: the window then says so. But
// nothing that could have ended the last start.
void OpenFirstFiles(const WindowOptions& Options, Desktop& Windows)
{
    const std::vector<std::string> unfinished = OpeningMark::TakeLeftover();
    std::string lastFile = AppPaths::DefaultVideoFile();
    if (std::find(unfinished.begin(), unfinished.end(), lastFile) != unfinished.end())
    {
        lastFile.clear();
        AppPaths::SetDefaultVideoFile({});
    }
    if (!Options.FilePaths.empty())
    {
        Windows.OpenFiles(NamedFiles(Options), &Windows.Main());
    }
    else if (!unfinished.empty())
    {
        const std::size_t others = unfinished.size() - 1;
        Windows.ShowError("No video is opened, because the program ended while it opened " +
                          unfinished.front() +
                          (others == 0 ? "" : " and " + std::to_string(others) + " more") +
                          ": press Ctrl+O to choose one.");
    }
    else if (!lastFile.empty())
    {
        Windows.OpenFiles({PathText(lastFile)}, &Windows.Main());
    }
}

SurfaceKind SurfaceOf(const std::string& Video)
{
    return Video == "gl"   ? SurfaceKind::OpenGl
           : Video == "sw" ? SurfaceKind::Software
                           : SurfaceKind::Automatic;
}

// A mistyped name or command is reported in the terminal where it was typed, not in a window.
std::string MissingFileProblem(const WindowOptions& Options)
{
    const auto missing = std::find_if(Options.FilePaths.begin(), Options.FilePaths.end(),
                                      [](const std::string& Path)
                                      {
                                          std::error_code ec;
                                          return !std::filesystem::exists(Path, ec);
                                      });
    return missing == Options.FilePaths.end() ? std::string() : ReasonNotToOpen(*missing);
}
} // namespace

int RunDesktop(const WindowOptions& Options)
{
    if (const std::string problem = MissingFileProblem(Options); !problem.empty())
    {
        PrintError(problem);
        return static_cast<int>(ExitCode::CallWrong);
    }
    if (!HasDisplay())
    {
        PrintError("There is no display to open a window on: run it in a desktop session, or use "
                   "\"movane export\".");
        return static_cast<int>(ExitCode::CallWrong);
    }
    KeepFewHeaps();
    // Without it the toolkit would wait for a thread for ever.
    if (!HasRoomForThreads())
    {
        PrintError(NoRoomForThreads("A window can't be opened"));
        return 1;
    }
    std::string error;
    if (!AppPaths::PrepareRuntimeDir(error))
    {
        PrintError(error);
        return 1;
    }
    PointStandardInputAtNull();
    std::unique_ptr<ExportSocket> exportSocket = ExportSocket::OpenForFront();
    const WakeUp stopWish; // for the thread of the signals, which outlives the application
    const StopSignals stop([&stopWish] { stopWish.Post(); }, [] {});

    int argumentCount = 1; // both for the application's life
    std::array<char*, 2> arguments = {const_cast<char*>("movane"), nullptr};
    QApplication application(argumentCount, arguments.data());
    KeepDecimalPoint(); // the toolkit has just taken the user's locale
    QApplication::setApplicationName("movane");
    QApplication::setApplicationDisplayName("Movane");
    QApplication::setApplicationVersion(MOVANE_VERSION);
    QApplication::setDesktopFileName("movane");
    QApplication::setWindowIcon(ProgramIcon());
    QApplication::setQuitOnLastWindowClosed(false);
    MvTheme::SetTextScale(LoadSettings().TextScale);
    Theme::Apply();

    // In order: a running export is stopped, and the windows close. Not by quit(), which asks the windows:
    // one with a running export would stay.
    const QSocketNotifier stopWanted(stopWish.Descriptor(), QSocketNotifier::Read);
    QObject::connect(&stopWanted, &QSocketNotifier::activated, [] { QCoreApplication::exit(0); });

    WidgetKeys widgetKeys;
    application.installEventFilter(&widgetKeys);
    Session session(&MakePlayer, std::move(exportSocket), [&stop] { return stop.Received() != 0; });
    Commands commands(session);
    Desktop desktop(session, commands, SurfaceOf(Options.Video));
    if (!desktop.Start(error))
    {
        PrintError(error);
        return 1;
    }
    OpenFirstFiles(Options, desktop);
    return QApplication::exec();
}
