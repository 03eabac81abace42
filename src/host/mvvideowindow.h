// A window that shows one video: the player it holds and the timeline under the picture.

#pragma once

#include "host/mvvideo.h"
#include "host/mvwindow.h"

#include <memory>
#include <string>

class MvTimeControl;

class MvVideoWindow : public MvWindow
{
public:
    /// Makes an open, visible window with a timeline as child 0 and no player yet.
    MvVideoWindow();
    ~MvVideoWindow() override;

    /// Puts a player into the window, in place of an earlier one; null takes it out.
    void SetVideo(std::unique_ptr<MvVideo> pNewVideo);

    /// Opens a file in the window's player and shows its timeline; bPlay starts playback at once.
    ///
    /// Without a player, or for a file that can't be opened, returns false and sets LoadError(). The earlier file
    /// then stays open with its range and markers. If the player could not keep it, no file is open and the
    /// timeline shows none; range and markers return when that file is opened again.
    virtual bool LoadVideoFile(const std::string& Path, bool bPlay);

    /// Why the last LoadVideoFile failed, one sentence; empty after a success.
    const std::string& LoadError() const { return LastLoadError; }

    /// The timeline, made with the window. Nobody may put another kind of control in its place.
    MvTimeControl& Timeline();

    bool bFocused = false;
    MvVideo* pVideo = nullptr; ///< the player set with SetVideo, null while there is none

private:
    std::unique_ptr<MvVideo> OwnedVideo;
    std::string LastLoadError;
};
