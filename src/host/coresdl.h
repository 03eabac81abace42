// The size of the drawing surface.

#pragma once

class CoreSDL
{
public:
    int Width = 1280; ///< pixels
    int Height = 720; ///< pixels
};
