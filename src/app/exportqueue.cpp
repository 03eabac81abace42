#include "app/exportqueue.h"

#include "app/clipfile.h"
#include "app/exporttexts.h"
#include "export/leftovers.h"
#include "host/apppaths.h"
#include "host/core.h"
#include "process/sentences.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <iterator>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr milliseconds LookEvery{250};
constexpr milliseconds LookEveryWhileStopping{20};
constexpr milliseconds StopGrace{5000};
// A front that has not connected by then can't be told.
constexpr milliseconds ConnectGrace{1000};
// What the end of the program waits for: the grace period, and the panel's result after it.
constexpr milliseconds ShutdownTime{10000};

// As many numbers as the panel has for a name.
constexpr int MaxTryCount = 10000;

// Of those that failed, as many are named as a notification has room for.
constexpr std::size_t MaxToldFailures = 3;
constexpr std::uint64_t InfoMs = 2200;
constexpr std::uint64_t ErrorMs = 3200;
// The front's own word for it. What a status says may begin with the name of a file.
constexpr const char* FrontStoppedText = "stopped.";

// The panel says where an export goes in its status alone. Its words and the clip's name are known, so
// what is left between them is the file's name, whatever the name of the clip looks like.
fs::path OutputPathOf(const std::string& StatusText, const std::string& ClipName)
{
    const std::string begin = "Exporting " + ClipName + " to ";
    constexpr std::string_view End = "...";
    if (!StatusText.starts_with(begin) || !StatusText.ends_with(End) ||
        StatusText.size() < begin.size() + End.size())
    {
        return {};
    }
    return fs::path(AppPaths::RecordingsDir()) / "clips" /
           StatusText.substr(begin.size(), StatusText.size() - begin.size() - End.size());
}

void Watch(const UniqueFd& Poll, int Watched)
{
    epoll_event event = {};
    event.events = EPOLLIN;
    if (epoll_ctl(Poll.Get(), EPOLL_CTL_ADD, Watched, &event) != 0)
    {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}
} // namespace

ExportQueue::ExportQueue(MvClipControlPanel& NewUserPanel,
                         std::function<void()> NewRequestFrame,
                         std::unique_ptr<ExportSocket> pNewSocket,
                         std::shared_ptr<WorkerChildren> pNewEncoder,
                         Clock NewNow)
    : UserPanel(NewUserPanel)
    , RequestFrame(std::move(NewRequestFrame))
    , Now(std::move(NewNow))
    , pSocket(std::move(pNewSocket))
    , Poll(epoll_create1(EPOLL_CLOEXEC))
    , Timer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK))
    , pEncoder(std::move(pNewEncoder))
{
    Watch(Poll, Timer.Get());
    if (pSocket != nullptr)
    {
        Watch(Poll, pSocket->Descriptor());
    }
}

ExportQueue::~ExportQueue()
{
    Shutdown();
}

// -- What is asked for

ExportId ExportQueue::Append(const Clip& NewClip)
{
    Entries.push_back({++LastId, NewClip});
    return LastId;
}

ExportId ExportQueue::Add(const Clip& NewClip)
{
    const ExportId id = Append(NewClip);
    RequestFrame();
    return id;
}

std::vector<ExportId> ExportQueue::Add(const std::vector<Clip>& NewClips)
{
    std::vector<ExportId> ids;
    ids.reserve(NewClips.size());
    for (const Clip& clip : NewClips)
    {
        ids.push_back(Append(clip));
    }
    RequestFrame();
    return ids;
}

bool ExportQueue::Remove(ExportId Id)
{
    for (auto entry = Entries.begin(); entry != Entries.end(); ++entry)
    {
        if (entry->Id == Id)
        {
            TakenOut.push_back(std::move(*entry));
            Entries.erase(entry);
            RequestFrame();
            return true;
        }
    }
    return false;
}

void ExportQueue::TakeOutAll()
{
    Tally.Count += Entries.size();
    TakenOut.insert(TakenOut.end(), std::make_move_iterator(Entries.begin()),
                    std::make_move_iterator(Entries.end()));
    Entries.clear();
}

void ExportQueue::Stop()
{
    if (!Current.has_value())
    {
        bStopFirst = !Entries.empty();
        RequestFrame();
        return;
    }
    if (Current->bStopping)
    {
        return;
    }
    Current->bStopping = true;
    StopAt = Now();
    PressStop();
    ArmTimer(LookEveryWhileStopping);
    RequestFrame();
}

void ExportQueue::StopAll()
{
    Tally.bStopped = IsRunning();
    TakeOutAll();
    Stop();
    RequestFrame();
}

// The encoder may not be there yet when the stop is asked for, so this is tried again with each look. /proc is
// searched for it only where no front can be asked.
void ExportQueue::PressStop()
{
    if (Now() - StopAt >= StopGrace)
    {
        pEncoder->Kill();
        return;
    }
    if (pSocket != nullptr && (bAskedToEnd || Now() - StopAt < ConnectGrace))
    {
        bAskedToEnd = bAskedToEnd || pSocket->SendStop(Current->OutputPath.native());
        return;
    }
    pEncoder->Collect();
    if (!bAskedToEnd && !pEncoder->IsEmpty())
    {
        bAskedToEnd = true;
        pEncoder->Signal(SIGTERM);
    }
}

// -- For the application

void ExportQueue::Pump()
{
    if (std::exchange(bPumping, true))
    {
        return;
    }
    EmitRemoved();
    TakeMessages();
    if (Current.has_value())
    {
        Look();
    }
    if (Current.has_value() && JobFailure.has_value())
    {
        End(ExportOutcome::Failed, "Clip export failed: " + *JobFailure);
    }
    else if (Current.has_value())
    {
        TakeResult();
    }
    while (!Current.has_value() && !Entries.empty())
    {
        const QueuedExport entry = std::move(Entries.front());
        Entries.pop_front();
        if (std::exchange(bStopFirst, false))
        {
            Next.emit(entry);
            UserPanel.SetStatusTextInternal(ExportStoppedText, true);
            Finish({entry.Id, entry.Clip, ExportOutcome::Stopped, {}, ExportStoppedText});
        }
        else
        {
            Begin(entry);
        }
    }
    EmitRemoved(); // what this pump has taken out
    if (!Current.has_value() && Tally.Count > 0)
    {
        EndRound();
    }
    bPumping = false;
}

void ExportQueue::EmitRemoved()
{
    for (const QueuedExport& entry : std::exchange(TakenOut, {}))
    {
        Removed.emit(entry);
    }
}

void ExportQueue::Begin(const QueuedExport& Entry)
{
    Next.emit(Entry);
    TryCount = 0;
    BeganAt = Now();
    Left = TimeLeft();
    if (AskPanel(Entry))
    {
        Began.emit(*Current);
        TakeResult(); // without a running job system it is there already
    }
}

// False when the panel refused, which has been told then.
bool ExportQueue::AskPanel(const QueuedExport& Entry)
{
    pDesk = std::make_unique<Desk>();
    MvClipControlPanel& panel = pDesk->Panel;
    panel.pClipTable = &pDesk->Table;
    panel.Clips = {Entry.Clip};
    pDesk->Table.SelectedRow = 0;
    pDesk->Table.CurrentRow = 0;
    panel.StatusChanged.connect([this](const std::string& Text)
                                { UserPanel.SetStatusTextInternal(Text, true); });
    JobFailure.reset();
    pEncoder->Clear();
    bAskedToEnd = false;
    bNameTaken = false;
    bFrontAtWork = false;
    bFrontStopped = false;
    ++TryCount;
    try
    {
        panel.ExportSelectedClip();
    }
    catch (const std::exception& error)
    {
        panel.SetStatusTextInternal(SentenceOf(error), true);
    }
    if (panel.ExportGeneration == 0)
    {
        Finish({Entry.Id, Entry.Clip, ExportOutcome::Failed, {}, panel.StatusText});
        return false;
    }
    Current = RunningExport{.Id = Entry.Id,
                            .Clip = Entry.Clip,
                            .OutputPath = OutputPathOf(panel.StatusText, Entry.Clip.Name)};
    ArmTimer(LookEvery);
    return true;
}

void ExportQueue::Look()
{
    std::uint64_t expirations = 0;
    if (read(Timer.Get(), &expirations, sizeof expirations) < 0)
    {
        return;
    }
    if (Current->bStopping)
    {
        PressStop();
    }
    else if (pSocket == nullptr)
    {
        // Known before a signal to the whole process group ends the shell above it.
        pEncoder->Collect();
    }
    Tell();
}

void ExportQueue::TakeMessages()
{
    if (pSocket == nullptr)
    {
        return;
    }
    bool bProgress = false;
    const std::string path = Current.has_value() ? Current->OutputPath.native() : std::string();
    for (const ExportMessage& message : pSocket->Take(path))
    {
        if (message.Type == ExportMessageType::Progress)
        {
            bProgress = true;
            Current->Phase = message.Phase;
            Current->Fraction = std::max(Current->Fraction, message.Fraction);
        }
        bNameTaken = bNameTaken || message.Type == ExportMessageType::Taken;
        bFrontStopped = bFrontStopped || (message.Type == ExportMessageType::Failed &&
                                          message.Text == FrontStoppedText);
        // A front that ends without its last word was killed.
        bFrontAtWork = message.Type == ExportMessageType::Output ||
                       message.Type == ExportMessageType::Progress;
    }
    if (bProgress)
    {
        Tell();
    }
}

void ExportQueue::Tell()
{
    Current->ElapsedSec = std::chrono::duration<double>(Now() - BeganAt).count();
    Current->SecondsLeft = Left.Update(Current->Fraction, Current->ElapsedSec);
    if (bTells)
    {
        Progressed.emit(*Current);
    }
}

bool ExportQueue::TakeResult()
{
    MvClipControlPanel& panel = pDesk->Panel;
    {
        const std::lock_guard lock(panel.ExportMutex);
        if (!panel.bExportResultReady)
        {
            return false;
        }
    }
    TakeMessages(); // the front's last word came before the result
    // The shell may end before what it ran: wait until both have.
    if (!Current.has_value() || IsEncoderLeft())
    {
        return false;
    }
    bool bSuccess = false;
    std::string message;
    {
        const std::lock_guard lock(panel.ExportMutex);
        panel.bExportResultReady = false; // so that the panel queues no notification
        bSuccess = panel.bExportResultSuccess;
        message = panel.ExportResultMessage;
    }
    if (!bSuccess && (Current->bStopping || bFrontStopped))
    {
        End(ExportOutcome::Stopped, ExportStoppedText);
    }
    else if (!bSuccess && bNameTaken && TryCount < MaxTryCount)
    {
        const RunningExport earlier = *std::exchange(Current, std::nullopt);
        if (AskPanel({earlier.Id, earlier.Clip}))
        {
            Tell();
        }
    }
    else
    {
        End(bSuccess ? ExportOutcome::Exported : ExportOutcome::Failed, message);
    }
    return true;
}

bool ExportQueue::IsEncoderLeft()
{
    // A front is connected still only where somebody ended the shell above it.
    if (pSocket != nullptr && pSocket->IsConnected(Current->OutputPath.native()))
    {
        pSocket->SendStop(Current->OutputPath.native());
        return true;
    }
    // The ffmpeg of a front that was killed ends a moment later, and its files can be removed only then.
    return (Current->bStopping && pEncoder->IsRunning()) ||
           (bFrontAtWork && IsBeingWritten(Current->OutputPath));
}

void ExportQueue::End(ExportOutcome Outcome, const std::string& Message)
{
    ArmTimer(milliseconds(0));
    const RunningExport ended = *std::exchange(Current, std::nullopt);
    if (Outcome != ExportOutcome::Exported && pSocket != nullptr)
    {
        RemoveAbandonedExports(ended.OutputPath.parent_path()); // the front may have been killed
    }
    else if (Outcome == ExportOutcome::Stopped)
    {
        std::error_code ec;
        fs::remove(ended.OutputPath, ec);
    }
    const fs::path file =
        Outcome == ExportOutcome::Exported ? AddMissingExtension(ended.OutputPath) : fs::path();
    if (bTells)
    {
        UserPanel.SetStatusTextInternal(Message, true);
    }
    Finish({ended.Id, ended.Clip, Outcome, file, Message});
}

void ExportQueue::Finish(const EndedExport& EndedOne)
{
    ++Tally.Count;
    Tally.Last = EndedOne;
    Tally.ExportedCount += EndedOne.Outcome == ExportOutcome::Exported ? 1 : 0;
    Tally.bStopped = Tally.bStopped || EndedOne.Outcome == ExportOutcome::Stopped;
    if (EndedOne.Outcome == ExportOutcome::Failed)
    {
        Tally.Failed.push_back(EndedOne);
        if (bFailFast)
        {
            TakeOutAll();
        }
    }
    if (!bTells)
    {
        return;
    }
    if (bNotifyEach)
    {
        Notify(EndedOne);
    }
    Ended.emit(EndedOne);
}

// In the panel's own words and times; a stop is no error.
void ExportQueue::Notify(const EndedExport& EndedOne) const
{
    const bool bError = EndedOne.Outcome == ExportOutcome::Failed;
    p->pMovane->QueueNotification(bError ? Movane::NotificationError : Movane::NotificationInfo,
                                  "Clip Export", EndedOne.Message, bError ? ErrorMs : InfoMs);
}

void ExportQueue::EndRound()
{
    const Counts round = std::exchange(Tally, {});
    if (!bNotifyEach && round.Count == 1)
    {
        Notify(round.Last);
    }
    else if (!bNotifyEach)
    {
        std::string text =
            ExportSummary(round.ExportedCount, round.Count, round.bStopped ? "stopped" : "");
        const std::size_t toldCount = std::min(round.Failed.size(), MaxToldFailures);
        for (std::size_t i = 0; i < toldCount; ++i)
        {
            text += ' ' + round.Failed[i].Clip.Name + ": " + round.Failed[i].Message;
        }
        if (round.Failed.size() > toldCount)
        {
            text += " And " + std::to_string(round.Failed.size() - toldCount) + " more failed.";
        }
        const bool bError = !round.Failed.empty();
        p->pMovane->QueueNotification(bError ? Movane::NotificationError : Movane::NotificationInfo,
                                      "Clip Export", text, bError ? ErrorMs : InfoMs);
    }
    Idle.emit();
}

void ExportQueue::Shutdown()
{
    bTells = false;
    Entries.clear();
    TakenOut.clear();
    if (!Current.has_value())
    {
        return;
    }
    Stop();
    const auto deadline = std::chrono::steady_clock::now() + ShutdownTime;
    while (Current.has_value() && std::chrono::steady_clock::now() < deadline)
    {
        pollfd wait = {Descriptor(), POLLIN, 0};
        poll(&wait, 1, static_cast<int>(LookEveryWhileStopping.count()));
        p->pJobSystem->PumpMainThread();
        TakeMessages();
        Look();
        if (JobFailure.has_value())
        {
            break;
        }
        TakeResult();
    }
}

// The first look comes soon; 0 disarms it.
void ExportQueue::ArmTimer(milliseconds Period)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Period);
    const std::chrono::nanoseconds rest = Period - seconds;
    itimerspec times = {};
    times.it_interval = {seconds.count(), rest.count()};
    const milliseconds first = std::min(Period, LookEveryWhileStopping);
    times.it_value = {0, std::chrono::nanoseconds(first).count()};
    timerfd_settime(Timer.Get(), 0, &times, nullptr);
}
