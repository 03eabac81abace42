#include "desktop/exportedclips.h"

#include <algorithm>

namespace
{
bool IsSame(const MvClipControlPanel::SavedClip& A, const MvClipControlPanel::SavedClip& B)
{
    return A.SourcePath == B.SourcePath && A.StartSec == B.StartSec && A.EndSec == B.EndSec &&
           A.Name == B.Name;
}

int CountWithout(const std::vector<MvClipControlPanel::SavedClip>& Clips,
                 const std::vector<MvClipControlPanel::SavedClip>& Known)
{
    const auto isMissing = [&](const MvClipControlPanel::SavedClip& Clip)
    {
        return std::none_of(Known.begin(), Known.end(),
                            [&](const auto& Earlier) { return IsSame(Earlier, Clip); });
    };
    return static_cast<int>(std::count_if(Clips.begin(), Clips.end(), isMissing));
}
} // namespace

ExportedClips::ExportedClips(const MvClipControlPanel& ShownPanel, const ExportQueue& Exports)
    : Panel(ShownPanel)
    , Queue(Exports)
{
}

int ExportedClips::CountMissing() const
{
    return CountWithout(Panel.Clips, Exported);
}

int ExportedClips::CountMissingAfterExports() const
{
    std::vector<MvClipControlPanel::SavedClip> known = Exported;
    if (const RunningExport* const running = Queue.Running())
    {
        known.push_back(running->Clip);
    }
    for (const QueuedExport& waiting : Queue.Waiting())
    {
        known.push_back(waiting.Clip);
    }
    return CountWithout(Panel.Clips, known);
}
