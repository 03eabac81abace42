#include "export/ffmpegchild.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
struct Pipe
{
    UniqueFd ReadEnd;
    UniqueFd WriteEnd;
};

bool MakePipe(Pipe& Out)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        return false;
    }
    Out = {UniqueFd(ends[0]), UniqueFd(ends[1])};
    return fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0;
}

std::vector<char*> Words(const std::string& Program, const std::vector<std::string>& Arguments)
{
    std::vector<char*> words = {const_cast<char*>(Program.c_str())};
    for (const std::string& argument : Arguments)
    {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    return words;
}

// Runs in the child between fork and exec: only system calls are allowed.
[[noreturn]] void
Become(char* const* pWords, pid_t Parent, int ErrorFd, int ProgressFd, int KeptFd, int ReportFd)
{
    // If the front died before the call above, no signal comes.
    const bool bAlone = prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != Parent;
    setpgid(0, 0);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGCHLD})
    {
        std::signal(number, SIG_DFL); // NOLINT(concurrency-mt-unsafe): there is one thread
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = open("/dev/null", O_RDONLY);
    if (!bAlone && nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0 &&
        dup2(ErrorFd, STDERR_FILENO) >= 0)
    {
        close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        fcntl(ProgressFd, F_SETFD, 0);
        fcntl(KeptFd, F_SETFD, 0);
        execvp(pWords[0], pWords); // execvp gives a script without an interpreter to the shell
    }
    const int error = errno;
    [[maybe_unused]] const ssize_t told = write(ReportFd, &error, sizeof(error));
    _exit(127);
}
} // namespace

std::unique_ptr<FfmpegChild>
FfmpegChild::Start(const std::string& Program,
                   const std::function<std::vector<std::string>(int ProgressFd)>& Arguments,
                   int KeptFd)
{
    Pipe progress;
    Pipe errors;
    Pipe startError; // exec closes it; a failure writes its errno to it
    if (!MakePipe(progress) || !MakePipe(errors) || !MakePipe(startError))
    {
        return nullptr;
    }
    const std::vector<std::string> arguments = Arguments(progress.WriteEnd.Get());
    const std::vector<char*> words = Words(Program, arguments);
    const pid_t parent = getpid();
    std::unique_ptr<FfmpegChild> child(new FfmpegChild);
    child->Child = fork();
    if (child->Child == 0)
    {
        Become(words.data(), parent, errors.WriteEnd.Get(), progress.WriteEnd.Get(), KeptFd,
               startError.WriteEnd.Get());
    }
    if (child->Child < 0)
    {
        return nullptr;
    }
    setpgid(child->Child, child->Child); // here and in the child, whichever comes first
    child->End = UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, child->Child, 0)));
    child->Progress = std::move(progress.ReadEnd);
    child->Errors = std::move(errors.ReadEnd);
    startError.WriteEnd.Close();
    fcntl(startError.ReadEnd.Get(), F_SETFL, 0);
    int error = 0;
    if (read(startError.ReadEnd.Get(), &error, sizeof(error)) == sizeof(error))
    {
        child.reset();
        errno = error;
        return nullptr;
    }
    return child;
}

FfmpegChild::~FfmpegChild()
{
    if (Child > 0)
    {
        kill(-Child, SIGKILL);
        Wait();
    }
}

bool FfmpegChild::HasEnded() const
{
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(Child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid == Child;
}

int FfmpegChild::Wait()
{
    while (Child > 0 && waitpid(Child, &Status, 0) < 0 && errno == EINTR)
    {
    }
    Child = -1;
    return Status;
}
