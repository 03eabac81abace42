// A sleep that other threads can end: an eventfd that counts the reasons to wake.

#pragma once

#include "base/uniquefd.h"

class WakeUp
{
public:
    /// Throws std::system_error when the system gives no descriptor.
    WakeUp();

    /// Ends the sleep, or the next one when nobody sleeps. Never blocks. Any thread.
    void Post() const;

    /// Sleeps until Post, or for TimeoutMs (a negative one stands for no limit). Calls of Post that
    /// came earlier, however many, end one sleep at once. It may return early without reason.
    void Sleep(int TimeoutMs) const;

    /// Readable from the first Post on until a sleep, for who waits for other things, too.
    int Descriptor() const { return Event.Get(); }

private:
    UniqueFd Event;
};
