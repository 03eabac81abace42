// Whether the system lets this process have more threads: the libraries hang or crash where it does not.

#pragma once

/// True when eight further threads could be started, a few more than a player or the window's toolkit needs
/// at once. They have ended when it returns. Any thread.
bool HasRoomForThreads();
