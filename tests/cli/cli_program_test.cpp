// The program as its users meet it: run as a child process, with real files and a real or fake ffmpeg.

#include "support/cliprogram.h"

#include "process/stopsignals.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdio>

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace
{
using Json = nlohmann::json;

// -- Help and version

using CliHelp = CliProgram;

TEST_F(CliHelp, TellsTheVersion)
{
    const ProgramRun::End end = Run({"--version"});
    EXPECT_EQ(end.ExitCode, 0);
    EXPECT_EQ(end.Out, "movane " MOVANE_VERSION "\n");
    EXPECT_EQ(end.Err, "");
}

TEST_F(CliHelp, ListsTheCommands)
{
    const ProgramRun::End end = Run({"--help"});
    EXPECT_EQ(end.ExitCode, 0);
    EXPECT_THAT(end.Out, HasSubstr("export"));
    EXPECT_EQ(end.Err, "");
}

TEST_F(CliHelp, ListsTheOptionsOfExport)
{
    const ProgramRun::End end = Run({"export", "--help"});
    EXPECT_EQ(end.ExitCode, 0);
    for (const char* option : {"SOURCE", "--clip ", "--clips ", "--recordings-dir ", "--json",
                               "--dry-run", "--keep-going", "--fail-fast"})
    {
        EXPECT_THAT(end.Out, HasSubstr(option));
    }
}

TEST_F(CliHelp, FailsWhenItCanNotBePrinted)
{
    Setup.BeforeStart = [] { dup2(open("/dev/full", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); };
    const ProgramRun::End end = Run({"--help"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "movane: Standard output can't be written: No space left on device.\n");
}

// -- Wrong calls

using CliWrongCall = CliProgram;

TEST_F(CliWrongCall, NamesWhatIsWrongWithTheArguments)
{
    const std::string seeHelp = " (see movane --help).";
    ExpectRefusal({"--bogus"}, "The following argument was not expected: --bogus" + seeHelp);
    ExpectRefusal({"export"}, "SOURCE is required" + seeHelp);
    ExpectRefusal({"export", "a.mp4", "b.mp4", "--clip", "1-2"},
                  "The following argument was not expected: b.mp4" + seeHelp);
    ExpectRefusal({"export", "a.mp4", "b. ", "--clip", "1-2"},
                  "The following argument was not expected: b. " + seeHelp);
    ExpectRefusal({"export", "a.mp4", "--clip", "1-2", "--", "b.mp4"},
                  "The following argument was not expected: b.mp4" + seeHelp);
    ExpectRefusal({"b.mp4", "export", "a.mp4", "--clip", "1-2"},
                  "The following argument was not expected: b.mp4" + seeHelp);
    ExpectRefusal({"export", "a.mp4", "--clipp", "1-2"},
                  "The following arguments were not expected: 1-2 --clipp" + seeHelp);
    ExpectRefusal({"export", "a.mp4", "--clip"},
                  "--clip: 1 required [NAME=]IN-OUT missing" + seeHelp);
}

TEST_F(CliWrongCall, NeedsAClip)
{
    ExpectRefusal({"export", SampleVideo()},
                  "No clip is given: add --clip [NAME=]IN-OUT or --clips FILE.csv.");
}

TEST_F(CliWrongCall, NamesAMalformedClip)
{
    ExpectRefusal({"export", SampleVideo(), "--clip", "Intro"},
                  "--clip \"Intro\": a clip is written [NAME=]IN-OUT, such as Intro=1:15-1:20.5.");
    ExpectRefusal({"export", SampleVideo(), "--clip", "0-1", "--clip", "a=0-1:75"},
                  "--clip \"a=0-1:75\": \"1:75\" is not a time: write seconds, M:SS or H:MM:SS, "
                  "such as 75.5 or 1:15.5.");
}

TEST_F(CliWrongCall, NamesTheLineOfAMalformedTable)
{
    WriteFile(Work / "clips.csv", "0,1,a\n1,two,b\n");
    ExpectRefusal({"export", SampleVideo(), "--clips", "clips.csv"},
                  "clips.csv, line 2: \"two\" is not a time: write seconds, M:SS or H:MM:SS, such "
                  "as 75.5 or 1:15.5.");
}

TEST_F(CliWrongCall, NamesATableThatCanNotBeRead)
{
    WriteFile(Work / "empty.csv", "\n");
    ExpectRefusal({"export", SampleVideo(), "--clips", "no.csv"},
                  "no.csv can't be read: No such file or directory.");
    ExpectRefusal({"export", SampleVideo(), "--clips", "/proc/self/mem"},
                  "/proc/self/mem can't be read: Input/output error.");
    ExpectRefusal({"export", SampleVideo(), "--clips", "."}, ". is a folder: name a CSV file.");
    ExpectRefusal({"export", SampleVideo(), "--clips", "empty.csv"}, "empty.csv has no clips.");
}

TEST_F(CliWrongCall, NamesASourceThatIsNoVideo)
{
    WriteFile(Work / "text.mp4", "just a text\n");
    const auto inWork = [this](const char* Name) { return (Work / Name).native(); };
    ExpectRefusal({"export", "", "--clip", "0-1"}, "No file was named: give the path of a video.");
    ExpectRefusal({"export", "no.mp4", "--clip", "0-1"},
                  inWork("no.mp4") + " does not exist: check the name.");
    ExpectRefusal({"export", Work.native(), "--clip", "0-1"},
                  Work.native() + " is a folder: choose a video in it.");
    ExpectRefusal({"export", "text.mp4", "--clip", "0-1"},
                  inWork("text.mp4") + " is not a video: choose a video.");
}

TEST_F(CliWrongCall, NamesAClipOutsideTheSource)
{
    const std::string& source = SampleVideo();
    ExpectRefusal({"export", source, "--clip", "0-1", "--clip", "a=3-2.5"},
                  "--clip \"a=3-2.5\": Out (2.500 s) is before In (3.000 s).");
    ExpectRefusal({"export", source, "--clip", "4-5"},
                  "--clip \"4-5\": In (4.000 s) is not before the end of " + source +
                      " (4.000 s).");
    ExpectRefusal({"export", source, "--clip", "1:00-"},
                  "--clip \"1:00-\": In (60.000 s) is not before the end of " + source +
                      " (4.000 s).");
    WriteFile(Work / "clips.csv", "0,1\n\n9,10,late\n");
    ExpectRefusal({"export", source, "--clips", "clips.csv"},
                  "clips.csv, line 3: In (9.000 s) is not before the end of " + source +
                      " (4.000 s).");
}

TEST_F(CliWrongCall, NeedsAnOutWhereTheLengthIsUnknown)
{
    const fs::path source = Work / "a.h264"; // pictures and nothing about them
    MakeMedia("-i " + SampleVideo() + " -map 0:v -c copy", source.native());
    ExpectRefusal({"export", source.native(), "--clip", "a=1-"}, "--clip \"a=1-\": the length of " +
                                                                     source.native() +
                                                                     " is unknown: give an Out.");
}

TEST_F(CliWrongCall, NamesAPathInAFolderThatIsGone)
{
    const auto inFolderThatIsGone = [this](const std::vector<std::string>& arguments)
    {
        fs::create_directory(Work);
        Setup.BeforeStart = [] { fs::remove(fs::current_path()); };
        ExpectRefusal(arguments,
                      "a can't be resolved, the current folder is gone: go to another one.");
    };
    inFolderThatIsGone({"export", "a", "--clip", "0-1"});
    inFolderThatIsGone({"export", SampleVideo(), "--clip", "0-1", "--recordings-dir", "a"});
}

TEST_F(CliWrongCall, NamesARecordingsFolderOfTheEnvironmentInAFolderThatIsGone)
{
    Setup.BeforeStart = [] { fs::remove(fs::current_path()); };
    Setup.Environment["MOVANE_RECORDINGS_DIR"] = "a";
    ExpectRefusal(
        {"export", SampleVideo(), "--clip", "0-1"},
        "The folder a/clips for exported clips can't be made: No such file or directory.");
    EXPECT_FALSE(fs::exists(Folder.Path() / "home"));
}

TEST_F(CliWrongCall, MayBeAnInThatOnlyRoundingMovesToTheEnd)
{
    EXPECT_EQ(Export({"--clip", "3.9996-9"}).ExitCode, 2);
}

TEST_F(CliWrongCall, NeedsANameForTheRecordingsFolder)
{
    ExpectRefusal({"export", SampleVideo(), "--clip", "0-1", "--recordings-dir", ""},
                  "--recordings-dir is empty: name a folder.");
}

TEST_F(CliWrongCall, NamesARecordingsFolderThatCanNotBeMade)
{
    WriteFile(Work / "file", "");
    const ProgramRun::End end = Export({"--clip", "0-1", "--recordings-dir", "file"});
    EXPECT_EQ(end.ExitCode, 2);
    EXPECT_EQ(end.Out, "");
    EXPECT_THAT(LinesOf(end.Err),
                ElementsAre(AllOf(StartsWith("movane: "), HasSubstr((Work / "file").native()))));
}

TEST_F(CliWrongCall, NamesARuntimeFolderThatCanNotBeMade)
{
    WriteFile(Work / "file", "");
    Setup.Environment["MOVANE_RUNTIME_DIR"] = (Work / "file" / "run").native();
    const ProgramRun::End end = Export({"--clip", "0-1"});
    EXPECT_EQ(end.ExitCode, 2);
    EXPECT_THAT(LinesOf(end.Err), ElementsAre(AllOf(StartsWith("movane: "),
                                                    HasSubstr((Work / "file" / "run").native()))));
    EXPECT_FALSE(fs::exists(Recordings));
}

TEST_F(CliWrongCall, NamesASourceThatCanNotBeRead)
{
    Setup.BeforeStart = GiveUpRootsAccess;
    fs::copy_file(SampleVideo(), Work / "secret.mp4");
    fs::permissions(Work / "secret.mp4", fs::perms::none);
    ExpectRefusal({"export", "secret.mp4", "--clip", "0-1"},
                  (Work / "secret.mp4").native() +
                      " can't be read (Permission denied): check its permissions.");
}

TEST_F(CliWrongCall, NamesARecordingsFolderThatCanNotBeWritten)
{
    Setup.BeforeStart = GiveUpRootsAccess;
    fs::create_directories(Clips);
    fs::permissions(Clips, fs::perms::owner_read | fs::perms::owner_exec);
    const ProgramRun::End end = Export({"--clip", "0-1"});
    fs::permissions(Clips, fs::perms::owner_all);
    EXPECT_EQ(end.ExitCode, 2);
    EXPECT_THAT(LinesOf(end.Err),
                ElementsAre(AllOf(StartsWith("movane: "), HasSubstr(Clips.native()))));
    EXPECT_EQ(end.Out, "");
}

// -- What ffmpeg is given, and what is told of it

using CliExport = CliProgram;

TEST_F(CliExport, PrintsStatusTextsAndThePathOfEachFile)
{
    UseFake();
    const ProgramRun::End end = Export({"--clip", "Intro=0-1", "--clip", "2-3.5"});
    EXPECT_EQ(end.ExitCode, 0);
    EXPECT_EQ(end.Err, "");
    EXPECT_THAT(
        LinesOf(end.Out),
        ElementsAre("Saved Intro from sample.mp4", "Exporting Intro to clip_00000_Intro.mkv...",
                    "Exported clip_00000_Intro.mkv", (Clips / "clip_00000_Intro.mkv").native(),
                    "Saved Clip 2 from sample.mp4", "Exporting Clip 2 to clip_00000_Clip_2.mkv...",
                    "Exported clip_00000_Clip_2.mkv", (Clips / "clip_00000_Clip_2.mkv").native()));
}

TEST_F(CliExport, PrintsOneJsonObjectALine)
{
    UseFake("case $out in *Bad*) echo 'Invalid data' >&2; exit 1 ;; esac; : > \"$out\"");
    const ProgramRun::End end = Export({"--json", "--clip", "Intro=0-1", "--clip", "Bad=1-2"});
    EXPECT_EQ(end.ExitCode, 1);
    std::vector<Json> objects;
    for (const std::string& line : LinesOf(end.Out))
    {
        objects.push_back(Json::parse(line));
    }
    const auto status = [](const char* Text) { return Json{{"type", "status"}, {"text", Text}}; };
    const auto notification = [](const char* Kind, const char* Text, int DurationMs)
    {
        return Json{{"type", "notification"},
                    {"kind", Kind},
                    {"title", "Clip Export"},
                    {"text", Text},
                    {"duration_ms", DurationMs}};
    };
    EXPECT_THAT(objects,
                ElementsAre(status("Saved Intro from sample.mp4"),
                            status("Exporting Intro to clip_00000_Intro.mkv..."),
                            status("Exported clip_00000_Intro.mkv"),
                            notification("info", "Exported clip_00000_Intro.mkv", 2200),
                            Json{{"type", "result"},
                                 {"clip", "Intro"},
                                 {"ok", true},
                                 {"file", (Clips / "clip_00000_Intro.mkv").native()},
                                 {"text", "Exported clip_00000_Intro.mkv"}},
                            status("Saved Bad from sample.mp4"),
                            status("Exporting Bad to clip_00000_Bad.mkv..."),
                            status("Clip export failed: Invalid data"),
                            notification("error", "Clip export failed: Invalid data", 3200),
                            Json{{"type", "result"},
                                 {"clip", "Bad"},
                                 {"ok", false},
                                 {"file", nullptr},
                                 {"text", "Clip export failed: Invalid data"}}));
}

TEST_F(CliExport, GivesFfmpegItsArgumentsOneByOne)
{
    const FakeFfmpeg fake = UseFake();
    Export({"--clip", "a=1.5-0:03.25"});
    EXPECT_THAT(fake.Arguments(),
                ElementsAre("-y", "-hide_banner", "-loglevel", "error", "-i", SampleVideo(), "-ss",
                            "1.500", "-t", "1.750", "-map", "0:v:0?", "-map", "0:a?", "-c:v",
                            "libx264", "-preset", "veryfast", "-crf", "18", "-pix_fmt", "yuv420p",
                            "-c:a", "copy", (Clips / "clip_00000_a.mkv").native()));
}

TEST_F(CliExport, FillsInTheEndsOfTheSource)
{
    const FakeFfmpeg fake = UseFake();
    EXPECT_EQ(Export({"--clip", "whole=-"}).ExitCode, 0);
    EXPECT_THAT(fake.Arguments()[7], "0.000");
    EXPECT_THAT(fake.Arguments()[9], "4.000");
    EXPECT_EQ(Export({"--clip=-2.5"}).ExitCode, 0);
    EXPECT_THAT(fake.Arguments()[9], "2.500");
}

TEST_F(CliExport, TakesAnOutPastTheEnd)
{
    const FakeFfmpeg fake = UseFake();
    EXPECT_EQ(Export({"--clip", "3-60"}).ExitCode, 0);
    EXPECT_THAT(fake.Arguments()[9], "57.000");
}

TEST_F(CliExport, DoesTheClipsOfTheArgumentsThenThoseOfTheTables)
{
    UseFake();
    WriteFile(Work / "one.csv", "\xEF\xBB\xBF"
                                "0,1,\"A, b\"\r\n,2\r\n");
    WriteFile(Work / "two.csv", "1,2,C\n");
    const ProgramRun::End end =
        Export({"--clips", "one.csv", "--clips", "two.csv", "--clip", "First=0-1"});
    EXPECT_EQ(end.ExitCode, 0);
    std::vector<std::string> saved;
    for (const std::string& line : LinesOf(end.Out))
    {
        if (line.starts_with("Saved "))
        {
            saved.push_back(line);
        }
    }
    EXPECT_THAT(saved, ElementsAre("Saved First from sample.mp4", "Saved A, b from sample.mp4",
                                   "Saved Clip 3 from sample.mp4", "Saved C from sample.mp4"));
}

TEST_F(CliExport, ReadsATableFromStandardInput)
{
    UseFake();
    WriteFile(Work / "in.csv", "0,1,a\n");
    Setup.BeforeStart = [] { dup2(open("in.csv", O_RDONLY | O_CLOEXEC), STDIN_FILENO); };
    EXPECT_EQ(Export({"--clips", "/dev/stdin"}).ExitCode, 0);
    EXPECT_TRUE(fs::exists(Clips / "clip_00000_a.mkv"));
}

TEST_F(CliExport, GoesOnWhenOneFails)
{
    UseFake("case $out in *Bad*) echo 'Invalid data' >&2; exit 1 ;; esac; : > \"$out\"");
    const ProgramRun::End end = Export(
        {"--clip", "a=0-1", "--clip", "Bad=1-2", "--clip", "short=1-1.04", "--clip", "b=2-3"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv", "clip_00000_b.mkv"));
    EXPECT_THAT(
        LinesOf(end.Err),
        ElementsAre("movane: --clip \"Bad=1-2\": Clip export failed: Invalid data",
                    "movane: --clip \"short=1-1.04\": Selected clip is too short to export."));
}

TEST_F(CliExport, EndsAtTheFirstFailureWhenAskedTo)
{
    UseFake("case $out in *Bad*) exit 1 ;; esac; : > \"$out\"");
    const ProgramRun::End end =
        Export({"--fail-fast", "--clip", "a=0-1", "--clip", "Bad=1-2", "--clip", "b=2-3"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv"));
    EXPECT_THAT(end.Out, Not(HasSubstr("Saved b")));
    EXPECT_EQ(LinesOf(end.Err).back(),
              "movane: --clip \"b=2-3\": not exported: an earlier clip failed.");
}

TEST_F(CliExport, NamesAsJsonTheClipsThatAFailureKeptFromTheirTurn)
{
    UseFake("exit 1");
    const ProgramRun::End end =
        Export({"--json", "--fail-fast", "--clip", "a=0-1", "--clip", "b=1-2", "--clip", "c=2-3"});
    EXPECT_EQ(end.ExitCode, 1);
    std::vector<std::string> results;
    for (const std::string& line : LinesOf(end.Out))
    {
        const Json object = Json::parse(line);
        if (object["type"] == "result")
        {
            EXPECT_EQ(object["ok"], false);
            results.push_back(object["clip"].get<std::string>() + ": " +
                              object["text"].get<std::string>());
        }
    }
    EXPECT_THAT(results,
                ElementsAre("a: Clip export failed.", "b: not exported: an earlier clip failed.",
                            "c: not exported: an earlier clip failed."));
}

TEST_F(CliExport, GivesALongNameItsExtension)
{
    UseFake();
    const std::string name(60, 'x');
    const fs::path file = Clips / ("clip_00000_" + std::string(52, 'x') + ".mkv");
    EXPECT_EQ(LinesOf(Export({"--clip", name + "=0-1"}).Out).back(), file.native());
    EXPECT_THAT(NamesIn(Clips), ElementsAre(file.filename().native()));
}

// -- What would be done

TEST_F(CliExport, SaysWhatItWouldDoAndTouchesNothing)
{
    const FakeFfmpeg fake = UseFake();
    const ProgramRun::End end =
        Export({"--dry-run", "--clip", "a b=0.5-1", "--clip", "a b=1-2", "--clip", "0-0.01"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "movane: --clip \"0-0.01\": Selected clip is too short to export.\n");
    EXPECT_FALSE(fs::exists(Recordings));
    EXPECT_EQ(fake.Runs(), 0U);
    const std::vector<std::string> lines = LinesOf(end.Out);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0], "a b: " + (Clips / "clip_00000_a_b.mkv").native());
    EXPECT_EQ(lines[2], "a b: " + (Clips / "clip_00001_a_b.mkv").native());

    // The command is the one that an export runs.
    fs::create_directories(Clips);
    EXPECT_EQ(std::system(lines[1].c_str()), 0); // NOLINT(concurrency-mt-unsafe)
    const std::vector<std::string> planned = fake.Arguments();
    fs::remove(Clips / "clip_00000_a_b.mkv");
    EXPECT_EQ(Export({"--clip", "a b=0.5-1"}).ExitCode, 0);
    EXPECT_EQ(fake.Arguments(), planned);
}

TEST_F(CliExport, SaysAsJsonWhatItWouldDo)
{
    UseFake();
    const ProgramRun::End end = Export({"--dry-run", "--json", "--clip", "a=0-1"});
    EXPECT_EQ(end.ExitCode, 0);
    const Json plan = Json::parse(end.Out);
    EXPECT_EQ(plan["type"], "plan");
    EXPECT_EQ(plan["clip"], "a");
    EXPECT_EQ(plan["file"], (Clips / "clip_00000_a.mkv").native());
    EXPECT_TRUE(plan["command"].get<std::string>().ends_with("clip_00000_a.mkv'"));
}

TEST_F(CliExport, SaysWhatItWouldNotDo)
{
    UseFake();
    fs::create_directories(Clips);
    for (int number = 0; number < 10000; ++number)
    {
        std::array<char, 32> name{};
        std::snprintf(name.data(), name.size(), "clip_%05d_a.mkv", number);
        WriteFile(Clips / name.data(), "");
    }
    const ProgramRun::End end = Export({"--dry-run", "--clip", "a=0-1", "--clip", "b=0-1"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "movane: --clip \"a=0-1\": Could not create clip export path.\n");
    EXPECT_THAT(end.Out, StartsWith("b: " + (Clips / "clip_00000_b.mkv").native() + "\n"));

    const ProgramRun::End told = Export({"--dry-run", "--json", "--clip", "a=0-1"});
    EXPECT_EQ(told.ExitCode, 1);
    const Json result = Json::parse(told.Out);
    EXPECT_EQ(result["type"], "result");
    EXPECT_EQ(result["clip"], "a");
    EXPECT_EQ(result["ok"], false);
    EXPECT_TRUE(result["file"].is_null());
    EXPECT_EQ(result["text"], "Could not create clip export path.");
}

TEST_F(CliExport, SaysTheCommandInItsOwnBytes)
{
    const FakeFfmpeg fake = UseFake();
    const fs::path source = Work / "two\nlines\t\x01.mp4";
    fs::copy_file(SampleVideo(), source);
    const ProgramRun::End end = Run({"export", source.native(), "--dry-run", "--clip", "a=0-1"});
    EXPECT_EQ(end.ExitCode, 0);
    const std::string command = end.Out.substr(end.Out.find('\n') + 1);
    fs::create_directories(Clips);
    EXPECT_EQ(std::system(command.c_str()), 0); // NOLINT(concurrency-mt-unsafe)
    EXPECT_EQ(fake.Arguments()[5], source.native());
}

TEST_F(CliExport, TellsThatFfmpegIsMissing)
{
    Setup.Environment["MOVANE_FFMPEG_BIN"] = "/no/ffmpeg";
    const ProgramRun::End end = Export({"--clip", "a=0-1"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err,
              "movane: --clip \"a=0-1\": MOVANE_FFMPEG_BIN is not executable: /no/ffmpeg\n");
}

TEST_F(CliExport, LeavesWhatAFailedFfmpegWrote)
{
    UseFake(": > \"$out\"; exit 1");
    EXPECT_EQ(Export({"--clip", "a=0-1"}).ExitCode, 1);
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv"));
}

TEST_F(CliExport, PutsTheFilesIntoTheFolderOfTheOption)
{
    UseFake();
    const ProgramRun::End end = Export({"--clip", "a=0-1", "--recordings-dir", "my rec"});
    EXPECT_THAT(LinesOf(end.Out),
                Contains((Work / "my rec" / "clips" / "clip_00000_a.mkv").native()));
    EXPECT_TRUE(fs::exists(Work / "my rec" / "clips" / "clip_00000_a.mkv"));
    EXPECT_FALSE(fs::exists(Recordings));
}

TEST_F(CliExport, GivesFfmpegNothingToRead)
{
    UseFake("cat > \"$out\"");
    WriteFile(Work / "typed", "q\n");
    Setup.BeforeStart = [] { dup2(open("typed", O_RDONLY | O_CLOEXEC), STDIN_FILENO); };
    EXPECT_EQ(Export({"--clip", "a=0-1"}).ExitCode, 0);
    EXPECT_EQ(ReadFile(Clips / "clip_00000_a.mkv"), "");
}

TEST_F(CliExport, LeavesBrokenPipesToFfmpegAsTheyWere)
{
    UseFake("grep SigIgn /proc/self/status > \"$out\"");
    EXPECT_EQ(Export({"--clip", "a=0-1"}).ExitCode, 0);
    const std::string line = ReadFile(Clips / "clip_00000_a.mkv");
    ASSERT_THAT(line, StartsWith("SigIgn:"));
    const unsigned long long ignored = std::stoull(line.substr(7), nullptr, 16);
    EXPECT_EQ(ignored & (1ULL << (SIGPIPE - 1)), 0U);
}

// -- When the output can't be written

TEST_F(CliExport, GoesOnWhenNobodyReadsTheOutput)
{
    UseFake();
    Setup.BeforeStart = []
    {
        int ends[2] = {-1, -1};
        if (pipe(ends) == 0)
        {
            close(ends[0]);
            dup2(ends[1], STDOUT_FILENO);
            close(ends[1]);
        }
    };
    const ProgramRun::End end = Export({"--clip", "a=0-1", "--clip", "b=1-2"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "movane: Standard output can't be written: Broken pipe.\n");
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv", "clip_00000_b.mkv"));
}

TEST_F(CliExport, GoesOnWithAllStandardStreamsClosed)
{
    UseFake();
    Setup.BeforeStart = []
    {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
    };
    EXPECT_EQ(Export({"--clip", "a=0-1"}).ExitCode, 0);
    EXPECT_EQ(ReadFile(Clips / "clip_00000_a.mkv"), "");
}

// -- Names that a shell, a format or a text encoding would stumble over

const std::vector<std::string> OddNames = {"two words",
                                           "it's",
                                           "say \"hi\"",
                                           "$(touch canary)",
                                           "`touch canary`",
                                           "; touch canary",
                                           "a\nb",
                                           "-dash",
                                           "100%d",
                                           "a to b",
                                           "\xC3\xA9t\xC3\xA9",
                                           "bad \xFF\xC3",
                                           "a=b",
                                           "*",
                                           "..",
                                           "/x/y"};

TEST_F(CliExport, TakesAnyClipName)
{
    UseFake();
    std::vector<std::string> arguments = {"--json"};
    for (const std::string& name : OddNames)
    {
        arguments.push_back("--clip=" + name + "=0-1");
    }
    const ProgramRun::End end = Export(arguments);
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    std::vector<std::string> names;
    for (const std::string& line : LinesOf(end.Out))
    {
        const Json object = Json::parse(line);
        if (object["type"] == "result")
        {
            names.push_back(object["clip"]);
            EXPECT_TRUE(fs::exists(object["file"].get<std::string>())) << line;
        }
    }
    std::vector<std::string> expected = OddNames;
    std::replace(expected.begin(), expected.end(), std::string("bad \xFF\xC3"),
                 std::string("bad \xEF\xBF\xBD\xEF\xBF\xBD"));
    EXPECT_EQ(names, expected);
    EXPECT_THAT(NamesIn(Work), IsEmpty()) << "a name was run";
}

TEST_F(CliExport, PrintsANameWithALineEndOnOneLine)
{
    UseFake();
    const ProgramRun::End end = Export({"--clip", "a\nb\x1B[2J=0-1"});
    EXPECT_EQ(LinesOf(end.Out).front(), "Saved a?b?[2J from sample.mp4");
}

// A terminal may take the letter U+009B for the beginning of a command, as it takes ESC and "[".
TEST_F(CliExport, PrintsNoControlCharacterInTwoBytes)
{
    UseFake();
    const ProgramRun::End end = Export({"--clip", "a\xC2\x9B"
                                                  "2J\xC2\x80\xC2\x9F\xC2\xA0\xC3\x84=0-1"});
    EXPECT_EQ(LinesOf(end.Out).front(), "Saved a?2J??\xC2\xA0\xC3\x84 from sample.mp4");
}

TEST_F(CliExport, TakesAnySourceName)
{
    const FakeFfmpeg fake = UseFake();
    for (const std::string& name : OddNames)
    {
        if (name == ".." || name.front() == '/')
        {
            continue;
        }
        const fs::path source = Work / (name + ".mp4");
        fs::copy_file(SampleVideo(), source);
        const ProgramRun::End end = Run({"export", "--clip", "a=0-1", "--", name + ".mp4"});
        EXPECT_EQ(end.ExitCode, 0) << name << ": " << end.Err;
        EXPECT_EQ(fake.Arguments().at(5), source.native());
        fs::remove(source);
    }
    EXPECT_THAT(NamesIn(Work), IsEmpty()) << "a name was run";
}

TEST_F(CliExport, TakesASourceNamedLikeAProtocolOrACommand)
{
    const FakeFfmpeg fake = UseFake();
    for (const char* name : {"a:b.mp4", "file:x", "export", "[a,b]"})
    {
        fs::copy_file(SampleVideo(), Work / name);
        EXPECT_EQ(Run({"export", name, "--clip", "a=0-1"}).ExitCode, 0) << name;
        EXPECT_EQ(fake.Arguments().at(5), (Work / name).native());
    }
}

TEST_F(CliExport, TakesAnyRecordingsFolder)
{
    UseFake();
    for (const std::string& name : OddNames)
    {
        const fs::path recordings = Folder.Path() / "odd" / ("x" + name);
        const ProgramRun::End end =
            Export({"--clip", "a=0-1", "--recordings-dir", recordings.native()});
        EXPECT_EQ(end.ExitCode, 0) << name << ": " << end.Err;
        EXPECT_TRUE(fs::exists(recordings / "clips" / "clip_00000_a.mkv")) << name;
    }
    EXPECT_THAT(NamesIn(Work), IsEmpty()) << "a name was run";
}

// -- When the file system fails under a running export

TEST_F(CliExport, GoesOnWithAFreshPanelWhenTheJobFails)
{
    // A link to itself is an error other than absence for whoever looks for the exported file.
    UseFake("cd " + Recordings.native() + " && mv clips away && ln -s clips clips");
    const ProgramRun::End end = Export({"--clip", "0-1", "--clip", "1-2"});
    EXPECT_EQ(end.ExitCode, 1);
    const std::vector<std::string> errors = LinesOf(end.Err);
    ASSERT_FALSE(errors.empty());
    EXPECT_THAT(errors, Contains(StartsWith("movane: --clip \"0-1\": Clip export failed: ")));
    EXPECT_EQ(errors.back(), "movane: --clip \"1-2\": Could not create clip export path.");
    EXPECT_THAT(end.Out, HasSubstr("Saved Clip 2 from"));
}

TEST_F(CliExport, WorksThoughItsOwnFolderIsGone)
{
    // An empty entry in PATH stands for the current folder, where ffmpeg would be looked for.
    Setup.Environment["PATH"] = ":/usr/bin";
    Setup.BeforeStart = [] { fs::remove(fs::current_path()); };
    EXPECT_EQ(Export({"--clip", "a=0-1"}).ExitCode, 0);
    EXPECT_GT(fs::file_size(Clips / "clip_00000_a.mkv"), 1000U);
}

// The shell and the C library take the current folder then.
TEST_F(CliExport, RunsNoFfmpegOfTheCurrentFolderWithoutAPath)
{
    const FakeFfmpeg fake(Work);
    for (const bool bEmpty : {false, true})
    {
        Setup.Environment.erase("PATH");
        if (bEmpty)
        {
            Setup.Environment["PATH"] = "";
        }
        const ProgramRun::End end = Export({"--clip", "0-1"});
        EXPECT_EQ(end.ExitCode, 0) << end.Err;
        EXPECT_EQ(fake.Runs(), 0U) << bEmpty;
    }
}

TEST_F(CliExport, TellsWhenTheSourceCanNoLongerBeLookedFor)
{
    fs::create_directory(Work / "in");
    fs::copy_file(SampleVideo(), Work / "in" / "a.mp4");
    UseFake(": > \"$out\"; cd " + Work.native() + " && mv in away && ln -s in in");
    const ProgramRun::End end = Run({"export", "in/a.mp4", "--clip", "0-1", "--clip", "1-2"});
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "movane: --clip \"1-2\": " + (Work / "in" / "a.mp4").native() +
                           " can't be found: Too many levels of symbolic links.\n");
}

// -- Signals

class CliStop : public CliProgram
{
protected:
    /// A fake that begins its file and then works until it is ended.
    FakeFfmpeg UseEndlessFake(const std::string& Before = "")
    {
        return UseFake(Before + ": > \"$out\"; : > " + Started.native() +
                       "; while :; do /bin/sleep 0.02; done");
    }

    /// Starts an export of two clips and returns when ffmpeg runs.
    std::unique_ptr<ProgramRun> StartExport(const std::vector<std::string>& More = {})
    {
        Setup.Arguments = {"export", SampleVideo(), "--clip", "a=0-1", "--clip", "b=1-2"};
        Setup.Arguments.insert(Setup.Arguments.end(), More.begin(), More.end());
        auto run = std::make_unique<ProgramRun>(Setup);
        EXPECT_TRUE(WaitFor([this] { return fs::exists(Started); })) << "ffmpeg is not run";
        return run;
    }

    void ExpectStopped(ProgramRun& Program, int Number, const std::string& Name)
    {
        const ProgramRun::End end = Program.Finish();
        EXPECT_EQ(end.ExitCode, 128 + Number);
        EXPECT_THAT(LinesOf(end.Err),
                    ElementsAre("movane: --clip \"a=0-1\": Clip export failed: stopped.",
                                "movane: Exported 0 of 2 clips, then stopped by " + Name + '.'));
        EXPECT_THAT(end.Out, Not(HasSubstr("Saved b")));
        EXPECT_THAT(NamesIn(Clips), IsEmpty());
        ExpectNothingLeft();
    }

    const fs::path Started = FakeFolder / "started";
};

TEST_F(CliStop, EndsTheRunningFfmpegAtSigint)
{
    const FakeFfmpeg fake = UseEndlessFake();
    const auto run = StartExport();
    run->Signal(SIGINT);
    ExpectStopped(*run, SIGINT, "SIGINT");
    EXPECT_EQ(fake.Runs(), 1U);
}

TEST_F(CliStop, EndsTheRunningFfmpegAtSigquit)
{
    UseEndlessFake();
    const auto run = StartExport();
    run->Signal(SIGQUIT);
    ExpectStopped(*run, SIGQUIT, "SIGQUIT");
}

TEST_F(CliStop, EndsTheRunningFfmpegAtSigterm)
{
    UseEndlessFake();
    const auto run = StartExport();
    run->Signal(SIGTERM);
    ExpectStopped(*run, SIGTERM, "SIGTERM");
}

TEST_F(CliStop, EndsTheRunningFfmpegAtSighup)
{
    UseEndlessFake();
    const auto run = StartExport();
    run->Signal(SIGHUP);
    ExpectStopped(*run, SIGHUP, "SIGHUP");
}

TEST_F(CliStop, TakesASignalToTheWholeGroupTheSameWay)
{
    for (const auto& [number, name] : {std::pair(SIGINT, "SIGINT"), std::pair(SIGQUIT, "SIGQUIT"),
                                       std::pair(SIGTERM, "SIGTERM"), std::pair(SIGHUP, "SIGHUP")})
    {
        UseEndlessFake();
        const auto run = StartExport();
        run->SignalGroup(number);
        ExpectStopped(*run, number, name);
        fs::remove(Started);
    }
}

TEST_F(CliStop, TakesTwoSignalsAtOnceForOne)
{
    UseEndlessFake();
    const auto run = StartExport();
    run->Signal(SIGTERM);
    run->SignalGroup(SIGTERM);
    ExpectStopped(*run, SIGTERM, "SIGTERM");
}

TEST_F(CliStop, NamesAsJsonEachClipThatItKeptFromItsTurn)
{
    UseEndlessFake();
    const auto run = StartExport({"--clip", "c=2-3", "--json"});
    run->Signal(SIGINT);
    std::vector<std::string> results;
    for (const std::string& line : LinesOf(run->Finish().Out))
    {
        const Json object = Json::parse(line);
        if (object["type"] == "result")
        {
            EXPECT_EQ(object["ok"], false);
            results.push_back(object["clip"].get<std::string>() + ": " +
                              object["text"].get<std::string>());
        }
    }
    EXPECT_THAT(results, testing::UnorderedElementsAre("a: Clip export failed: stopped.",
                                                       "b: not exported: stopped.",
                                                       "c: not exported: stopped."));
}

TEST_F(CliStop, ExportsNothingWhenTheSignalIsThereFirst)
{
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
    {
        const FakeFfmpeg fake = UseFake();
        // It waits, blocked, until the program is ready to take it.
        Setup.BeforeStart = [number]
        {
            sigset_t signals;
            sigemptyset(&signals);
            sigaddset(&signals, number);
            sigprocmask(SIG_BLOCK, &signals, nullptr);
            kill(getpid(), number);
        };
        const ProgramRun::End end = Export({"--clip", "a=0-1"});
        EXPECT_EQ(end.ExitCode, 128 + number);
        EXPECT_EQ(end.Out, "");
        EXPECT_THAT(end.Err, HasSubstr("Exported 0 of 1 clips, then stopped by SIG"));
        EXPECT_EQ(fake.Runs(), 0U);
        EXPECT_FALSE(fs::exists(Recordings));
    }
}

TEST_F(CliStop, KeepsTheClipsThatWereDone)
{
    UseFake("case $out in *_a*) : > \"$out\"; exit ;; esac; : > \"$out\"; : > " + Started.native() +
            "; while :; do /bin/sleep 0.02; done");
    const auto run = StartExport();
    run->Signal(SIGINT);
    const ProgramRun::End end = run->Finish();
    EXPECT_EQ(end.ExitCode, 130);
    EXPECT_THAT(end.Err, EndsWith("movane: Exported 1 of 2 clips, then stopped by SIGINT.\n"));
    EXPECT_THAT(NamesIn(Clips), ElementsAre("clip_00000_a.mkv"));
    ExpectNothingLeft();
}

TEST_F(CliStop, KillsTheEncoderAtASecondSignalAndEndsInOrder)
{
    UseEndlessFake("trap '' TERM; ");
    const auto run = StartExport();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(WaitFor(
        [&run]
        {
            run->Signal(SIGINT);
            return run->HasEnded();
        }));
    // Sooner than a patient stop kills an encoder that does not listen.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(4));
    EXPECT_EQ(run->Finish().ExitCode, 130);
    EXPECT_TRUE(WaitFor([] { return ProgramRun::LeftChildren().empty(); }));
    ExpectNothingLeft();
}

TEST_F(CliStop, EndsTheProcessAtAThirdSignal)
{
    for (const int number : {SIGINT, SIGTERM})
    {
        const auto stopNever = [number]
        {
            std::signal(number, SIG_DFL); // a caller in the background may have it ignored
            const StopSignals stop([] { std::fputs("stop ", stderr); },
                                   [] { std::fputs("kill", stderr); });
            EXPECT_FALSE(WaitFor(
                [number]
                {
                    kill(getpid(), number);
                    return false;
                }));
        };
        EXPECT_EXIT(stopNever(), testing::ExitedWithCode(128 + number), "^stop kill$");
    }
}

TEST_F(CliStop, LeavesASignalIgnoredThatWasIgnored)
{
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
    {
        UseFake(": > \"$out\"; : > " + Started.native() + "; until [ -e " +
                (FakeFolder / "go").native() + " ]; do /bin/sleep 0.01; done");
        Setup.BeforeStart = [number] { std::signal(number, SIG_IGN); };
        const auto run = StartExport();
        run->Signal(number);
        WriteFile(FakeFolder / "go", "");
        EXPECT_EQ(run->Finish().ExitCode, 0) << number;
        ExpectNothingLeft();
        fs::remove(FakeFolder / "go");
        fs::remove(Started);
    }
}

// So a shell without job control starts what is to run in the background.
TEST_F(CliStop, TakesTheSignalsThatWereNotIgnoredAmongThoseThatWere)
{
    UseEndlessFake();
    Setup.BeforeStart = [] { std::signal(SIGINT, SIG_IGN); };
    const auto run = StartExport();
    run->Signal(SIGINT);
    run->Signal(SIGTERM);
    ExpectStopped(*run, SIGTERM, "SIGTERM");
}

// -- The real ffmpeg

std::string OutputOf(const std::string& Command)
{
    std::string output;
    if (FILE* const pipe = popen(Command.c_str(), "r"); pipe != nullptr)
    {
        std::array<char, 65536> buffer = {};
        for (std::size_t size = 0; (size = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
        {
            output.append(buffer.data(), size);
        }
        EXPECT_EQ(pclose(pipe), 0) << Command;
    }
    return output;
}

std::string Probe(const std::string& Path, const std::string& Arguments)
{
    return OutputOf("ffprobe -v error -of default=nw=1:nk=1 " + Arguments + " '" + Path + "'");
}

// The grey picture with that number, counted from 0.
std::string PictureOf(const std::string& Path, int Number)
{
    return OutputOf("ffmpeg -nostdin -v error -i '" + Path + "' -vf \"select=eq(n\\," +
                    std::to_string(Number) + ")\" -frames:v 1 -f rawvideo -pix_fmt gray -");
}

double MeanSquaredError(const std::string& A, const std::string& B)
{
    EXPECT_EQ(A.size(), B.size());
    double sum = 0.0;
    for (std::size_t i = 0; i < std::min(A.size(), B.size()); ++i)
    {
        const double difference =
            static_cast<unsigned char>(A[i]) - static_cast<unsigned char>(B[i]);
        sum += difference * difference;
    }
    return A.empty() ? HUGE_VAL : sum / static_cast<double>(A.size());
}

class CliRealExport : public CliProgram
{
protected:
    std::string ExportOne(const std::string& Clip)
    {
        const ProgramRun::End end = Export({"--clip", Clip});
        EXPECT_EQ(end.ExitCode, 0) << end.Err;
        return LinesOf(end.Out).back();
    }
    static constexpr int FramesPerSec = 25; ///< of the sample
};

TEST_F(CliRealExport, IsMatroskaWithH264InYuv420p)
{
    const std::string file = ExportOne("a=1-2");
    EXPECT_THAT(Probe(file, "-show_entries format=format_name"), StartsWith("matroska"));
    EXPECT_EQ(Probe(file, "-select_streams v -show_entries stream=codec_name,pix_fmt"),
              "h264\nyuv420p\n");
    EXPECT_EQ(Probe(file, "-select_streams a -show_entries stream=codec_name"), "aac\n");
}

TEST_F(CliRealExport, IsAsLongAsTheClipToWithinOneFrame)
{
    const std::string file = ExportOne("a=0.5-2.3");
    EXPECT_NEAR(std::stod(Probe(file, "-show_entries format=duration")), 1.8, 1.0 / FramesPerSec);
    EXPECT_NEAR(std::stod(Probe(file, "-select_streams v -count_frames -show_entries "
                                      "stream=nb_read_frames")),
                1.8 * FramesPerSec, 1.0);
}

TEST_F(CliRealExport, BeginsWithTheFrameAtIn)
{
    // Neither the first frame nor a key frame of the source.
    constexpr int FrameAtIn = 33;
    const std::string picture = PictureOf(ExportOne("a=1.32-2"), 0);
    std::vector<double> errors;
    for (int number = FrameAtIn - 3; number <= FrameAtIn + 3; ++number)
    {
        errors.push_back(MeanSquaredError(picture, PictureOf(SampleVideo(), number)));
    }
    const auto best = std::min_element(errors.begin(), errors.end());
    EXPECT_EQ(best - errors.begin(), 3) << testing::PrintToString(errors);
    EXPECT_LT(*best, 10.0); // the same picture but for the loss of encoding it again
}

TEST_F(CliRealExport, CopiesTheAudioPacketsOfTheSource)
{
    const std::string hashes =
        "-select_streams a -show_packets -show_data_hash md5 -show_entries packet=data_hash";
    const std::string ofClip = Probe(ExportOne("a=1-2"), hashes);
    EXPECT_THAT(Probe(SampleVideo(), hashes), HasSubstr(ofClip));
    EXPECT_NEAR(static_cast<double>(LinesOf(ofClip).size()), 44100.0 / 1024.0, 2.0);
}

TEST_F(CliRealExport, TakesNamesThatAShellWouldRun)
{
    const fs::path folder = Work / "it's $(touch canary) `touch canary` \"x\"\n%d";
    fs::create_directory(folder);
    fs::copy_file(SampleVideo(), folder / "-a\xFF.mp4");
    Setup.WorkingFolder = folder;
    const ProgramRun::End end =
        Run({"export", "--clip", "a=0-0.5", "--recordings-dir", "rec 'x'", "--", "-a\xFF.mp4"});
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_GT(fs::file_size(folder / "rec 'x'" / "clips" / "clip_00000_a.mkv"), 1000U);
    EXPECT_THAT(NamesIn(folder), ElementsAre("-a\xFF.mp4", "rec 'x'"));
}

TEST_F(CliRealExport, TellsHowFarItIsAsJson)
{
    const fs::path longSource = Work / "long.mp4";
    MakeMedia("-stream_loop 60 -i " + SampleVideo() + " -c copy", longSource.native());
    const ProgramRun::End end =
        Run({"export", "long.mp4", "--json", "--clip", "a=0-", "--clip", "b=0-1"});
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    double last = 0.0;
    int count = 0;
    for (const std::string& line : LinesOf(end.Out))
    {
        const Json object = Json::parse(line);
        if (object["type"] != "progress" || object["clip"] != "a")
        {
            continue;
        }
        ++count;
        EXPECT_EQ(object["index"], 1);
        EXPECT_EQ(object["count"], 2);
        EXPECT_GE(object["fraction"].get<double>(), last);
        EXPECT_NEAR(object["whole_fraction"].get<double>(),
                    object["fraction"].get<double>() * 244.0 / 245.0, 0.001);
        EXPECT_TRUE(object["seconds_left"].is_null() || object["seconds_left"].get<double>() >= 0);
        last = object["fraction"];
    }
    EXPECT_GT(count, 0);
    EXPECT_LE(last, 1.0);
}

TEST_F(CliRealExport, EndsInOrderWhenItIsStopped)
{
    const fs::path longSource = Work / "long.mp4";
    MakeMedia("-stream_loop 500 -i " + SampleVideo() + " -c copy", longSource.native());
    for (const int number : {SIGINT, SIGQUIT, SIGTERM})
    {
        Setup.Arguments = {"export", "long.mp4", "--clip", "a=0-", "--clip", "b=0-1"};
        ProgramRun run(Setup);
        ASSERT_TRUE(WaitFor([this] { return fs::exists(Clips / "clip_00000_a.mkv"); }));
        run.SignalGroup(number);
        const ProgramRun::End end = run.Finish();
        EXPECT_EQ(end.ExitCode, 128 + number);
        EXPECT_THAT(end.Err, HasSubstr("Exported 0 of 2 clips, then stopped by "));
        EXPECT_THAT(NamesIn(Clips), IsEmpty());
        ExpectNothingLeft();
    }
}
} // namespace
