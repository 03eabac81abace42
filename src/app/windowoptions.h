// What the desktop program was asked to do.

#pragma once

#include <string>
#include <vector>

struct WindowOptions
{
    std::vector<std::string> FilePaths; ///< to open, one a window
    std::string Video;                  ///< "auto", "gl" or "sw"
};
