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
// How long the program's end waits: the grace period, and then the panel's result.
constexpr milliseconds ShutdownTime{10000};

// The panel has this many numbers for a name.
constexpr int MaxTryCount = 10000;

// A notification has room for this many failures.
constexpr std::size_t MaxNamedFailures = 3;
constexpr std::uint64_t InfoMs = 2200;
constexpr std::uint64_t ErrorMs = 3200;
// The front's message for a stop. Compared as a whole: a sentence may begin with a file of that name.
constexpr const char* FrontStoppedText = "stopped.";

// Only the panel's status says where an export goes. Its words and the clip's name are known, so the rest is the
// file's name, whatever characters the clip's name has.
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

void AddToPoll(const UniqueFd& Poll, int Descriptor)
{
    epoll_event event = {};
    event.events = EPOLLIN;
    if (epoll_ctl(Poll.Get(), EPOLL_CTL_ADD, Descriptor, &event) != 0)
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
    AddToPoll(Poll, Timer.Get());
    if (pSocket != nullptr)
    {
        AddToPoll(Poll, pSocket->Descriptor());
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
    EmitRemoved(); // entries that this pump removed
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
        TakeResult(); // without a running job system the export has ended already
    }
}

// Returns false when the panel refused, after emitting Ended.
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
        // Collect now: a later signal to the whole process group may end the shell above the encoder.
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
        // A front without a last message was killed.
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
    if (bEmits)
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
    TakeMessages(); // the front's last message came before the result
    // The shell may end before its child: wait for both.
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
    // A front that is still connected lost its shell to a signal.
    if (pSocket != nullptr && pSocket->IsConnected(Current->OutputPath.native()))
    {
        pSocket->SendStop(Current->OutputPath.native());
        return true;
    }
    // The ffmpeg of a killed front ends a moment later; only then can its files be removed.
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
    if (bEmits)
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
    if (!bEmits)
    {
        return;
    }
    if (bNotifyEach)
    {
        Notify(EndedOne);
    }
    Ended.emit(EndedOne);
}

// Uses the panel's own words and display times. A stop is not an error.
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
        const std::size_t namedCount = std::min(round.Failed.size(), MaxNamedFailures);
        for (std::size_t i = 0; i < namedCount; ++i)
        {
            text += ' ' + round.Failed[i].Clip.Name + ": " + round.Failed[i].Message;
        }
        if (round.Failed.size() > namedCount)
        {
            text += " And " + std::to_string(round.Failed.size() - namedCount) + " more failed.";
        }
        const bool bError = !round.Failed.empty();
        p->pMovane->QueueNotification(bError ? Movane::NotificationError : Movane::NotificationInfo,
                                      "Clip Export", text, bError ? ErrorMs : InfoMs);
    }
    Idle.emit();
}

void ExportQueue::Shutdown()
{
    bEmits = false;
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

// The first expiry comes soon; a Period of 0 disarms the timer.
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
