#include "desktop/timeline/timelineclips.h"

#include <algorithm>
#include <tuple>

namespace
{
using SavedClip = MvClipControlPanel::SavedClip;

// In all that a bar shows, and in the source that it is chosen by.
bool AreAlike(const SavedClip& A, const SavedClip& B)
{
    const auto shown = [](const SavedClip& Clip)
    {
        return std::tie(Clip.StartSec, Clip.EndSec, Clip.ColorR, Clip.ColorG, Clip.ColorB,
                        Clip.ColorA, Clip.Name, Clip.SourcePath);
    };
    return shown(A) == shown(B);
}
} // namespace

const QList<TimelineClip>& TimelineClips::Of(const MvClipControlPanel& Panel,
                                             const std::string& SourcePath)
{
    if (IsUpToDate(Panel, SourcePath))
    {
        return List;
    }
    Clips = Panel.Clips;
    Source = SourcePath;
    SelectedRow = Panel.SelectedClipIndex();
    List.clear();
    for (std::size_t i = 0; i < Clips.size(); ++i)
    {
        const SavedClip& clip = Clips[i];
        if (clip.SourcePath == Source)
        {
            const int row = static_cast<int>(i);
            List.append({row, QString::fromStdString(clip.Name),
                         QColor::fromRgbF(clip.ColorR, clip.ColorG, clip.ColorB, clip.ColorA),
                         clip.StartSec, clip.EndSec, row == SelectedRow});
        }
    }
    return List;
}

bool TimelineClips::IsUpToDate(const MvClipControlPanel& Panel, const std::string& SourcePath) const
{
    return SelectedRow == Panel.SelectedClipIndex() && Source == SourcePath &&
           std::ranges::equal(Clips, Panel.Clips, AreAlike);
}
