// The recording host around one panel, with everything that may come and go.
//
// Records live on the heap, each for itself, so that an address sanitizer sees whoever still uses one
// that is gone. The panel always stands at the same address, as a new one may do in the real program
// while an export of the old one still runs. No process is started: support/fakeplatform.h stands in.

#pragma once

#include "host/mvtable.h"
#include "host/mvtextinput.h"
#include "host/ttf.h"
#include "panel/contracthost/contracthost.h"
#include "panel/mvclipcontrolpanel.h"
#include "support/fakeplatform.h"
#include "support/tempfolder.h"

#include <array>
#include <memory>
#include <optional>
#include <string>

/// One video window with what belongs to it; Window is null while there is none.
struct VideoPlace
{
    unsigned long ID = 0;
    std::unique_ptr<MvVideoWindow> Window;
    std::unique_ptr<MvTimeControl> Timeline; ///< null while the window has no timeline
    std::unique_ptr<MvVideo> Video;
    std::unique_ptr<MvMediaInfo> Info;
};

/// What system() returns for a command that the shell can't read: its exit status is 2.
constexpr int SyntaxError = 2 * 256;

/// What the encoder does when it is run next.
struct EncoderOutcome
{
    int SystemResult = 0;
    bool bWritesOutput = true;
    std::string ErrorText; ///< its standard error; none at all when empty
};

class PanelStage
{
public:
    PanelStage();
    ~PanelStage();
    PanelStage(const PanelStage&) = delete;
    PanelStage& operator=(const PanelStage&) = delete;

    /// The panel goes, with its results still to come, and another one takes its place.
    void ReplacePanel();

    void OpenWindow(VideoPlace& Place);
    void CloseWindow(VideoPlace& Place);
    void SetTimeline(VideoPlace& Place, bool bThere);
    /// Gives the window another video record at FilePath, without media information.
    void ReplaceVideo(VideoPlace& Place, const std::string& FilePath);
    void CloseVideo(VideoPlace& Place);

    /// Where the folder for recordings can be made, and where it can't.
    void SetRecordingsFolder(bool bUsable);
    /// Puts MOVANE_FFMPEG_BIN to Value and an ffmpeg into /usr/bin, or takes it away.
    void SetEncoder(const std::string& OverridePath, bool bInstalled);

    std::string ErrorLogPath() const { return Host().RuntimeDir + "/temp/clip-export.log"; }
    /// A file whose existence can't be told.
    std::string LinkLoop() const { return Folder().Path() / "loop"; }

    MvClipControlPanel* Panel = nullptr;
    Core Application;
    std::unique_ptr<JobSystem> AbsentJobSystem; ///< the application's while it has none
    std::array<VideoPlace, 3> Places;
    MvWindow PlainWindow;
    MvWindow ParentWindow;
    MvChildWindow PlainChild;
    TTF Font;

    // -- The panel's widgets; null while there are none.
    std::unique_ptr<MvTable> Table;
    std::unique_ptr<MvTextInput> NameInput;
    std::unique_ptr<MvLabel> StatusLabel;
    std::unique_ptr<MvLabel> SourceLabel;
    std::unique_ptr<MvLabel> RangeLabel;
    std::unique_ptr<MvLabel> MarkersLabel;

    EncoderOutcome Outcome;
    std::string OverridePath;
    bool bInstalled = true;
    bool bRecordingsUsable = true;
    bool bReplacesVideoOnLoad = false; ///< the player makes a new record for each file
    bool bDeletesClipOnLoad = false;   ///< an observer of the host deletes the selected clip

private:
    static const TempFolder& Folder();
    void MakePanel();
    void OnLoad();
    void RunEncoder() const;

    alignas(MvClipControlPanel) std::array<std::byte, sizeof(MvClipControlPanel)> PanelPlace{};
};
