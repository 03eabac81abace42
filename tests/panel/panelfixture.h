// A panel on the recording host with everything in place: a target video window 7 that has a video and
// a timeline, a table, its model, a name input, labels, a parent window, a font and a job system.
//
// A test takes away what it is about. Calls of the host and status texts are in one log; the folders
// for recordings and runtime files are in the test's own folder.

#pragma once

#include "host/ttf.h"
#include "panel/contracthost/contracthost.h"
#include "panel/mvclipcontrolpanel.h"
#include "support/environmentguard.h"
#include "support/fakeffmpeg.h"
#include "support/fakeplatform.h"
#include "support/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

class PanelTest : public ::testing::Test
{
protected:
    using SavedClip = MvClipControlPanel::SavedClip;
    using Action = void (MvClipControlPanel::*)();

    PanelTest()
    {
        ResetHost();
        ResetPlatform();
        Host().RuntimeDir = Folder.Path() / "runtime";
        Host().RecordingsDir = Folder.Path() / "recordings";
        std::filesystem::create_directories(Folder.Path() / "runtime" / "temp");

        Application.pMovane = std::make_unique<Movane>();
        Application.pJobSystem = std::make_unique<JobSystem>();
        Application.pRend = std::make_unique<Rend>();
        Application.pCoreSDL = std::make_unique<CoreSDL>();
        Application.pRend->pTTF = &Font;
        p = &Application;

        VideoWindow.bOpen = true;
        VideoWindow.bVisible = true;
        VideoWindow.pVideo = &Video;
        Video.FilePath = "/media/holiday.mp4";
        Application.pMovane->WindowIDs = {7};
        Host().Windows[7] = &VideoWindow;
        Host().Children[{&VideoWindow, 0}] = &Timeline;

        Panel->pNameInput = &NameInput;
        Panel->pClipTable = &Table;
        Panel->pStatusLabel = &StatusLabel;
        Panel->pSourceLabel = &SourceLabel;
        Panel->pRangeLabel = &RangeLabel;
        Panel->pMarkersLabel = &MarkersLabel;
        Panel->pParentWindow = &ParentWindow;
        Panel->TableModel = std::make_unique<MvTableModel>();
        Panel->StatusChanged.connect([](const std::string& Text)
                                     { Host().Record("Status(" + Text + ")"); });
    }

    ~PanelTest() override
    {
        Panel.reset();
        p = nullptr;
        ResetHost();
        ResetPlatform();
    }

    std::vector<std::string>& Log() const { return Host().Log; }
    ContractHost::TimelineAnswer& TimelineAnswer() const { return Host().Timelines[&Timeline]; }

    void SetRange(double StartSec, double EndSec) const
    {
        TimelineAnswer().bHasRange = true;
        TimelineAnswer().RangeStartSec = StartSec;
        TimelineAnswer().RangeEndSec = EndSec;
    }

    void TakeVideoWindowAway() const
    {
        Application.pMovane->WindowIDs.clear();
        Host().Windows.clear();
    }

    /// Appends a clip of the open file without the panel's help.
    SavedClip& AddClip(const std::string& Name, double StartSec = 1.0, double EndSec = 3.0) const
    {
        SavedClip clip;
        clip.Name = Name;
        clip.SourcePath = Video.FilePath;
        clip.SourceLabel = "holiday.mp4";
        clip.ColorName = "Amber";
        clip.StartSec = StartSec;
        clip.EndSec = EndSec;
        Panel->Clips.push_back(clip);
        return Panel->Clips.back();
    }

    void Select(int Row)
    {
        Table.SelectedRow = Row;
        Table.CurrentRow = Row;
    }

    std::vector<std::string> ClipNames() const
    {
        std::vector<std::string> names;
        for (const SavedClip& clip : Panel->Clips)
        {
            names.push_back(clip.Name);
        }
        return names;
    }

    /// Makes an empty file in the test's folder and returns its path.
    std::string MakeFile(const std::filesystem::path& Name) const
    {
        const std::filesystem::path file = Folder.Path() / Name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file).close();
        return file;
    }

    /// Makes a symbolic link to itself: to ask whether it exists is an error other than absence.
    std::string MakeLinkLoop(const std::filesystem::path& Name) const
    {
        const std::filesystem::path link = Folder.Path() / Name;
        std::filesystem::create_symlink(link, link);
        return link;
    }

    /// Runs an action on a fresh log and returns the one status text that it must end in.
    std::string StatusOf(Action PanelAction) const
    {
        Log().clear();
        (Panel.get()->*PanelAction)();
        const std::string prefix = "Status(";
        int statusCount = 0;
        for (const std::string& call : Log())
        {
            statusCount += call.starts_with(prefix) ? 1 : 0;
        }
        EXPECT_EQ(statusCount, 1) << ::testing::PrintToString(Log());
        EXPECT_EQ(StatusLabel.Text, Panel->StatusText);
        if (Log().empty() || !Log().back().starts_with(prefix))
        {
            ADD_FAILURE() << "the action did not end in a status: "
                          << ::testing::PrintToString(Log());
            return {};
        }
        EXPECT_EQ(Log().back(), prefix + Panel->StatusText + ")");
        return Panel->StatusText;
    }

    TempFolder Folder;
    Core Application;
    TTF Font;
    MvVideo Video;
    MvTimeControl Timeline;
    MvVideoWindow VideoWindow;
    MvWindow ParentWindow;
    MvTable Table;
    MvTextInput NameInput;
    MvLabel StatusLabel;
    MvLabel SourceLabel;
    MvLabel RangeLabel;
    MvLabel MarkersLabel;
    std::unique_ptr<MvClipControlPanel> Panel = std::make_unique<MvClipControlPanel>();
};
