// Shows a folder in the desktop's file manager.

#pragma once

#include <string>

/// Starts the file manager on a folder, an absolute path, and does not wait for it.
///
/// It does not get the variables that lead the exports of this process to the encoder front.
void OpenFolder(const std::string& Path);
