// Exports clips one after the other, in the order of adding.
//
// The queue runs each export with a clip panel of its own, whose table and clip list have one row, so that the
// selection in the user's panel never moves. It passes that panel's status texts on to the user's panel. When a clip
// fails, the rest still run. An entry keeps its clip as it was when it was added.
//
// Only Pump, which the application calls in each frame, emits signals. A slot may call anything but Pump. UI thread
// only.

#pragma once

#include "app/exportsocket.h"
#include "app/runningexport.h"
#include "app/timeleft.h"
#include "base/uniquefd.h"
#include "host/movane.h"
#include "host/mvtable.h"
#include "host/signal.h"
#include "panel/mvclipcontrolpanel.h"
#include "process/workerchildren.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A clip that waits for its export.
struct QueuedExport
{
    ExportId Id = 0;
    MvClipControlPanel::SavedClip Clip;
};

enum class ExportOutcome
{
    Exported,
    Failed, ///< or refused by the panel
    Stopped,
};

struct EndedExport
{
    ExportId Id = 0;
    MvClipControlPanel::SavedClip Clip;
    ExportOutcome Outcome = ExportOutcome::Failed;
    std::filesystem::path FilePath; ///< of the finished file; empty where there is none
    std::string Message; ///< the panel's last status, or why the panel could not be asked
};

class ExportQueue
{
public:
    using Clip = MvClipControlPanel::SavedClip;
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// UserPanel gets the status texts. RequestFrame asks the application for a frame. With a socket, exports use
    /// the encoder front. Encoder holds the processes of the running export: its other owners may kill them from
    /// any thread.
    ExportQueue(MvClipControlPanel& NewUserPanel,
                std::function<void()> NewRequestFrame,
                std::unique_ptr<ExportSocket> pNewSocket = nullptr,
                std::shared_ptr<WorkerChildren> pNewEncoder = std::make_shared<WorkerChildren>(),
                Clock NewNow = &std::chrono::steady_clock::now);
    /// Calls Shutdown.
    ~ExportQueue();
    ExportQueue(const ExportQueue&) = delete;
    ExportQueue& operator=(const ExportQueue&) = delete;

    // -- Requests. Their signals are emitted by the next Pump, for which they request a frame.

    /// Appends a clip. The panel checks it when its turn comes.
    ExportId Add(const Clip& NewClip);
    std::vector<ExportId> Add(const std::vector<Clip>& NewClips);
    /// Removes a waiting entry; false when none has that number.
    bool Remove(ExportId Id);
    /// Stops the running export, or the one that is about to begin; the next entry follows. Does nothing without
    /// one.
    void Stop();
    /// Stops the running export and removes all waiting entries.
    void StopAll();

    // -- State.

    /// True while an export runs or waits, until Idle.
    bool IsRunning() const { return Current.has_value() || !Entries.empty() || Tally.Count > 0; }
    std::size_t WaitingCount() const { return Entries.size(); }
    /// In the order of their turns; valid until the queue is changed.
    const std::deque<QueuedExport>& Waiting() const { return Entries; }
    /// The running export or null; valid until the next call of Pump.
    const RunningExport* Running() const { return Current.has_value() ? &*Current : nullptr; }

    // -- For the application.

    /// Takes messages of the encoder and results of the panel, and begins the next export.
    void Pump();
    /// Readable when Pump has something to do although no frame was requested. Owned by the queue.
    int Descriptor() const { return Poll.Get(); }
    /// Removes all waiting entries and ends the running export, waiting some seconds for it. Emits nothing.
    void Shutdown();

    /// An entry's turn has come: the panel is asked next, unless a stop was faster.
    Signal<QueuedExport> Next;
    /// The panel has begun an export.
    Signal<RunningExport> Began;
    Signal<RunningExport> Progressed;
    /// Emitted once for every entry that is not removed before.
    Signal<EndedExport> Ended;
    /// An entry was removed before its turn.
    Signal<QueuedExport> Removed;
    /// Nothing runs or waits any more. The notification has been queued.
    Signal<> Idle;

    bool bFailFast = false;   ///< a failure removes all waiting entries
    bool bNotifyEach = false; ///< a notification for each clip instead of one for the whole queue

private:
    /// A panel for one export.
    struct Desk
    {
        MvTable Table;
        MvClipControlPanel Panel; // declared last: destroyed before the table that it points at
    };

    /// Results since the queue was last idle.
    struct Counts
    {
        std::size_t Count = 0; ///< of entries that ended or were removed by a stop
        std::size_t ExportedCount = 0;
        std::vector<EndedExport> Failed;
        bool bStopped = false;
        EndedExport Last;
    };

    ExportId Append(const Clip& NewClip);
    void TakeOutAll();
    void EmitRemoved();
    void Begin(const QueuedExport& Entry);
    bool AskPanel(const QueuedExport& Entry);
    void TakeMessages();
    void Tell();
    bool TakeResult();
    bool IsEncoderLeft();
    void End(ExportOutcome Outcome, const std::string& Message);
    void Finish(const EndedExport& Ended);
    void PressStop();
    void Look();
    void Notify(const EndedExport& Ended) const;
    void EndRound();
    void ArmTimer(std::chrono::milliseconds Period);

    MvClipControlPanel& UserPanel;
    std::function<void()> RequestFrame;
    Clock Now;
    std::unique_ptr<ExportSocket> pSocket; ///< null without the front
    UniqueFd Poll;                         ///< of the timer and the socket
    UniqueFd Timer;                        ///< armed while an export runs
    ExportId LastId = 0;
    std::deque<QueuedExport> Entries;
    std::vector<QueuedExport> TakenOut; ///< removed, but Removed not emitted yet
    bool bStopFirst = false;            ///< the first entry was stopped before it began
    bool bPumping = false;
    bool bEmits = true; ///< false from Shutdown on
    Counts Tally;

    // -- The running export.
    std::unique_ptr<Desk> pDesk;
    std::optional<RunningExport> Current;
    std::chrono::steady_clock::time_point BeganAt;
    TimeLeft Left;
    const std::shared_ptr<WorkerChildren> pEncoder;
    bool bAskedToEnd = false;
    bool bNameTaken = false;    ///< by another program, before the front could take it
    bool bFrontAtWork = false;  ///< connected, and its last message has not come
    bool bFrontStopped = false; ///< by a signal of another process
    int TryCount = 0;
    std::chrono::steady_clock::time_point StopAt;
    std::optional<std::string> JobFailure;

    friend class Application;
    /// Why the job of the running export threw: no result will come.
    void TakeJobFailure(const std::string& Text) { JobFailure = Text; }
};
