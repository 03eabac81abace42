// The application without a face: what the windows, the command line, tests and measurements share.
//
// The core with the global p, the clip panel with the records that it points at, the queue of exports,
// and the frame that brings them up to date. Who runs it adds video windows to the core, asks for frames
// as RequestFrame wants them, and shows what the records hold. UI thread only.

#pragma once

#include "app/clippanelrecords.h"
#include "app/exportqueue.h"
#include "host/core.h"
#include "host/mvwindow.h"
#include "host/ttf.h"
#include "panel/mvclipcontrolpanel.h"

#include <functional>
#include <memory>

class Application
{
public:
    struct Setup
    {
        std::unique_ptr<TTF> pFont = nullptr;            ///< null: the host's own
        std::unique_ptr<ExportSocket> pSocket = nullptr; ///< null: exports run ffmpeg itself
        /// What the running export has started, for a thread that may kill it.
        std::shared_ptr<WorkerChildren> pEncoder = std::make_shared<WorkerChildren>();
        std::function<void()> RequestFrame = [] {}; ///< asks for a frame; any thread calls it
        bool bStartsJobs = true;                    ///< otherwise StartJobs does
    };

    /// Builds the core, points the global p at it, and wires the panel.
    explicit Application(Setup How);
    /// Ends a running export, stops the jobs, then takes everything down.
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    Core& Parts() { return ApplicationCore; }
    const Core& Parts() const { return ApplicationCore; }
    MvClipControlPanel& Panel() { return ClipPanel; }
    const MvClipControlPanel& Panel() const { return ClipPanel; }
    ClipPanelRecords& Records() { return PanelRecords; }
    /// The window that the panel belongs to, for its geometry.
    MvWindow& PanelPlace() { return Place; }
    ExportQueue& Exports() { return *pExports; }

    /// Queues the selected clip for its export; without one the panel says why not.
    void ExportSelectedClip();

    /// Starts the workers. A job that throws ends the export that it belongs to.
    void StartJobs();

    /// Brings the records up to date: callbacks of jobs, exports, a finished result, the live labels. The
    /// news of the players is taken before, by whoever has players.
    void Frame();

private:
    void EndExport(const JobSystem::Failure& Failure);

    std::unique_ptr<TTF> pFont;
    std::function<void()> RequestFrame;
    Core ApplicationCore;
    MvWindow Place;
    ClipPanelRecords PanelRecords;
    MvClipControlPanel ClipPanel;
    std::unique_ptr<ExportQueue> pExports;
};
