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

ExportedClips::ExportedClips(const MvClipControlPanel& ShownPanel)
    : Panel(ShownPanel)
{
}

void ExportedClips::Begin()
{
    if (const Clip* const selected = Panel.SelectedClip())
    {
        Running = *selected;
    }
}

void ExportedClips::End(bool bSuccess)
{
    if (bSuccess)
    {
        Exported.push_back(Running);
    }
}

int ExportedClips::CountMissing() const
{
    return CountWithout(Panel.Clips, Exported);
}

int ExportedClips::CountMissingAfterExport() const
{
    std::vector<Clip> known = Exported;
    known.push_back(Running);
    return CountWithout(Panel.Clips, known);
}
