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
    /// Returns false, with LoadError() set, when there is no player or the file can't be opened; the
    /// file that was open stays open then, with its range and markers. Where the player could not keep
    /// it, no file is open and the timeline is the one without a file; they come back when that file is
    /// opened.
    virtual bool LoadVideoFile(const std::string& Path, bool bPlay);

    /// Why the last LoadVideoFile failed, one sentence; empty after a success.
    const std::string& LoadError() const { return LastLoadError; }

    /// The timeline, which every video window has from its making; nobody may have put another kind of
    /// control in its place.
    MvTimeControl& Timeline();

    bool bFocused = false;
    MvVideo* pVideo = nullptr; ///< the player set with SetVideo, null while there is none

private:
    std::unique_ptr<MvVideo> OwnedVideo;
    std::string LastLoadError;
};
