// The interface font as the host's layout sees it. UI thread only; needs the application's QApplication
// at the first question, not before.

#pragma once

#include "host/ttf.h"

class QtFont : public TTF
{
public:
    /// The width of the digit 0: most letters are narrower, and times are all digits.
    int GetCellWidth(int Px) override;
};
