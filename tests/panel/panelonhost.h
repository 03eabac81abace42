// A panel on the real host: an application with one window and a player that plays nothing, its table,
// name input, labels, model, font and job system, a fake ffmpeg, and folders of the test's own.
//
// The job system starts when the test says so. A line that the host logs and the test does not take
// fails the test.

#pragma once

#include "host/apppaths.h"
#include "host/core.h"
#include "host/ttf.h"
#include "panel/mvclipcontrolpanel.h"
#include "support/environmentguard.h"
#include "support/fakeffmpeg.h"
#include "support/fakevideo.h"
#include "support/recordedlog.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class PanelOnHost : public ::testing::Test
{
protected:
    PanelOnHost()
    {
        Application.pMovane = std::make_unique<Movane>();
        Application.pRend = std::make_unique<Rend>();
        Application.pRend->pTTF = &Font;
        Application.pCoreSDL = std::make_unique<CoreSDL>();
        p = &Application;

        auto window = std::make_unique<MvVideoWindow>();
        auto video = std::make_unique<FakeVideo>();
        pWindow = window.get();
        pVideo = video.get();
        pWindow->SetVideo(std::move(video));
        Application.pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(window));
        Application.pMovane->NotificationQueued.connect(
            [this](const Movane::Notification& NewNotification)
            { Notifications.push_back(NewNotification); });

        Panel->pNameInput = &NameInput;
        Panel->pClipTable = &Table;
        Panel->pStatusLabel = &StatusLabel;
        Panel->pSourceLabel = &SourceLabel;
        Panel->pRangeLabel = &RangeLabel;
        Panel->pMarkersLabel = &MarkersLabel;
        Panel->pParentWindow = &ParentWindow;
        Panel->TableModel = std::make_unique<MvTableModel>();
        Table.SelectionChanged.connect([this] { Panel->SyncNameInputFromSelection(); });
    }

    ~PanelOnHost() override
    {
        Application.pJobSystem.reset(); // its worker works in the folders that go now
        Panel.reset();
        p = nullptr;
        AppPaths::RemoveRuntimeDir();
    }

    /// Makes a file and opens it in the window.
    std::string Open(const std::string& Name)
    {
        const std::string file = Folder.Path() / Name;
        std::ofstream(file).close();
        EXPECT_TRUE(pWindow->LoadVideoFile(file, false));
        return file;
    }

    void Save(const std::string& Name, double StartSec, double EndSec)
    {
        NameInput.SetText(Name, true);
        pWindow->Timeline().SetRangeSelection(StartSec, EndSec, false);
        Panel->SaveCurrentRangeAsClip();
    }

    /// Starts the job system with a wake-up for RunUntilExported.
    void StartJobSystem()
    {
        Application.pJobSystem = std::make_unique<JobSystem>();
        Application.pJobSystem->SetWakeUp(
            [this]
            {
                const std::lock_guard lock(PostedMutex);
                bPosted = true;
                Posted.notify_all();
            });
    }

    /// Sleeps until a callback is posted, then runs frames as the application does.
    void RunOneWakeUp()
    {
        {
            std::unique_lock lock(PostedMutex);
            ASSERT_TRUE(
                Posted.wait_for(lock, std::chrono::seconds(30), [this] { return bPosted; }));
            bPosted = false;
        }
        Application.pJobSystem->PumpMainThread();
        Panel->PumpExportResult();
        Panel->UpdateLiveLabels();
    }

    std::vector<std::string> Column(std::size_t Index) const
    {
        std::vector<std::string> cells;
        for (const MvTableModel::Row& row : Panel->TableModel->GetRows())
        {
            cells.push_back(row.at(Index));
        }
        return cells;
    }

    TempFolder Folder;
    EnvironmentGuard Recordings{"MOVANE_RECORDINGS_DIR", Folder.Path() / "recordings"};
    EnvironmentGuard Runtime{"MOVANE_RUNTIME_DIR", Folder.Path() / "runtime"};
    EnvironmentGuard StateHome{"XDG_STATE_HOME", Folder.Path() / "state"};
    FakeFfmpeg Ffmpeg{Folder.Path()};
    EnvironmentGuard FfmpegOverride{"MOVANE_FFMPEG_BIN", Ffmpeg.Path()};
    RecordedLog HostLog;

    std::mutex PostedMutex;
    std::condition_variable Posted;
    bool bPosted = false; // guarded by PostedMutex

    Core Application;
    TTF Font;
    MvWindow ParentWindow;
    MvTable Table;
    MvTextInput NameInput;
    MvLabel StatusLabel;
    MvLabel SourceLabel;
    MvLabel RangeLabel;
    MvLabel MarkersLabel;
    MvVideoWindow* pWindow = nullptr;
    FakeVideo* pVideo = nullptr;
    std::vector<Movane::Notification> Notifications;
    std::unique_ptr<MvClipControlPanel> Panel = std::make_unique<MvClipControlPanel>();
};
