// A panel on the real host, with as many clips as a measurement asks for, and folders of its own.
//
// Built outside the measured loops. UI thread only.

#pragma once

#include "fakes/environmentguard.h"
#include "fakes/fakevideo.h"
#include "fakes/tempfolder.h"
#include "host/apppaths.h"
#include "host/core.h"
#include "host/mvlabel.h"
#include "host/mvtable.h"
#include "host/mvtextinput.h"
#include "host/mvvideowindow.h"
#include "host/ttf.h"
#include "panel/mvclipcontrolpanel.h"

#include <memory>
#include <string>

class PanelBench
{
public:
    explicit PanelBench(int ClipCount)
    {
        Application.pMovane = std::make_unique<Movane>();
        Application.pRend = std::make_unique<Rend>();
        Application.pRend->pTTF = &Font;
        Application.pCoreSDL = std::make_unique<CoreSDL>();
        Application.pCoreSDL->Width = 1280;
        Application.pCoreSDL->Height = 800;
        p = &Application;

        auto window = std::make_unique<MvVideoWindow>();
        window->SetVideo(std::make_unique<FakeVideo>());
        pWindow = window.get();
        Application.pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(window));
        pWindow->LoadVideoFile("/videos/holiday/harbour at dawn.mp4", false);
        pWindow->Timeline().SetRangeSelection(12.0, 34.5, false);

        Panel.pClipTable = &Table;
        Panel.pNameInput = &NameInput;
        Panel.pStatusLabel = &StatusLabel;
        Panel.pSourceLabel = &SourceLabel;
        Panel.pRangeLabel = &RangeLabel;
        Panel.pMarkersLabel = &MarkersLabel;
        Panel.pParentWindow = &ParentWindow;
        Panel.TableModel = std::make_unique<MvTableModel>();
        ParentWindow.X1 = -1.0;
        ParentWindow.Y1 = 1.0;
        ParentWindow.X2 = 1.0;
        ParentWindow.Y2 = -1.0;
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
    ~PanelBench() { p = nullptr; }
    PanelBench(const PanelBench&) = delete;
    PanelBench& operator=(const PanelBench&) = delete;

    TempFolder Folder;
    EnvironmentGuard Recordings{"MOVANE_RECORDINGS_DIR", Folder.Path() / "recordings"};
    EnvironmentGuard StateHome{"XDG_STATE_HOME", Folder.Path() / "state"};
    Core Application;
    TTF Font;
    MvWindow ParentWindow;
    MvTable Table;
    MvTextInput NameInput;
    MvLabel StatusLabel;
    MvLabel SourceLabel;
    MvLabel RangeLabel;
    MvLabel MarkersLabel;
    MvClipControlPanel Panel;
    MvVideoWindow* pWindow = nullptr;
};
