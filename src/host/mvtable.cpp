#include "host/mvtable.h"

void MvTable::SetColumnFractions(const std::vector<double>& NewFractions)
{
    Fractions = NewFractions;
}

void MvTable::SelectRow(int Row)
{
    SelectedRow = Row;
    CurrentRow = Row;
    SelectionChanged.emit();
}
