// The host's one way to tell a developer that something went wrong where no user can be asked.
//
// A line goes to the sink that the program has set, at first standard error. Any thread.

#pragma once

#include <functional>
#include <string>

/// Writes one line, an error that the program has survived.
void LogError(const std::string& Line);

/// Sets where the lines go; an empty function means standard error again. The sink may be called from
/// any thread, one call at a time, and must not log.
void SetLogSink(std::function<void(const std::string& Line)> NewSink);
