// Exports clips one after the other, in the order of adding.
//
// Each export is run by a clip panel of the queue's own, with a table and a clip list of one row, so no
// selection moves in the panel that the user sees; its status texts are passed on to that panel. A clip
// that fails does not end the rest. An entry keeps its clip as it was when it was added.
//
// Signals are emitted by Pump alone, which the application calls in its frame; a slot may call whatever
// it likes but Pump. UI thread only.

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
    Failed, ///< also what the panel refused
    Stopped,
};

struct EndedExport
{
    ExportId Id = 0;
    MvClipControlPanel::SavedClip Clip;
    ExportOutcome Outcome = ExportOutcome::Failed;
    std::filesystem::path FilePath; ///< of the finished file; empty where there is none
    std::string Message;            ///< the panel's last word on it, or why it could not be asked
};

class ExportQueue
{
public:
    using Clip = MvClipControlPanel::SavedClip;
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// UserPanel gets the status texts. RequestFrame asks the application for a frame. With a socket,
    /// exports go through the encoder front. Encoder is what the running export has started: whoever
    /// holds it, too, can kill that from any thread.
    ExportQueue(MvClipControlPanel& NewUserPanel,
                std::function<void()> NewRequestFrame,
                std::unique_ptr<ExportSocket> pNewSocket = nullptr,
                std::shared_ptr<WorkerChildren> pNewEncoder = std::make_shared<WorkerChildren>(),
                Clock NewNow = &std::chrono::steady_clock::now);
    /// As Shutdown.
    ~ExportQueue();
    ExportQueue(const ExportQueue&) = delete;
    ExportQueue& operator=(const ExportQueue&) = delete;

    // -- What is asked for. Nothing is emitted before the next Pump, which these ask for.

    /// Appends a clip. It is judged when its turn comes.
    ExportId Add(const Clip& NewClip);
    std::vector<ExportId> Add(const std::vector<Clip>& NewClips);
    /// Takes out an entry that waits; false when there is none of that number.
    bool Remove(ExportId Id);
    /// Stops the running export, or the one that is about to begin; the next one follows. Without one
    /// nothing happens.
    void Stop();
    /// Stops the running export and takes out all that wait.
    void StopAll();

    // -- What is there.

    /// True while an export runs or waits, until Idle.
    bool IsRunning() const { return Current.has_value() || !Entries.empty() || Tally.Count > 0; }
    std::size_t WaitingCount() const { return Entries.size(); }
    /// In the order of their turns; valid until the queue is changed.
    const std::deque<QueuedExport>& Waiting() const { return Entries; }
    /// The running export or null; valid until the next call of Pump.
    const RunningExport* Running() const { return Current.has_value() ? &*Current : nullptr; }

    // -- For the application.

    /// Takes what the encoder and the panel have to say, and begins the next export.
    void Pump();
    /// Readable when Pump has something to do that no frame was asked for. Owned by the queue.
    int Descriptor() const { return Poll.Get(); }
    /// Takes out all that wait and ends the running export, for which it waits some seconds. Tells
    /// nobody.
    void Shutdown();

    /// An entry's turn has come: the panel is asked next, unless a stop was faster.
    Signal<QueuedExport> Next;
    /// The panel has begun an export.
    Signal<RunningExport> Began;
    Signal<RunningExport> Progressed;
    /// Every entry gets this in the end, unless it is taken out before.
    Signal<EndedExport> Ended;
    /// An entry was taken out before its turn.
    Signal<QueuedExport> Removed;
    /// Nothing runs or waits any more. The notification has been queued.
    Signal<> Idle;

    bool bFailFast = false;   ///< a failure takes out all that wait
    bool bNotifyEach = false; ///< a notification for each clip instead of one for the whole queue

private:
    /// A panel for one export.
    struct Desk
    {
        MvTable Table;
        MvClipControlPanel Panel; // last, so that it goes before what it points at
    };

    /// What became of the entries since the queue was idle last.
    struct Counts
    {
        std::size_t Count = 0; ///< of those that ended or were taken out by a stop
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
    UniqueFd Timer;                        ///< while an export runs that has to be looked at
    ExportId LastId = 0;
    std::deque<QueuedExport> Entries;
    std::vector<QueuedExport> TakenOut; ///< whose removal has not been told yet
    bool bStopFirst = false; ///< the first of Entries counts as stopped before it has begun
    bool bPumping = false;
    bool bTells = true; ///< false from Shutdown on
    Counts Tally;

    // -- The running export.
    std::unique_ptr<Desk> pDesk;
    std::optional<RunningExport> Current;
    std::chrono::steady_clock::time_point BeganAt;
    TimeLeft Left;
    const std::shared_ptr<WorkerChildren> pEncoder;
    bool bAskedToEnd = false;
    bool bNameTaken = false;    ///< by another program, before the front could
    bool bFrontAtWork = false;  ///< connected, and its last word has not come
    bool bFrontStopped = false; ///< by a signal from outside
    int TryCount = 0;
    std::chrono::steady_clock::time_point StopAt;
    std::optional<std::string> JobFailure;

    friend class Application;
    /// The job of the running export threw: no result will come.
    void TakeJobFailure(const std::string& Text) { JobFailure = Text; }
};
