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
constexpr std::chrono::milliseconds ReportEvery(250);
constexpr std::size_t MaxErrorLineBytes = 4096;

// The signals that mean a stop, kept for a descriptor. One that the caller ignored stays ignored.
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
    std::signal(SIGCHLD, SIG_DFL); // ignored, it would take away how ffmpeg ended
    // NOLINTEND(concurrency-mt-unsafe)
    return UniqueFd(signalfd(-1, &stops, SFD_CLOEXEC | SFD_NONBLOCK));
}

// Everything that waits in a pipe.
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

// Whether nothing more can be written to the disk of an open file.
bool HasNoRoom(int Fd)
{
    struct statvfs disk = {};
    return fstatvfs(Fd, &disk) == 0 && disk.f_bavail == 0;
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
    std::string Errors; // the first line that says something, and what follows in one piece
    std::string LastErrors;
    bool bFullDisk = false; // ffmpeg has spoken of it, in whichever line
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
    // Before anything opens it: a pipe would be waited for.
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
    // ffmpeg takes its time to load, and so does libavformat here: both at once.
    if (const std::optional<EncoderPlan> guess = GuessPlan();
        guess.has_value() && !StartChild(*guess))
    {
        return Fail(ChildFailure(0));
    }
    Source = SourceFile::Open(Command.SourcePath, sentence);
    if (Source == nullptr)
    {
        return Fail(sentence);
    }
    const EncoderPlan plan = MakePlan();
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
    // No proof covers every muxer, and what a cut has lost can still be had.
    if (status == 0 && plan.Where.MarginMs.has_value() &&
        LacksSound(ReadClip(Name->PartFd()), Command, *Source))
    {
        Child.reset();
        if (!StartChild({{}, plan.bPad}))
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
    if (const std::string failure = FailureSentence(status); !failure.empty())
    {
        return Fail(failure);
    }
    // Once more: the ffmpeg of a front that was just killed may have been dying when this one began.
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

// What the plan will be, as a rule, from the source's first bytes.
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
    const auto hasKeyFrame = [&](std::int64_t SeekMs)
    {
        if (trust == SeekTrust::ByKeyFrame && !steady.has_value())
        {
            steady = HasSteadyTsClock(Command.SourcePath);
        }
        if (steady == false)
        {
            return false;
        }
        if (!facts.VideoStream.has_value())
        {
            return trust == SeekTrust::Exact;
        }
        const std::int64_t latestMs = trust == SeekTrust::ByKeyFrame ? Command.InMs : SeekMs;
        const std::optional<double> keySec =
            Source->FirstKeyFrameSec(static_cast<double>(SeekMs) / 1000.0);
        return keySec.has_value() && *keySec <= static_cast<double>(latestMs) / 1000.0;
    };
    const bool bOdd = (facts.WidthPx | facts.HeightPx) % 2 != 0;
    const bool bOwnTimes =
        Source->HasCrowdedPictures(static_cast<double>(Command.InMs) / 1000.0,
                                   static_cast<double>(Command.InMs + Command.LengthMs) / 1000.0);
    return {ChooseCut(trust, Command.InMs, hasKeyFrame), bOdd, bOwnTimes};
}

// Until ffmpeg has ended; false where a stop came first.
bool EncoderRun::Follow()
{
    EncoderProgress progress(Command, *ChildPlan, Source->Facts().DeclaredSec, Told);
    auto reported = std::chrono::steady_clock::now() - ReportEvery;
    std::array<pollfd, 5> watched = {{{StopSignals.Get(), POLLIN, 0},
                                      {Link.Fd(), POLLIN, 0},
                                      {Child->ProgressFd(), POLLIN, 0},
                                      {Child->ErrorFd(), POLLIN, 0},
                                      {Child->EndFd(), POLLIN, 0}}};
    while (true)
    {
        poll(watched.data(), watched.size(), static_cast<int>(ReportEvery.count()));
        if (ReadsStop())
        {
            return false;
        }
        const bool bEnded = Child->HasEnded(); // asked first, so that its last words are read
        TakeErrors();
        progress.Take(ReadAll(Child->ProgressFd()));
        if (bEnded)
        {
            return true;
        }
        for (pollfd& pipe : {std::ref(watched[2]), std::ref(watched[3])})
        {
            // Closed by ffmpeg, which still runs: it would be ready for ever.
            pipe.fd = (pipe.revents & POLLHUP) != 0 ? -1 : pipe.fd;
        }
        const auto now = std::chrono::steady_clock::now();
        if (now - reported >= ReportEvery)
        {
            if (progress.IsSeeking())
            {
                progress.TakeReadPart(ReadPartOf(Command.SourcePath, Child->Pid()).value_or(0.0));
            }
            Told = progress.Message();
            Link.Send(*Told);
            reported = now;
        }
    }
}

bool EncoderRun::ReadsStop()
{
    signalfd_siginfo signal = {};
    return read(StopSignals.Get(), &signal, sizeof(signal)) == sizeof(signal) || Link.ReadsStop();
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

// Why there is no whole file; empty where there is one.
std::string EncoderRun::FailureSentence(int Status)
{
    const std::string line = Errors.substr(0, Errors.find_first_of("\r\n"));
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
    return WIFSIGNALED(Status) ? "ffmpeg was ended by signal " + std::to_string(WTERMSIG(Status)) +
                                     ": export again."
                               : "ffmpeg ended with exit code " +
                                     std::to_string(WEXITSTATUS(Status)) + " and did not say why.";
}
} // namespace

int RunEncoder(const PanelCommand& Command,
               const std::string& FfmpegPath,
               const std::string& SocketPath)
{
    return EncoderRun(Command, FfmpegPath, SocketPath).Run();
}
