// The user's own folders: home and videos.
//
// Follows xdg-user-dirs: the file user-dirs.dirs in the user's configuration folder holds shell-like
// lines such as XDG_VIDEOS_DIR="$HOME/Videos". Absolute paths without a slash at the end.

#pragma once

#include <string>

/// Returns HOME, or the home folder of the user database when HOME is unset or not absolute; "/" when
/// neither gives one.
std::string HomeDir();

/// Returns the user's videos folder: what user-dirs.dirs says, else Videos in the home folder.
std::string VideosDir();

/// Returns the value of Key in the text of a user-dirs.dirs file, empty when it is not there. The last
/// of several lines counts.
///
/// As user-dirs.dirs(5) says: the value is double-quoted, a backslash takes the next character as it
/// is, and the path is "$HOME/…" or absolute. A line in any other form is ignored.
std::string
UserDirFromText(const std::string& Text, const std::string& Key, const std::string& Home);
