#include "panel/contracthost/contracthost.h"

#include "host/apppaths.h"
#include "host/mvlabel.h"
#include "host/mvtable.h"
#include "host/mvtablemodel.h"
#include "host/mvtextinput.h"
#include "host/mvtheme.h"
#include "host/signal.h"
#include "host/ttf.h"

#include <memory>
#include <mutex>
#include <sstream>

Core* p = nullptr;

namespace
{
std::unique_ptr<ContractHost> currentHost = std::make_unique<ContractHost>();
std::mutex hostMutex;

// "Name(a, b)", bools as words, numbers short.
template <typename... Values> std::string Call(const char* Name, const Values&... Arguments)
{
    std::ostringstream text;
    text << std::boolalpha << Name << '(';
    [[maybe_unused]] const char* separator = "";
    ((text << separator << Arguments, separator = ", "), ...);
    text << ')';
    return text.str();
}

std::function<void()> TakeFirst(std::deque<std::function<void()>>& Queue)
{
    const std::lock_guard lock(hostMutex);
    std::function<void()> first = std::move(Queue.at(0));
    Queue.pop_front();
    return first;
}
} // namespace

ContractHost& Host()
{
    return *currentHost;
}

void ResetHost()
{
    currentHost = std::make_unique<ContractHost>();
}

void ContractHost::Record(const std::string& Call)
{
    {
        const std::lock_guard lock(hostMutex);
        Log.push_back(Call);
    }
    if (OnCall)
    {
        OnCall(Call);
    }
}

void ContractHost::RunJob()
{
    TakeFirst(Jobs)();
}

void ContractHost::RunMainThreadJob()
{
    TakeFirst(MainThreadJobs)();
}

MvWindow* Movane::GetWindow(unsigned long InWindowID)
{
    Host().Record(Call("GetWindow", InWindowID));
    const auto found = Host().Windows.find(InWindowID);
    return found == Host().Windows.end() ? nullptr : found->second;
}

void Movane::QueueNotification(NotificationType Type,
                               const std::string& Title,
                               const std::string& Message,
                               std::uint64_t DurationMs)
{
    Host().Record(Call("QueueNotification", Type, Title, Message, DurationMs));
}

MvChildWindow* MvWindow::GetChild(int Key)
{
    Host().Record(Call("GetChild", Key));
    const auto found = Host().Children.find({this, Key});
    return found == Host().Children.end() ? nullptr : found->second;
}

bool MvVideoWindow::LoadVideoFile(const std::string& Path, bool bFlag)
{
    if (Host().bLoadSucceeds)
    {
        pVideo->FilePath = Path;
    }
    Host().Record(Call("LoadVideoFile", Path, bFlag));
    return Host().bLoadSucceeds;
}

void MvVideo::Seek(int Request)
{
    Host().Record(Call("Seek", Request) + " to " + std::to_string(SeekTargetUs));
}

bool MvTimeControl::HasRangeSelection() const
{
    Host().Record(Call("HasRangeSelection"));
    return Host().Timelines[this].bHasRange;
}

double MvTimeControl::RangeStartSec() const
{
    Host().Record(Call("RangeStartSec"));
    return Host().Timelines[this].RangeStartSec;
}

double MvTimeControl::RangeEndSec() const
{
    Host().Record(Call("RangeEndSec"));
    return Host().Timelines[this].RangeEndSec;
}

double MvTimeControl::DisplayedTimeSec() const
{
    Host().Record(Call("DisplayedTimeSec"));
    return Host().Timelines[this].DisplayedTimeSec;
}

void MvTimeControl::SetRangeSelection(double StartSec, double EndSec, bool bFlag)
{
    ContractHost::TimelineAnswer& answer = Host().Timelines[this];
    answer.bHasRange = true;
    answer.RangeStartSec = StartSec;
    answer.RangeEndSec = EndSec;
    Host().Record(Call("SetRangeSelection", StartSec, EndSec, bFlag));
}

void MvTimeControl::ClearRangeSelection(bool bFlag)
{
    Host().Timelines[this].bHasRange = false;
    Host().Record(Call("ClearRangeSelection", bFlag));
}

void MvTimeControl::AddMarkerAtCurrentTime()
{
    Markers.emplace_back();
    Host().Record(Call("AddMarkerAtCurrentTime"));
}

void MvTable::SetColumnFractions(const std::vector<double>& NewFractions)
{
    Host().ColumnFractions = NewFractions;
    Host().Record(Call("SetColumnFractions"));
}

void MvTextInput::SetText(const std::string& NewText, bool bFlag)
{
    Text = NewText;
    Host().Record(Call("SetText", NewText, bFlag));
}

void MvTableModel::SetRows(const RowList& NewRows)
{
    Rows = NewRows;
    Host().Record(Call("SetRows", NewRows.size()));
}

int MvTheme::ScaleTextPx(int Px, int MinPx, int MaxPx)
{
    Host().Record(Call("ScaleTextPx", Px, MinPx, MaxPx));
    return Px * Host().TextScale;
}

int TTF::GetCellWidth(int Px)
{
    Host().Record(Call("GetCellWidth", Px));
    return Host().CellWidthPx;
}

std::string AppPaths::RuntimeDir()
{
    Host().Record(Call("RuntimeDir"));
    return Host().RuntimeDir;
}

std::string AppPaths::RecordingsDir()
{
    Host().Record(Call("RecordingsDir"));
    return Host().RecordingsDir;
}

void AppPaths::SetDefaultVideoFile(const std::string& Path)
{
    Host().Record(Call("SetDefaultVideoFile", Path));
}

bool JobSystem::IsRunning() const
{
    Host().Record(Call("IsRunning"));
    return Host().bJobSystemRuns;
}

JobId JobSystem::Enqueue(std::function<void()> Job, const char* Label)
{
    {
        const std::lock_guard lock(hostMutex);
        Host().Jobs.push_back(std::move(Job));
    }
    Host().Record(Call("Enqueue", Label));
    return 1;
}

void JobSystem::EnqueueMainThread(std::function<void()> Job)
{
    {
        const std::lock_guard lock(hostMutex);
        Host().MainThreadJobs.push_back(std::move(Job));
    }
    Host().Record(Call("EnqueueMainThread"));
}
