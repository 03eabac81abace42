// The timeline of a video window: the displayed time, the In/Out range and the markers.
//
// Times are seconds from the start of the source. What is set is what is read back: nothing is
// clamped, swapped or rounded here, so that a caller sees its own numbers. UI thread only; it neither
// draws nor plays.

#pragma once

#include "host/mvchildwindow.h"
#include "host/signal.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

class MvTimeControl : public MvChildWindow
{
public:
    /// A named point on the timeline, in the colour of its flag (components from 0 to 1).
    struct Marker
    {
        double TimeSec = 0.0;
        std::string Label;
        float ColorR = 1.0F;
        float ColorG = 1.0F;
        float ColorB = 1.0F;
        float ColorA = 1.0F;
    };

    bool HasRangeSelection() const { return Current.bHasRange; }
    /// In and Out of the range; 0 while there is none. Out may lie before In.
    double RangeStartSec() const { return Current.RangeStartSec; }
    double RangeEndSec() const { return Current.RangeEndSec; }
    double DisplayedTimeSec() const { return TimeSec; }
    /// Length of the source, 0 while it is unknown or none is open.
    double DurationSec() const { return SourceDurationSec; }

    /// Sets In and Out. bQuiet keeps the observers from hearing of it: for a caller that makes several
    /// changes and tells of them once, or that is itself the observer.
    void SetRangeSelection(double StartSec, double EndSec, bool bQuiet);
    /// Removes the range; bQuiet as in SetRangeSelection.
    void ClearRangeSelection(bool bQuiet);
    /// Adds a marker at the displayed time, labelled "Marker N" with N counting from 1.
    void AddMarkerAtCurrentTime();
    /// Removes the first marker that stands exactly at MarkerSec; without one nothing happens.
    void RemoveMarkerAt(double MarkerSec);
    void SetDisplayedTimeSec(double NewTimeSec);

    /// Shows another source: the displayed time goes to 0, and the range and the markers become those
    /// that this source had when it was shown last (none at first). The ones of the source that was
    /// shown until now are kept for its return, so opening another file loses no marking. A call with
    /// the source that is already shown only takes the duration.
    void ShowSource(const std::string& Path, double NewDurationSec);

    /// Emitted after every change that was not asked to be quiet.
    Signal<> Changed;

    /// Grows with every change of Markers by this class, so a view compares one number.
    std::uint64_t MarkersRevision() const { return MarkersChangeCount; }
    /// For whoever writes Markers itself.
    void MarkMarkersChanged() { ++MarkersChangeCount; }

    std::vector<Marker> Markers; ///< in the order of adding

private:
    /// What the user marked on one source.
    struct Marking
    {
        bool bHasRange = false;
        double RangeStartSec = 0.0;
        double RangeEndSec = 0.0;
        std::vector<Marker> Markers; ///< used only while the source is not shown
    };

    Marking Current;
    std::uint64_t MarkersChangeCount = 0;
    double TimeSec = 0.0;
    double SourceDurationSec = 0.0;
    std::string SourcePath;
    std::map<std::string, Marking> MarkingOfHiddenSources;
};
