#pragma once

#include <string>

class MvLabel
{
public:
    std::string Text;
};
