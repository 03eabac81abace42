// The other side of the recording host: what the panel's calls are answered with, and what was called.
//
// The headers in host/ have the operations and fields that the panel may rely on and nothing else; the
// panel's sources are compiled against them with no way to reach the real host's headers. Every call
// is written into one log, in order, as "Operation(arguments)"; the tests add the status texts, as
// "Status(text)". Nothing happens by itself: a job runs when the test says so.
//
// EnqueueMainThread may be called from any thread, and a log that another thread writes is to be read
// after that thread was joined; everything else is for the test's thread.

#pragma once

#include "host/core.h"
#include "host/mvtimecontrol.h"
#include "host/mvvideowindow.h"

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

struct ContractHost
{
    struct TimelineAnswer
    {
        bool bHasRange = false;
        double RangeStartSec = 0.0;
        double RangeEndSec = 0.0;
        double DisplayedTimeSec = 0.0;
    };

    /// Writes a call into the log, then tells OnCall.
    void Record(const std::string& Call);
    /// Runs the job that has waited longest; there must be one.
    void RunJob();
    /// Runs the oldest callback for the UI thread; there must be one.
    void RunMainThreadJob();

    std::vector<std::string> Log;
    /// Called at every call of the panel, on the calling thread, when the call has had its effect and
    /// has not yet returned: the place to look at the panel or to change the host under it.
    std::function<void(const std::string& Call)> OnCall;

    // -- Answers.
    std::map<unsigned long, MvWindow*> Windows;
    std::map<std::pair<const MvWindow*, int>, MvChildWindow*> Children;
    std::map<const MvTimeControl*, TimelineAnswer> Timelines;
    std::string RuntimeDir;
    std::string RecordingsDir;
    bool bLoadSucceeds = true;
    bool bJobSystemRuns = true;
    int TextScale = 1; ///< factor of MvTheme::ScaleTextPx, which does not keep to the bounds
    int CellWidthPx = 8;

    // -- What the panel handed over.
    std::vector<double> ColumnFractions;
    std::deque<std::function<void()>> Jobs;
    std::deque<std::function<void()>> MainThreadJobs;
};

/// The host of the test that runs; made new by ResetHost.
ContractHost& Host();
void ResetHost();
