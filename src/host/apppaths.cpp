#include "host/apppaths.h"

#include "base/atomicfile.h"
#include "base/environment.h"
#include "base/log.h"
#include "base/runtimefolder.h"
#include "base/userdirs.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>

#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

// Its destructor, at the end of the program, removes the folder.
std::unique_ptr<RuntimeFolder> runtimeFolder;

std::string AbsoluteFromEnvironment(const char* Name)
{
    const std::string value = EnvironmentValue(Name);
    std::error_code ec;
    const fs::path absolute = fs::absolute(value, ec);
    // In a deleted folder a relative path stays relative: making it fails, and the error names it.
    return value.empty() || ec ? value : absolute.native();
}

fs::path RuntimeBase()
{
    const std::string userRuntimeDir = AbsolutePathFromEnvironment("XDG_RUNTIME_DIR");
    std::error_code ec;
    if (!userRuntimeDir.empty() && fs::is_directory(userRuntimeDir, ec))
    {
        return fs::path(userRuntimeDir) / "movane";
    }
    fs::path temporaryDir = AbsolutePathFromEnvironment("TMPDIR");
    if (!fs::is_directory(temporaryDir, ec))
    {
        temporaryDir = "/tmp";
    }
    return temporaryDir / ("movane-" + std::to_string(geteuid()));
}

fs::path DefaultVideoRecord()
{
    return fs::path(AppPaths::StateDir()) / "default-video";
}
} // namespace

std::string AppPaths::RuntimeDir()
{
    std::string error;
    if (!PrepareRuntimeDir(error))
    {
        LogError(error);
        const std::string named = AbsoluteFromEnvironment("MOVANE_RUNTIME_DIR");
        return named.empty() ? RuntimeBase().native() : named;
    }
    return runtimeFolder->Path().native();
}

std::string AppPaths::RecordingsDir()
{
    const std::string named = AbsoluteFromEnvironment("MOVANE_RECORDINGS_DIR");
    return named.empty() ? (fs::path(VideosDir()) / "Movane").native() : named;
}

bool AppPaths::PrepareRuntimeDir(std::string& OutError)
{
    if (runtimeFolder == nullptr)
    {
        const std::string named = AbsoluteFromEnvironment("MOVANE_RUNTIME_DIR");
        runtimeFolder = named.empty() ? RuntimeFolder::MakeUnder(RuntimeBase(), OutError)
                                      : RuntimeFolder::TakeNamed(named, OutError);
    }
    return runtimeFolder != nullptr;
}

void AppPaths::RemoveRuntimeDir()
{
    runtimeFolder.reset();
}

bool AppPaths::PrepareRecordingsDir(std::string& OutError)
{
    const fs::path clipsDir = fs::path(RecordingsDir()) / "clips";
    std::error_code ec;
    fs::create_directories(clipsDir, ec);
    if (ec)
    {
        OutError = "The folder " + clipsDir.native() +
                   " for exported clips can't be made: " + ec.message() + ".";
        return false;
    }
    // Make a file to find out: mode bits do not show a read-only file system.
    std::string probe = (clipsDir / ".movane-XXXXXX").native();
    const int file = mkstemp(probe.data());
    if (file < 0)
    {
        OutError = "The folder " + clipsDir.native() + " for exported clips can't be written: " +
                   std::generic_category().message(errno) + ".";
        return false;
    }
    close(file);
    unlink(probe.c_str());
    return true;
}

void AppPaths::SetDefaultVideoFile(const std::string& Path)
{
    std::string error;
    if (!WriteFileAtomically(DefaultVideoRecord().native(), Path, error))
    {
        LogError(error);
    }
}

std::string AppPaths::DefaultVideoFile()
{
    return ReadWholeFile(DefaultVideoRecord().native());
}

std::string AppPaths::StateDir()
{
    fs::path base = AbsolutePathFromEnvironment("XDG_STATE_HOME");
    if (base.empty())
    {
        base = fs::path(HomeDir()) / ".local" / "state";
    }
    return (base / "movane").native();
}
