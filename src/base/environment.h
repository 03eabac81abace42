// Reading the environment. The program changes it only before it starts threads that read it.

#pragma once

#include <string>

/// Returns the value of a variable, empty when it is unset.
std::string EnvironmentValue(const char* Name);

/// Returns the value when it is an absolute path, else an empty text.
std::string AbsolutePathFromEnvironment(const char* Name);
