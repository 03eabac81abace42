// The program where the disk is full, where two run at once, and where the one that started it, or the
// end of the machine, is not kind.

#include "cliprogram.h"
#include "fakes/tinydisk.h"

#include <csignal>
#include <memory>

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

    /// Shell words of a fake that go on once two of it run.
    std::string WhenTwoRun() const
    {
        const std::string here = FakeFolder.native();
        return ": > " + here + "/started.$$; until [ $(ls " + here +
               " | grep -c started) -ge 2 ]; do /bin/sleep 0.01; done; ";
    }
};

constexpr int NotPossible = 99; ///< exit code of a child that could not be made ready
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

TEST_F(ProgramFault, FileThatLacksItsEndIsNoExportThoughFfmpegEndsWell)
{
    const fs::path whole = Work / "whole.mkv";
    MakeMedia("-i " + SampleVideo() + " -c copy", whole);
    UseFake("head -c 5000 " + whole.native() + " > \"$out\"");
    const ProgramRun::End end = Export({"--clip", "a=0-1"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "movane: --clip \"a=0-1\": " + (Clips / "clip_00000_a.mkv").native() +
                           " is cut short: make room on its disk and export again.\n");
    EXPECT_EQ(fs::file_size(Clips / "clip_00000_a.mkv"), 5000U); // what there is may be of use
    UseFake("cp " + whole.native() + " \"$out\"");
    EXPECT_EQ(Export({"--clip", "a=0-1"}).ExitCode, 0);
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
