#include "process/wakeup.h"

#include <cerrno>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>

WakeUp::WakeUp()
    : Event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!Event.IsOpen())
    {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

void WakeUp::Post() const
{
    eventfd_write(Event.Get(), 1);
}

void WakeUp::Sleep(int TimeoutMs) const
{
    pollfd wait = {Event.Get(), POLLIN, 0};
    poll(&wait, 1, TimeoutMs);
    eventfd_t count = 0;
    eventfd_read(Event.Get(), &count);
}
