// The look at a path before a player is asked to open it, so that a user is told what is wrong with it
// and the player never meets a folder, a pipe or a device.
//
// Any thread.

#pragma once

#include <string>

/// Why no player should be asked to open the path, in one sentence that begins with it and says what to
/// do; empty when it is a regular file that can be read.
std::string ReasonNotToOpen(const std::string& Path);
