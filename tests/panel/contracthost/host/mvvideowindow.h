#pragma once

#include "host/mvvideo.h"
#include "host/mvwindow.h"

#include <string>

class MvVideoWindow : public MvWindow
{
public:
    bool LoadVideoFile(const std::string& Path, bool bFlag);

    bool bFocused = false;
    MvVideo* pVideo = nullptr;
};
