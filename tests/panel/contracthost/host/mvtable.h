#pragma once

#include <vector>

class MvTable
{
public:
    void SetColumnFractions(const std::vector<double>& NewFractions);

    int SelectedRow = -1;
    int CurrentRow = -1;
    double RelX1 = 0.0;
    double RelY1 = 0.0;
    double RelX2 = 1.0;
    double RelY2 = 1.0;
    int TextPx = 14;
    bool bAutoScaleText = false;
    double CellPaddingPx = 0.0;
    double MinColumnWidthPx = 0.0;
};
