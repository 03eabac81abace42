// The host's log: lines for developers about errors that no user can act on.
//
// Lines go to the sink that the program has set, and to standard error until then. Any thread.

#pragma once

#include <functional>
#include <string>

/// Writes one line about an error that the program survived.
void LogError(const std::string& Line);

/// Sets where the lines go; an empty function means standard error again. The sink may be called from
/// any thread, one call at a time, and must not log.
void SetLogSink(std::function<void(const std::string& Line)> NewSink);
