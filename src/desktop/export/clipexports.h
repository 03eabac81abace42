// The exports of the panel's clips as the windows ask for them and show them: the queue on one side, what
// has become of each clip on the other.
//
// The queue knows entries, the windows know rows; this keeps the clip of each entry. UI thread only; must
// outlive the last frame of the application whose queue it is given.

#pragma once

#include "app/exportqueue.h"
#include "app/exportstates.h"

#include <QObject>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

class ClipExports : public QObject
{
    Q_OBJECT

public:
    ClipExports(MvClipControlPanel& UserPanel, ExportQueue& ItsQueue);

    // -- What is asked for. The outcome is shown by the next frame.

    /// Exports the clips in these rows, in this order. What is under way already is not queued again;
    /// where nothing else is asked for, the panel's sentence says so. Without rows the panel says what it
    /// misses.
    void Export(std::vector<int> Rows);
    /// Exports each clip whose file is missing or outdated.
    void ExportAll();
    /// Takes the waiting exports of the clips in these rows out of the queue.
    void RemoveFromQueue(const std::vector<int>& Rows);
    void Stop() { Queue.Stop(); } ///< the running export; the next one follows
    void StopAll();               ///< and all that wait
    /// As ExportStates::CheckFiles.
    bool CheckFiles() { return ClipStates.CheckFiles(); }
    /// As ExportStates::Follow.
    void Follow(int ActedOnRow) { ClipStates.Follow(ActedOnRow); }

    // -- What is there.

    const ExportStates& States() const { return ClipStates; }
    /// Something runs or waits, or its end has not been told yet.
    bool IsRunning() const { return Queue.IsRunning(); }
    const RunningExport* Running() const { return Queue.Running(); } ///< null while none runs
    std::size_t WaitingCount() const { return Queue.WaitingCount(); }
    /// How much is done of all that was queued since nothing ran, from 0 to 1. Falls when more is queued.
    double FractionOfAll() const;
    /// The folder of the last file that was finished since nothing ran; empty without any. Also known
    /// while the notification of the queue's end is shown.
    const std::string& FinishedFolder() const { return RoundFolder; }

Q_SIGNALS:
    /// What runs or waits is another, or has come further.
    void Changed();
    /// Nothing runs or waits any more.
    void Idle(bool bAllExported);

private:
    void ConnectQueue();
    void TakeEnd(const EndedExport& Ended);
    ExportStates::ClipID TakeClipOf(ExportId Entry);

    MvClipControlPanel& Panel;
    ExportQueue& Queue;
    ExportStates ClipStates;
    std::unordered_map<ExportId, ExportStates::ClipID> ClipOfEntry;

    // -- Since nothing ran.
    std::size_t EndedCount = 0;
    bool bFailed = false; ///< or stopped
    std::string RoundFolder;
};
