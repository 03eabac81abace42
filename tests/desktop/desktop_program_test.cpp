// The desktop program as a child without a screen, with a person at its keys: how it ends when it is told to
// from outside, and what it remembers for its next start.

#include "support/cliprogram.h"
#include "support/rotatedvideo.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>
#include <thread>

#include <sys/stat.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace
{
class DesktopProgram : public CliProgram
{
protected:
    DesktopProgram()
    {
        mkfifo(KeysPipe.c_str(), 0600);
        Keys = open(KeysPipe.c_str(), O_RDWR | O_CLOEXEC);
        const std::map<std::string, std::string> further = {
            {"QT_QPA_PLATFORM", "offscreen"},
            {"QT_QPA_GENERIC_PLUGINS", "typist"},
            {"QT_PLUGIN_PATH", MOVANE_TEST_PLUGINS},
            {"MOVANE_TEST_KEYS", KeysPipe.native()},
            {"MOVANE_TEST_TEXTS", TextsFile.native()},
            {"MOVANE_AUDIO", "null"},
            {"LC_ALL", "C.UTF-8"}, // Qt 6.8 says on standard error that it dislikes another
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"}};
        Setup.Environment.insert(further.begin(), further.end());
    }
    ~DesktopProgram() override { close(Keys); }

    /// Starts the program and waits until this text is to be seen.
    std::unique_ptr<ProgramRun> Start(const std::vector<std::string>& Files,
                                      const std::string& Text)
    {
        fs::remove(TextsFile);
        Setup.Arguments = Files;
        auto run = std::make_unique<ProgramRun>(Setup);
        EXPECT_TRUE(Shows(Text));
        return run;
    }

    /// Waits until a text is to be seen; false, with what is there instead, when it does not come.
    testing::AssertionResult Shows(const std::string& Text) const
    {
        const bool bShown =
            WaitFor([&] { return ReadFile(TextsFile).find(Text) != std::string::npos; });
        return bShown ? testing::AssertionSuccess()
                      : testing::AssertionFailure()
                            << Text << " is not shown, but " << ReadFile(TextsFile);
    }

    /// Presses a key, and waits for the text that it brings.
    testing::AssertionResult Press(const std::string& Key, const std::string& Text) const
    {
        Type(Key + '\n');
        return Shows(Text);
    }
    void Type(const std::string& Lines) const
    {
        EXPECT_EQ(write(Keys, Lines.data(), Lines.size()), static_cast<ssize_t>(Lines.size()));
    }

    /// Saves the whole of a video that ends at that time as a clip.
    void SaveTheWhole(const std::string& End)
    {
        ASSERT_TRUE(Press("I", "Current Range: "));
        ASSERT_TRUE(Press("End", "Current: " + End));
        ASSERT_TRUE(Press("O", "Current Range: 00:00"));
        ASSERT_TRUE(Press("+", "Saved Clip 1 from "));
    }
    /// Saves it and begins to export it.
    void ExportTheWhole(const std::string& End)
    {
        SaveTheWhole(End);
        ASSERT_TRUE(Press("E", "clip_00000_Clip_1.mkv"));
        ASSERT_TRUE(WaitFor([this] { return fs::exists(Clips / "clip_00000_Clip_1.mkv"); }));
    }

    /// Tells the program to end, and waits until it has.
    void EndInOrder(ProgramRun& Run)
    {
        Run.Signal(SIGTERM);
        ExpectEndInOrder(Run);
    }
    void ExpectEndInOrder(ProgramRun& Run)
    {
        const auto begin = std::chrono::steady_clock::now();
        const ProgramRun::End end = Run.Finish();
        EXPECT_EQ(end.ExitCode, 0);
        EXPECT_THAT(end.Err, Not(HasSubstr("movane: ")));
        // Sooner than an encoder is killed that was asked in vain.
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
        ExpectNothingLeft();
    }

    const fs::path KeysPipe = Folder.Path() / "keys";
    const fs::path TextsFile = Folder.Path() / "texts";
    int Keys = -1;
};

// -- The end

TEST_F(DesktopProgram, EndsInOrderAtSigterm)
{
    const auto run = Start({SampleVideo()}, "sample.mp4");
    EndInOrder(*run);
}

TEST_F(DesktopProgram, EndsAtASigtermThatIsThereFirst)
{
    // It waits, blocked, until the program is ready to take it.
    Setup.BeforeStart = []
    {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGTERM);
        sigprocmask(SIG_BLOCK, &signals, nullptr);
        kill(getpid(), SIGTERM);
    };
    Setup.Arguments = {SampleVideo()};
    ProgramRun run(Setup);
    ExpectEndInOrder(run);
}

TEST_F(DesktopProgram, AsksForClipsAtAKeyButNotAtSigterm)
{
    const auto run = Start({SampleVideo()}, "sample.mp4");
    SaveTheWhole("00:04");
    ASSERT_TRUE(Press("Ctrl+Q", "1 clip was not exported and will be lost: close anyway?"));
    EndInOrder(*run);
}

TEST_F(DesktopProgram, EndsWhenTheLossOfClipsIsAccepted)
{
    const auto run = Start({SampleVideo()}, "sample.mp4");
    SaveTheWhole("00:04");
    ASSERT_TRUE(Press("Ctrl+Q", "1 clip was not exported and will be lost: close anyway?"));
    Type("Tab\nSpace\n"); // from Stay to Close
    ExpectEndInOrder(*run);
}

TEST_F(DesktopProgram, StopsTheRealEncoderAtSigterm)
{
    const fs::path source = Work / "long.mp4";
    MakeMedia("-stream_loop 500 -i " + SampleVideo() + " -c copy -t 2000", source.native());
    const auto run = Start({source.native()}, "long.mp4");
    ExportTheWhole("33:20");
    EndInOrder(*run);
    EXPECT_THAT(NamesIn(Clips), IsEmpty());
}

TEST_F(DesktopProgram, StopsAScriptInTheEncodersPlaceAtSigterm)
{
    UseFake(": > \"$out\"; while :; do /bin/sleep 0.02; done");
    const auto run = Start({SampleVideo()}, "sample.mp4");
    ExportTheWhole("00:04");
    EndInOrder(*run);
    EXPECT_THAT(NamesIn(Clips), IsEmpty());
}

TEST_F(DesktopProgram, RemovesTheUnfinishedFileWhenTheEncoderGetsTheSignalToo)
{
    UseFake("trap 'exit 1' TERM; : > \"$out\"; while :; do /bin/sleep 0.02; done");
    const auto run = Start({SampleVideo()}, "sample.mp4");
    ExportTheWhole("00:04");
    run->SignalGroup(SIGTERM);
    ExpectEndInOrder(*run);
    EXPECT_THAT(NamesIn(Clips), IsEmpty());
}

// Few starts here; script/soak does 200. MOVANE_STARTS says how many, MOVANE_SOAK_SEED which moments.
TEST_F(DesktopProgram, EndsInOrderAtAnyMoment)
{
    const auto numberFrom = [](const char* variable, int otherwise)
    {
        const char* value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
        return value == nullptr ? otherwise : std::atoi(value);
    };
    const int count = numberFrom("MOVANE_STARTS", 8);
    const int seed = numberFrom("MOVANE_SOAK_SEED", 20261121);
    std::cout << count << " starts, MOVANE_SOAK_SEED=" << seed << std::endl;
    std::mt19937 random(static_cast<unsigned>(seed));
    std::uniform_int_distribution moment(0, 1500);
    const fs::path source = Work / "long.mp4";
    MakeMedia("-stream_loop 500 -i " + SampleVideo() + " -c copy -t 2000", source.native());
    Setup.Arguments = {SampleVideo(), source.native()};
    int killedEarly = 0;
    std::chrono::milliseconds longest{0};
    for (int i = 0; i < count && !HasFailure(); ++i)
    {
        SCOPED_TRACE(i);
        fs::remove(TextsFile);
        ProgramRun run(Setup);
        // Of four: two while it starts and loads, one while it plays, one while it exports.
        if (i % 4 >= 2)
        {
            ASSERT_TRUE(Shows("long.mp4"));
        }
        if (i % 4 == 2)
        {
            Type("Space\n");
        }
        else if (i % 4 == 3)
        {
            ASSERT_NO_FATAL_FAILURE(SaveTheWhole("33:20"));
            Type("E\n");
        }
        // Not to wait for something: the moment is what is tried.
        std::this_thread::sleep_for(std::chrono::milliseconds(moment(random)));
        const auto begin = std::chrono::steady_clock::now();
        run.Signal(SIGTERM);
        const ProgramRun::End end = run.Finish();
        longest = std::max(longest, std::chrono::duration_cast<std::chrono::milliseconds>(
                                        std::chrono::steady_clock::now() - begin));
        // Before it takes signals it ends as any program does.
        const bool bEarly = end.Signal == SIGTERM && !fs::exists(TextsFile);
        killedEarly += bEarly ? 1 : 0;
        EXPECT_TRUE(end.ExitCode == 0 || bEarly) << end.ExitCode << ", signal " << end.Signal;
        for (const std::string& line : LinesOf(end.Err))
        {
            // What the platform without a screen can't do.
            EXPECT_THAT(line, HasSubstr("This plugin does not support "));
        }
        EXPECT_EQ(end.Out, "");
        ExpectNothingLeft();
        EXPECT_THAT(NamesIn(Clips), IsEmpty());
    }
    std::cout << killedEarly << " ended before they took signals; the longest end took "
              << longest.count() << " ms" << std::endl;
    EXPECT_LT(longest, std::chrono::seconds(5));
}

// -- The start

TEST_F(DesktopProgram, OpensTheVideoOfItsLastRun)
{
    EndInOrder(*Start({SampleVideo()}, "sample.mp4"));
    const auto run = Start({}, "sample.mp4");
    EXPECT_THAT(ReadFile(TextsFile), Not(HasSubstr("does not exist")));
    EndInOrder(*run);
}

TEST_F(DesktopProgram, SaysThatTheVideoOfItsLastRunIsGone)
{
    const fs::path source = Work / "gone.mp4";
    fs::copy_file(SampleVideo(), source);
    EndInOrder(*Start({source.native()}, "gone.mp4"));
    fs::remove(source);
    EndInOrder(*Start({}, source.native() + " does not exist"));
}

// As a crash ends it, or a person whose program hangs.
TEST_F(DesktopProgram, BeginsEmptyAfterAStartThatDidNotComeThrough)
{
    const fs::path mark = Folder.Path() / "home/.local/state/movane/opening";
    const fs::path bad = Work / "bad.mp4";
    fs::copy_file(SampleVideo(), bad);
    EndInOrder(*Start({SampleVideo()}, "sample.mp4"));
    for (const bool bNamed : {true, false})
    {
        SCOPED_TRACE(bNamed);
        if (!bNamed)
        {
            EndInOrder(*Start({bad.native()}, "bad.mp4"));
        }
        Setup.Arguments = bNamed ? std::vector{bad.native()} : std::vector<std::string>();
        {
            ProgramRun run(Setup);
            ASSERT_TRUE(
                WaitFor([&] { return ReadFile(mark).find("bad.mp4") != std::string::npos; }));
            run.Signal(bNamed ? SIGABRT : SIGKILL);
            EXPECT_NE(run.Finish().Signal, 0);
        }
        EndInOrder(*Start({}, "No video is opened, because the program ended while it opened " +
                                  bad.native() + ": press Ctrl+O to choose one."));
        EXPECT_THAT(ReadFile(TextsFile), Not(HasSubstr("Source: bad.mp4")));
    }
    // The bad one is not the last one either for the start after that.
    const auto run = Start({}, "Source: No active video source");
    EXPECT_THAT(ReadFile(TextsFile), Not(HasSubstr("bad.mp4")));
    EndInOrder(*run);
}

TEST_F(DesktopProgram, OpensWhatIsNamedAfterAStartThatDidNotComeThrough)
{
    Setup.Arguments = {SampleVideo()};
    {
        ProgramRun run(Setup);
        ASSERT_TRUE(WaitFor(
            [&] { return fs::exists(Folder.Path() / "home/.local/state/movane/opening"); }));
        run.Signal(SIGKILL);
        EXPECT_NE(run.Finish().Signal, 0);
    }
    EndInOrder(*Start({SampleVideo()}, "Source: sample.mp4"));
}

TEST_F(DesktopProgram, AVideoThatIsOpenForSomeSecondsHasComeThrough)
{
    {
        const auto run = Start({SampleVideo()}, "sample.mp4");
        ASSERT_TRUE(WaitFor(
            [&] { return !fs::exists(Folder.Path() / "home/.local/state/movane/opening"); }));
        run->Signal(SIGKILL);
        EXPECT_NE(run->Finish().Signal, 0);
    }
    EndInOrder(*Start({}, "Source: sample.mp4"));
}

TEST_F(DesktopProgram, OpensAVideoThatIsToBeTurned)
{
    const fs::path silent = Work / "silent.mp4";
    MakeMedia("-i " + SampleVideo() + " -an -c copy", silent.native());
    const fs::path turned = Work / "turned.mp4";
    MakeRotatedVideo(silent.native(), 90, turned.native());
    const auto run = Start({"--video=sw", turned.native()}, "Source: turned.mp4");
    ASSERT_TRUE(Press(".", "0:00:00.040 / "));
    EndInOrder(*run);
}

TEST_F(DesktopProgram, OpensAFileOfACurrentFolderWhateverItsName)
{
    Setup.WorkingFolder = Work / "lat\xE9";
    fs::create_directory(Setup.WorkingFolder);
    fs::copy_file(SampleVideo(), Setup.WorkingFolder / "here.mp4");
    EndInOrder(*Start({"here.mp4"}, "Source: here.mp4"));
    EndInOrder(*Start({"./here.mp4"}, "Source: here.mp4"));
}

TEST_F(DesktopProgram, OpensTheFileThatTheSystemFindsBehindALink)
{
    fs::create_directories(Work / "real/sub");
    fs::copy_file(SampleVideo(), Work / "real/there.mp4");
    fs::create_directory_symlink(Work / "real/sub", Work / "link");
    EndInOrder(*Start({(Work / "link/../there.mp4").native()}, "Source: there.mp4"));
}

// The toolkit has options of its own, which take files and plugins.
TEST_F(DesktopProgram, TakesEachArgumentForAFileWhateverTheToolkitWouldDoWithIt)
{
    const std::vector<std::string> names = {
        "-platform",        "-platformpluginpath", "-platformtheme", "-plugin",
        "-qwindowgeometry", "-qwindowicon",        "-qwindowtitle",  "-style",
        "-style=windows",   "-stylesheet",         "-session",       "-reverse",
        "-display",         "-geometry",           "-title",         "-qmljsdebugger=port:1",
        "--platform",       "--stylesheet"};
    Setup.WorkingFolder = Work / "folder";
    fs::create_directory(Setup.WorkingFolder);
    for (const std::string& name : names)
    {
        fs::copy_file(SampleVideo(), Setup.WorkingFolder / name);
    }
    for (std::size_t i = 0; i < names.size(); i += 3)
    {
        const auto run =
            Start({"--", names[i], names[i + 1], names[i + 2]}, "Source: " + names[i + 2]);
        for (std::size_t j = i; j < i + 3; ++j)
        {
            EXPECT_TRUE(Shows(names[j] + " – ")) << names[j];
        }
        EndInOrder(*run);
    }
}

TEST_F(DesktopProgram, LoadsNoPluginThatFilesOfTheCurrentFolderName)
{
    const fs::path trespass = Folder.Path() / "trespass";
    Setup.Environment["MOVANE_TEST_TRESPASS"] = trespass.native();
    Setup.WorkingFolder = Work / "folder";
    for (const char* folder : {"-platformq", "platforms", "plugins/platforms", "generic", "styles"})
    {
        fs::create_directories(Setup.WorkingFolder / folder);
        fs::copy_file(MOVANE_TEST_TRESPASSER, Setup.WorkingFolder / folder / "trespasser.so");
    }
    for (const char* name : {"-platform", "-platform0", "-platformpluginpath", "z.mp4"})
    {
        fs::copy_file(SampleVideo(), Setup.WorkingFolder / name);
    }
    for (const char* name : {"qt.conf", "qt6.conf"})
    {
        WriteFile(Setup.WorkingFolder / name, "[Paths]\nPrefix=.\nPlugins=.\n");
    }
    Setup.Arguments = {"--",         "-platform", "-platform0", "-platformpluginpath",
                       "-platformq", "z.mp4"};
    EndInOrder(*Start(Setup.Arguments, "-platformpluginpath – "));
    EXPECT_FALSE(fs::exists(trespass));
}

// -- What a file makes the program open

TEST_F(DesktopProgram, OpensNothingButTheGivenFileAndNoSocketWhateverItHolds)
{
    if (access("/usr/bin/strace", X_OK) != 0)
    {
        GTEST_SKIP() << "needs strace";
    }
    const fs::path folder = Work / "folder";
    const std::map<std::string, std::string> texts = {
        {"sdp.mp4", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 239.255.0.1\nt=0 0\n"
                    "m=video 5004 RTP/AVP 96\na=rtpmap:96 H264/90000\n"},
        {"ffconcat.mp4", "ffconcat version 1.0\nfile other.mp4\nfile other.m3u8\n"},
        {"hls.mp4", "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\nother.ts\n"
                    "#EXT-X-ENDLIST\n"},
        {"dash.mp4",
         "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
         "mediaPresentationDuration=\"PT4S\" "
         "profiles=\"urn:mpeg:dash:profile:isoff-on-demand:2011\">"
         "<Period><AdaptationSet mimeType=\"video/mp4\"><Representation id=\"1\" bandwidth=\"1\">"
         "<BaseURL>other.mp4</BaseURL></Representation></AdaptationSet></Period></MPD>\n"},
        {"edl.mp4", "# mpv EDL v0\nother.mp4,0,1\n"},
        {"cue.cue", "FILE \"other.mp4\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n"},
        {"list.m3u", "#EXTM3U\nother.mp4\n"},
        {"list.pls", "[playlist]\nFile1=other.mp4\nNumberOfEntries=1\n"},
        {"VIDEO_TS.IFO", "DVDVIDEO-VMG" + std::string(4000, '\0')},
        {"index.bdmv", "INDX0200" + std::string(4000, '\0')}};
    for (const auto& [name, text] : texts)
    {
        WriteFile(folder / name, text);
    }
    // By its name a list of pictures; clip1.png is there.
    for (const char* name : {"clip%d.png", "clip1.png", "other.mp4", "other.ts", "other.m3u8"})
    {
        fs::copy_file(SampleVideo(), folder / name);
    }
    std::vector<std::string> given = {"clip%d.png"};
    for (const auto& [name, text] : texts)
    {
        given.push_back(name);
    }
    const fs::path trace = Folder.Path() / "trace";
    Setup.Program = "/usr/bin/strace";
    Setup.WorkingFolder = folder;
    Setup.Environment["ASAN_OPTIONS"] = "detect_leaks=0"; // it can't be traced itself
    std::vector<std::string> arguments = {
        "-f", "-qq",          "-s",           "4096", "-e", "trace=open,openat,openat2,socket",
        "-o", trace.native(), MOVANE_PROGRAM, "--"};
    arguments.insert(arguments.end(), given.begin(), given.end());
    const auto run = Start(arguments, (folder / given.back()).native() + " has the format SDP");
    Type("Ctrl+Q\n");
    EXPECT_EQ(run->Finish().ExitCode, 0);

    std::set<std::string> opened;
    for (const std::string& line : LinesOf(ReadFile(trace)))
    {
        EXPECT_THAT(line, Not(HasSubstr("socket(AF_INET")));
        const std::size_t begin = line.find(folder.native() + '/');
        if (begin != std::string::npos)
        {
            const std::size_t name = begin + folder.native().size() + 1;
            opened.insert(line.substr(name, line.find('"', name) - name));
        }
        EXPECT_THAT(line, Not(HasSubstr("\"other"))); // by a relative name
        EXPECT_THAT(line, Not(HasSubstr("\"clip1")));
    }
    EXPECT_EQ(opened, std::set<std::string>(given.begin(), given.end()));
}

// -- Surroundings

TEST_F(DesktopProgram, ALocaleWithADecimalCommaChangesNothing)
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
    const auto run = Start({SampleVideo()}, "sample.mp4");
    ExportTheWhole("00:04");
    EXPECT_TRUE(Shows("Exported clip_00000_Clip_1.mkv"));
    EXPECT_EQ(fake.Arguments().at(7), "0.000");
    EndInOrder(*run);
}

TEST_F(DesktopProgram, ShowsAnExportsProgressInTheTaskBar)
{
    if (access("/usr/bin/dbus-daemon", X_OK) != 0 || access("/usr/bin/dbus-monitor", X_OK) != 0)
    {
        GTEST_SKIP() << "needs dbus-daemon and dbus-monitor";
    }
    const std::string address = "unix:path=" + (Folder.Path() / "bus").native();
    const auto start = [&](const std::string& Program, const std::vector<std::string>& Arguments)
    {
        ProgramRun::Setup how = Setup;
        how.Program = "/usr/bin/" + Program;
        how.Arguments = Arguments;
        how.OutputFolder = Folder.Path() / Program;
        fs::create_directory(how.OutputFolder);
        return std::make_unique<ProgramRun>(how);
    };
    const auto daemon =
        start("dbus-daemon", {"--session", "--nofork", "--address=" + address, "--print-address"});
    // Told when the bus takes calls.
    ASSERT_TRUE(
        WaitFor([&] { return !ReadFile(Folder.Path() / "dbus-daemon" / "stdout").empty(); }));
    const auto monitor = start(
        "dbus-monitor", {"--address", address, "interface='com.canonical.Unity.LauncherEntry'"});
    const fs::path heard = Folder.Path() / "dbus-monitor" / "stdout";
    // Its first line tells that it listens.
    ASSERT_TRUE(WaitFor([&] { return !ReadFile(heard).empty(); }));

    Setup.Environment["DBUS_SESSION_BUS_ADDRESS"] = address;
    const FakeFfmpeg fake = UseFake(": > \"$out\"; until [ -e " + (FakeFolder / "go").native() +
                                    " ]; do /bin/sleep 0.01; done");
    const auto run = Start({SampleVideo()}, "sample.mp4");
    ExportTheWhole("00:04");
    EXPECT_TRUE(WaitFor([&] { return ReadFile(heard).find("boolean true") != std::string::npos; }));
    EXPECT_THAT(ReadFile(heard), HasSubstr("application://movane.desktop"));
    EXPECT_THAT(ReadFile(heard), Not(HasSubstr("boolean false")));
    WriteFile(FakeFolder / "go", "");
    EXPECT_TRUE(
        WaitFor([&] { return ReadFile(heard).find("boolean false") != std::string::npos; }));
    run->Signal(SIGTERM);
    EXPECT_EQ(run->Finish().ExitCode, 0);
}
} // namespace
