// The program in surroundings that differ: at a terminal, under another locale, without ffmpeg, and with a
// source whose pictures end early.

#include "support/cliprogram.h"

#include <algorithm>
#include <csignal>
#include <regex>

#include <poll.h>
#include <pty.h>
#include <sched.h>
#include <sys/mount.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{
class CliTerminal : public CliProgram
{
protected:
    CliTerminal()
    {
        termios raw = {};
        cfmakeraw(&raw);
        EXPECT_EQ(openpty(&Screen, &Line, nullptr, &raw, nullptr), 0);
        fcntl(Screen, F_SETFD, FD_CLOEXEC);
        fcntl(Line, F_SETFD, FD_CLOEXEC);
    }
    ~CliTerminal() override
    {
        close(Screen);
        close(Line);
    }

    /// Runs "export" on a source with standard error at the terminal, and returns what came there.
    std::string ExportAtTerminal(const std::string& Source, const std::string& Clip)
    {
        return RunAtTerminal({"export", Source, "--clip", Clip}, STDERR_FILENO);
    }

    /// Runs the program with one of its outputs at the terminal, and returns what came there.
    std::string RunAtTerminal(const std::vector<std::string>& Arguments, int Output)
    {
        Setup.Arguments = Arguments;
        Setup.BeforeStart = [this, Output] { dup2(Line, Output); };
        ProgramRun run(Setup);
        std::string written;
        EXPECT_TRUE(WaitFor(
            [&]
            {
                // Asked first, so that what it wrote last is there by then.
                const bool bEnded = run.HasEnded();
                ReadScreen(written);
                return bEnded;
            }));
        ExitCode = run.Finish().ExitCode;
        ExpectNothingLeft();
        return written;
    }

    /// The texts that stood in the line one after the other. What was before the first is left out.
    static std::vector<std::string> StatesOfLine(const std::string& Written)
    {
        const std::string eraseLine = "\r\033[K"; // ECMA-48, EL
        std::vector<std::string> states;
        for (std::size_t at = Written.find(eraseLine); at != std::string::npos;)
        {
            at += eraseLine.size();
            const std::size_t next = Written.find(eraseLine, at);
            states.push_back(Written.substr(at, next == std::string::npos ? next : next - at));
            at = next;
        }
        return states;
    }

    int ExitCode = -1;

private:
    void ReadScreen(std::string& Written) const
    {
        std::array<char, 4096> piece = {};
        for (pollfd waiting = {Screen, POLLIN, 0};
             poll(&waiting, 1, 0) == 1 && (waiting.revents & POLLIN) != 0;)
        {
            const ssize_t count = read(Screen, piece.data(), piece.size());
            Written.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
    }

    int Screen = -1;
    int Line = -1;
};

TEST_F(CliTerminal, ShowsTheProgressInOneLineAndTakesItAway)
{
    const fs::path source = Work / "long.mp4";
    MakeMedia("-stream_loop 30 -i " + SampleVideo() + " -c copy", source.native());
    const std::string written = ExportAtTerminal(source.native(), "a=0-");
    EXPECT_EQ(ExitCode, 0);
    ASSERT_THAT(written, StartsWith("\r\033[K"));
    const std::vector<std::string> states = StatesOfLine(written);
    const std::regex line(" +([0-9]+|-) %  [0-9]+:[0-9][0-9](, [0-9]+:[0-9][0-9] left)?");
    bool bPercent = false;
    for (const std::string& state : states)
    {
        EXPECT_TRUE(state.empty() || std::regex_match(state, line)) << state;
        bPercent = bPercent || std::regex_match(state, std::regex(" +[1-9][0-9]* %.*left"));
    }
    EXPECT_TRUE(bPercent) << testing::PrintToString(states);
    EXPECT_EQ(states.back(), "");
}

TEST_F(CliTerminal, HasALineOfItsOwnForAnError)
{
    UseFake("echo 'Invalid data' >&2; exit 1");
    const std::vector<std::string> states = StatesOfLine(ExportAtTerminal(SampleVideo(), "a=0-1"));
    EXPECT_EQ(ExitCode, 1);
    ASSERT_FALSE(states.empty());
    EXPECT_EQ(states.back(), "movane: --clip \"a=0-1\": Clip export failed: Invalid data\n");
}

TEST_F(CliTerminal, GetsNoControlCharacterOfAPlannedCommandButLineEndsAndTabs)
{
    UseFake();
    const fs::path source = Work / "two\nlines\t\x1B[31m.mp4";
    fs::copy_file(SampleVideo(), source);
    const std::string written =
        RunAtTerminal({"export", source.native(), "--dry-run", "--clip", "a=0-1"}, STDOUT_FILENO);
    EXPECT_EQ(ExitCode, 0);
    EXPECT_THAT(written, HasSubstr("/two\nlines\t?[31m.mp4' -ss"));
}

using CliSurroundings = CliProgram;

TEST_F(CliSurroundings, ALocaleWithADecimalCommaChangesNothing)
{
    const std::string command =
        "localedef -i de_DE -f UTF-8 " + (Work / "de_DE.UTF-8").native() + " 2>/dev/null";
    if (std::system(command.c_str()) != 0) // NOLINT(concurrency-mt-unsafe)
    {
        GTEST_SKIP() << "no sources of locales here";
    }
    Setup.Environment["LOCPATH"] = Work.native();
    Setup.Environment["ASAN_OPTIONS"] =
        "detect_leaks=0"; // the C library keeps the parts of LOCPATH
    Setup.Environment["LC_ALL"] = "de_DE.UTF-8";
    const FakeFfmpeg fake = UseFake();
    const ProgramRun::End end = Export({"--clip", "a=1.5-0:03.25"});
    EXPECT_EQ(end.ExitCode, 0);
    EXPECT_EQ(end.Err, "");
    EXPECT_EQ(fake.Arguments().at(7), "1.500");
    EXPECT_EQ(fake.Arguments().at(9), "1.750");
}

// In a view of the file system of the program's own, where no ffmpeg can be run.
void HideFfmpeg()
{
    const int flags = getuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER;
    bool bHidden =
        unshare(flags) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    for (const char* file : {"/usr/bin/ffmpeg", "/usr/sbin/ffmpeg"})
    {
        bHidden = bHidden && (access(file, F_OK) != 0 ||
                              mount("/dev/null", file, nullptr, MS_BIND, nullptr) == 0);
    }
    if (!bHidden)
    {
        _exit(77);
    }
}

TEST_F(CliSurroundings, WithoutFfmpegItSaysSo)
{
    const std::string& source = SampleVideo();
    Setup.Environment["PATH"] = Work.native();
    Setup.BeforeStart = HideFfmpeg;
    const ProgramRun::End end = Run({"export", source, "--clip", "a=0-1"});
    if (end.ExitCode == 77)
    {
        GTEST_SKIP() << "needs the right to a file system of its own";
    }
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err,
              "movane: --clip \"a=0-1\": ffmpeg executable not found. Install ffmpeg or set "
              "MOVANE_FFMPEG_BIN.\n");
    EXPECT_THAT(NamesIn(Clips), IsEmpty());
}

TEST_F(CliSurroundings, AFileWithoutAPictureIsAFailureAndGetsNoName)
{
    const fs::path source = Work / "early.mp4";
    MakeMedia("-f lavfi -i testsrc2=size=64x64:rate=25:duration=2 -itsoffset 5.5 -f lavfi -i "
              "sine=duration=0.5 -c:a aac",
              source.native());
    const ProgramRun::End end = Run({"export", source.native(), "--clip", "a=3-5"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(
        end.Err,
        "movane: --clip \"a=3-5\": Clip export failed: early.mp4 has no picture from In on: set In "
        "earlier and export again.\n");
    EXPECT_THAT(NamesIn(Clips), IsEmpty());
}
} // namespace
