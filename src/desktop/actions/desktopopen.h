// Opens a file or a folder with the program that the desktop has for it.

#pragma once

#include <string>

/// Starts the desktop's program for Path, an absolute path with any bytes, and does not wait for it.
///
/// It does not get what this process has set in its own environment for its encoder: another Movane that
/// is started from there would take that for the user's choice.
void OpenWithDesktop(const std::string& Path);
