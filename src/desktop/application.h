// The desktop program from its start to its end.

#pragma once

#include "app/windowoptions.h"

/// Runs the program and returns its exit code: 0 after a normal end, 1 when it can't start, 2 when it
/// was called wrong; each of these with one sentence on standard error.
///
/// To be called once, on the main thread, before any other thread is started. ArgumentCount and
/// Arguments are main's, for the toolkit's own options.
int RunDesktop(const WindowOptions& Options, int& ArgumentCount, char** Arguments);
