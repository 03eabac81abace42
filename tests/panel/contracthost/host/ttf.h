#pragma once

class TTF
{
public:
    int GetCellWidth(int Px);
};
