// Where the application keeps its files.
//
//     recordings   MOVANE_RECORDINGS_DIR, else the folder Movane in the user's videos folder
//                  (xdg-user-dirs; ~/Videos without it)
//     runtime      MOVANE_RUNTIME_DIR, else a folder of this process under $XDG_RUNTIME_DIR/movane
//                  (movane-UID in TMPDIR or /tmp without it)
//     state        $XDG_STATE_HOME/movane (~/.local/state/movane)
//
// The places follow the XDG Base Directory Specification 0.8 and xdg-user-dirs; a relative path in an
// XDG variable is ignored, as it says. UI thread only, but for RuntimeDir once PrepareRuntimeDir has
// succeeded.

#pragma once

#include <string>

class AppPaths
{
public:
    /// The folder for temporary files, an absolute path. It belongs to this process and user alone and holds
    /// "temp" (mode 0700). The first call here or of PrepareRuntimeDir makes it; a failure is logged, and the path
    /// is returned all the same.
    static std::string RuntimeDir();

    /// The folder for recordings, an absolute path, read from the environment at each call. Not made here. A
    /// relative path in the environment stays relative if the current folder was deleted.
    static std::string RecordingsDir();

    /// Makes the runtime folder and clears those that dead processes left behind. False sets OutError
    /// to one sentence that names the folder.
    static bool PrepareRuntimeDir(std::string& OutError);

    /// Removes the runtime folder, as the program's end does, too. The next RuntimeDir makes a new one.
    static void RemoveRuntimeDir();

    /// Makes the recordings folder and checks that files can be made in its "clips". On failure returns false and
    /// sets OutError to one sentence that names the folder; missing folders may have been made by then.
    static bool PrepareRecordingsDir(std::string& OutError);

    /// Remembers the file as the default video, across runs. A failure is logged.
    static void SetDefaultVideoFile(const std::string& Path);
    /// The file remembered last, empty when there is none.
    static std::string DefaultVideoFile();

    /// The folder for what is remembered across runs, an absolute path. Not made here.
    static std::string StateDir();
};
