// Whether the system lets this process have more threads: the libraries hang or crash where it does not.

#pragma once

#include <string>

/// True when eight further threads could be started, a few more than a player or the window's toolkit needs
/// at once. They have ended when it returns. Any thread.
bool HasRoomForThreads();

/// What is said where there is no room: Failure, such as "A window can't be opened", with reason and next step.
std::string NoRoomForThreads(const std::string& Failure);
