#include "desktop/application.h"

#include "cli/exportcommand.h"
#include "cli/exportreport.h"
#include "cli/processsetup.h"
#include "cli/stopsignals.h"
#include "desktop/commands.h"
#include "desktop/desktop.h"
#include "desktop/exportwatch.h"
#include "desktop/mainwindow.h"
#include "desktop/session.h"
#include "desktop/settings.h"
#include "desktop/theme.h"
#include "host/apppaths.h"
#include "host/environment.h"
#include "host/mvtheme.h"
#include "media/exportprogress.h"
#include "media/mpvvideo.h"

#include <QApplication>
#include <QFile>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

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

QStringList FilesToOpen(const WindowOptions& Options)
{
    QStringList files;
    for (const std::string& file : Options.FilePaths)
    {
        files.append(QFile::decodeName(file.c_str()));
    }
    const std::string lastFile = AppPaths::DefaultVideoFile();
    std::error_code ec;
    if (files.isEmpty() && !lastFile.empty() && std::filesystem::is_regular_file(lastFile, ec))
    {
        files.append(QFile::decodeName(lastFile.c_str()));
    }
    return files;
}
SurfaceKind SurfaceOf(const std::string& Video)
{
    return Video == "gl"   ? SurfaceKind::OpenGl
           : Video == "sw" ? SurfaceKind::Software
                           : SurfaceKind::Automatic;
}

// A name that is mistyped, or a command that is not there, is told where it was typed.
std::string FirstMissingFile(const WindowOptions& Options)
{
    const auto missing = std::find_if(Options.FilePaths.begin(), Options.FilePaths.end(),
                                      [](const std::string& path)
                                      {
                                          std::error_code ec;
                                          return !std::filesystem::exists(path, ec);
                                      });
    return missing == Options.FilePaths.end() ? std::string() : *missing;
}
} // namespace

int RunDesktop(const WindowOptions& Options, int& ArgumentCount, char** Arguments)
{
    if (const std::string missing = FirstMissingFile(Options); !missing.empty())
    {
        PrintError(missing + " does not exist: name a video, or see movane --help.");
        return static_cast<int>(ExitCode::CallWrong);
    }
    if (!HasDisplay())
    {
        PrintError("There is no display to open a window on: run it in a desktop session, or use "
                   "\"movane export\".");
        return static_cast<int>(ExitCode::CallWrong);
    }
    std::string error;
    if (!AppPaths::PrepareRuntimeDir(error))
    {
        PrintError(error);
        return 1;
    }
    PointStandardInputAtNull();
    AdoptOrphans();
    const std::string reportPath = EnableExportReport();
    // In order: a running export is stopped, and the windows close.
    const StopSignals stop(
        []
        {
            if (qApp != nullptr)
            {
                // Not quit(), which asks the windows: one with a running export would stay.
                QMetaObject::invokeMethod(qApp, [] { QCoreApplication::exit(0); });
            }
        },
        [] {});

    QApplication application(ArgumentCount, Arguments);
    KeepDecimalPoint(); // the toolkit has just taken the user's locale
    QApplication::setApplicationName("movane");
    QApplication::setApplicationDisplayName("Movane");
    QApplication::setApplicationVersion(MOVANE_VERSION);
    QApplication::setDesktopFileName("movane");
    QApplication::setQuitOnLastWindowClosed(false);
    MvTheme::SetTextScale(LoadSettings().TextScale);
    Theme::Apply();

    Session session(&MakePlayer);
    Commands commands(session);
    ExportWatch exportWatch(session, reportPath);
    Desktop desktop(session, commands, exportWatch, SurfaceOf(Options.Video));
    if (!desktop.Start(error))
    {
        PrintError(error);
        return 1;
    }
    desktop.OpenFiles(FilesToOpen(Options), &desktop.Main());
    return QApplication::exec();
}
