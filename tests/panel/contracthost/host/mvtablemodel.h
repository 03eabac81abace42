// Of the model's operations only SetRows is here: the panel is to use no other.

#pragma once

#include <string>
#include <vector>

class MvTableModel
{
public:
    using HeaderList = std::vector<std::string>;
    using Row = std::vector<std::string>;
    using RowList = std::vector<Row>;

    void SetRows(const RowList& NewRows);

    HeaderList Headers;
    RowList Rows;
};
