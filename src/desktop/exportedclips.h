// Which clips have an exported file, so that the end of the program can name those that would be lost.
//
// A clip counts by what it is (source, In, Out and name), not by its row: rows move, and a clip that was
// renamed after its export is not in any file. Only exports of this run count. UI thread only.

#pragma once

#include "app/exportqueue.h"

#include <vector>

class ExportedClips
{
public:
    ExportedClips(const MvClipControlPanel& ShownPanel, const ExportQueue& Exports);

    /// A clip has got its file.
    void Add(const MvClipControlPanel::SavedClip& NewClip) { Exported.push_back(NewClip); }

    /// How many of the panel's clips have no file.
    int CountMissing() const;
    /// The same without those that are being exported, or wait for it.
    int CountMissingAfterExports() const;

private:
    const MvClipControlPanel& Panel;
    const ExportQueue& Queue;
    std::vector<MvClipControlPanel::SavedClip> Exported;
};
