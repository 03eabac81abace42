#pragma once

#include <string>

class MvTextInput
{
public:
    void SetText(const std::string& NewText, bool bFlag);

    std::string Text;
};
