// The program where the disk is full, where two run at once, and where the one that started it, or the
// end of the machine, is not kind.

#include "support/cliprogram.h"
#include "support/ordinaryuser.h"
#include "support/tinydisk.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <functional>
#include <memory>
#include <set>

#include <poll.h>
#include <sys/resource.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace
{
class ProgramFault : public CliProgram
{
protected:
    /// One of several programs that run at once; each tells its ffmpeg its own name in FAKE_SAYS.
    std::unique_ptr<ProgramRun> Start(const std::string& Name)
    {
        ProgramRun::Setup setup = Setup;
        setup.Arguments = {"export", SampleVideo(), "--clip", "a=0-1"};
        setup.Environment["FAKE_SAYS"] = Name;
        setup.OutputFolder = Folder.Path() / ("output of " + Name);
        fs::create_directory(setup.OutputFolder);
        return std::make_unique<ProgramRun>(setup);
    }

    /// Exports the clips a, b and c, with something broken from a's encoder on and mended when the program
    /// tells what is wrong with b; all that it tells is in Err.
    ProgramRun::End ExportThree(const std::string& Source,
                                const std::function<void(pid_t)>& Break,
                                const std::function<void(pid_t)>& Mend)
    {
        const fs::path begun = FakeFolder / "begun";
        const fs::path broken = FakeFolder / "broken";
        UseFake(": > \"$out\"; case $out in *_a.mkv) : > " + begun.native() + "; until [ -e " +
                broken.native() + " ]; do /bin/sleep 0.01; done ;; esac");
        // What there is to tell of b is more than the pipe takes, so c does not begin before it is read.
        const std::string b = "--clip=" + std::string(100'000, 'b') + "=1-2";
        std::array<int, 2> errors = {-1, -1};
        EXPECT_EQ(pipe2(errors.data(), O_CLOEXEC), 0);
        Setup.BeforeStart = [errors, earlier = Setup.BeforeStart]
        {
            earlier();
            dup2(errors[1], STDERR_FILENO);
        };
        Setup.Arguments = {"export", Source, "--clip", "a=0-1", b, "--clip", "c=2-3"};
        ProgramRun run(Setup);
        close(errors[1]);
        EXPECT_TRUE(WaitFor([&] { return fs::exists(begun) || run.HasEnded(); }));
        Break(run.Pid());
        WriteFile(broken, "");
        pollfd told = {errors[0], POLLIN, 0};
        if (poll(&told, 1, 30'000) != 1)
        {
            ADD_FAILURE() << "the program tells nothing";
            run.SignalGroup(SIGKILL);
        }
        Mend(run.Pid());
        std::string text;
        std::array<char, 65536> piece = {};
        for (ssize_t size = 0; (size = read(errors[0], piece.data(), piece.size())) > 0;)
        {
            text.append(piece.data(), static_cast<std::size_t>(size));
        }
        close(errors[0]);
        ProgramRun::End end = run.Finish();
        end.Err = text;
        ExpectNothingLeft();
        return end;
    }

    /// For BeforeStart: limits count.
    void BecomeOrdinaryProgram() const
    {
        if (!BecomeOrdinaryUser(Folder.Path()) || access(MOVANE_PROGRAM, X_OK) != 0)
        {
            _exit(NotPossible);
        }
    }

    /// For BeforeStart, behind that: no more than Count further processes and threads can be made.
    static void AllowFurtherProcesses(rlim_t Count)
    {
        rlimit limit = {};
        getrlimit(RLIMIT_NPROC, &limit);
        for (limit.rlim_cur = 1; limit.rlim_cur < std::min<rlim_t>(limit.rlim_max, 10'000);
             ++limit.rlim_cur)
        {
            setrlimit(RLIMIT_NPROC, &limit);
            const pid_t child = fork();
            if (child == 0)
            {
                _exit(0);
            }
            if (child > 0)
            {
                waitpid(child, nullptr, 0);
                limit.rlim_cur += Count - 1; // this one is enough for one
                setrlimit(RLIMIT_NPROC, &limit);
                return;
            }
        }
        _exit(NotPossible);
    }

    static constexpr int NotPossible = 99; ///< exit code of a child that could not be made ready
    static constexpr const char* NeedsLimits =
        "the number of an ordinary user's processes can't be limited here";

    /// Shell words of a fake that go on once two of it run.
    std::string WhenTwoRun() const
    {
        const std::string here = FakeFolder.native();
        return ": > " + here + "/started.$$; until [ $(ls " + here +
               " | grep -c started) -ge 2 ]; do /bin/sleep 0.01; done; ";
    }
};

// The process of that name that Pid has started, at whatever remove; 0 when there is none.
pid_t DescendantCalled(const std::string& Name, pid_t Pid)
{
    std::error_code ec;
    for (const fs::directory_entry& thread :
         fs::directory_iterator("/proc/" + std::to_string(Pid) + "/task", ec))
    {
        std::ifstream children(thread.path() / "children");
        for (pid_t child = 0; children >> child;)
        {
            std::ifstream comm("/proc/" + std::to_string(child) + "/comm");
            std::string name;
            std::getline(comm, name);
            const pid_t found = name == Name ? child : DescendantCalled(Name, child);
            if (found != 0)
            {
                return found;
            }
        }
    }
    return 0;
}
} // namespace

// -- Full disks and the real ffmpeg

TEST_F(ProgramFault, FullDiskFailsEachClip)
{
    fs::create_directory(Recordings);
    for (const std::string size : {"16k", "64k", "96k", "128k"})
    {
        Setup.BeforeStart = [this, size]
        {
            const auto* const disk = new TinyDisk(Recordings, size); // as long as the program
            if (!disk->IsMounted())
            {
                _exit(NotPossible);
            }
        };
        const ProgramRun::End end = Export({"--clip", "a=0-3", "--clip", "b=1-4"});
        if (end.ExitCode == NotPossible)
        {
            GTEST_SKIP() << "a disk of its own can't be mounted here";
        }
        EXPECT_EQ(end.ExitCode, 1) << size;
        EXPECT_THAT(end.Err, HasSubstr("movane: --clip \"a=0-3\": ")) << size;
        EXPECT_THAT(end.Err, HasSubstr("movane: --clip \"b=1-4\": ")) << size;
    }
}

TEST_F(ProgramFault, FileThatMayNotGrowFailsThatClipAlone)
{
    // However far ffmpeg gets: there is a size at which it ends well with the end of the file missing.
    for (const rlim_t size : {20'000, 50'000, 80'000, 110'000})
    {
        Setup.BeforeStart = [size] { new FileSizeLimit(size); };
        const ProgramRun::End end = Export({"--clip", "long=0-4", "--clip", "short=0-0.08"});
        EXPECT_EQ(end.ExitCode, 1) << size;
        EXPECT_THAT(end.Err, HasSubstr("movane: --clip \"long=0-4\": ")) << size;
        EXPECT_THAT(end.Err, Not(HasSubstr("short="))) << size;
        EXPECT_THAT(end.Out, EndsWith("_short.mkv\n")) << size;
    }
}

// -- Whoever starts the program

TEST_F(ProgramFault, CallerThatIgnoresItsChildrenChangesNothing)
{
    UseFake();
    Setup.BeforeStart = [] { std::signal(SIGCHLD, SIG_IGN); };
    const ProgramRun::End end = Export({"--clip", "a=0-1"});
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv"));
}

// -- No process and no thread left

TEST_F(ProgramFault, NoProcessNorThreadLeftIsToldInASentenceHoweverManyThereAre)
{
    UseFake();
    fs::copy_file(SampleVideo(), Work / "a.mp4");
    Setup.Environment["ASAN_OPTIONS"] += ":detect_leaks=0"; // it takes a process of its own
    rlim_t count = 0;
    Setup.BeforeStart = [&]
    {
        BecomeOrdinaryProgram();
        AllowFurtherProcesses(count);
    };
    const auto run = [this] { return Run({"export", "a.mp4", "--clip", "a=0-1"}); };
    constexpr rlim_t Enough = 50;
    for (ProgramRun::End end = run(); end.ExitCode != 0; end = run())
    {
        if (end.ExitCode == NotPossible)
        {
            GTEST_SKIP() << NeedsLimits;
        }
        EXPECT_THAT(end.ExitCode, testing::AnyOf(1, 2)) << count << ", signal " << end.Signal;
        EXPECT_THAT(LinesOf(end.Err), ElementsAre(testing::StartsWith("movane: "))) << count;
        ASSERT_LT(++count, Enough);
    }
    EXPECT_GT(count, 0U);
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv"));
}

TEST_F(ProgramFault, NoThreadLeftForAWindowIsToldInASentence)
{
    Setup.Environment["ASAN_OPTIONS"] += ":detect_leaks=0"; // it takes a process of its own
    Setup.Environment["QT_QPA_PLATFORM"] = "offscreen";
    for (rlim_t count = 0; count < 8; ++count)
    {
        Setup.BeforeStart = [&]
        {
            BecomeOrdinaryProgram();
            AllowFurtherProcesses(count);
        };
        const ProgramRun::End end = Run({});
        if (end.ExitCode == NotPossible)
        {
            GTEST_SKIP() << NeedsLimits;
        }
        EXPECT_EQ(end.ExitCode, 1) << count << ", signal " << end.Signal;
        EXPECT_THAT(LinesOf(end.Err), ElementsAre(testing::StartsWith("movane: "))) << count;
    }
}

TEST_F(ProgramFault, NoProcessLeftForTheShellFailsThatClipAlone)
{
    fs::copy_file(SampleVideo(), Work / "a.mp4");
    Setup.BeforeStart = [this] { BecomeOrdinaryProgram(); };
    const auto limit = [this](pid_t Pid, bool bNone)
    {
        // By the program's user, for root may not everywhere.
        const auto work = [Pid, bNone]
        {
            rlimit processes = {};
            prlimit(Pid, RLIMIT_NPROC, nullptr, &processes);
            processes.rlim_cur = bNone ? 0 : processes.rlim_max;
            return prlimit(Pid, RLIMIT_NPROC, &processes, nullptr) == 0 ? "set " : "not set ";
        };
        return TextFromOrdinaryUser(Folder.Path(), work);
    };
    std::string told;
    const ProgramRun::End end = ExportThree(
        "a.mp4", [&](pid_t Pid) { told += limit(Pid, true); },
        [&](pid_t Pid) { told += limit(Pid, false); });
    if (end.ExitCode == NotPossible)
    {
        GTEST_SKIP() << NeedsLimits;
    }
    EXPECT_EQ(told, "set set ");
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_THAT(LinesOf(end.Err), ElementsAre(EndsWith("=1-2\": Clip export failed.")));
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv", "clip_00000_c.mkv"));
}

// -- Sources

TEST_F(ProgramFault, SourceInAFolderThatMayNotBeSearchedFailsThatClipAlone)
{
    const fs::path secret = Work / "secret";
    fs::create_directory(secret);
    fs::copy_file(SampleVideo(), secret / "a.mp4");
    Setup.BeforeStart = GiveUpRootsAccess;
    const ProgramRun::End end = ExportThree(
        "secret/a.mp4", [&secret](pid_t) { fs::permissions(secret, fs::perms::none); },
        [&secret](pid_t) { fs::permissions(secret, fs::perms::owner_all); });
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_THAT(LinesOf(end.Err), ElementsAre(EndsWith("=1-2\": " + (secret / "a.mp4").native() +
                                                       " can't be found: Permission denied.")));
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv", "clip_00000_c.mkv"));
}

// -- Two programs at once

TEST_F(ProgramFault, TwoWithOneNameAtOnceBothEndAndOneFileStays)
{
    UseFake(WhenTwoRun() + "printf \"$FAKE_SAYS\" > \"$out\"");
    const auto one = Start("one");
    const auto two = Start("two");
    for (const auto& run : {one.get(), two.get()})
    {
        const ProgramRun::End end = run->Finish();
        EXPECT_EQ(end.ExitCode, 0) << end.Err;
        EXPECT_THAT(end.Out, EndsWith((Clips / "clip_00000_a.mkv").native() + "\n"));
    }
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv"));
    EXPECT_THAT(ReadFile(Clips / "clip_00000_a.mkv"), testing::AnyOf("one", "two"));
    ExpectNothingLeft();
}

TEST_F(ProgramFault, FourWithOneNameAtOnceMakeFourWholeFiles)
{
    std::vector<std::unique_ptr<ProgramRun>> runs;
    for (const char* const name : {"one", "two", "three", "four"})
    {
        Setup.OutputFolder = Folder.Path() / name;
        fs::create_directory(Setup.OutputFolder);
        Setup.Arguments = {"export", SampleVideo(), "--clip", "a=0-1"};
        runs.push_back(std::make_unique<ProgramRun>(Setup));
    }
    std::set<std::string> files;
    for (const auto& run : runs)
    {
        const ProgramRun::End end = run->Finish();
        EXPECT_EQ(end.ExitCode, 0) << end.Err;
        files.insert(LinesOf(end.Out).back());
    }
    EXPECT_EQ(files.size(), 4U);
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv", "clip_00001_a.mkv",
                                            "clip_00002_a.mkv", "clip_00003_a.mkv"));
    for (const std::string& file : files)
    {
        EXPECT_EQ(fs::file_size(file), fs::file_size(*files.begin())) << file;
    }
    ExpectNothingLeft();
}

TEST_F(ProgramFault, TwoThatFailAtOnceTellTheirOwnWords)
{
    UseFake(WhenTwoRun() + "echo \"$FAKE_SAYS\" >&2; exit 1");
    const auto one = Start("one");
    const auto two = Start("two");
    EXPECT_EQ(one->Finish().Err, "movane: --clip \"a=0-1\": Clip export failed: one\n");
    EXPECT_EQ(two->Finish().Err, "movane: --clip \"a=0-1\": Clip export failed: two\n");
    ExpectNothingLeft();
}

// -- The end of the machine

TEST_F(ProgramFault, KilledWithItsFfmpegLeavesNothingInTheNextOnesWay)
{
    const fs::path started = FakeFolder / "started";
    UseFake("printf part > \"$out\"; : > " + started.native() +
            "; while :; do /bin/sleep 0.02; done");
    const auto run = Start("killed");
    ASSERT_TRUE(WaitFor([&] { return fs::exists(started); }));
    run->SignalGroup(SIGKILL);
    EXPECT_EQ(run->Finish().ExitCode, -1);
    EXPECT_THAT(NamesIn(RuntimeBase), Not(IsEmpty()));
    EXPECT_TRUE(WaitFor([] { return ProgramRun::LeftChildren().empty(); }));

    UseFake();
    EXPECT_EQ(Export({"--clip", "a=0-1"}).ExitCode, 0); // nothing is left in the runtime folder
    EXPECT_EQ(ReadFile(Clips / "clip_00000_a.mkv"), "part"); // the first file is nobody's to remove
    EXPECT_TRUE(fs::exists(Clips / "clip_00001_a.mkv"));
}

TEST_F(ProgramFault, KilledFrontFailsThatClipAndLeavesNoFile)
{
    const fs::path source = Folder.Path() / "long.mp4";
    MakeMedia("-f lavfi -i testsrc2=size=1280x720:rate=25:duration=40 -c:v libx264 "
              "-preset ultrafast -pix_fmt yuv420p",
              source);
    Setup.Arguments = {"export", source, "--clip", "a=0-", "--clip", "b=0-0.2"};
    ProgramRun run(Setup);
    const fs::path part = Clips / "clip_00000_a.mkv.part";
    std::error_code ec;
    ASSERT_TRUE(WaitFor([&] { return fs::exists(part) && fs::file_size(part, ec) > 0; }));
    const pid_t front = DescendantCalled("movane-encoder", run.Pid());
    ASSERT_GT(front, 0);
    kill(front, SIGKILL);
    const ProgramRun::End end = run.Finish();
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_THAT(end.Err, HasSubstr("Clip export failed"));
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_b.mkv"));
    ExpectNothingLeft();
}
