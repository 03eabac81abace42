#include "process/workerchildren.h"

#include "base/atomicfile.h"

#include <charconv>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
std::vector<pid_t> ThreadsOf(pid_t Pid)
{
    std::vector<pid_t> threads;
    std::error_code ec;
    const std::filesystem::path folder = "/proc/" + std::to_string(Pid) + "/task";
    for (std::filesystem::directory_iterator entry(folder, ec), end; !ec && entry != end;
         entry.increment(ec))
    {
        const std::string name = entry->path().filename().native();
        pid_t thread = 0;
        std::from_chars(name.data(), name.data() + name.size(), thread);
        threads.push_back(thread);
    }
    return threads;
}

// A direct system call: glibc 2.36 can't link its own wrapper from C++.
UniqueFd OpenProcess(pid_t Pid)
{
    return UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, Pid, 0)));
}

bool HasEnded(const UniqueFd& Process)
{
    pollfd ended = {Process.Get(), POLLIN, 0};
    return ::poll(&ended, 1, 0) == 1;
}
} // namespace

void WorkerChildren::Collect()
{
    const std::lock_guard lock(MembersMutex);
    // A process may have ended since its number was read, and another one may have got the number.
    std::erase_if(Members, [](const auto& Member) { return HasEnded(Member.second); });
    const pid_t self = ::getpid();
    for (const pid_t thread : ThreadsOf(self))
    {
        if (thread != self)
        {
            AddBelow(self, thread);
        }
    }
}

void WorkerChildren::AddBelow(pid_t Pid, pid_t Thread)
{
    std::istringstream children(ReadWholeFile("/proc/" + std::to_string(Pid) + "/task/" +
                                              std::to_string(Thread) + "/children"));
    for (pid_t child = 0; children >> child;)
    {
        UniqueFd process = OpenProcess(child);
        if (!process.IsOpen())
        {
            continue;
        }
        Members.try_emplace(child, std::move(process));
        for (const pid_t thread : ThreadsOf(child))
        {
            AddBelow(child, thread);
        }
    }
}

void WorkerChildren::Clear()
{
    const std::lock_guard lock(MembersMutex);
    Members.clear();
}

bool WorkerChildren::IsEmpty() const
{
    const std::lock_guard lock(MembersMutex);
    return Members.empty();
}

void WorkerChildren::Kill()
{
    Collect();
    Signal(SIGKILL);
}

void WorkerChildren::Signal(int Number) const
{
    const std::lock_guard lock(MembersMutex);
    for (const auto& [pid, process] : Members)
    {
        ::syscall(SYS_pidfd_send_signal, process.Get(), Number, nullptr, 0);
    }
}

bool WorkerChildren::IsRunning() const
{
    const std::lock_guard lock(MembersMutex);
    for (const auto& [pid, process] : Members)
    {
        if (!HasEnded(process))
        {
            return true;
        }
    }
    return false;
}
