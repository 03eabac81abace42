#include "media/exportprogress.h"

#include "extremes.h"
#include "fakes/environmentguard.h"
#include "fakes/failingread.h"
#include "fakes/fakeffmpeg.h"
#include "fakes/tempfolder.h"
#include "host/apppaths.h"
#include "waitfor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{
namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::IsEmpty;

std::string Contents(const fs::path& File)
{
    std::ostringstream text;
    text << std::ifstream(File, std::ios::binary).rdbuf();
    return text.str();
}

void Append(const fs::path& File, const std::string& Text)
{
    std::ofstream(File, std::ios::binary | std::ios::app) << Text;
}

std::string Stats(const std::string& Time, const std::string& Speed = "2.5x")
{
    return "frame=  242 fps=199 q=24.0 size=     512kB time=" + Time +
           " bitrate= 515.6kbits/s speed=" + Speed + "    \r";
}

// The tests' own folders hold no apostrophe.
std::string Word(const fs::path& Path)
{
    return "'" + Path.native() + "'";
}

// The command of an export, to be given to a shell.
std::string ExportCommand(const fs::path& Program,
                          const fs::path& Source,
                          const fs::path& Output,
                          const fs::path& ErrorLog,
                          const std::string& Range)
{
    return Word(Program) + " -y -hide_banner -loglevel error -i " + Word(Source) + " " + Range +
           " -map 0:v:0? -map 0:a? -c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p -c:a "
           "copy " +
           Word(Output) + " 2> " + Word(ErrorLog) + " < /dev/null";
}

const char* const realFfmpeg = "/usr/bin/ffmpeg";

void MakeVideo(const fs::path& Output, const std::string& Size, int DurationSec)
{
    const std::string command = std::string(realFfmpeg) +
                                " -v error -nostdin -y -f lavfi -i testsrc2=rate=25:size=" + Size +
                                ":duration=" + std::to_string(DurationSec) +
                                " -f lavfi -i sine=duration=" + std::to_string(DurationSec) +
                                " -c:v libx264 -preset ultrafast -g 50 -c:a aac " + Word(Output);
    ASSERT_EQ(std::system(command.c_str()), 0);
}

// A report that the test writes and a clock that it turns; no process.
class ExportProgressTest : public testing::Test
{
protected:
    void Start(double StartSec, double DurationSec)
    {
        Progress.Start((Folder.Path() / "source").native(), (Folder.Path() / "output.mkv").native(),
                       StartSec, DurationSec);
    }

    TempFolder Folder;
    fs::path Report = Folder.Path() / "report";
    std::chrono::steady_clock::time_point Now{1h};
    ExportProgress Progress{Report.native(), [this] { return Now; }};
};

// An export by a script that has 20 of the source's 100 seconds behind it when Begin returns.
class SeekingExportTest : public ExportProgressTest
{
protected:
    ~SeekingExportTest() override
    {
        Append(EndFile, "");
        if (Export.joinable())
        {
            Export.join();
        }
    }

    // Returns when the script has read its part. OpenedAs is the name by which it opens the source.
    void Begin(const fs::path& OpenedAs)
    {
        Run(ReadingCommand(OpenedAs));
        ASSERT_TRUE(WaitFor([&] { return fs::exists(ReadFile); }));
    }

    // A command that reads the script's part and waits for the end.
    std::string ReadingCommand(const fs::path& OpenedAs) const
    {
        return "exec 3< " + Word(OpenedAs) +
               "; dd bs=1000 count=20 of=/dev/null <&3 2> /dev/null; : > " + Word(ReadFile) + "; " +
               WaitingCommand(EndFile);
    }

    std::string WaitingCommand(const fs::path& File) const
    {
        return "until [ -e " + Word(File) + " ] || [ ! -d " + Word(Folder.Path()) +
               " ]; do sleep 0.01; done";
    }

    // Starts an export by a script of that command.
    void Run(const std::string& Command)
    {
        FakeFfmpeg::Behaviour how;
        how.OutputCommand = Command;
        const FakeFfmpeg program(Folder.Path(), how);
        const std::string command = ExportCommand(
            program.Path(), Source, Folder.Path() / "output.mkv", Folder.Path() / "errors", "");
        // How it ends is up to each test.
        Export = std::thread([command]
                             { [[maybe_unused]] const int end = std::system(command.c_str()); });
    }

    void MakeSource()
    {
        std::ofstream(Source).close();
        fs::resize_file(Source, 100'000);
    }

    fs::path Source = Folder.Path() / "source";
    fs::path ReadFile = Folder.Path() / "read";
    fs::path EndFile = Folder.Path() / "end";
    std::thread Export;
};

const std::string openedLines = "Input #0, mov,mp4,m4a,3gp,3g2,mj2, from 'source':\n"
                                "  Duration: 00:01:40.00, start: 0.000000, bitrate: 2050 kb/s\n";

// 50 seconds decoded only, against 10 encoded.
constexpr double SeekShare = 50.0 / (50.0 + 10.0 * ExportProgress::EncodeCost);
} // namespace

TEST_F(ExportProgressTest, KnowsNothingBeforeItStarts)
{
    const ExportProgressRecord record = Progress.Read();
    EXPECT_EQ(record.Phase, ExportPhase::Unknown);
    EXPECT_EQ(record.Fraction, 0.0);
    EXPECT_EQ(record.ElapsedSec, 0.0);
}

TEST_F(ExportProgressTest, KnowsTheTimeWithoutAReport)
{
    Start(0.0, 10.0);
    Now += 1500ms;
    const ExportProgressRecord record = Progress.Read();
    EXPECT_EQ(record.Phase, ExportPhase::Unknown);
    EXPECT_EQ(record.Fraction, 0.0);
    EXPECT_EQ(record.ElapsedSec, 1.5);
    EXPECT_EQ(record.Speed, 0.0);
}

TEST_F(ExportProgressTest, FollowsTheReport)
{
    Start(0.0, 10.0);
    Append(Report, openedLines + Stats("00:00:02.50"));
    ExportProgressRecord record = Progress.Read();
    EXPECT_EQ(record.Phase, ExportPhase::Encoding);
    EXPECT_DOUBLE_EQ(record.Fraction, 0.25);
    EXPECT_EQ(record.Speed, 2.5);

    Append(Report, Stats("00:00:07.50", "3.5x"));
    record = Progress.Read();
    EXPECT_DOUBLE_EQ(record.Fraction, 0.75);
    EXPECT_EQ(record.Speed, 3.5);
}

TEST_F(ExportProgressTest, TakesALineOnlyWhenItIsComplete)
{
    Start(0.0, 10.0);
    const std::string line = Stats("00:00:02.50");
    for (const char byte : line.substr(0, line.size() - 1))
    {
        Append(Report, std::string(1, byte));
        EXPECT_EQ(Progress.Read().Fraction, 0.0);
    }
    Append(Report, "\r");
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.25);
}

TEST_F(ExportProgressTest, GivesTheWayToTheInPointItsShare)
{
    Start(50.0, 10.0);
    Append(Report, openedLines + Stats("00:00:05.00"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, SeekShare + (1.0 - SeekShare) * 0.5);
}

TEST_F(ExportProgressTest, NeverFallsBack)
{
    Start(0.0, 10.0);
    Append(Report, Stats("00:00:08.00"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.8);
    Append(Report, Stats("00:00:02.00"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.8);
    Append(Report, Stats("N/A", "N/A"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.8);
}

TEST_F(ExportProgressTest, IsCompleteOnlyWhenFinished)
{
    Start(0.0, 10.0);
    Append(Report, Stats("00:00:10.00") + Stats("00:59:00.00"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.99);
    Progress.Finish();
    EXPECT_EQ(Progress.Read().Fraction, 1.0);
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::Finished);
}

TEST_F(ExportProgressTest, StopsItsClockWhenFinished)
{
    Start(0.0, 10.0);
    Now += 3s;
    Progress.Finish();
    Now += 5s;
    Progress.Finish();
    EXPECT_EQ(Progress.Read().ElapsedSec, 3.0);
}

TEST_F(ExportProgressTest, RemovesTheReportWhenFinished)
{
    Start(0.0, 10.0);
    Append(Report, Stats("00:00:08.00"));
    Progress.Finish();
    EXPECT_FALSE(fs::exists(Report));
}

TEST_F(ExportProgressTest, BeginsTheNextExportAtNothing)
{
    Start(0.0, 10.0);
    Append(Report, Stats("00:00:08.00"));
    Progress.Read();
    Progress.Finish();
    Now += 5s;

    Start(0.0, 20.0);
    ExportProgressRecord record = Progress.Read();
    EXPECT_EQ(record.Phase, ExportPhase::Unknown);
    EXPECT_EQ(record.Fraction, 0.0);
    EXPECT_EQ(record.ElapsedSec, 0.0);
    EXPECT_EQ(record.Speed, 0.0);
    Append(Report, Stats("00:00:05.00"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.25);
}

TEST_F(ExportProgressTest, DoesNotTakeTheReportOfAnExportThatWasNotFinished)
{
    Start(0.0, 10.0);
    Append(Report, Stats("00:00:08.00"));
    Start(0.0, 10.0);
    EXPECT_EQ(Progress.Read().Fraction, 0.0);
}

TEST_F(ExportProgressTest, ReadsAReportThatWasCutOffFromItsBeginning)
{
    Start(0.0, 10.0);
    Append(Report, std::string(500, '\n') + Stats("00:00:02.00") + "frame= begun");
    Progress.Read();
    std::ofstream(Report, std::ios::trunc) << Stats("00:00:04.00");
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.4);
}

TEST_F(ExportProgressTest, ReadsANewReportInThePlaceOfTheOld)
{
    Start(0.0, 10.0);
    Append(Report, Stats("00:00:02.00"));
    Progress.Read();
    // Beside the old one, so that it can't get the same number in the file system.
    const fs::path other = Folder.Path() / "other";
    Append(other, Stats("00:00:04.00") + std::string(500, '\n'));
    fs::rename(other, Report);
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.4);
}

TEST_F(ExportProgressTest, KeepsItsFractionWhenTheReportIsGone)
{
    Start(0.0, 10.0);
    Append(Report, Stats("00:00:02.00"));
    Progress.Read();
    fs::remove(Report);
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.2);
}

TEST_F(ExportProgressTest, FindsTheLastLineBehindAMountainOfWarnings)
{
    Start(0.0, 10.0);
    std::string warnings;
    for (int line = 0; line < 20'000; ++line)
    {
        warnings +=
            "[h264 @ 0x55d0c6a5c040] error while decoding MB 10 " + std::to_string(line) + "\n";
    }
    Append(Report, Stats("00:00:02.00") + warnings + Stats("00:00:03.00"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.3);
}

TEST_F(ExportProgressTest, TakesNoPieceOfALineForALine)
{
    const std::string look = "frame=1 time=00:00:09.00 speed=1x ";
    std::string hugeLine;
    while (hugeLine.size() < 2 * LineCollector::MaxLineBytes)
    {
        hugeLine += look;
    }
    // Reading begins at every place in such a look, within the huge line.
    for (std::size_t shift = 0; shift < look.size(); ++shift)
    {
        Start(0.0, 10.0);
        Append(Report, hugeLine + std::string(ExportProgress::MaxUnreadBytes - 1000 - shift, '\n'));
        EXPECT_EQ(Progress.Read().Phase, ExportPhase::Unknown) << shift;
        Progress.Finish();
    }
}

TEST_F(ExportProgressTest, PassesOverGarbageAndHugeLines)
{
    Start(0.0, 10.0);
    std::string garbage =
        std::string(100'000, 'x') + Stats("00:00:09.00") + std::string("\0\xff\xfe", 3);
    for (int byte = 0; byte < 256; ++byte)
    {
        garbage += static_cast<char>(byte);
    }
    Append(Report, garbage + "\n" + Stats("00:00:03.00"));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.3);
}

TEST_F(ExportProgressTest, IsNotHeldUpByAFolderInTheReportsPlace)
{
    Start(0.0, 10.0);
    fs::create_directory(Report);
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::Unknown);
}

TEST_F(ExportProgressTest, StaysBelowOneForEveryRange)
{
    for (const double startSec : {-1.0, 0.0, 1e-9, 50.0, 1e300, Infinity, NotANumber})
    {
        for (const double durationSec : {-1.0, 0.0, 1e-9, 10.0, 1e300, Infinity, NotANumber})
        {
            Start(startSec, durationSec);
            Append(Report, openedLines + Stats("00:00:05.00"));
            const ExportProgressRecord record = Progress.Read();
            EXPECT_GE(record.Fraction, 0.0) << startSec << " " << durationSec;
            EXPECT_LT(record.Fraction, 1.0) << startSec << " " << durationSec;
        }
    }
}

TEST_F(SeekingExportTest, FollowsTheSourceFilesPosition)
{
    MakeSource();
    Start(50.0, 10.0);
    Append(Report, openedLines);
    ASSERT_NO_FATAL_FAILURE(Begin(Source));
    const ExportProgressRecord record = Progress.Read();
    EXPECT_EQ(record.Phase, ExportPhase::SeekingToIn);
    EXPECT_DOUBLE_EQ(record.Fraction, 0.4 * SeekShare);
}

TEST_F(SeekingExportTest, KnowsTheSourceByAnyOfItsNames)
{
    MakeSource();
    const fs::path link = Folder.Path() / "link";
    fs::create_symlink(Source, link);
    Start(50.0, 10.0);
    Append(Report, openedLines);
    ASSERT_NO_FATAL_FAILURE(Begin(link));
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::SeekingToIn);
}

TEST_F(SeekingExportTest, KeepsToItsShareWhenTheSourceIsReadBeyondTheInPoint)
{
    MakeSource();
    Start(5.0, 10.0);
    Append(Report, openedLines);
    ASSERT_NO_FATAL_FAILURE(Begin(Source));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 5.0 / (5.0 + 10.0 * ExportProgress::EncodeCost));
}

TEST_F(SeekingExportTest, MakesNothingOfAPositionBeforeTheSourcesLengthIsKnown)
{
    MakeSource();
    Start(50.0, 10.0);
    ASSERT_NO_FATAL_FAILURE(Begin(Source));
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::Unknown);
}

TEST_F(SeekingExportTest, MakesNothingOfAnotherFile)
{
    MakeSource();
    const fs::path other = Folder.Path() / "other";
    fs::copy_file(Source, other);
    Start(50.0, 10.0);
    Append(Report, openedLines);
    ASSERT_NO_FATAL_FAILURE(Begin(other));
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::Unknown);
}

TEST_F(SeekingExportTest, FindsTheEncoderThatComesLaterThanTheReport)
{
    MakeSource();
    Start(50.0, 10.0);
    Append(Report, openedLines);
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::Unknown);
    ASSERT_NO_FATAL_FAILURE(Begin(Source));
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::SeekingToIn);
}

TEST_F(SeekingExportTest, FindsTheEncoderThatAScriptStartsLater)
{
    MakeSource();
    const fs::path script = Folder.Path() / "script";
    const fs::path begunFile = Folder.Path() / "begun";
    const fs::path goFile = Folder.Path() / "go";
    Append(script, ReadingCommand(Source));
    Start(50.0, 10.0);
    Append(Report, openedLines);
    Run(": > " + Word(begunFile) + "; " + WaitingCommand(goFile) + "; sh " + Word(script) +
        " \"$out\"");
    ASSERT_TRUE(WaitFor([&] { return fs::exists(begunFile); }));
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::Unknown);
    Append(goFile, "");
    ASSERT_TRUE(WaitFor([&] { return fs::exists(ReadFile); }));
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::SeekingToIn);
}

TEST_F(SeekingExportTest, KeepsItsFractionWhenTheEncoderHasEnded)
{
    MakeSource();
    Start(50.0, 10.0);
    Append(Report, openedLines);
    ASSERT_NO_FATAL_FAILURE(Begin(Source));
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.4 * SeekShare);
    Append(EndFile, "");
    Export.join();
    EXPECT_DOUBLE_EQ(Progress.Read().Fraction, 0.4 * SeekShare);
}

// The kernel answers so when the process ends between the opening of the file and the reading.
TEST_F(SeekingExportTest, MakesNothingOfAPositionThatCanNoLongerBeRead)
{
    MakeSource();
    Start(50.0, 10.0);
    Append(Report, openedLines);
    ASSERT_NO_FATAL_FAILURE(Begin(Source));
    const FailingRead ended("/fdinfo/", 0, ESRCH);
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::Unknown);
}

TEST_F(SeekingExportTest, GoesOnToTheReportAtTheFirstPicture)
{
    MakeSource();
    Start(50.0, 10.0);
    Append(Report, openedLines + Stats("N/A", "N/A") + Stats("00:00:00.00"));
    ASSERT_NO_FATAL_FAILURE(Begin(Source));
    EXPECT_EQ(Progress.Read().Phase, ExportPhase::SeekingToIn);
    Append(Report, Stats("00:00:01.00"));
    const ExportProgressRecord record = Progress.Read();
    EXPECT_EQ(record.Phase, ExportPhase::Encoding);
    EXPECT_DOUBLE_EQ(record.Fraction, SeekShare + (1.0 - SeekShare) * 0.1);
}

TEST(ProgressLine, HasPercentTimeAndSpeed)
{
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.42, 3.9, 3.14}), "  42 %  0:03  3.1x");
}

TEST(ProgressLine, LeavesOutAnUnknownSpeed)
{
    EXPECT_EQ(ProgressLine({ExportPhase::SeekingToIn, 0.07, 61.0, 0.0}), "   7 %  1:01");
}

TEST(ProgressLine, WritesASlowSpeedToTheHundredth)
{
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.42, 3.0, 0.034}), "  42 %  0:03  0.03x");
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.42, 3.0, 0.004}), "  42 %  0:03");
}

TEST(ProgressLine, HasNoPercentWhileNothingIsKnown)
{
    EXPECT_EQ(ProgressLine({ExportPhase::Unknown, 0.0, 3.0, 0.0}), "   - %  0:03");
}

TEST(ProgressLine, RoundsPercentsDown)
{
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.9999, 0.0, 0.0}), "  99 %  0:00");
    EXPECT_EQ(ProgressLine({ExportPhase::Finished, 1.0, 0.0, 0.0}), " 100 %  0:00");
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.29, 0.0, 0.0}), "  29 %  0:00");
}

TEST(ProgressLine, WritesHoursWhenThereAreSome)
{
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.5, 3599.0, 0.0}), "  50 %  59:59");
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.5, 3605.0, 0.0}), "  50 %  1:00:05");
}

TEST(ProgressLine, StandsWhateverTheRecordHolds)
{
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, NotANumber, Infinity, NotANumber}),
              "   0 %  0:00");
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 7.0, -1.0, -1.0}), " 100 %  0:00");
    EXPECT_EQ(ProgressLine({ExportPhase::Encoding, 0.5, 1e300, 1e300}),
              "  50 %  1000000:00:00  1000000.0x");
}

TEST(ReportOption, EscapesWhatFfmpegReadsOtherwise)
{
    EXPECT_EQ(ReportOption("/a b/it's 50%t: \\n"), "file=/a b/it\\'s 50%%t\\: \\\\n:level=32");
}

TEST(ReportOption, IsNoneForAPathThatFfmpegWouldRefuse)
{
    EXPECT_TRUE(ReportOption("/" + std::string(899, 'x')).has_value());
    EXPECT_FALSE(ReportOption("/" + std::string(900, 'x')).has_value());
}

// Each with a runtime folder of its own.
class ExportReportTest : public testing::Test
{
protected:
    ~ExportReportTest() override { AppPaths::RemoveRuntimeDir(); }

    // ffmpeg's exit status and what it says on standard error when it is to export Source to Output.
    std::string Outcome(const fs::path& Source, const fs::path& Output) const
    {
        const fs::path log = Folder.Path() / "errors";
        const int status = std::system(
            ExportCommand(realFfmpeg, Source, Output, log, "-ss 1.000 -t 1.000").c_str());
        // The addresses of ffmpeg's objects are others in each run.
        const std::string text =
            std::regex_replace(Contents(log), std::regex(" @ 0x[0-9a-f]+"), " @ ADDRESS");
        return std::to_string(status) + "\n" + text;
    }

    TempFolder Folder;
    EnvironmentGuard ReportGuard{"FFREPORT"};
    EnvironmentGuard RuntimeGuard{"MOVANE_RUNTIME_DIR", (Folder.Path() / "runtime").native()};
};

TEST_F(ExportReportTest, LiesInTheRuntimeFolder)
{
    EXPECT_EQ(EnableExportReport(), (Folder.Path() / "runtime/temp/export-report.log").native());
    EXPECT_EQ(std::getenv("FFREPORT"),
              "file=" + (Folder.Path() / "runtime/temp/export-report.log").native() + ":level=32");
}

TEST_F(ExportReportTest, IsNotThereBeforeAnExport)
{
    std::ofstream(fs::path(AppPaths::RuntimeDir()) / "temp/export-report.log")
        << "of an earlier run";
    EXPECT_FALSE(fs::exists(EnableExportReport()));
}

TEST_F(ExportReportTest, LeavesTheUsersOwnReportAlone)
{
    for (const char* const value : {"file=/dev/null:level=48", ""})
    {
        const EnvironmentGuard users("FFREPORT", value);
        EXPECT_EQ(EnableExportReport(), "");
        EXPECT_STREQ(std::getenv("FFREPORT"), value);
    }
}

TEST_F(ExportReportTest, IsNotAskedForWhereItCanNotBeWritten)
{
    fs::create_directory(fs::path(AppPaths::RuntimeDir()) / "temp/export-report.log");
    EXPECT_EQ(EnableExportReport(), "");
    EXPECT_EQ(std::getenv("FFREPORT"), nullptr);
}

TEST_F(ExportReportTest, IsWrittenUnderTheMostAwkwardName)
{
    const EnvironmentGuard awkward("MOVANE_RUNTIME_DIR",
                                   (Folder.Path() / "it's 50%t: \\ 日本 \n").native());
    const std::string report = EnableExportReport();
    ASSERT_NE(report, "");
    EXPECT_THAT(Outcome(Folder.Path() / "missing", Folder.Path() / "out.mkv"),
                HasSubstr("No such file"));
    EXPECT_THAT(Contents(report), HasSubstr("ffmpeg started on"));
}

TEST_F(ExportReportTest, IsWrittenUnderTheLongestNameItIsAskedFor)
{
    fs::path folder = Folder.Path();
    while (folder.native().size() < 650)
    {
        folder /= std::string(100, 'x');
    }
    fs::create_directories(folder);
    const fs::path report = folder / std::string(900 - folder.native().size() - 1, 'y');
    ASSERT_EQ(report.native().size(), 900U);
    const EnvironmentGuard option("FFREPORT", ReportOption(report.native()).value());
    EXPECT_THAT(Outcome(Folder.Path() / "missing", Folder.Path() / "out.mkv"),
                testing::Not(HasSubstr("report")));
    EXPECT_THAT(Contents(report), HasSubstr("ffmpeg started on"));
}

TEST_F(ExportReportTest, ChangesNothingOfWhatFfmpegSays)
{
    const fs::path& folder = Folder.Path();
    const fs::path video = folder / "video.mp4";
    ASSERT_NO_FATAL_FAILURE(MakeVideo(video, "64x64", 3));
    std::ofstream(folder / "garbage.mp4") << std::string(5000, 'x');
    fs::copy_file(video, folder / "cut.mp4");
    fs::resize_file(folder / "cut.mp4", fs::file_size(video) / 2);
    std::ofstream(folder / "empty.mp4").close();
    fs::create_directory(folder / "folder.mkv");

    const std::vector<std::pair<fs::path, fs::path>> exports = {
        {folder / "missing.mp4", folder / "out.mkv"},
        {folder / "garbage.mp4", folder / "out.mkv"},
        {folder / "cut.mp4", folder / "out.mkv"},
        {folder / "empty.mp4", folder / "out.mkv"},
        {folder, folder / "out.mkv"},
        {video, folder / "nowhere/out.mkv"},
        {video, folder / "folder.mkv"},
        {video, folder / "out.noformat"},
        {video, folder / "out.webm"}};
    std::vector<std::string> without;
    for (const auto& [source, output] : exports)
    {
        without.push_back(Outcome(source, output));
        EXPECT_FALSE(without.back().starts_with("0\n")) << source << output;
        EXPECT_GT(without.back().size(), 10U) << source << output;
    }
    const std::string report = EnableExportReport();
    for (std::size_t index = 0; index < exports.size(); ++index)
    {
        fs::remove(report);
        EXPECT_EQ(Outcome(exports[index].first, exports[index].second), without[index]);
        EXPECT_TRUE(fs::exists(report));
    }
    EXPECT_EQ(Outcome(video, folder / "out.mkv"), "0\n");
}

TEST_F(ExportReportTest, TellsOfBothPhasesOfARealExport)
{
    const fs::path source = Folder.Path() / "source.mp4";
    const fs::path output = Folder.Path() / "output.mkv";
    ASSERT_NO_FATAL_FAILURE(MakeVideo(source, "640x360", 70));
    ExportProgress progress(EnableExportReport());
    progress.Start(source.native(), output.native(), 60.0, 8.0);
    const std::string command =
        ExportCommand(realFfmpeg, source, output, Folder.Path() / "errors", "-ss 60.000 -t 8.000");
    auto status = std::async(std::launch::async, [&] { return std::system(command.c_str()); });

    std::vector<ExportProgressRecord> records;
    while (status.wait_for(5ms) != std::future_status::ready)
    {
        records.push_back(progress.Read());
    }
    ASSERT_EQ(status.get(), 0);
    records.push_back(progress.Read());
    const ExportProgressRecord& last = records.back();
    EXPECT_EQ(last.Phase, ExportPhase::Encoding);
    EXPECT_GT(last.Fraction, 0.95);
    EXPECT_GT(last.Speed, 0.0);

    const auto inPhase = [&](ExportPhase Phase)
    {
        return std::count_if(records.begin(), records.end(),
                             [&](const auto& Record) { return Record.Phase == Phase; });
    };
    EXPECT_GT(inPhase(ExportPhase::SeekingToIn), 0);
    EXPECT_GT(inPhase(ExportPhase::Encoding), 1);
    const double share = 60.0 / (60.0 + 8.0 * ExportProgress::EncodeCost);
    for (std::size_t index = 0; index < records.size(); ++index)
    {
        EXPECT_LT(records[index].Fraction, 1.0);
        EXPECT_GE(records[index].Fraction, index == 0 ? 0.0 : records[index - 1].Fraction);
        EXPECT_EQ(records[index].Fraction > share, records[index].Phase == ExportPhase::Encoding);
    }
    progress.Finish();
    EXPECT_EQ(progress.Read().Fraction, 1.0);
}
