// A sleep that other threads can end, made with an eventfd.

#pragma once

#include "base/uniquefd.h"

class WakeUp
{
public:
    /// Throws std::system_error when the system gives no descriptor.
    WakeUp();

    /// Ends the current sleep, or the next one if nobody sleeps. Never blocks. Any thread.
    void Post() const;

    /// Sleeps until Post, or for TimeoutMs (negative: no limit). Earlier calls of Post, however many, end one sleep
    /// at once. May return early without a Post.
    void Sleep(int TimeoutMs) const;

    /// Readable from the first Post until the next sleep; for polling together with other descriptors.
    int Descriptor() const { return Event.Get(); }

private:
    UniqueFd Event;
};
