#include "media/frametimes.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace
{
constexpr std::int64_t UsPerMs = 1000;
constexpr int PacketsBetweenQuestions = 64;
// Far beyond any film, and still far from the limits of an integer.
constexpr std::int64_t EndOfAllTicks = std::numeric_limits<std::int64_t>::max() / 8;
constexpr double LongestSec = 1e9;

// Rounds to milliseconds, as in the command line of an export.
std::int64_t UsOfText(double Sec)
{
    const double limitedSec = Sec > 0.0 ? std::min(Sec, LongestSec) : 0.0;
    return std::llround(limitedSec * 1000.0) * UsPerMs;
}
} // namespace

// What both threads share. A reading thread that a disk blocks keeps it alive.
struct FrameTimes::Shared
{
    enum class Phase
    {
        Opening,
        Open,
        Failed,
    };

    std::atomic<bool> bStop{false};

    std::mutex Mutex;
    std::condition_variable Changed;
    // -- Guarded by Mutex.
    Phase Opening = Phase::Opening;
    FrameClock Clock;
    bool bAsked = false; ///< a question waits for its answer
    FrameSide Side = FrameSide::LastBefore;
    std::int64_t Limit = 0;
    std::optional<FramePlace> Answer;
    bool bCounted = false; ///< Whole holds all frames until the UI thread takes it
    FrameWindow Whole;
    std::function<void()> WhenCounted;
    bool bEnded = false; ///< the thread has
};

FrameTimes::FrameTimes(std::string Path,
                       std::function<void()> WhenCounted,
                       std::chrono::milliseconds NewPatience)
    : pState(std::make_shared<Shared>())
    , Patience(NewPatience)
{
    pState->WhenCounted = std::move(WhenCounted);
    try
    {
        std::thread([pShared = pState, path = std::move(Path)] { Run(pShared, path); }).detach();
    }
    catch (const std::system_error&)
    {
        // Without a thread no frame is ever known.
        pState->Opening = Shared::Phase::Failed;
        pState->bEnded = true;
    }
}

FrameTimes::~FrameTimes()
{
    pState->bStop = true;
    std::unique_lock lock(pState->Mutex);
    pState->WhenCounted = {};
    pState->Changed.notify_all();
    pState->Changed.wait_for(lock, Patience, [this] { return pState->bEnded; });
}

// The reading thread.
void FrameTimes::Run(const std::shared_ptr<Shared>& pShared, const std::string& Path)
{
    Shared& shared = *pShared;
    std::unique_ptr<FrameReader> scan = FrameReader::Open(Path, shared.bStop);
    std::unique_ptr<FrameReader> near; // for questions about places that the scan has not reached
    std::unique_lock lock(shared.Mutex);
    shared.Opening = scan != nullptr ? Shared::Phase::Open : Shared::Phase::Failed;
    shared.Clock = scan != nullptr ? scan->Clock() : FrameClock();
    shared.Changed.notify_all();
    while (scan != nullptr && !shared.bStop && !scan->Window().bToEnd)
    {
        if (!shared.bAsked)
        {
            lock.unlock();
            scan->ReadOn(PacketsBetweenQuestions);
            lock.lock();
            continue;
        }
        const FrameSide side = shared.Side;
        const std::int64_t limit = shared.Limit;
        lock.unlock();
        FrameWindow::Lack lack = FrameWindow::Lack::Nothing;
        std::optional<FramePlace> answer = scan->Window().Find(side, limit, lack);
        if (!answer && lack != FrameWindow::Lack::Nothing)
        {
            near = near != nullptr ? std::move(near) : FrameReader::Open(Path, shared.bStop);
            answer = near != nullptr ? near->Find(side, limit) : std::nullopt;
        }
        lock.lock();
        shared.Answer = answer;
        shared.bAsked = false;
        shared.Changed.notify_all();
    }
    if (scan != nullptr && scan->Window().bToEnd)
    {
        shared.Whole = scan->TakeWindow();
        shared.bCounted = true;
        if (shared.WhenCounted)
        {
            shared.WhenCounted();
        }
    }
    shared.bEnded = true;
    shared.Changed.notify_all();
}

// Call with the mutex held. After an answer that came too late it does not wait until the thread is free again.
bool FrameTimes::WaitFor(std::unique_lock<std::mutex>& Lock, const std::function<bool()>& IsDone)
{
    const auto patience = bDiskSlow ? std::chrono::milliseconds(0) : Patience;
    const bool bDone = pState->Changed.wait_for(Lock, patience, IsDone);
    bDiskSlow = !bDone;
    return bDone;
}

bool FrameTimes::IsOpen()
{
    std::unique_lock lock(pState->Mutex);
    WaitFor(lock, [this] { return pState->Opening != Shared::Phase::Opening; });
    Clock = pState->Clock;
    return pState->Opening == Shared::Phase::Open;
}

bool FrameTimes::IsWholeKnown()
{
    const std::lock_guard lock(pState->Mutex);
    if (pState->bCounted)
    {
        pState->bCounted = false;
        Whole = std::move(pState->Whole);
        Clock = pState->Clock;
    }
    return Whole.bToEnd;
}

double FrameTimes::OffsetSec()
{
    return IsOpen() ? Clock.OffsetSec() : 0.0;
}

// -- Questions

std::optional<FramePlace> FrameTimes::Find(FrameSide Side, std::int64_t Limit)
{
    FrameWindow::Lack lack = FrameWindow::Lack::Nothing;
    if (IsWholeKnown())
    {
        return Whole.Find(Side, Limit, lack);
    }
    {
        std::unique_lock lock(pState->Mutex);
        // The thread answers an earlier, abandoned question first.
        if (!WaitFor(lock, [this] { return !pState->bAsked || pState->bEnded; }))
        {
            return std::nullopt;
        }
        pState->Side = Side;
        pState->Limit = Limit;
        pState->Answer.reset();
        pState->bAsked = !pState->bEnded;
        if (!WaitFor(lock, [this] { return !pState->bAsked || pState->bEnded; }))
        {
            return std::nullopt;
        }
        pState->bAsked = false;
        if (pState->Answer)
        {
            return pState->Answer;
        }
    }
    // The thread may have finished the whole file before it saw the question.
    return IsWholeKnown() ? Whole.Find(Side, Limit, lack) : std::nullopt;
}

std::int64_t FrameTimes::LimitOfShown(std::int64_t Us) const
{
    const std::int64_t ms = std::clamp<std::int64_t>(Us, 0, UsOfText(LongestSec)) / UsPerMs;
    return Clock.TicksFrom((ms + 1) * UsPerMs);
}

std::optional<FramePlace> FrameTimes::ShownAt(std::int64_t Us)
{
    return IsOpen() ? Find(FrameSide::LastBefore, LimitOfShown(Us)) : std::nullopt;
}

std::optional<FramePlace> FrameTimes::After(std::int64_t Us)
{
    const std::optional<FramePlace> shown = ShownAt(Us);
    return shown ? Find(FrameSide::FirstFrom, shown->Ticks + 1) : std::nullopt;
}

std::optional<FramePlace> FrameTimes::Before(std::int64_t Us)
{
    const std::optional<FramePlace> shown = ShownAt(Us);
    return shown ? Find(FrameSide::LastBefore, shown->Ticks) : std::nullopt;
}

std::optional<FramePlace> FrameTimes::Last()
{
    return IsOpen() ? Find(FrameSide::LastBefore, EndOfAllTicks) : std::nullopt;
}

std::optional<FramePlace> FrameTimes::FirstOfClip(double InSec)
{
    return IsOpen() ? Find(FrameSide::FirstFrom, Clock.TicksOf(UsOfText(InSec))) : std::nullopt;
}

std::optional<FramePlace> FrameTimes::LastOfClip(double InSec, double OutSec)
{
    const std::optional<FramePlace> first = FirstOfClip(InSec);
    return first
               ? Find(FrameSide::LastBefore, first->Ticks + Clock.TicksOf(UsOfText(OutSec - InSec)))
               : std::nullopt;
}

FrameTimes::Range FrameTimes::RangeOf(const FramePlace& First, const FramePlace& Last) const
{
    // The length must stop before the following frame: ffmpeg counts it from the first frame's own time, which is
    // up to a millisecond later than In.
    const std::int64_t inMs = Clock.MsOf(First.Ticks);
    return {inMs, inMs + Clock.MsOf(Last.AfterTicks - First.Ticks)};
}

double FrameTimes::ContainerSec(std::int64_t Ticks) const
{
    return static_cast<double>(Ticks - Clock.OffsetTicks) * static_cast<double>(Clock.Num) /
           static_cast<double>(Clock.Den);
}

// -- Counting

std::int64_t FrameTimes::CountBefore(std::int64_t Limit) const
{
    return std::lower_bound(Whole.Ticks.begin(), Whole.Ticks.end(), Limit) - Whole.Ticks.begin();
}

std::optional<std::int64_t> FrameTimes::NumberAt(std::int64_t Us)
{
    return IsWholeKnown() && !Whole.Ticks.empty()
               ? std::optional(std::max<std::int64_t>(CountBefore(LimitOfShown(Us)) - 1, 0))
               : std::nullopt;
}

std::optional<std::int64_t> FrameTimes::Count()
{
    return IsWholeKnown() ? std::optional(static_cast<std::int64_t>(Whole.Ticks.size()))
                          : std::nullopt;
}

std::optional<std::int64_t> FrameTimes::CountOfClip(double InSec, double OutSec)
{
    if (!IsWholeKnown())
    {
        return std::nullopt;
    }
    const std::int64_t before = CountBefore(Clock.TicksOf(UsOfText(InSec)));
    if (before == static_cast<std::int64_t>(Whole.Ticks.size()))
    {
        return 0;
    }
    const std::int64_t first = Whole.Ticks[static_cast<std::size_t>(before)];
    return CountBefore(first + Clock.TicksOf(UsOfText(OutSec - InSec))) - before;
}
