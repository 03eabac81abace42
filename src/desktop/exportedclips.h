// Which clips have an exported file, so that the end of the program can name those that would be lost.
//
// A clip counts by what it is (source, In, Out and name), not by its row: rows move, and a clip that was
// renamed after its export is not in any file. Only exports of this run count. UI thread only.

#pragma once

#include "panel/mvclipcontrolpanel.h"

#include <vector>

class ExportedClips
{
public:
    explicit ExportedClips(const MvClipControlPanel& ShownPanel);

    /// Begins with the selected clip, whose export the panel has just started.
    void Begin();
    /// The export that was begun last has ended.
    void End(bool bSuccess);

    /// How many of the panel's clips have no file.
    int CountMissing() const;
    /// The same without those that the running export is writing.
    int CountMissingAfterExport() const;

private:
    using Clip = MvClipControlPanel::SavedClip;

    const MvClipControlPanel& Panel;
    Clip Running; ///< between Begin and End
    std::vector<Clip> Exported;
};
