#pragma once

class TTF;

class Rend
{
public:
    TTF* pTTF = nullptr;
    int FontSmallPx = 13;
};
