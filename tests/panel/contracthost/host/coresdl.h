#pragma once

class CoreSDL
{
public:
    int Width = 1280;
    int Height = 720;
};
