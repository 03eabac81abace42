// Exports whose ffmpeg dies, sleeps, lies or can't be started.

#include "panel/faultfixture.h"
#include "support/ordinaryuser.h"
#include "support/waitfor.h"

#include <csignal>
#include <map>

#include <sys/resource.h>

namespace
{
namespace fs = std::filesystem;

class EncoderFault : public FaultTest
{
protected:
    /// The state letter of a process, proc(5); 0 when it has gone.
    static char StateOf(const std::string& Pid)
    {
        const std::string stat = ReadFile("/proc/" + Pid + "/stat");
        const std::size_t nameEnd = stat.rfind(')');
        return nameEnd == std::string::npos ? '\0' : stat.at(nameEnd + 2);
    }
};

/// Every process of this user counts already, so none can be added until the end of the guard.
class NoProcessesLeft
{
public:
    NoProcessesLeft()
    {
        getrlimit(RLIMIT_NPROC, &Earlier);
        const rlimit limit = {0, Earlier.rlim_max};
        setrlimit(RLIMIT_NPROC, &limit);
    }
    ~NoProcessesLeft() { setrlimit(RLIMIT_NPROC, &Earlier); }
    NoProcessesLeft(const NoProcessesLeft&) = delete;
    NoProcessesLeft& operator=(const NoProcessesLeft&) = delete;

private:
    rlimit Earlier = {};
};
} // namespace

TEST_F(EncoderFault, KilledBySignalIsAFailureThatKeepsWhatWasWritten)
{
    // Some shells write into the log what the signal is called.
    const std::map<std::string, std::string> names = {
        {"KILL", "Killed"}, {"TERM", "Terminated"}, {"SEGV", "Segmentation fault"}, {"INT", ""}};
    int number = 0;
    for (const auto& [signal, name] : names)
    {
        FfmpegDoes({.OutputCommand = "printf part > \"$out\"; kill -" + signal + " $$"});
        EXPECT_THAT(ExportToTheEnd(),
                    testing::AnyOf("Clip export failed.", "Clip export failed: " + name));
        EXPECT_EQ(ReadFile(Clips() / ("clip_0000" + std::to_string(number) + "_Intro.mkv")), "part")
            << signal;
        ++number;
    }
    ExpectReady();
}

TEST_F(EncoderFault, KilledBySignalIsToldWithItsLastWords)
{
    FfmpegDoes({.ErrorText = "out of memory\nand more\n", .OutputCommand = "kill -KILL $$"});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: out of memory");
    ExpectReady();
}

TEST_F(EncoderFault, StoppedAndContinuedIsWaitedForWhileThePanelWorks)
{
    const fs::path pidFile = Folder.Path() / "pid";
    FfmpegDoes({.OutputCommand =
                    "echo $$ > " + pidFile.native() + "; kill -STOP $$; printf whole > \"$out\""});
    StartJobSystem();
    Panel->ExportSelectedClip();
    std::string pid;
    ASSERT_TRUE(WaitFor(
        [&]
        {
            pid = ReadFile(pidFile);
            pid = pid.substr(0, pid.find('\n'));
            return !pid.empty() && StateOf(pid) == 'T';
        }));
    Application.pJobSystem->PumpMainThread();
    Panel->PumpExportResult();
    EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
    Save("Outro", 2.0, 4.0);
    EXPECT_EQ(StatusLabel.Text, "Saved Outro from source.mp4");
    Panel->ExportSelectedClip();
    EXPECT_EQ(StatusLabel.Text, "Clip export already in progress.");

    kill(std::stoi(pid), SIGCONT);
    RunToTheResult();
    EXPECT_EQ(StatusLabel.Text, "Exported clip_00000_Intro.mkv");
    EXPECT_EQ(ReadFile(Output()), "whole");
    ExpectReady();
}

TEST_F(EncoderFault, ExitOf0WithoutAFileIsAFailure)
{
    FfmpegDoes({.ErrorText = "Output file is empty\n", .bWritesOutput = false});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed: Output file is empty");
    EXPECT_FALSE(fs::exists(Output()));
    FfmpegDoes({.bWritesOutput = false});
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    ExpectReady();
}

TEST_F(EncoderFault, AnyOtherExitCodeIsAFailureThoughThereIsAFile)
{
    for (const int exitCode : {1, 126, 127, 128, 137, 254, 255})
    {
        const std::string words = "exit of " + std::to_string(exitCode);
        FfmpegDoes({.ExitCode = exitCode, .ErrorText = words + "\n"});
        EXPECT_EQ(ExportToTheEnd(), "Clip export failed: " + words);
    }
    ExpectReady();
}

TEST_F(EncoderFault, VanishedFfmpegIsToldInTheShellsWords)
{
    const std::string program = Ffmpeg.Path();
    const std::string status = ExportWithChange([&] { fs::remove(program); });
    EXPECT_THAT(status, testing::StartsWith("Clip export failed: "));
    EXPECT_THAT(status, testing::HasSubstr(program));
    ExpectReady();
}

TEST_F(EncoderFault, NoProcessLeftForTheShellIsAFailure)
{
    const auto work = [this]() -> std::string
    {
        std::string failure;
        {
            const NoProcessesLeft limit;
            const pid_t child = fork();
            if (child >= 0)
            {
                if (child == 0)
                {
                    _exit(0);
                }
                waitpid(child, nullptr, 0);
                return "no limit";
            }
            failure = ExportOnTheSpot();
        }
        const std::string runs = std::to_string(Ffmpeg.Runs());
        return failure + "|" + runs + "|" + ExportOnTheSpot();
    };
    const std::string told = TextFromOrdinaryUser(Folder.Path(), work);
    if (told == "no limit")
    {
        GTEST_SKIP() << "the number of this user's processes can't be limited here";
    }
    EXPECT_EQ(told, "Clip export failed.|0|Exported clip_00000_Intro.mkv");
}

TEST_F(EncoderFault, ExitCodeThatTheCallerLetsNobodyReadIsAFailure)
{
    // system() can't learn how its shell ended while SIGCHLD is ignored. The program sees to it that it
    // is not; a host that ignores it is told of a failure and keeps the file.
    const auto earlier = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(ExportToTheEnd(), "Clip export failed.");
    std::signal(SIGCHLD, earlier);
    EXPECT_EQ(Ffmpeg.Runs(), 1U);
    EXPECT_TRUE(fs::exists(Output()));
    ExpectReady();
}
