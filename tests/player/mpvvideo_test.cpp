#include "player/mpvvideo.h"

#include "host/mvtimecontrol.h"
#include "host/mvvideowindow.h"
#include "support/environmentguard.h"
#include "support/samplevideo.h"
#include "support/tempfolder.h"
#include "support/waitfor.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <clocale>
#include <cmath>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <mpv/client.h>
#include <mutex>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{
constexpr double FrameSec = 0.04;
constexpr std::int64_t FrameUs = 40000;
constexpr double LastFrameSec = 3.96;

std::unique_ptr<MpvVideo> MakePlayer(const MpvVideo::Options& Wanted = {})
{
    std::string error;
    std::unique_ptr<MpvVideo> pVideo = MpvVideo::Create(Wanted, error);
    if (pVideo == nullptr)
    {
        throw std::runtime_error(error);
    }
    return pVideo;
}

// Pumps on each wake-up until bDone; false at the deadline.
bool PumpUntil(MpvVideo& Video, const std::function<bool()>& bDone)
{
    std::mutex mutex;
    std::condition_variable woken;
    bool bWoken = true;
    Video.SetWakeUp(
        [&]
        {
            const std::lock_guard lock(mutex);
            bWoken = true;
            woken.notify_one();
        });
    const auto deadline = std::chrono::steady_clock::now() + Deadline;
    bool bInTime = true;
    while (bInTime && !bDone())
    {
        {
            std::unique_lock lock(mutex);
            bInTime = woken.wait_until(lock, deadline, [&] { return bWoken; });
            bWoken = false;
        }
        Video.PumpEvents();
    }
    Video.SetWakeUp({});
    return bDone();
}

// A video that tells by its brightness which frame is shown: 100 frames, at 25 a second 4 seconds long.
void MakeCountingVideo(const std::string& Path, int FramesPerSecond = 25)
{
    const std::string rate = std::to_string(FramesPerSecond);
    const std::string duration = std::to_string(100.0 / FramesPerSecond);
    MakeMedia("-f lavfi -i 'color=gray:size=64x64:rate=" + rate + ":duration=" + duration +
                  ",format=yuv420p,geq=lum=16+2*N:cb=128:cr=128' -f lavfi -i sine=duration=" +
                  duration + " -c:v libx264 -preset veryfast -qp 4 -g 50 -c:a aac -t " + duration,
              Path);
}

// The number of the frame that the player shows of a counting video, -1 for none.
int ShownFrame(const MpvVideo& Video)
{
    std::array<const char*, 3> command = {"screenshot-raw", "video", nullptr};
    mpv_node result = {};
    if (mpv_command_ret(Video.Handle(), command.data(), &result) < 0)
    {
        return -1;
    }
    int frame = -1;
    for (int i = 0; i < result.u.list->num; ++i)
    {
        const mpv_node& value = result.u.list->values[i];
        if (value.format == MPV_FORMAT_BYTE_ARRAY)
        {
            const int brightness = static_cast<const unsigned char*>(value.u.ba->data)[0];
            frame = static_cast<int>(std::lround(brightness * 219.0 / 255.0 / 2.0));
        }
    }
    mpv_free_node_contents(&result);
    return frame;
}

double DoubleOf(const MpvVideo& Video, const char* pProperty)
{
    double value = -1.0;
    mpv_get_property(Video.Handle(), pProperty, MPV_FORMAT_DOUBLE, &value);
    return value;
}

bool IsPaused(const MpvVideo& Video)
{
    int paused = -1;
    mpv_get_property(Video.Handle(), "pause", MPV_FORMAT_FLAG, &paused);
    return paused == 1;
}

void SeekToUs(MvVideo& Video, std::int64_t TargetUs)
{
    Video.SeekTargetUs = TargetUs;
    Video.Seek(SeekToTarget);
}

class MpvVideoTest : public testing::Test
{
protected:
    bool Open(const std::string& Path) { return pVideo->Open(Path, Error); }
    bool OpenSample() { return Open(SampleVideo()); }
    bool OpenCounting()
    {
        const std::string path = (Folder.Path() / "counting.mp4").string();
        MakeCountingVideo(path);
        return Open(path);
    }
    bool Shows(int Frame) const
    {
        return WaitFor([&] { return ShownFrame(*pVideo) == Frame; });
    }
    std::string Make(const std::string& Name, const std::string& Arguments) const
    {
        std::string path = (Folder.Path() / Name).string();
        MakeMedia(Arguments, path);
        return path;
    }
    std::string Write(const std::string& Name, const std::string& Text) const
    {
        std::string path = (Folder.Path() / Name).string();
        std::ofstream(path) << Text;
        return path;
    }

    TempFolder Folder;
    std::string Error;
    std::unique_ptr<MpvVideo> pVideo = MakePlayer();
};

// The process as a user that is not above permissions, for the life of the guard.
class OrdinaryUserGuard
{
public:
    OrdinaryUserGuard()
    {
        if (::geteuid() == 0 && ::seteuid(65534) != 0)
        {
            throw std::runtime_error("seteuid");
        }
    }
    ~OrdinaryUserGuard()
    {
        if (::getuid() == 0 && ::seteuid(0) != 0)
        {
            std::abort();
        }
    }
    OrdinaryUserGuard(const OrdinaryUserGuard&) = delete;
    OrdinaryUserGuard& operator=(const OrdinaryUserGuard&) = delete;
};

class NumericLocaleGuard
{
public:
    explicit NumericLocaleGuard(const char* pLocale)
        : bSet(std::setlocale(LC_NUMERIC, pLocale) != nullptr)
    {
    }
    ~NumericLocaleGuard() { std::setlocale(LC_NUMERIC, "C"); }
    NumericLocaleGuard(const NumericLocaleGuard&) = delete;
    NumericLocaleGuard& operator=(const NumericLocaleGuard&) = delete;

    const bool bSet;
};
} // namespace

// -- Making a player.

TEST(MpvVideoCreate, RefusesADecimalCommaWithASentence)
{
    const TempFolder folder;
    const std::string command =
        "localedef -i de_DE -f UTF-8 " + (folder.Path() / "de_DE.UTF-8").string();
    const EnvironmentGuard locales("LOCPATH", folder.Path().string());
    if (std::system((command + " 2>/dev/null").c_str()) != 0)
    {
        GTEST_SKIP() << "no sources of locales here";
    }
    const NumericLocaleGuard guard("de_DE.UTF-8");
    ASSERT_TRUE(guard.bSet);
    std::string error;
    EXPECT_EQ(MpvVideo::Create({}, error), nullptr);
    EXPECT_EQ(error,
              "The video player can't start with the number format of the locale de_DE.UTF-8: set "
              "LC_NUMERIC to C.");
}

TEST(MpvVideoCreate, ReadsNoConfigurationOfTheUser)
{
    const TempFolder folder;
    std::ofstream(folder.Path() / "mpv.conf") << "speed=3\n";
    const EnvironmentGuard home("MPV_HOME", folder.Path().string());
    const std::unique_ptr<MpvVideo> pVideo = MakePlayer();
    EXPECT_EQ(DoubleOf(*pVideo, "speed"), 1.0);
}

TEST_F(MpvVideoTest, HasNoFileAtFirst)
{
    EXPECT_EQ(pVideo->FilePath, "");
    EXPECT_EQ(pVideo->pMediaInfo, nullptr);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    EXPECT_EQ(pVideo->FramesPerSecond(), 0.0);
}

TEST_F(MpvVideoTest, IgnoresPlayPauseAndSeekWithoutAFile)
{
    pVideo->Play();
    EXPECT_FALSE(pVideo->IsPlaying());
    pVideo->Pause();
    for (int request = -1; request <= 5; ++request)
    {
        pVideo->SeekTargetUs = 1000000;
        pVideo->Seek(request);
        EXPECT_FALSE(pVideo->IsSeeking());
        EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    }
}

// -- Opening.

TEST_F(MpvVideoTest, OpensPausedAtTheStartWithItsFacts)
{
    ASSERT_TRUE(OpenSample()) << Error;
    EXPECT_EQ(Error, "");
    EXPECT_EQ(pVideo->FilePath, SampleVideo());
    ASSERT_NE(pVideo->pMediaInfo, nullptr);
    EXPECT_EQ(pVideo->pMediaInfo->DurationUs, 4000000);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    EXPECT_FALSE(pVideo->IsPlaying());
    EXPECT_TRUE(WaitFor([&] { return IsPaused(*pVideo); }));
    EXPECT_DOUBLE_EQ(pVideo->FramesPerSecond(), 25.0);
}

TEST_F(MpvVideoTest, KeepsThePathAsGiven)
{
    const std::filesystem::path relative =
        std::filesystem::relative(SampleVideo(), std::filesystem::current_path());
    ASSERT_TRUE(Open(relative.string())) << Error;
    EXPECT_EQ(pVideo->FilePath, relative.string());
}

TEST_F(MpvVideoTest, OpensItsOwnFilePathAgain)
{
    ASSERT_TRUE(OpenSample());
    pVideo->Seek(SeekToEnd);
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    ASSERT_TRUE(Open(pVideo->FilePath)) << Error;
    EXPECT_EQ(pVideo->FilePath, SampleVideo());
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    EXPECT_EQ(pVideo->pMediaInfo->DurationUs, 4000000);
}

TEST_F(MpvVideoTest, OpensAnotherFileInPlaceOfTheFirst)
{
    const std::string other = Make("other.mkv", "-i " + SampleVideo() + " -t 1 -c copy");
    ASSERT_TRUE(OpenSample());
    pVideo->Play();
    ASSERT_TRUE(Open(other)) << Error;
    EXPECT_EQ(pVideo->FilePath, other);
    EXPECT_FALSE(pVideo->IsPlaying());
    EXPECT_NEAR(static_cast<double>(pVideo->pMediaInfo->DurationUs), 1e6, 5e4);
}

TEST_F(MpvVideoTest, TellsTheLengthFromTheStartOfTheFile)
{
    for (const char* pName : {"late.mp4", "late.mov", "late.mkv", "late.ts", "late.flv"})
    {
        const std::string path = Make(pName, "-itsoffset 2 -i " + SampleVideo() +
                                                 " -c copy -avoid_negative_ts disabled");
        ASSERT_TRUE(Open(path)) << Error;
        EXPECT_NEAR(static_cast<double>(pVideo->pMediaInfo->DurationUs), 4e6, 1e5) << pName;
    }
}

TEST_F(MpvVideoTest, OpensNamesThatMeanSomethingToAPlayerOrAShell)
{
    for (const char* pName :
         {"a b.mp4", "it's.mp4", "$(x)`y`\"z\".mp4", "two\nlines.mp4", "-leading.mp4", "%05d.mp4",
          "\xC3\xA4.mp4", "\xFF\xFE.mp4", "${path}.mp4"})
    {
        const std::filesystem::path path = Folder.Path() / pName;
        std::filesystem::copy_file(SampleVideo(), path);
        EXPECT_TRUE(Open(path.string())) << Error;
    }
}

TEST_F(MpvVideoTest, DoesNotTakeARelativeNameForAProtocol)
{
    std::filesystem::create_directory(Folder.Path() / "http:");
    std::filesystem::copy_file(SampleVideo(), Folder.Path() / "http:" / "video.mp4");
    const std::filesystem::path earlier = std::filesystem::current_path();
    std::filesystem::current_path(Folder.Path());
    EXPECT_TRUE(Open("http://video.mp4")) << Error;
    std::filesystem::current_path(earlier);
}

TEST_F(MpvVideoTest, ServesTheWindowWhileItWaits)
{
    int calls = 0;
    pVideo->SetWhileWaiting([&] { ++calls; });
    ASSERT_TRUE(OpenSample());
    EXPECT_GT(calls, 0);
}

// -- Refusals.

TEST_F(MpvVideoTest, RefusesAnEmptyPath)
{
    EXPECT_FALSE(Open(""));
    EXPECT_EQ(Error, "No file was named: give the path of a video.");
}

TEST_F(MpvVideoTest, RefusesAMissingFile)
{
    const std::string path = (Folder.Path() / "none.mp4").string();
    EXPECT_FALSE(Open(path));
    EXPECT_EQ(Error, path + " does not exist: check the name.");
    EXPECT_FALSE(Open(SampleVideo() + "/x"));
    EXPECT_EQ(Error, SampleVideo() + "/x does not exist: check the name.");
}

TEST_F(MpvVideoTest, RefusesAPathWithAZeroByte)
{
    const std::string path = SampleVideo() + std::string(1, '\0') + ".mp4";
    EXPECT_FALSE(Open(path));
    EXPECT_EQ(Error, path + " does not exist: check the name.");
}

TEST_F(MpvVideoTest, RefusesAFolder)
{
    const std::string path = Folder.Path().string();
    std::filesystem::copy_file(SampleVideo(), Folder.Path() / "video.mp4");
    EXPECT_FALSE(Open(path));
    EXPECT_EQ(Error, path + " is a folder: choose a video in it.");
}

TEST_F(MpvVideoTest, RefusesAPipeWithoutWaitingForIt)
{
    const std::string path = (Folder.Path() / "pipe").string();
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_FALSE(Open(path));
    EXPECT_EQ(Error, path + " is not a regular file: choose a video.");
}

TEST_F(MpvVideoTest, RefusesAnUnreadableFile)
{
    const std::string path = (Folder.Path() / "secret.mp4").string();
    std::filesystem::copy_file(SampleVideo(), path);
    std::filesystem::permissions(Folder.Path(), std::filesystem::perms(0755));
    std::filesystem::permissions(path, std::filesystem::perms::none);
    const OrdinaryUserGuard user;
    EXPECT_FALSE(Open(path));
    EXPECT_EQ(Error, path + " can't be read (Permission denied): check its permissions.");
}

TEST_F(MpvVideoTest, RefusesAFileInAClosedFolder)
{
    std::filesystem::permissions(Folder.Path(), std::filesystem::perms::none);
    const std::string path = (Folder.Path() / "video.mp4").string();
    {
        const OrdinaryUserGuard user;
        EXPECT_FALSE(Open(path));
    }
    EXPECT_EQ(Error, path + " can't be read (Permission denied): check its permissions.");
    std::filesystem::permissions(Folder.Path(), std::filesystem::perms::owner_all);
}

TEST_F(MpvVideoTest, RefusesWhatIsNoVideo)
{
    for (const std::string& path : {Write("text.mp4", "not a video\n"), Write("empty.mp4", ""),
                                    Write("list.m3u", "#EXTM3U\n" + SampleVideo() + "\n"),
                                    Write("list.edl", "# mpv EDL v0\n" + SampleVideo() + "\n")})
    {
        EXPECT_FALSE(Open(path));
        EXPECT_EQ(Error, path + " is not a video: choose a video.");
        EXPECT_EQ(pVideo->FilePath, "");
        EXPECT_EQ(pVideo->pMediaInfo, nullptr);
    }
}

TEST_F(MpvVideoTest, RefusesAFormatThatLeadsElsewhereAndNamesIt)
{
    const std::map<std::string, std::string> formats = {
        {Write("sdp.mp4", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                          "m=video 5004 RTP/AVP 96\na=rtpmap:96 H264/90000\n"),
         "SDP"},
        {Write("concat.mp4", "ffconcat version 1.0\nfile " + SampleVideo()),
         "Virtual concatenation script"},
        {Write("hls.mp4", "#EXTM3U\n#EXT-X-TARGETDURATION:4\n#EXTINF:4,\n" + SampleVideo() +
                              "\n#EXT-X-ENDLIST\n"),
         "Apple HTTP Live Streaming"},
        {Make("still.png", "-i " + SampleVideo() + " -frames:v 1"), "piped png sequence"},
        {Make("tone.wav", "-f lavfi -i sine=duration=1"), "WAV / WAVE (Waveform Audio)"}};
    for (const auto& [path, format] : formats)
    {
        EXPECT_FALSE(Open(path));
        EXPECT_EQ(Error, path + " has the format " + format +
                             ", which is not supported: convert it, or choose another video.");
        EXPECT_EQ(pVideo->FilePath, "");
    }
}

// The film has no cuts of its own to tell it by, so the sizes do.
TEST_F(MpvVideoTest, ShowsTheFirstVideoWhateverTheFilesDefaults)
{
    const std::string two =
        "-f lavfi -i color=red:s=64x36:r=25:d=1 -f lavfi -i color=blue:s=128x72:r=25:d=1 -map 0 "
        "-map 1 -c:v libx264 -preset ultrafast ";
    for (const std::string& path :
         {Make("default.mkv", two + "-disposition:v:0 0 -disposition:v:1 default"),
          Make("default.mp4", two + "-disposition:v:0 0 -disposition:v:1 default")})
    {
        ASSERT_TRUE(Open(path)) << Error;
        EXPECT_TRUE(WaitFor([&] { return DoubleOf(*pVideo, "width") == 64.0; })) << path;
        SeekToUs(*pVideo, 480000);
        ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
        EXPECT_EQ(DoubleOf(*pVideo, "width"), 64.0) << path;
    }
}

TEST_F(MpvVideoTest, ShowsTheFilmOfAFileThatBeginsWithACover)
{
    const std::string cover = Make("cover.png", "-i " + SampleVideo() + " -frames:v 1 -s 100x50");
    const std::string path =
        Make("film.mp4", "-i " + cover + " -i " + SampleVideo() +
                             " -map 0 -map 1:v -c copy -disposition:v:0 attached_pic");
    ASSERT_TRUE(Open(path)) << Error;
    EXPECT_TRUE(WaitFor([&] { return DoubleOf(*pVideo, "width") == 320.0; }));
    EXPECT_DOUBLE_EQ(pVideo->FramesPerSecond(), 25.0);
}

TEST_F(MpvVideoTest, RefusesSoundAlone)
{
    const std::string path = Make("sound.m4a", "-i " + SampleVideo() + " -vn -c copy");
    EXPECT_FALSE(Open(path));
    EXPECT_EQ(Error, path + " is not a video, it has no moving pictures: choose a video.");
}

TEST_F(MpvVideoTest, RefusesSoundWithACover)
{
    const std::string cover = Make("cover.png", "-i " + SampleVideo() + " -frames:v 1");
    const std::string path =
        Make("album.m4a", "-f lavfi -i sine=duration=1 -i " + cover +
                              " -map 0 -map 1 -c:v copy -disposition:v:0 attached_pic -c:a aac");
    EXPECT_FALSE(Open(path));
    EXPECT_EQ(Error, path + " is not a video, it has no moving pictures: choose a video.");
}

TEST(MpvVideoTimeout, RefusesAFileThatTakesTooLong)
{
    MpvVideo::Options options;
    options.OpenTimeout = 0ms;
    const std::unique_ptr<MpvVideo> pVideo = MakePlayer(options);
    std::string error;
    EXPECT_FALSE(pVideo->Open(SampleVideo(), error));
    EXPECT_EQ(error,
              SampleVideo() + " takes too long to open: try again, or choose another video.");
    EXPECT_EQ(pVideo->FilePath, "");
}

// -- The earlier file after a refusal.

TEST_F(MpvVideoTest, KeepsTheEarlierFileAtItsPlayhead)
{
    ASSERT_TRUE(OpenCounting());
    const std::string path = pVideo->FilePath;
    SeekToUs(*pVideo, 2000000);
    EXPECT_FALSE(Open(Write("text.mp4", "not a video\n")));
    EXPECT_EQ(pVideo->FilePath, path);
    ASSERT_NE(pVideo->pMediaInfo, nullptr);
    EXPECT_EQ(pVideo->pMediaInfo->DurationUs, 4000000);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 2.0);
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(Shows(50));
    EXPECT_FALSE(pVideo->IsPlaying());
}

TEST_F(MpvVideoTest, DoesNotTouchTheEarlierFileForAPathThatIsNoFile)
{
    ASSERT_TRUE(OpenSample());
    SeekToUs(*pVideo, 2000000);
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_FALSE(Open(Folder.Path().string()));
    EXPECT_EQ(pVideo->FilePath, SampleVideo());
    EXPECT_FALSE(pVideo->IsSeeking());
    EXPECT_EQ(pVideo->CurrentTimeSec(), 2.0);
}

TEST_F(MpvVideoTest, PlaysTheEarlierFileOnWhenItPlayed)
{
    ASSERT_TRUE(OpenSample());
    pVideo->Play();
    EXPECT_FALSE(Open(Write("text.mp4", "not a video\n")));
    EXPECT_TRUE(pVideo->IsPlaying());
    EXPECT_TRUE(PumpUntil(*pVideo, [&] { return pVideo->CurrentTimeSec() > 0.1; }));
}

TEST_F(MpvVideoTest, HasNoFileWhenTheEarlierOneIsGone)
{
    const std::string first = (Folder.Path() / "first.mp4").string();
    std::filesystem::copy_file(SampleVideo(), first);
    ASSERT_TRUE(Open(first));
    std::filesystem::remove(first);
    const std::string text = Write("text.mp4", "not a video\n");
    EXPECT_FALSE(Open(text));
    EXPECT_EQ(Error, text + " is not a video: choose a video.");
    EXPECT_EQ(pVideo->FilePath, "");
    EXPECT_EQ(pVideo->pMediaInfo, nullptr);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    ASSERT_TRUE(OpenSample());
}

// -- Seeking.

TEST_F(MpvVideoTest, SeeksToTheExactFrame)
{
    ASSERT_TRUE(OpenCounting());
    for (const int frame : {50, 1, 99, 49, 51, 0, 98})
    {
        SeekToUs(*pVideo, frame * FrameUs);
        EXPECT_EQ(pVideo->CurrentTimeSec(), static_cast<double>(frame * FrameUs) / 1e6);
        EXPECT_TRUE(pVideo->IsSeeking());
        ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
        EXPECT_FALSE(pVideo->IsSeeking());
        EXPECT_EQ(pVideo->CurrentTimeSec(), static_cast<double>(frame * FrameUs) / 1e6);
        EXPECT_TRUE(Shows(frame));
    }
}

TEST_F(MpvVideoTest, ASeekBetweenFramesGoesToTheOneThatIsOn)
{
    ASSERT_TRUE(OpenCounting());
    for (const std::int64_t us : {1013457, 1039999, 1000001})
    {
        SeekToUs(*pVideo, us);
        ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
        EXPECT_TRUE(Shows(25));
        pVideo->PumpEvents();
        EXPECT_EQ(pVideo->CurrentTimeSec(), 1.0);
    }
}

TEST_F(MpvVideoTest, ClampsSeeksToTheFile)
{
    ASSERT_TRUE(OpenSample());
    SeekToUs(*pVideo, -1);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    SeekToUs(*pVideo, 4000001);
    EXPECT_EQ(pVideo->CurrentTimeSec(), LastFrameSec);
    SeekToUs(*pVideo, std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(pVideo->CurrentTimeSec(), LastFrameSec);
    SeekToUs(*pVideo, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    EXPECT_TRUE(pVideo->WaitForSeek(Deadline));
}

TEST_F(MpvVideoTest, SeeksToStartAndEnd)
{
    ASSERT_TRUE(OpenCounting());
    pVideo->Seek(SeekToEnd);
    EXPECT_EQ(pVideo->CurrentTimeSec(), LastFrameSec);
    EXPECT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_EQ(pVideo->CurrentTimeSec(), LastFrameSec);
    EXPECT_TRUE(Shows(99));
    pVideo->Seek(SeekToStart);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    EXPECT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(Shows(0));
}

TEST_F(MpvVideoTest, IgnoresUnknownRequests)
{
    ASSERT_TRUE(OpenSample());
    pVideo->SeekTargetUs = 1000000;
    for (const int request : {-1, 5, 1000000})
    {
        pVideo->Seek(request);
        EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
        EXPECT_FALSE(pVideo->IsSeeking());
    }
}

TEST_F(MpvVideoTest, StepsFrameByFrame)
{
    ASSERT_TRUE(OpenCounting());
    SeekToUs(*pVideo, 2000000);
    pVideo->Seek(StepFrameForward);
    EXPECT_DOUBLE_EQ(pVideo->CurrentTimeSec(), 2.04);
    pVideo->Seek(StepFrameForward);
    EXPECT_DOUBLE_EQ(pVideo->CurrentTimeSec(), 2.08);
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(Shows(52));
    pVideo->Seek(StepFrameBack);
    EXPECT_DOUBLE_EQ(pVideo->CurrentTimeSec(), 2.04);
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(Shows(51));
}

// The player takes every frame for found that begins up to 5 ms early: whole frames here.
TEST_F(MpvVideoTest, StepsFrameByFrameThroughAFastFilm)
{
    for (const int rate : {120, 200, 240, 480, 1000})
    {
        const std::string path = (Folder.Path() / (std::to_string(rate) + ".mp4")).string();
        MakeCountingVideo(path, rate);
        ASSERT_TRUE(Open(path)) << Error;
        ASSERT_DOUBLE_EQ(pVideo->FramesPerSecond(), rate);
        const auto bStandsAt = [&](int Frame)
        {
            return pVideo->WaitForSeek(Deadline) && Shows(Frame) &&
                   std::abs(pVideo->CurrentTimeSec() - static_cast<double>(Frame) / rate) < 1e-6;
        };
        SeekToUs(*pVideo, std::llround(50 * 1e6 / rate));
        ASSERT_TRUE(bStandsAt(50)) << rate;
        for (const int frame : {51, 52, 53})
        {
            pVideo->Seek(StepFrameForward);
            ASSERT_TRUE(bStandsAt(frame)) << rate;
        }
        for (const int frame : {52, 51, 50, 49})
        {
            pVideo->Seek(StepFrameBack);
            ASSERT_TRUE(bStandsAt(frame)) << rate;
        }
        pVideo->Seek(SeekToEnd);
        pVideo->Seek(StepFrameBack);
        ASSERT_TRUE(bStandsAt(98)) << rate;
    }
}

TEST_F(MpvVideoTest, StepsStayInTheFile)
{
    ASSERT_TRUE(OpenSample());
    pVideo->Seek(StepFrameBack);
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    pVideo->Seek(SeekToEnd);
    pVideo->Seek(StepFrameForward);
    EXPECT_EQ(pVideo->CurrentTimeSec(), LastFrameSec);
    pVideo->Seek(StepFrameBack);
    EXPECT_DOUBLE_EQ(pVideo->CurrentTimeSec(), LastFrameSec - FrameSec);
}

TEST_F(MpvVideoTest, AStepPauses)
{
    ASSERT_TRUE(OpenSample());
    pVideo->Play();
    pVideo->Seek(StepFrameForward);
    EXPECT_FALSE(pVideo->IsPlaying());
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(WaitFor([&] { return IsPaused(*pVideo); }));
}

TEST_F(MpvVideoTest, TheLastOfManySeeksWins)
{
    ASSERT_TRUE(OpenCounting());
    for (int frame = 0; frame < 100; ++frame)
    {
        SeekToUs(*pVideo, (frame * 37 % 100) * FrameUs);
    }
    SeekToUs(*pVideo, 1000000);
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(Shows(25));
    EXPECT_EQ(pVideo->CurrentTimeSec(), 1.0);
}

TEST_F(MpvVideoTest, ASeekWithoutTimeToLandIsReported)
{
    ASSERT_TRUE(OpenSample());
    SeekToUs(*pVideo, 3000000);
    EXPECT_FALSE(pVideo->WaitForSeek(0ms));
    EXPECT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(pVideo->WaitForSeek(0ms));
}

// -- Playing.

TEST_F(MpvVideoTest, PlayingMovesThePlayheadAndStopsAtTheEnd)
{
    ASSERT_TRUE(OpenSample());
    pVideo->SetSpeed(4.0);
    pVideo->Play();
    EXPECT_TRUE(pVideo->IsPlaying());
    double lastSec = 0.0;
    int steps = 0;
    pVideo->Changed.connect(
        [&]
        {
            // The sound goes on behind the last frame, on which the playhead then stands.
            EXPECT_GE(pVideo->CurrentTimeSec(), std::min(lastSec, LastFrameSec));
            EXPECT_LE(pVideo->CurrentTimeSec(), 4.0);
            steps += pVideo->CurrentTimeSec() > lastSec ? 1 : 0;
            lastSec = pVideo->CurrentTimeSec();
        });
    EXPECT_TRUE(PumpUntil(*pVideo, [&] { return !pVideo->IsPlaying(); }));
    EXPECT_EQ(pVideo->CurrentTimeSec(), LastFrameSec);
    EXPECT_GT(steps, 5);
    EXPECT_TRUE(WaitFor([&] { return IsPaused(*pVideo); }));
}

TEST_F(MpvVideoTest, PlayAtTheEndBeginsAgain)
{
    ASSERT_TRUE(OpenSample());
    pVideo->Seek(SeekToEnd);
    pVideo->Play();
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.0);
    EXPECT_TRUE(PumpUntil(*pVideo, [&] { return pVideo->CurrentTimeSec() > 0.2; }));
    EXPECT_TRUE(pVideo->IsPlaying());
    EXPECT_LT(pVideo->CurrentTimeSec(), 4.0);
}

class MpvVideoOfUnknownLength : public MpvVideoTest
{
protected:
    // A recording that was never finished: written where its header can't be completed.
    bool OpenUnfinished()
    {
        const std::string path = (Folder.Path() / "unfinished.mkv").string();
        MakeMedia("-f lavfi -i testsrc2=size=64x64:rate=25:duration=1 -f matroska - | cat >", path);
        return Open(path) && pVideo->pMediaInfo->DurationUs == 0;
    }
    bool PlaysToItsEnd()
    {
        pVideo->Play();
        return PumpUntil(*pVideo, [&] { return !pVideo->IsPlaying(); }) &&
               pVideo->CurrentTimeSec() > 0.8;
    }
    bool PlaysFromTheStart()
    {
        pVideo->Play();
        return pVideo->CurrentTimeSec() == 0.0 &&
               PumpUntil(*pVideo, [&] { return pVideo->CurrentTimeSec() > 0.2; });
    }
};

TEST_F(MpvVideoOfUnknownLength, PlayAtTheEndBeginsAgain)
{
    ASSERT_TRUE(OpenUnfinished()) << Error;
    ASSERT_TRUE(PlaysToItsEnd());
    EXPECT_TRUE(PlaysFromTheStart());
    ASSERT_TRUE(PlaysToItsEnd());
    EXPECT_TRUE(PlaysFromTheStart());
}

TEST_F(MpvVideoOfUnknownLength, PlayAfterASeekFromTheEndPlaysOnFromThere)
{
    ASSERT_TRUE(OpenUnfinished()) << Error;
    ASSERT_TRUE(PlaysToItsEnd());
    SeekToUs(*pVideo, 200'000);
    pVideo->Play();
    EXPECT_EQ(pVideo->CurrentTimeSec(), 0.2);
    EXPECT_TRUE(PumpUntil(*pVideo, [&] { return pVideo->CurrentTimeSec() > 0.4; }));
}

TEST_F(MpvVideoTest, PlayOnTheLastPictureEndsAtTheEnd)
{
    ASSERT_TRUE(OpenSample());
    SeekToUs(*pVideo, 3999000);
    ASSERT_TRUE(pVideo->WaitForSeek(Deadline));
    pVideo->Play();
    EXPECT_TRUE(PumpUntil(*pVideo, [&] { return !pVideo->IsPlaying(); }));
    EXPECT_EQ(pVideo->CurrentTimeSec(), LastFrameSec);
}

TEST_F(MpvVideoTest, PausingLeavesThePlayheadOnThePictureShown)
{
    ASSERT_TRUE(OpenCounting());
    pVideo->Play();
    ASSERT_TRUE(PumpUntil(*pVideo, [&] { return pVideo->CurrentTimeSec() > 0.5; }));
    pVideo->Pause();
    EXPECT_FALSE(pVideo->IsPlaying());
    ASSERT_TRUE(WaitFor([&] { return IsPaused(*pVideo); }));
    EXPECT_TRUE(WaitFor(
        [&]
        {
            pVideo->PumpEvents();
            return ShownFrame(*pVideo) == std::lround(pVideo->CurrentTimeSec() / FrameSec);
        }));
    EXPECT_LT(pVideo->CurrentTimeSec(), 4.0);
}

TEST_F(MpvVideoTest, ASeekWhilePlayingPlaysOnFromThere)
{
    ASSERT_TRUE(OpenSample());
    pVideo->Play();
    ASSERT_TRUE(PumpUntil(*pVideo, [&] { return pVideo->CurrentTimeSec() > 0.2; }));
    SeekToUs(*pVideo, 3000000);
    double leastSec = 4.0;
    ASSERT_TRUE(PumpUntil(*pVideo,
                          [&]
                          {
                              leastSec = std::min(leastSec, pVideo->CurrentTimeSec());
                              return pVideo->CurrentTimeSec() > 3.2;
                          }));
    EXPECT_TRUE(pVideo->IsPlaying());
    EXPECT_GE(leastSec, 3.0 - FrameSec);
}

TEST_F(MpvVideoTest, SetsSpeedVolumeAndMuteWithinTheirBounds)
{
    const auto bBecomes = [&](const char* pProperty, double Value)
    { return WaitFor([&] { return DoubleOf(*pVideo, pProperty) == Value; }); };
    pVideo->SetSpeed(1000.0);
    EXPECT_TRUE(bBecomes("speed", 100.0));
    pVideo->SetSpeed(0.0);
    EXPECT_TRUE(bBecomes("speed", 0.01));
    pVideo->SetSpeed(0.5);
    EXPECT_TRUE(bBecomes("speed", 0.5));
    pVideo->SetVolume(-1.0);
    EXPECT_TRUE(bBecomes("volume", 0.0));
    pVideo->SetVolume(101.0);
    EXPECT_TRUE(bBecomes("volume", 100.0));
    pVideo->SetMuted(true);
    EXPECT_TRUE(WaitFor(
        [&]
        {
            int muted = 0;
            mpv_get_property(pVideo->Handle(), "mute", MPV_FORMAT_FLAG, &muted);
            return muted == 1;
        }));
}

// -- News.

TEST_F(MpvVideoTest, ChangedComesInPumpEventsAndOnlyForNews)
{
    int calls = 0;
    pVideo->Changed.connect([&] { ++calls; });
    ASSERT_TRUE(OpenSample());
    SeekToUs(*pVideo, 1000000);
    EXPECT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_EQ(calls, 0);
    pVideo->PumpEvents();
    EXPECT_EQ(calls, 1);
    pVideo->PumpEvents();
    EXPECT_EQ(calls, 1);
}

TEST_F(MpvVideoTest, WakesTheLoopUntilTheHookIsTakenAway)
{
    std::atomic<int> calls = 0;
    pVideo->SetWakeUp([&] { ++calls; });
    ASSERT_TRUE(OpenSample());
    EXPECT_GT(calls.load(), 0);
    pVideo->SetWakeUp({});
    const int callsBefore = calls;
    SeekToUs(*pVideo, 1000000);
    EXPECT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_EQ(calls.load(), callsBefore);
}

// -- Several players, the window, the end.

TEST_F(MpvVideoTest, TwoPlayersGoTheirOwnWays)
{
    const std::unique_ptr<MpvVideo> pOther = MakePlayer();
    ASSERT_TRUE(OpenCounting());
    ASSERT_TRUE(pOther->Open(pVideo->FilePath, Error));
    SeekToUs(*pVideo, 1000000);
    SeekToUs(*pOther, 3000000);
    EXPECT_TRUE(pVideo->WaitForSeek(Deadline));
    EXPECT_TRUE(pOther->WaitForSeek(Deadline));
    EXPECT_TRUE(Shows(25));
    EXPECT_TRUE(WaitFor([&] { return ShownFrame(*pOther) == 75; }));
    pOther->Play();
    EXPECT_FALSE(pVideo->IsPlaying());
}

TEST_F(MpvVideoTest, AWindowShowsItsTimeline)
{
    MvVideoWindow window;
    MpvVideo* pPlayer = pVideo.get();
    window.SetVideo(std::move(pVideo));
    ASSERT_TRUE(window.LoadVideoFile(SampleVideo(), true)) << window.LoadError();
    EXPECT_EQ(window.Timeline().DurationSec(), 4.0);
    EXPECT_TRUE(pPlayer->IsPlaying());
    EXPECT_FALSE(window.LoadVideoFile(Folder.Path().string(), false));
    EXPECT_EQ(window.LoadError(), Folder.Path().string() + " is a folder: choose a video in it.");
    EXPECT_EQ(window.Timeline().DurationSec(), 4.0);
    EXPECT_EQ(pPlayer->FilePath, SampleVideo());
}

TEST(MpvVideoEnd, CanComeAtAnyTime)
{
    std::string error;
    MakePlayer();
    {
        MpvVideo::Options options;
        options.OpenTimeout = 0ms;
        // Still loading, as far as the library is concerned.
        EXPECT_FALSE(MakePlayer(options)->Open(SampleVideo(), error));
    }
    {
        const std::unique_ptr<MpvVideo> pVideo = MakePlayer();
        ASSERT_TRUE(pVideo->Open(SampleVideo(), error));
        pVideo->Seek(SeekToEnd);
    }
    {
        const std::unique_ptr<MpvVideo> pVideo = MakePlayer();
        std::atomic<int> calls = 0;
        pVideo->SetWakeUp([&] { ++calls; });
        ASSERT_TRUE(pVideo->Open(SampleVideo(), error));
        pVideo->Play();
        ASSERT_TRUE(PumpUntil(*pVideo, [&] { return pVideo->CurrentTimeSec() > 0.1; }));
    }
}

// The player may have read one second or the whole by the time that it is asked.
TEST(MpvVideo, TakesTheLengthForUnknownWhereTheFileDoesNotTellIt)
{
    const TempFolder place;
    const std::string path = (place.Path() / "piped.mkv").native();
    const std::string command =
        "ffmpeg -nostdin -loglevel error -f lavfi -i testsrc2=size=64x64:rate=25:"
        "duration=2 -preset ultrafast -f matroska - </dev/null | cat > '" +
        path + "'";
    ASSERT_EQ(std::system(command.c_str()), 0); // NOLINT(concurrency-mt-unsafe)
    for (int i = 0; i < 10; ++i)
    {
        const std::unique_ptr<MpvVideo> video = MakePlayer();
        std::string error;
        ASSERT_TRUE(video->Open(path, error)) << error;
        EXPECT_EQ(video->pMediaInfo->DurationUs, 0);
    }
}
