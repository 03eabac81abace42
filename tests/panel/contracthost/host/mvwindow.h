#pragma once

#include "host/mvchildwindow.h"

class MvWindow
{
public:
    virtual ~MvWindow() = default; // for the run-time type test and nothing else

    MvChildWindow* GetChild(int Key);
    template <typename T> T* GetChildAs(int Key) { return dynamic_cast<T*>(GetChild(Key)); }

    bool bOpen = false;
    bool bVisible = false;
    bool bClosing = false;
    double X1 = -1.0;
    double Y1 = 1.0;
    double X2 = 1.0;
    double Y2 = -1.0;
    double BorderWidth = 0.0;
    bool bHasTitleBar = false;
    double TitleBarHeight = 0.0;
};
