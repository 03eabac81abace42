#include "export/encoderrun.h"

#include "base/oneline.h"
#include "base/openfile.h"
#include "export/applicationlink.h"
#include "export/encoderarguments.h"
#include "export/encoderprogress.h"
#include "export/exportsentences.h"
#include "export/ffmpegchild.h"
#include "export/judgement.h"
#include "export/leftovers.h"
#include "export/reservedname.h"
#include "export/sourcefile.h"
#include "export/tsclock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr std::chrono::milliseconds ProgressPeriod(250);
constexpr std::size_t MaxErrorLineBytes = 4096;

// Blocks the stop signals and returns a descriptor for them. A signal that the caller ignored stays ignored.
UniqueFd TakeStopSignals()
{
    sigset_t stops;
    sigemptyset(&stops);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
    {
        struct sigaction earlier = {};
        if (sigaction(number, nullptr, &earlier) == 0 && earlier.sa_handler != SIG_IGN)
        {
            sigaddset(&stops, number);
        }
    }
    sigprocmask(SIG_BLOCK, &stops, nullptr);
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ,
                SIG_IGN);          // a limit on file sizes becomes an error of the write
    std::signal(SIGCHLD, SIG_DFL); // if it were ignored, ffmpeg's exit status would be lost
    // NOLINTEND(concurrency-mt-unsafe)
    return UniqueFd(signalfd(-1, &stops, SFD_CLOEXEC | SFD_NONBLOCK));
}

// Reads all that a pipe holds now.
std::string ReadAll(int Fd)
{
    std::string text;
    std::array<char, 4096> piece{};
    for (ssize_t size = 0; (size = read(Fd, piece.data(), piece.size())) > 0;)
    {
        text.append(piece.data(), static_cast<std::size_t>(size));
    }
    return text;
}

std::string FirstBytes(const std::string& Path)
{
    std::array<char, FirstBytesWanted> bytes{};
    const UniqueFd file(open(Path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const ssize_t size = file.IsOpen() ? read(file.Get(), bytes.data(), bytes.size()) : 0;
    return {bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

// Whether the disk of an open file is full.
bool HasNoRoom(int Fd)
{
    struct statvfs disk = {};
    return fstatvfs(Fd, &disk) == 0 && disk.f_bavail == 0;
}

// ffmpeg puts "[h264 @ 0x5629a84a0600] " before what a part of it says. It means nothing to a user.
std::string WithoutLogContext(std::string Line)
{
    const std::size_t end = Line.find("] ");
    const std::size_t address = Line.find(" @ 0x");
    return Line.starts_with('[') && address < end && end != std::string::npos
               ? WithoutLogContext(Line.substr(end + 2))
               : Line;
}

class EncoderRun
{
public:
    EncoderRun(const PanelCommand& NewCommand,
               const std::string& NewFfmpegPath,
               const std::string& SocketPath)
        : Command(NewCommand)
        , FfmpegPath(NewFfmpegPath)
        , StopSignals(TakeStopSignals())
        , Link(SocketPath, Command.OutputPath)
    {
    }

    int Run();

private:
    int Fail(const std::string& Sentence);
    bool StartChild(const EncoderPlan& Plan);
    std::optional<EncoderPlan> GuessPlan() const;
    EncoderPlan MakePlan();
    bool Follow();
    bool ReadsStop();
    void TakeErrors();
    std::string FailureSentence(int Status);
    std::string ChildFailure(int Status) const;

    const PanelCommand& Command;
    const std::string& FfmpegPath;
    UniqueFd StopSignals;
    ApplicationLink Link;
    std::unique_ptr<ReservedName> Name; // outlives the child that writes to it
    std::unique_ptr<SourceFile> Source;
    std::optional<EncoderPlan> ChildPlan;
    std::unique_ptr<FfmpegChild> Child;
    std::optional<ExportMessage> Told; // how far it is
    std::string Errors;                // ffmpeg's output from its first non-blank line on, cut
    std::string LastErrors;
    bool bFullDisk = false; // any line of ffmpeg said so
    bool bStopped = false;
};

int EncoderRun::Fail(const std::string& Sentence)
{
    Child.reset();
    Name.reset();
    const std::string line = OneLine(Sentence);
    std::fprintf(stderr, "%s\n", line.c_str());
    Link.Send({ExportMessageType::Failed, line});
    return 1;
}

int EncoderRun::Run()
{
    if (!Link.IsApplicationAlive())
    {
        return Fail("stopped.");
    }
    RemoveAbandonedExports(std::filesystem::path(Command.OutputPath).parent_path());
    // Check before anything opens it: opening a pipe would block.
    std::string sentence = ReasonNotToOpen(Command.SourcePath, FileNameOf(Command.SourcePath));
    if (!sentence.empty())
    {
        return Fail(sentence);
    }
    bool bTaken = false;
    Name = ReservedName::Take(Command.OutputPath, bTaken, sentence);
    if (bTaken)
    {
        std::fprintf(stderr, "%s\n", OneLine(sentence).c_str());
        Link.Send({ExportMessageType::Taken});
        return 1;
    }
    if (Name == nullptr)
    {
        return Fail(sentence);
    }
    // ffmpeg and, here, libavformat both load slowly: start ffmpeg first, so that they load at the same time.
    if (const std::optional<EncoderPlan> guess = GuessPlan();
        guess.has_value() && !StartChild(*guess))
    {
        return Fail(ChildFailure(0));
    }
    Source = SourceFile::Open(Command.SourcePath, sentence, [this] { return ReadsStop(); });
    if (Source == nullptr)
    {
        return Fail(bStopped ? "stopped." : sentence);
    }
    const EncoderPlan plan = MakePlan();
    if (bStopped)
    {
        return Fail("stopped.");
    }
    if (ChildPlan != plan)
    {
        Child.reset();
        if (!StartChild(plan))
        {
            return Fail(ChildFailure(0));
        }
    }
    if (!Follow())
    {
        return Fail("stopped.");
    }
    int status = Child->Wait();
    // Tests can't prove every muxer's files. If the cut lacks sound, use the plain command.
    if (status == 0 && plan.Where.MarginMs.has_value() &&
        LacksSound(ReadClip(Name->PartFd()), Command, *Source))
    {
        Child.reset();
        if (!StartChild({{}, plan.bPad, plan.bOwnTimes}))
        {
            return Fail(ChildFailure(0));
        }
        if (!Follow())
        {
            return Fail("stopped.");
        }
        status = Child->Wait();
    }
    Link.Send({ExportMessageType::Progress, {}, ExportPhase::Finish, 1.0});
    const std::string failure = FailureSentence(status);
    if (bStopped || !failure.empty())
    {
        return Fail(bStopped ? "stopped." : failure);
    }
    // Again: at the start, the ffmpeg of a front killed just before may still have held its lock.
    RemoveAbandonedExports(std::filesystem::path(Command.OutputPath).parent_path());
    if (!Name->Publish(sentence))
    {
        return Fail(sentence);
    }
    Link.Send({ExportMessageType::Judged});
    return 0;
}

bool EncoderRun::StartChild(const EncoderPlan& Plan)
{
    const int partFd = Name->PartFd();
    ChildPlan = Plan;
    Errors.clear();
    LastErrors.clear();
    bFullDisk = false;
    Child = FfmpegChild::Start(
        FfmpegPath,
        [&](int ProgressFd) { return EncoderArguments(Command, Plan, partFd, ProgressFd); },
        partFd);
    return Child != nullptr;
}

// The likely plan, by the source's first bytes.
std::optional<EncoderPlan> EncoderRun::GuessPlan() const
{
    const std::optional<SeekTrust> trust = TrustInFirstBytes(FirstBytes(Command.SourcePath));
    const auto likely = [](std::int64_t) { return true; };
    return trust.has_value() ? std::optional(EncoderPlan{ChooseCut(*trust, Command.InMs, likely)})
                             : std::nullopt;
}

EncoderPlan EncoderRun::MakePlan()
{
    const SourceFacts& facts = Source->Facts();
    const SeekTrust trust = TrustInFormat(facts.Format);
    std::optional<bool> steady;
    const auto holdsAll = [&](std::int64_t SeekMs)
    {
        if (trust == SeekTrust::ByKeyFrame && !steady.has_value())
        {
            steady = HasSteadyTsClock(Command.SourcePath);
        }
        if (steady == false)
        {
            return false;
        }
        const double seekSec = static_cast<double>(SeekMs) / 1000.0;
        const double inSec = static_cast<double>(Command.InMs) / 1000.0;
        return Source->HoldsAll(seekSec, trust == SeekTrust::ByKeyFrame ? inSec : seekSec, inSec);
    };
    const bool bOdd = (facts.WidthPx | facts.HeightPx) % 2 != 0;
    const bool bOwnTimes =
        Source->HasCrowdedPictures(static_cast<double>(Command.InMs) / 1000.0,
                                   static_cast<double>(Command.InMs + Command.LengthMs) / 1000.0);
    return {ChooseCut(trust, Command.InMs, holdsAll), bOdd, bOwnTimes};
}

// Waits until ffmpeg has ended; false when a stop came first.
bool EncoderRun::Follow()
{
    EncoderProgress progress(Command, *ChildPlan, Source->Facts().DeclaredSec, Told);
    auto lastSentAt = std::chrono::steady_clock::now() - ProgressPeriod;
    std::array<pollfd, 5> watched = {{{StopSignals.Get(), POLLIN, 0},
                                      {Link.Fd(), POLLIN, 0},
                                      {Child->ProgressFd(), POLLIN, 0},
                                      {Child->ErrorFd(), POLLIN, 0},
                                      {Child->EndFd(), POLLIN, 0}}};
    while (true)
    {
        poll(watched.data(), watched.size(), static_cast<int>(ProgressPeriod.count()));
        if (ReadsStop())
        {
            return false;
        }
        const bool bEnded =
            Child->HasEnded(); // before the reads below, so that they get its last output
        TakeErrors();
        progress.Take(ReadAll(Child->ProgressFd()));
        if (bEnded)
        {
            return true;
        }
        for (pollfd& pipe : {std::ref(watched[2]), std::ref(watched[3])})
        {
            // Stop polling a pipe that ffmpeg closed while it runs: it would always be ready.
            pipe.fd = (pipe.revents & POLLHUP) != 0 ? -1 : pipe.fd;
        }
        const auto now = std::chrono::steady_clock::now();
        if (now - lastSentAt >= ProgressPeriod)
        {
            if (progress.IsSeeking())
            {
                progress.TakeReadPart(ReadPartOf(Command.SourcePath, Child->Pid()).value_or(0.0));
            }
            Told = progress.Message();
            Link.Send(*Told);
            lastSentAt = now;
        }
    }
}

bool EncoderRun::ReadsStop()
{
    signalfd_siginfo signal = {};
    bStopped = bStopped || read(StopSignals.Get(), &signal, sizeof(signal)) == sizeof(signal) ||
               Link.ReadsStop();
    return bStopped;
}

void EncoderRun::TakeErrors()
{
    const std::string words = ReadAll(Child->ErrorFd());
    LastErrors += words;
    bFullDisk = bFullDisk || SpeaksOfFullDisk(LastErrors);
    LastErrors.erase(0, LastErrors.size() - std::min(LastErrors.size(), MaxErrorLineBytes));
    Errors += words;
    Errors.erase(0, Errors.find_first_not_of(" \t\r\n"));
    Errors.resize(std::min(Errors.size(), MaxErrorLineBytes));
}

// Why the file is not complete; empty when it is.
std::string EncoderRun::FailureSentence(int Status)
{
    const std::string line = WithoutLogContext(Errors.substr(0, Errors.find_first_of("\r\n")));
    if (Status != 0)
    {
        return bFullDisk ? DiskIsFull(Command.OutputPath)
                         : WhyNoPicture(Command, *Source)
                               .value_or(line.empty() ? ChildFailure(Status) : line);
    }
    const std::optional<ClipFacts> clip = ReadClip(Name->PartFd());
    if (!clip.has_value() && (bFullDisk || HasNoRoom(Name->PartFd())))
    {
        return DiskIsFull(Command.OutputPath);
    }
    return JudgeClip(clip, Command, *Source).value_or("");
}

std::string EncoderRun::ChildFailure(int Status) const
{
    if (Status == 0)
    {
        return FfmpegPath + " can't be started: " + std::generic_category().message(errno) + '.';
    }
    return WIFSIGNALED(Status)
               ? "ffmpeg was ended by signal " + std::to_string(WTERMSIG(Status)) +
                     ": export again."
               : "ffmpeg ended with exit code " + std::to_string(WEXITSTATUS(Status)) +
                     " and no message: export again.";
}
} // namespace

int RunEncoder(const PanelCommand& Command,
               const std::string& FfmpegPath,
               const std::string& SocketPath)
{
    return EncoderRun(Command, FfmpegPath, SocketPath).Run();
}
