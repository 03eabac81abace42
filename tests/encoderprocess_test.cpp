#include "media/encoderprocess.h"

#include "fakes/samplevideo.h"
#include "fakes/tempfolder.h"
#include "player/mpvvideo.h"
#include "waitfor.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{
// What /proc tells of a process, as far as it can be read: empty when it is gone.
std::string StatOf(pid_t Pid)
{
    std::ostringstream text;
    text << std::ifstream("/proc/" + std::to_string(Pid) + "/stat").rdbuf();
    return text.str();
}

bool IsAlive(pid_t Pid)
{
    const std::string stat = StatOf(Pid);
    return !stat.empty() && stat.find(") Z ") == std::string::npos;
}

std::string ChildrenOf(pid_t Pid)
{
    const std::string number = std::to_string(Pid);
    std::ostringstream text;
    text << std::ifstream("/proc/" + number + "/task/" + number + "/children").rdbuf();
    return text.str();
}

// For a shell that waits without a child of its own, until somebody writes to the pipe $0.
constexpr const char* Waiting = "read line < \"$0\"";

// A program that this process has started itself; ended and reaped at the end of the guard.
class Child
{
public:
    explicit Child(std::vector<std::string> Arguments)
    {
        std::vector<char*> pointers;
        pointers.reserve(Arguments.size() + 1);
        for (std::string& argument : Arguments)
        {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        if (::posix_spawnp(&Pid, pointers[0], nullptr, nullptr, pointers.data(), environ) != 0)
        {
            throw std::runtime_error("can't start " + Arguments[0]);
        }
    }
    ~Child()
    {
        ::kill(Pid, SIGKILL);
        ::waitpid(Pid, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    bool HasEnded() const { return !IsAlive(Pid); }

    pid_t Pid = 0;
};

class EncoderProcessTest : public testing::Test
{
protected:
    ~EncoderProcessTest() override
    {
        // Whatever a failed test has left, so that the future below can end.
        if (std::optional<EncoderProcess> left = EncoderProcess::Find(Output))
        {
            left->Kill();
        }
    }

    static std::string Quoted(const std::string& Text) { return "'" + Text + "'"; }

    // As an export runs it: by the shell, from a thread of this process.
    void Run(const std::string& Command)
    {
        Export = std::async(std::launch::async,
                            [Command] { return std::system(Command.c_str()); }); // NOLINT
    }

    // An encoding without an end, to Output.
    std::string Encode(const std::string& Program = "ffmpeg") const
    {
        return Quoted(Program) +
               " -y -hide_banner -loglevel error -f lavfi -i testsrc2=size=320x180:rate=25 "
               "-c:v libx264 -preset ultrafast -g 25 -pix_fmt yuv420p " +
               Quoted(Output) + " 2> " + Quoted((Folder.Path() / "log").string()) + " < /dev/null";
    }

    std::string Pipe() const
    {
        std::string path = (Folder.Path() / "pipe").string();
        if (::mkfifo(path.c_str(), 0600) != 0 && errno != EEXIST)
        {
            throw std::runtime_error("can't make " + path);
        }
        return path;
    }

    // A script, which finds what it was given in "$@".
    std::string Script(const std::string& Text) const
    {
        const std::filesystem::path path = Folder.Path() / "script";
        std::ofstream(path) << "#!/bin/sh\n" << Text;
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path.string();
    }

    EncoderProcess WaitForEncoder() const
    {
        std::optional<EncoderProcess> found;
        if (!WaitFor([&] { return (found = EncoderProcess::Find(Output)).has_value(); }))
        {
            throw std::runtime_error("no encoder");
        }
        return std::move(*found);
    }

    bool WaitForOutput() const
    {
        return WaitFor(
            [&]
            {
                std::error_code ec;
                const auto size = std::filesystem::file_size(Output, ec);
                return !ec && size > 100000;
            });
    }

    bool WaitForFile(const std::string& Name) const
    {
        return WaitFor([&] { return std::filesystem::exists(Folder.Path() / Name); });
    }

    // The number that a script has written to a file.
    pid_t NumberIn(const std::string& Name) const
    {
        pid_t number = 0;
        EXPECT_TRUE(WaitFor(
            [&]
            {
                std::ifstream file(Folder.Path() / Name);
                return static_cast<bool>(file >> number) && file.get() == '\n';
            }));
        return number;
    }

    // Matroska has a length only when its file was closed in order.
    bool IsOutputClosedInOrder() const
    {
        std::string error;
        const std::unique_ptr<MpvVideo> pVideo = MpvVideo::Create({}, error);
        return pVideo->Open(Output, error) && pVideo->pMediaInfo->DurationUs > 0;
    }

    int Status() { return Export.get(); }

    TempFolder Folder;
    std::string Output = (Folder.Path() / "clip 1.mkv").string();
    std::future<int> Export;
};
} // namespace

TEST_F(EncoderProcessTest, FindsNothingWhereNothingRuns)
{
    EXPECT_FALSE(EncoderProcess::Find(Output).has_value());
    EXPECT_EQ(EndEncoder(Output), EncoderEnd::NotRunning);
}

TEST_F(EncoderProcessTest, EndsTheEncoderInOrder)
{
    Run(Encode());
    ASSERT_TRUE(WaitForOutput());
    EXPECT_EQ(EndEncoder(Output, Deadline), EncoderEnd::InOrder);
    EXPECT_FALSE(EncoderProcess::Find(Output).has_value());
    // The encoder's own exit code after a request to end.
    EXPECT_EQ(WEXITSTATUS(Status()), 255);
    EXPECT_TRUE(IsOutputClosedInOrder());
}

TEST_F(EncoderProcessTest, EndsTheEncoderUnderAShellThatStays)
{
    Run(Encode() + "; exit $?");
    ASSERT_TRUE(WaitForOutput());
    EXPECT_EQ(EndEncoder(Output, Deadline), EncoderEnd::InOrder);
    EXPECT_EQ(WEXITSTATUS(Status()), 255);
    EXPECT_TRUE(IsOutputClosedInOrder());
}

TEST_F(EncoderProcessTest, EndsTheEncoderThatAScriptRuns)
{
    Run(Encode(Script("ffmpeg \"$@\"\ncode=$?\necho $code > " +
                      Quoted((Folder.Path() / "code").string()) + "\nexit $code\n")));
    ASSERT_TRUE(WaitForOutput());
    EXPECT_EQ(EndEncoder(Output, Deadline), EncoderEnd::InOrder);
    EXPECT_EQ(WEXITSTATUS(Status()), 255);
    // The script was not cut off: it has seen its encoder end.
    EXPECT_EQ(NumberIn("code"), 255);
    EXPECT_TRUE(IsOutputClosedInOrder());
}

TEST_F(EncoderProcessTest, EndsAStoppedEncoderInOrder)
{
    Run(Encode());
    ASSERT_TRUE(WaitForOutput());
    ASSERT_EQ(::kill(WaitForEncoder().Pid(), SIGSTOP), 0);
    EXPECT_EQ(EndEncoder(Output, Deadline), EncoderEnd::InOrder);
    EXPECT_EQ(WEXITSTATUS(Status()), 255);
    EXPECT_TRUE(IsOutputClosedInOrder());
}

TEST_F(EncoderProcessTest, KillsWhatDoesNotEndWhenAsked)
{
    // Both the script and its child are deaf to the request.
    Run(Encode(Script("trap '' TERM\nsleep 1000 &\necho $! > " +
                      Quoted((Folder.Path() / "child").string()) + "\nwait\n")));
    const pid_t child = NumberIn("child");
    ASSERT_TRUE(IsAlive(child));
    EXPECT_EQ(EndEncoder(Output, 100ms), EncoderEnd::Killed);
    EXPECT_FALSE(EncoderProcess::Find(Output).has_value());
    EXPECT_TRUE(WaitFor([&] { return !IsAlive(child); }));
    EXPECT_NE(Status(), 0);
}

TEST_F(EncoderProcessTest, EndsTheChildrenOfTheEncoder)
{
    Run(Encode(Script("sleep 1000 &\necho $! > " + Quoted((Folder.Path() / "child").string()) +
                      "\nwait\n")));
    const pid_t child = NumberIn("child");
    EXPECT_EQ(EndEncoder(Output, Deadline), EncoderEnd::InOrder);
    EXPECT_FALSE(IsAlive(child));
    EXPECT_NE(Status(), 0);
}

// A child that a script has forked has the script's command line until it runs a program of its own;
// here it never does, so that every look finds it like that.
TEST_F(EncoderProcessTest, DoesNotTakeAForkOfAScriptForTheEncoder)
{
    Run(Encode(Script("echo $$ > " + Quoted((Folder.Path() / "script number").string()) +
                      "\nwhile :; do (read line < " + Quoted(Pipe()) + "); done\n")));
    const pid_t script = NumberIn("script number");
    ASSERT_TRUE(WaitFor([&] { return !ChildrenOf(script).empty(); }));
    EXPECT_EQ(WaitForEncoder().Pid(), script);
    EXPECT_EQ(EndEncoder(Output), EncoderEnd::InOrder);
    EXPECT_NE(Status(), 0);
}

TEST_F(EncoderProcessTest, CanBeAskedWithoutWaiting)
{
    Run(Encode());
    ASSERT_TRUE(WaitForOutput());
    EncoderProcess encoder = WaitForEncoder();
    EXPECT_TRUE(encoder.IsRunning());
    EXPECT_FALSE(encoder.WaitForEnd(0ms));
    // Asked often, as by a user who keeps pressing the button; the encoder hears it once.
    for (int i = 0; i < 10; ++i)
    {
        encoder.AskToEnd();
    }
    EXPECT_TRUE(encoder.WaitForEnd(Deadline));
    EXPECT_FALSE(encoder.IsRunning());
    EXPECT_EQ(WEXITSTATUS(Status()), 255);
    EXPECT_TRUE(IsOutputClosedInOrder());
}

TEST_F(EncoderProcessTest, CanBeKilledWithoutAsking)
{
    Run(Encode());
    EncoderProcess encoder = WaitForEncoder();
    encoder.Kill();
    EXPECT_TRUE(encoder.WaitForEnd(Deadline));
    EXPECT_NE(Status(), 0);
}

TEST_F(EncoderProcessTest, IsHarmlessAfterTheEnd)
{
    Run(Encode());
    EncoderProcess encoder = WaitForEncoder();
    EncoderProcess same = WaitForEncoder();
    encoder.Kill();
    ASSERT_TRUE(encoder.WaitForEnd(Deadline));
    EXPECT_NE(Status(), 0);
    EXPECT_FALSE(same.IsRunning());
    EXPECT_TRUE(same.WaitForEnd(0ms));
    same.AskToEnd();
    same.Kill();
}

TEST_F(EncoderProcessTest, LeavesOtherChildrenAlone)
{
    // One that has nothing to do with it, one that only mentions the file, one that writes another.
    const Child sleeper({"sleep", "1000"});
    const Child reader({"sh", "-c", Waiting, Pipe(), Output, "other"});
    const Child neighbour({"sh", "-c", Waiting, Pipe(), Output + ".mkv"});
    Run(Encode());
    EXPECT_EQ(WaitForEncoder().Pid(), WaitForEncoder().Pid());
    EXPECT_NE(EndEncoder(Output, Deadline), EncoderEnd::NotRunning);
    EXPECT_NE(Status(), 0);
    EXPECT_FALSE(sleeper.HasEnded());
    EXPECT_FALSE(reader.HasEnded());
    EXPECT_FALSE(neighbour.HasEnded());
}

TEST_F(EncoderProcessTest, LeavesTheEncoderOfAnotherProgramAlone)
{
    // Started by a shell that ends at once, so it is nobody's descendant here.
    const std::string file = Quoted((Folder.Path() / "pid").string());
    const std::string command = "sh -c " + Quoted(Waiting) + " " + Quoted(Pipe()) + " " +
                                Quoted(Output) + " & echo $! > " + file;
    ASSERT_EQ(std::system(command.c_str()), 0);
    const pid_t stranger = NumberIn("pid");
    EXPECT_FALSE(EncoderProcess::Find(Output).has_value());
    EXPECT_EQ(EndEncoder(Output), EncoderEnd::NotRunning);
    EXPECT_TRUE(IsAlive(stranger));
    ::kill(stranger, SIGKILL);
}

TEST_F(EncoderProcessTest, KnowsPathsWithAnyBytes)
{
    Output = (Folder.Path() / "two\nlines $(x) \xFF %d.mkv").string();
    Run(Encode());
    ASSERT_TRUE(WaitForOutput());
    EXPECT_EQ(EndEncoder(Output, Deadline), EncoderEnd::InOrder);
    EXPECT_EQ(WEXITSTATUS(Status()), 255);
}
