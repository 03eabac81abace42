// The renderer's part that layout reads: the font and the small text size.

#pragma once

class TTF;

class Rend
{
public:
    TTF* pTTF = nullptr; ///< not owned; null until the font is there
    int FontSmallPx = 13;
};
