#include "host/mvvideowindow.h"

#include "host/mvtimecontrol.h"

#include <algorithm>
#include <utility>

MvVideoWindow::MvVideoWindow()
{
    SetChild(0, std::make_unique<MvTimeControl>());
    bOpen = true;
    bVisible = true;
}

MvVideoWindow::~MvVideoWindow() = default;

void MvVideoWindow::SetVideo(std::unique_ptr<MvVideo> pNewVideo)
{
    pVideo = pNewVideo.get();
    OwnedVideo = std::move(pNewVideo);
}

bool MvVideoWindow::LoadVideoFile(const std::string& Path, bool bPlay)
{
    LastLoadError.clear();
    if (pVideo == nullptr)
    {
        LastLoadError = "This window has no player: open the file in another window.";
        return false;
    }
    const bool bLoaded = pVideo->Open(Path, LastLoadError);
    if (!bLoaded && !pVideo->FilePath.empty())
    {
        return false;
    }
    const std::int64_t durationUs =
        pVideo->pMediaInfo != nullptr ? pVideo->pMediaInfo->DurationUs : 0;
    if (auto* const timeline = GetChildAs<MvTimeControl>(0))
    {
        timeline->ShowSource(bLoaded ? Path : "",
                             static_cast<double>(std::max<std::int64_t>(durationUs, 0)) / 1e6);
    }
    if (bLoaded && bPlay)
    {
        pVideo->Play();
    }
    return bLoaded;
}

MvTimeControl& MvVideoWindow::Timeline()
{
    return *GetChildAs<MvTimeControl>(0);
}
