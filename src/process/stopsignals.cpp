#include "process/stopsignals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace
{
// Read and write end. Never closed: a handler may write at any time.
std::array<int, 2> signalPipe = {-1, -1};
constexpr unsigned char EndOfListening = 0;

std::atomic<int> firstSignal{0};
static_assert(std::atomic<int>::is_always_lock_free); // a handler writes it

void WriteToPipe(unsigned char Number)
{
    [[maybe_unused]] const ssize_t written = write(signalPipe[1], &Number, 1);
}

extern "C" void NoteSignal(int Number)
{
    const int savedErrno = errno;
    // Record the signal here, not in the listening thread: a child that the same signal ended must not count as
    // failed before the signal is known.
    int none = 0;
    firstSignal.compare_exchange_strong(none, Number);
    WriteToPipe(static_cast<unsigned char>(Number));
    errno = savedErrno;
}

[[noreturn]] void ThrowSystemError(const char* Call)
{
    throw std::system_error(errno, std::generic_category(), Call);
}

bool IsIgnored(int Number)
{
    struct sigaction current = {};
    sigaction(Number, nullptr, &current);
    return current.sa_handler == SIG_IGN;
}

void HandleWithPipe(int Number)
{
    struct sigaction action = {};
    action.sa_handler = NoteSignal;
    action.sa_flags = SA_RESTART;
    sigaction(Number, &action, nullptr);
}

// SIGINT and SIGQUIT, except for those that the caller ignored.
sigset_t KeyboardSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGQUIT})
    {
        if (!IsIgnored(number))
        {
            sigaddset(&signals, number);
        }
    }
    return signals;
}
} // namespace

StopSignals::StopSignals(std::function<void()> OnStop, std::function<void()> OnKill)
{
    // Non-blocking: a full pipe must not block a handler.
    if (pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
    {
        ThrowSystemError("pipe2");
    }
    const sigset_t keyboard = KeyboardSignals();
    KeyboardFd = UniqueFd(signalfd(-1, &keyboard, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!KeyboardFd.IsOpen())
    {
        ThrowSystemError("signalfd");
    }
    pthread_sigmask(SIG_BLOCK, &keyboard, nullptr);
    sigset_t handled;
    sigemptyset(&handled);
    for (const int number : {SIGTERM, SIGHUP})
    {
        sigaddset(&handled, number);
        if (!IsIgnored(number))
        {
            HandleWithPipe(number);
        }
    }
    pthread_sigmask(SIG_UNBLOCK, &handled, nullptr);
    Listener = std::thread([this, onStop = std::move(OnStop), onKill = std::move(OnKill)]
                           { Listen(onStop, onKill); });
}

StopSignals::~StopSignals()
{
    WriteToPipe(EndOfListening);
    Listener.join();
}

void StopSignals::Listen(const std::function<void()>& OnStop, const std::function<void()>& OnKill)
{
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> lastAt;
    bool bKilled = false;
    for (int number = WaitForSignal(); number != EndOfListening; number = WaitForSignal())
    {
        const Clock::time_point now = Clock::now();
        if (!lastAt.has_value())
        {
            OnStop();
        }
        else if (now - *lastAt < std::chrono::milliseconds(NextSignalMs))
        {
            continue;
        }
        else if (!bKilled)
        {
            bKilled = true;
            OnKill();
        }
        else
        {
            _exit(128 + number);
        }
        lastAt = now;
    }
}

int StopSignals::Received() const
{
    TakeKeyboard();
    return firstSignal.load();
}

// All signals arrive through the pipe, those of the signalfd, too.
int StopSignals::WaitForSignal() const
{
    for (;;)
    {
        std::array<pollfd, 2> sources = {
            {{signalPipe[0], POLLIN, 0}, {KeyboardFd.Get(), POLLIN, 0}}};
        poll(sources.data(), sources.size(), -1);
        TakeKeyboard();
        unsigned char number = 0;
        if (read(signalPipe[0], &number, 1) == 1)
        {
            return number;
        }
    }
}

void StopSignals::TakeKeyboard() const
{
    signalfd_siginfo signal = {};
    while (read(KeyboardFd.Get(), &signal, sizeof signal) == sizeof signal)
    {
        NoteSignal(static_cast<int>(signal.ssi_signo));
    }
}
