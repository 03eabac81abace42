// A window that tells when it is taken away.

#pragma once

#include "host/mvwindow.h"

class WatchedWindow : public MvWindow
{
public:
    explicit WatchedWindow(bool& bOutGone)
        : bGone(bOutGone)
    {
    }
    ~WatchedWindow() override { bGone = true; }

private:
    bool& bGone;
};
