// The panel's clips of one source as the timeline draws them.
//
// A frame asks each time, also while a video plays and nothing has changed. So the list is made anew only
// when a clip or the selection is another; else the caller gets the same one, which costs one look at
// each clip and no copy. UI thread only.

#pragma once

#include "desktop/timeline/timelinestate.h"
#include "panel/mvclipcontrolpanel.h"

#include <QList>

#include <string>
#include <vector>

class TimelineClips
{
public:
    /// The clips of Panel whose source is SourcePath. Valid until the next call; a copy of it shares
    /// the clips.
    const QList<TimelineClip>& Of(const MvClipControlPanel& Panel, const std::string& SourcePath);

private:
    bool IsUpToDate(const MvClipControlPanel& Panel, const std::string& SourcePath) const;

    QList<TimelineClip> List;
    // -- What the list was made of.
    std::vector<MvClipControlPanel::SavedClip> Clips;
    std::string Source;
    int SelectedRow = -1;
};
