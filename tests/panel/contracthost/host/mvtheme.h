#pragma once

class MvTheme
{
public:
    static int ScaleTextPx(int Px, int MinPx, int MaxPx);
};
