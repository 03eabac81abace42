// Whether this process can start more threads: without them the libraries hang or crash.

#pragma once

#include <string>

/// True when eight further threads can be started, a few more than a player or the window's toolkit needs at once.
/// Starts them to find out; they have ended when it returns. Any thread.
bool HasRoomForThreads();

/// The error for that case: Failure, such as "A window can't be opened", with reason and next step.
std::string NoRoomForThreads(const std::string& Failure);
