#pragma once

#include "host/mvchildwindow.h"

#include <string>
#include <vector>

class MvTimeControl : public MvChildWindow
{
public:
    struct Marker
    {
        double TimeSec = 0.0;
        std::string Label;
        float ColorR = 0.0F;
        float ColorG = 0.0F;
        float ColorB = 0.0F;
        float ColorA = 0.0F;
    };

    bool HasRangeSelection() const;
    double RangeStartSec() const;
    double RangeEndSec() const;
    double DisplayedTimeSec() const;
    void SetRangeSelection(double StartSec, double EndSec, bool bFlag);
    void ClearRangeSelection(bool bFlag);
    void AddMarkerAtCurrentTime();

    std::vector<Marker> Markers;
};
