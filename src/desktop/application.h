// The desktop program from its start to its end.

#pragma once

#include "app/windowoptions.h"

/// Runs the program and returns its exit code: 0 after a normal end, 1 when it can't start, 2 when it
/// was called wrong; each of these with one sentence on standard error.
///
/// To be called once, on the main thread, before any other thread is started. The toolkit's own options are
/// not taken: they would name plugins and files, and a file of the current folder may have the name of one.
int RunDesktop(const WindowOptions& Options);
