#pragma once

class MvChildWindow
{
public:
    virtual ~MvChildWindow() = default; // for the run-time type test and nothing else
};
