#include "media/encoderprocess.h"

#include "host/atomicfile.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <map>
#include <poll.h>
#include <sstream>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace
{
// Where the kernel has no process descriptors, an end is looked for this often.
constexpr std::chrono::milliseconds PollPeriod{10};
// What a killed process may take until the kernel has removed it.
constexpr std::chrono::milliseconds KillTime{2000};

struct ProcessInfo
{
    pid_t Parent = 0;
    std::uint64_t StartTicks =
        0; ///< since boot; with the number it tells one process from all others
};

std::filesystem::path ProcFolder(pid_t Pid)
{
    return std::filesystem::path("/proc") / std::to_string(Pid);
}

// Of a process that runs; nullopt for one that has ended, reaped or not (proc(5), "stat").
std::optional<ProcessInfo> ReadProcess(pid_t Pid)
{
    const std::string stat = ReadWholeFile(ProcFolder(Pid) / "stat");
    // The name, in parentheses, may hold anything, parentheses and spaces too.
    const std::size_t nameEnd = stat.rfind(')');
    if (nameEnd == std::string::npos)
    {
        return std::nullopt;
    }
    std::istringstream fields(stat.substr(nameEnd + 1));
    ProcessInfo info;
    char state = 0;
    fields >> state >> info.Parent;
    std::string skipped;
    for (int field = 5; field <= 21; ++field)
    {
        fields >> skipped;
    }
    fields >> info.StartTicks;
    if (!fields || state == 'Z' || state == 'X')
    {
        return std::nullopt;
    }
    return info;
}

std::map<pid_t, ProcessInfo> ReadProcesses()
{
    std::map<pid_t, ProcessInfo> processes;
    std::error_code ec;
    for (std::filesystem::directory_iterator entry("/proc", ec), end; !ec && entry != end;
         entry.increment(ec))
    {
        const std::string name = entry->path().filename().string();
        pid_t pid = 0;
        const auto [pEnd, error] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (error != std::errc() || pEnd != name.data() + name.size())
        {
            continue;
        }
        if (const std::optional<ProcessInfo> info = ReadProcess(pid))
        {
            processes.emplace(pid, *info);
        }
    }
    return processes;
}

// How many generations Pid is below Ancestor: 0 for itself, -1 when it does not descend from it.
int DepthBelow(pid_t Ancestor, pid_t Pid, const std::map<pid_t, ProcessInfo>& Processes)
{
    int depth = 0;
    // The table is no snapshot, so a chain could close to a ring: no further than its size.
    while (Pid != Ancestor)
    {
        const auto process = Processes.find(Pid);
        if (process == Processes.end() || depth > static_cast<int>(Processes.size()))
        {
            return -1;
        }
        Pid = process->second.Parent;
        ++depth;
    }
    return depth;
}

// Its arguments, each with a zero byte behind it.
std::string CommandLineOf(pid_t Pid)
{
    return ReadWholeFile(ProcFolder(Pid) / "cmdline");
}

// True when the command line ends with the argument. The shell of the export holds the whole command
// in one argument, so it is not meant by this.
bool LastArgumentIs(const std::string& CommandLine, const std::string& Argument)
{
    const std::string ending = '\0' + Argument + '\0';
    return CommandLine.ends_with(ending);
}

// By system call: the C library's header for these can't be linked from C++ (glibc 2.36).
int OpenProcess(pid_t Pid)
{
    return static_cast<int>(::syscall(SYS_pidfd_open, Pid, 0));
}

void SendSignal(int Descriptor, int SignalNumber)
{
    ::syscall(SYS_pidfd_send_signal, Descriptor, SignalNumber, nullptr, 0);
}
} // namespace

// One process, held so that its number can't come to mean another one.
class EncoderProcess::Member
{
public:
    Member(pid_t NewNumber, std::uint64_t NewStartTicks)
        : Number(NewNumber)
        , StartTicks(NewStartTicks)
        , Descriptor(OpenProcess(NewNumber))
    {
        // Only now that the descriptor is open: the number may have changed hands since the look.
        bHeld = IsSame();
    }
    Member(Member&& Other) noexcept
        : Number(Other.Number)
        , StartTicks(Other.StartTicks)
        , bToAsk(Other.bToAsk)
        , bHeld(Other.bHeld)
        , Descriptor(std::exchange(Other.Descriptor, -1))
    {
    }
    Member& operator=(Member&&) = delete;
    ~Member()
    {
        if (Descriptor >= 0)
        {
            ::close(Descriptor);
        }
    }

    bool IsRunning() const
    {
        if (!bHeld || Descriptor < 0)
        {
            return bHeld && IsSame();
        }
        // The descriptor tells of the end of the last thread; the process table calls a process whose
        // first thread has ended dead already.
        pollfd ended = {Descriptor, POLLIN, 0};
        return ::poll(&ended, 1, 0) == 0;
    }

    void Signal(int SignalNumber) const
    {
        if (!bHeld)
        {
            return;
        }
        if (Descriptor >= 0)
        {
            SendSignal(Descriptor, SignalNumber);
        }
        else if (IsSame())
        {
            ::kill(Number, SignalNumber);
        }
    }

    bool WaitForEnd(std::chrono::steady_clock::time_point Deadline) const
    {
        while (IsRunning())
        {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(
                Deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
            {
                return false;
            }
            pollfd waiting = {Descriptor, POLLIN, 0};
            // A descriptor of -1 is passed over, and the poll is a pause.
            const auto pause = Descriptor >= 0 ? left : std::min(left, PollPeriod);
            ::poll(&waiting, 1, static_cast<int>(pause.count()));
        }
        return true;
    }

    pid_t Number;
    std::uint64_t StartTicks;
    bool bToAsk = false; ///< the encoder or a child of it, not a script around it

private:
    bool IsSame() const
    {
        const std::optional<ProcessInfo> info = ReadProcess(Number);
        return info.has_value() && info->StartTicks == StartTicks;
    }

    bool bHeld = false;
    int Descriptor; ///< -1 when the kernel has none to give
};

std::optional<EncoderProcess> EncoderProcess::Find(const std::string& OutputPath)
{
    EncoderProcess found(OutputPath);
    found.Collect();
    if (!found.IsRunning())
    {
        return std::nullopt;
    }
    return found;
}

EncoderProcess::EncoderProcess(std::string NewOutputPath)
    : OutputPath(std::move(NewOutputPath))
{
}

EncoderProcess::EncoderProcess(EncoderProcess&&) noexcept = default;
EncoderProcess& EncoderProcess::operator=(EncoderProcess&&) noexcept = default;
EncoderProcess::~EncoderProcess() = default;

// Adds what is there and not among the members yet; false when that is nothing.
bool EncoderProcess::Collect()
{
    const std::map<pid_t, ProcessInfo> processes = ReadProcesses();
    const std::size_t earlierCount = Members.size();
    const auto add = [&](pid_t Pid, const ProcessInfo& Info)
    {
        const bool bKnown =
            std::any_of(Members.begin(), Members.end(),
                        [&](const Member& Each)
                        { return Each.Number == Pid && Each.StartTicks == Info.StartTicks; });
        if (!bKnown)
        {
            Members.emplace_back(Pid, Info.StartTicks);
        }
    };

    // The deepest match is the encoder, a match above it is a script that runs it. One with its parent's
    // very command line is no program of its own, but a part of a script, or yet to become one.
    int encoderDepth = 0;
    std::vector<pid_t> matches;
    for (const auto& [pid, info] : processes)
    {
        const int depth = DepthBelow(::getpid(), pid, processes);
        const std::string commandLine = depth > 0 ? CommandLineOf(pid) : std::string();
        if (!LastArgumentIs(commandLine, OutputPath))
        {
            continue;
        }
        add(pid, info);
        matches.push_back(pid);
        if (depth > encoderDepth && commandLine != CommandLineOf(info.Parent))
        {
            encoderDepth = depth;
            EncoderPid = pid;
        }
    }
    for (const auto& [pid, info] : processes)
    {
        const pid_t child = pid;
        if (std::any_of(matches.begin(), matches.end(),
                        [&](pid_t Match) { return DepthBelow(Match, child, processes) > 0; }))
        {
            add(pid, info);
        }
    }
    for (Member& member : Members)
    {
        member.bToAsk = DepthBelow(EncoderPid, member.Number, processes) >= 0;
    }
    return Members.size() > earlierCount;
}

pid_t EncoderProcess::Pid() const
{
    return EncoderPid;
}

bool EncoderProcess::IsRunning() const
{
    return std::any_of(Members.begin(), Members.end(),
                       [](const Member& Each) { return Each.IsRunning(); });
}

// Stops all of it, so that nothing starts a further process while the signals go out.
void EncoderProcess::Freeze()
{
    do
    {
        for (const Member& member : Members)
        {
            member.Signal(SIGSTOP);
        }
    } while (Collect());
}

void EncoderProcess::AskToEnd()
{
    if (std::exchange(bAsked, true))
    {
        return;
    }
    Freeze();
    for (const Member& member : Members)
    {
        if (member.bToAsk)
        {
            member.Signal(SIGTERM);
        }
    }
    for (const Member& member : Members)
    {
        member.Signal(SIGCONT);
    }
}

void EncoderProcess::Kill()
{
    Freeze();
    for (const Member& member : Members)
    {
        member.Signal(SIGKILL);
    }
}

bool EncoderProcess::WaitForEnd(std::chrono::milliseconds Timeout) const
{
    const auto deadline = std::chrono::steady_clock::now() + Timeout;
    return std::all_of(Members.begin(), Members.end(),
                       [&](const Member& Each) { return Each.WaitForEnd(deadline); });
}

EncoderEnd EndEncoder(const std::string& OutputPath, std::chrono::milliseconds Grace)
{
    std::optional<EncoderProcess> encoder = EncoderProcess::Find(OutputPath);
    if (!encoder)
    {
        return EncoderEnd::NotRunning;
    }
    encoder->AskToEnd();
    if (encoder->WaitForEnd(Grace))
    {
        return EncoderEnd::InOrder;
    }
    encoder->Kill();
    encoder->WaitForEnd(KillTime);
    return EncoderEnd::Killed;
}
