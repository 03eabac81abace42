#include "host/mvtimecontrol.h"

#include <algorithm>
#include <utility>

void MvTimeControl::SetRangeSelection(double StartSec, double EndSec, bool bQuiet)
{
    Current.bHasRange = true;
    Current.RangeStartSec = StartSec;
    Current.RangeEndSec = EndSec;
    if (!bQuiet)
    {
        Changed.emit();
    }
}

void MvTimeControl::ClearRangeSelection(bool bQuiet)
{
    Current.bHasRange = false;
    Current.RangeStartSec = 0.0;
    Current.RangeEndSec = 0.0;
    if (!bQuiet)
    {
        Changed.emit();
    }
}

void MvTimeControl::AddMarkerAtCurrentTime()
{
    Marker marker;
    marker.TimeSec = TimeSec;
    marker.Label = "Marker " + std::to_string(Markers.size() + 1);
    MarkMarkersChanged();
    Markers.push_back(std::move(marker));
    Changed.emit();
}

void MvTimeControl::RemoveMarkerAt(double MarkerSec)
{
    const auto found = std::ranges::find(Markers, MarkerSec, &Marker::TimeSec);
    if (found != Markers.end())
    {
        MarkMarkersChanged();
        Markers.erase(found);
        Changed.emit();
    }
}

void MvTimeControl::SetDisplayedTimeSec(double NewTimeSec)
{
    TimeSec = NewTimeSec;
    Changed.emit();
}

void MvTimeControl::ShowSource(const std::string& Path, double NewDurationSec)
{
    SourceDurationSec = NewDurationSec;
    if (Path != SourcePath)
    {
        // All that can fail comes first: halfway, the marking of a source would be lost.
        std::string newSourcePath = Path;
        Marking& earlier = MarkingOfHiddenSources[SourcePath];
        Marking& next = MarkingOfHiddenSources[newSourcePath];
        MarkMarkersChanged();
        Current.Markers = std::move(Markers);
        earlier = std::move(Current);
        Current = std::exchange(next, {});
        Markers = std::move(Current.Markers);
        SourcePath = std::move(newSourcePath);
        TimeSec = 0.0;
    }
    Changed.emit();
}
