// A line of text on the screen. Whoever draws it compares Text with what it drew last.

#pragma once

#include <string>

class MvLabel
{
public:
    std::string Text;
};
