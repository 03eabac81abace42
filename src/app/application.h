// The application without a face: what the windows, the command line, tests and measurements share.
//
// It has the core with the global p, the clip panel with its records, the queue of exports, and the frame that
// brings them up to date. A program adds video windows to the core, runs Frame whenever RequestFrame was called,
// and shows the records. UI thread only.

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
        /// The processes of the running export, shared with a thread that may kill them.
        std::shared_ptr<WorkerChildren> pEncoder = std::make_shared<WorkerChildren>();
        std::function<void()> RequestFrame = [] {}; ///< asks for a frame; any thread calls it
        bool bStartsJobs = true;                    ///< otherwise StartJobs does
    };

    /// Builds the core, points the global p at it, and wires the panel.
    explicit Application(Setup How);
    /// Ends a running export, stops the jobs, then destroys the rest.
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

    /// Queues the selected clip for export. Without a selection the panel's status says so.
    void ExportSelectedClip();

    /// Starts the workers. A job that throws ends its export as failed.
    void StartJobs();

    /// Brings the records up to date: callbacks of jobs, exports, a finished result, the live labels. The caller
    /// pumps the players' events before.
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
