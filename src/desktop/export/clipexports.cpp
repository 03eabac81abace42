#include "desktop/export/clipexports.h"

#include <unordered_set>
#include <utility>

ClipExports::ClipExports(MvClipControlPanel& UserPanel, ExportQueue& ItsQueue)
    : Panel(UserPanel)
    , Queue(ItsQueue)
    , ClipStates(UserPanel.Clips)
{
    ConnectQueue();
}

void ClipExports::ConnectQueue()
{
    Queue.Next.connect(
        [this](const QueuedExport& Entry)
        {
            const auto clip = ClipOfEntry.find(Entry.Id);
            ClipStates.Begin(clip != ClipOfEntry.end() ? clip->second : 0);
        });
    Queue.Began.connect([this](const RunningExport&) { Q_EMIT Changed(); });
    Queue.Progressed.connect(
        [this](const RunningExport& Running)
        {
            ClipStates.Progress(Running.Fraction);
            Q_EMIT Changed();
        });
    Queue.Ended.connect([this](const EndedExport& Ended) { TakeEnd(Ended); });
    // Told once by whoever takes them out: there may be very many.
    Queue.Removed.connect([this](const QueuedExport& Entry)
                          { ClipStates.Withdraw(TakeClipOf(Entry.Id)); });
    Queue.Idle.connect(
        [this]
        {
            EndedCount = 0;
            RoundFolder.clear();
            Q_EMIT Idle(!std::exchange(bFailed, false));
            Q_EMIT Changed();
        });
}

ExportStates::ClipID ClipExports::TakeClipOf(ExportId Entry)
{
    const auto clip = ClipOfEntry.extract(Entry);
    return clip.empty() ? 0 : clip.mapped();
}

void ClipExports::TakeEnd(const EndedExport& Ended)
{
    TakeClipOf(Ended.Id);
    ++EndedCount;
    switch (Ended.Outcome)
    {
    case ExportOutcome::Exported:
        ClipStates.EndDone(Ended.FilePath.native());
        RoundFolder = Ended.FilePath.parent_path().native();
        break;
    case ExportOutcome::Failed:
        ClipStates.EndFailed(Ended.Message);
        bFailed = true;
        break;
    case ExportOutcome::Stopped:
        ClipStates.EndStopped();
        bFailed = true;
        break;
    }
    Q_EMIT Changed();
}

void ClipExports::Export(std::vector<int> Rows)
{
    if (Rows.empty())
    {
        Panel.ExportSelectedClip(); // which says why not
        return;
    }
    ClipStates.Follow(-1);
    std::erase_if(Rows, [this](int Row) { return ClipStates.IsUnderWay(Row); });
    if (Rows.empty())
    {
        Panel.SetStatusTextInternal("Clip export already in progress.", true);
        return;
    }
    for (const int row : Rows)
    {
        ClipStates.Queue(row);
        const ExportId entry = Queue.Add(Panel.Clips[static_cast<std::size_t>(row)]);
        ClipOfEntry.emplace(entry, ClipStates.IdOf(row));
    }
    Q_EMIT Changed();
}

void ClipExports::ExportAll()
{
    ClipStates.CheckFiles();
    const std::vector<int> rows = ClipStates.RowsToExport();
    if (rows.empty() && !Panel.Clips.empty() && !IsRunning())
    {
        Panel.SetStatusTextInternal("All clips are exported.", true);
        return;
    }
    if (rows.empty() && !Panel.Clips.empty())
    {
        Panel.SetStatusTextInternal("Clip export already in progress.", true);
        return;
    }
    Export(rows);
}

void ClipExports::RemoveFromQueue(const std::vector<int>& Rows)
{
    std::unordered_set<ExportStates::ClipID> clips;
    for (const int row : Rows)
    {
        clips.insert(ClipStates.IdOf(row));
    }
    std::vector<ExportId> entries;
    for (const QueuedExport& entry : Queue.Waiting())
    {
        const auto owner = ClipOfEntry.find(entry.Id);
        if (owner != ClipOfEntry.end() && clips.contains(owner->second))
        {
            entries.push_back(entry.Id);
        }
    }
    for (const ExportId entry : entries)
    {
        Queue.Remove(entry);
    }
    Q_EMIT Changed();
}

void ClipExports::StopAll()
{
    Queue.StopAll();
    Q_EMIT Changed();
}

double ClipExports::FractionOfAll() const
{
    const RunningExport* const running = Running();
    const auto ended = static_cast<double>(EndedCount);
    const double count =
        ended + static_cast<double>(WaitingCount()) + (running != nullptr ? 1.0 : 0.0);
    return count > 0.0 ? (ended + (running != nullptr ? running->Fraction : 0.0)) / count : 0.0;
}
