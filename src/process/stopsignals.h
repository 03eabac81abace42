// SIGINT, SIGQUIT, SIGTERM and SIGHUP as a wish to stop in order.
//
// While system() runs a program it sets SIGINT and SIGQUIT to "ignored" for the whole process, and the
// program inherits the caller's signal mask. Hence the four are not taken alike:
//   SIGINT, SIGQUIT  are blocked in every thread and read from a signalfd: a signal that is blocked is
//            kept although it is ignored. A program that system() runs has them blocked too, as long as
//            it does not change that, so whoever uses this class ends it with SIGTERM. One gap stays:
//            the system drops one that is waiting at the very moment in which system() begins. Ask
//            Received just before that; then the gap is short, and the user presses again.
//   SIGTERM, SIGHUP  have a handler that writes to a pipe. They are not blocked, so that they end a
//            program that system() runs.
// One that was ignored when the program began stays ignored: SIGHUP under nohup, SIGINT and SIGQUIT in a
// job that a script has put into the background, where the user's Ctrl+C is meant for others. (ffmpeg
// itself takes SIGINT all the same, so a Ctrl+C that reaches both ends the clip that is exported.)

#pragma once

#include "base/uniquefd.h"

#include <functional>
#include <thread>

class StopSignals
{
public:
    /// Takes the signals over, once in the life of a program, before any other thread is started.
    ///
    /// OnStop is called at the first signal. The next one that comes at least NextSignalMs later says
    /// that the user waits no longer: OnKill is called, so that what is waited for ends at once. One
    /// more ends the process itself, with no destructor run. (Earlier ones are the same wish: `timeout`
    /// and a closed terminal send two.) Both functions are called on a thread of this object and must
    /// not throw. Throws std::system_error when the system gives no descriptor.
    StopSignals(std::function<void()> OnStop, std::function<void()> OnKill);
    /// Ends the thread. The signals stay taken and go unheard: the program is about to end.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    static constexpr int NextSignalMs = 300;

    /// The number of the first signal, 0 while none has come. It tells of every signal that was sent
    /// before the call, also when the thread of this object has had no time for it. Any thread.
    int Received() const;

private:
    void Listen(const std::function<void()>& OnStop, const std::function<void()>& OnKill);
    int WaitForSignal() const;
    void TakeKeyboard() const;

    UniqueFd KeyboardFd; ///< of SIGINT and SIGQUIT, but for one that is ignored
    std::thread Listener;
};
