// A panel on the real host, with as many clips as a measurement asks for, and folders of its own.
//
// Built outside the measured loops. UI thread only.

#pragma once

#include "app/application.h"
#include "host/mvtimecontrol.h"
#include "host/mvvideowindow.h"
#include "support/environmentguard.h"
#include "support/fakevideo.h"
#include "support/tempfolder.h"

#include <memory>
#include <string>

class PanelBench
{
public:
    explicit PanelBench(int ClipCount)
    {
        Program.Parts().pCoreSDL->Width = 1280;
        Program.Parts().pCoreSDL->Height = 800;

        auto window = std::make_unique<MvVideoWindow>();
        window->SetVideo(std::make_unique<FakeVideo>());
        pWindow = window.get();
        Program.Parts().pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(window));
        pWindow->LoadVideoFile("/videos/holiday/harbour at dawn.mp4", false);
        pWindow->Timeline().SetRangeSelection(12.0, 34.5, false);

        for (int i = 0; i < ClipCount; ++i)
        {
            MvClipControlPanel::SavedClip clip;
            clip.Name = "Clip " + std::to_string(i + 1);
            clip.SourcePath = pWindow->pVideo->FilePath;
            clip.SourceLabel = MvClipControlPanel::BaseNameFromPath(clip.SourcePath);
            clip.ColorName = "Amber";
            clip.StartSec = 0.5 * i;
            clip.EndSec = 0.5 * i + 12.25;
            Panel.Clips.push_back(clip);
        }
        Panel.RebuildTableModel();
    }
    PanelBench(const PanelBench&) = delete;
    PanelBench& operator=(const PanelBench&) = delete;

    TempFolder Folder;
    EnvironmentGuard Recordings{"MOVANE_RECORDINGS_DIR", Folder.Path() / "recordings"};
    EnvironmentGuard StateHome{"XDG_STATE_HOME", Folder.Path() / "state"};
    Application Program{{.bStartsJobs = false}};
    MvClipControlPanel& Panel = Program.Panel();
    MvLabel& SourceLabel = Program.Records().SourceLabel;
    MvLabel& RangeLabel = Program.Records().RangeLabel;
    MvLabel& MarkersLabel = Program.Records().MarkersLabel;
    MvVideoWindow* pWindow = nullptr;
};
