// SIGINT, SIGQUIT, SIGTERM and SIGHUP as requests to stop in an orderly way.
//
// system() sets SIGINT and SIGQUIT to "ignored" for the whole process while its child runs, and the child inherits
// the caller's signal mask. So the signals are handled in two ways:
//   SIGINT, SIGQUIT  are blocked in every thread and read from a signalfd: a blocked signal is kept although it
//            is ignored. The child of system() has them blocked, too, so end it with SIGTERM. One gap stays: a
//            signal that is pending at the moment when system() begins is lost. Call Received just before
//            system(); then the gap is short, and the user presses again.
//   SIGTERM, SIGHUP  have a handler that writes to a pipe. They are not blocked, so that they end the child of
//            system().
// A signal that was ignored at the program's start stays ignored: SIGHUP under nohup, SIGINT and SIGQUIT in a
// background job of a script, where Ctrl+C is meant for other programs. (ffmpeg takes SIGINT even so: a Ctrl+C that
// reaches both ends the running export.)

#pragma once

#include "base/uniquefd.h"

#include <functional>
#include <thread>

class StopSignals
{
public:
    /// Takes the signals over, once in the life of a program, before any other thread is started.
    ///
    /// The first signal calls OnStop. The next one, at least NextSignalMs later, calls OnKill: the user waits no
    /// longer, so end the children at once. One more ends the process without running destructors. (A signal
    /// within NextSignalMs counts as the same request: `timeout` and a closed terminal send two.) Both functions
    /// run on a thread of this object and must not throw. Throws std::system_error when the system gives no
    /// descriptor.
    StopSignals(std::function<void()> OnStop, std::function<void()> OnKill);
    /// Ends the thread. Later signals have no effect: the program is about to end.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    static constexpr int NextSignalMs = 300;

    /// The number of the first signal, 0 while none has come. Knows every signal sent before the call, even if the
    /// thread of this object has not run since. Any thread.
    int Received() const;

private:
    void Listen(const std::function<void()>& OnStop, const std::function<void()>& OnKill);
    int WaitForSignal() const;
    void TakeKeyboard() const;

    UniqueFd KeyboardFd; ///< of SIGINT and SIGQUIT, but for one that is ignored
    std::thread Listener;
};
