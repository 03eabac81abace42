#include "export/deepcut.h"
#include "export/encoderprogram.h"
#include "export/packetsof.h"
#include "export/panelcommand.h"
#include "export/tsclock.h"
#include "support/fakeapplication.h"

#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace std::string_view_literals;

TEST(TrustInFormat, IsGivenToWhatTestsProve)
{
    EXPECT_EQ(TrustInFormat("mov,mp4,m4a,3gp,3g2,mj2"), SeekTrust::Exact);
    EXPECT_EQ(TrustInFormat("matroska,webm"), SeekTrust::FromKeyFrame);
    EXPECT_EQ(TrustInFormat("mpegts"), SeekTrust::ByKeyFrame);
    for (const char* other : {"avi", "mpeg", "h264", "ogg", "mov", "", "matroska"})
    {
        EXPECT_EQ(TrustInFormat(other), SeekTrust::None) << other;
    }
}

TEST(TrustInFirstBytes, IsGivenToBytesThatNothingElseBeginsWith)
{
    EXPECT_EQ(TrustInFirstBytes("\0\0\0\x20"
                                "ftypisom\0\0\0\0"sv),
              SeekTrust::Exact);
    EXPECT_EQ(TrustInFirstBytes("\x1A\x45\xDF\xA3 and more"), SeekTrust::FromKeyFrame);
    EXPECT_EQ(TrustInFirstBytes("FLV\x01"), SeekTrust::Exact);
    for (const std::string_view other :
         {""sv, "G\x40\0\x10"sv, "RIFF1234AVI "sv, "FLV"sv, "ftyp"sv})
    {
        EXPECT_EQ(TrustInFirstBytes(other), std::nullopt) << other;
    }
}

TEST(ChooseCut, IsThePlainCommandNearTheBeginningAndWithoutTrust)
{
    const auto always = [](std::int64_t) { return true; };
    EXPECT_EQ(ChooseCut(SeekTrust::None, 5'000'000, always), Cut{});
    for (const std::int64_t in : {0, 1, 999})
    {
        EXPECT_EQ(ChooseCut(SeekTrust::Exact, in, always), Cut{});
        EXPECT_EQ(ChooseCut(SeekTrust::ByKeyFrame, in + 30'000, always), Cut{});
        EXPECT_EQ(ChooseCut(SeekTrust::FromKeyFrame, in + 5000, always), Cut{});
    }
    EXPECT_EQ(ChooseCut(SeekTrust::Exact, 1000, always), Cut{0});
    EXPECT_EQ(ChooseCut(SeekTrust::ByKeyFrame, 31'000, always), Cut{30'000});
}

TEST(ChooseCut, BeginsAtAWholeSecond)
{
    const auto always = [](std::int64_t) { return true; };
    EXPECT_EQ(ChooseCut(SeekTrust::Exact, 1999, always), Cut{999});
    EXPECT_EQ(ChooseCut(SeekTrust::Exact, 6'000'123, always), Cut{123});
    EXPECT_EQ(ChooseCut(SeekTrust::ByKeyFrame, 95'430, always), Cut{30'430});
    EXPECT_EQ(ChooseCut(SeekTrust::FromKeyFrame, 95'430, always), Cut{5430});
}

TEST(ChooseCut, DoublesTheMarginUntilAKeyFrameIsThereOrTheBeginning)
{
    std::vector<std::int64_t> asked;
    const auto from = [&](std::int64_t KeyMs)
    {
        return [&asked, KeyMs](std::int64_t SeekMs)
        {
            asked.push_back(SeekMs);
            return SeekMs <= KeyMs;
        };
    };
    EXPECT_EQ(ChooseCut(SeekTrust::ByKeyFrame, 200'000, from(100'000)), Cut{120'000});
    EXPECT_EQ(asked, (std::vector<std::int64_t>{170'000, 140'000, 80'000}));
    EXPECT_EQ(ChooseCut(SeekTrust::ByKeyFrame, 200'000, from(0)), Cut{});
    asked.clear();
    EXPECT_EQ(ChooseCut(SeekTrust::Exact, 9022, from(6080)), Cut{4022});
    EXPECT_EQ(asked, (std::vector<std::int64_t>{9000, 8000, 7000, 5000}));
}

namespace
{
// A kind of source, and how ffmpeg makes one of LengthSec seconds.
constexpr const char* Test = "testsrc2=size=160x90:rate=25";
struct Kind
{
    const char* Name;
    const char* Ending;
    int LengthSec;
    const char* Arguments;
    const char* Picture = Test;
    bool bDeep = true;
    const char* Into = ""; // what stands before the file's name
    int DeepFromMs = 0;    // an In before that has no key frame within reach
};

void PrintTo(const Kind& What, std::ostream* pOut)
{
    *pOut << What.Name;
}

// Sound as it comes beside most pictures.
#define AAC " -c:a aac -b:a 64k"
#define X264 " -c:v libx264 -preset ultrafast -pix_fmt yuv420p"
#define X264B " -c:v libx264 -preset veryfast -pix_fmt yuv420p"

const std::vector<Kind> Kinds = {
    {"Mp4WithBFrames", "mp4", 12, X264B " -g 100 -bf 3" AAC},
    {"Mp4WithOneKeyFrame", "mp4", 12, X264B " -g 9999 -keyint_min 9999 -sc_threshold 0" AAC},
    {"Mp4WithShortGroups", "mp4", 12, X264 " -g 5" AAC},
    {"Mp4WithOpenGroups", "mp4", 12, X264B " -x264-params open-gop=1:keyint=40:bframes=3" AAC},
    {"Mp4At2997", "mp4", 12, X264B AAC, "testsrc2=size=160x90:rate=30000/1001"},
    {"Mp4At23976", "mp4", 12, X264B AAC, "testsrc2=size=160x90:rate=24000/1001"},
    {"Mp4At60", "mp4", 12, X264 " -g 120" AAC, "testsrc2=size=160x90:rate=60"},
    {"Mp4OfAVariableRate", "mp4", 12, X264B " -vsync vfr" AAC,
     "testsrc2=size=160x90:rate=50,select='gt(random(1)\\,0.4)'"},
    {"Mp4ThatStartsLate", "mp4", 12, X264B " -output_ts_offset 7.3" AAC},
    {"Mp4WithTwoSounds", "mp4", 12, X264B " -map 0:v -map 1:a -map 1:a -c:a:0 aac -c:a:1 ac3"},
    {"Mp4WithoutSound", "mp4", 12, X264B " -an"},
    {"FragmentedMp4", "mp4", 12, X264B " -g 50 -movflags frag_keyframe+empty_moov" AAC},
    {"MovWithPcm", "mov", 12, X264B " -c:a pcm_s16le"},
    {"MovOfJpegs", "mov", 12, " -c:v mjpeg -pix_fmt yuvj420p -c:a pcm_s16le"},
    {"Matroska", "mkv", 12, X264B " -g 100" AAC, Test, true, "", 6000},
    {"MatroskaOfAVariableRate", "mkv", 12, X264B " -vsync vfr -c:a libmp3lame",
     "testsrc2=size=160x90:rate=50,select='gt(random(1)\\,0.4)'", true, "", 6000},
    {"MatroskaWithHevc", "mkv", 12,
     " -c:v libx265 -preset ultrafast -x265-params "
     "log-level=none:open-gop=1:keyint=40:bframes=4" AAC,
     Test, true, "", 6000},
    {"MatroskaThatStartsLate", "mkv", 12, X264B " -output_ts_offset 3.217" AAC, Test, true, "",
     6000},
    {"MatroskaWithoutAnIndex", "mkv", 12, X264B " -g 75 -f matroska" AAC " -flush_packets 1", Test,
     true, "pipe:1 >", 6000},
    {"WebMWithoutAnIndex", "webm", 12,
     " -c:v libvpx -deadline realtime -cpu-used 8 -g 60 -c:a libopus -f webm", Test, true,
     "pipe:1 >", 6000},
    {"DashMp4", "mp4", 12, X264B " -g 75 -movflags +dash" AAC},
    {"WebM", "webm", 12, " -c:v libvpx -deadline realtime -cpu-used 8 -g 60 -c:a libopus", Test,
     true, "", 6000},
    {"Flv", "flv", 12, X264B " -g 75 -ar 44100" AAC},
    {"Wmv", "wmv", 12, " -c:v wmv2 -c:a wmav2"},
    {"Ts", "ts", 50, X264B " -g 100" AAC},
    {"TsWithLongGroups", "ts", 80, X264 " -g 1000 -keyint_min 1000 -sc_threshold 0 -bf 2" AAC, Test,
     true, "", 40'000},
    {"TsOfInterlacedMpeg2", "ts", 50,
     " -c:v mpeg2video -flags +ildct+ilme -g 12 -bf 2 -b:v 1M -c:a mp2"},
    {"TsThatStartsLate", "ts", 50, X264B " -g 50 -output_ts_offset 5003.7" AAC},
    {"TsWhoseClockTurnsOver", "ts", 50, X264B " -g 50 -output_ts_offset 95430" AAC},
    {"M2ts", "m2ts", 50, X264B " -g 125 -c:a ac3"},
    {"Avi", "avi", 12, " -c:v mpeg4 -bf 2 -c:a libmp3lame", Test, false},
    {"Mpeg", "mpg", 12, " -c:v mpeg2video -c:a mp2", Test, false},
    {"Ogg", "ogv", 12, " -c:v libtheora -c:a libvorbis", Test, false},
};

void MakeSource(const Kind& What, const std::string& Path)
{
    const std::string length = std::to_string(What.LengthSec);
    MakeMedia("-f lavfi -i \"" + std::string(What.Picture) +
                  "\" -f lavfi -i \"aevalsrc=sin(2*PI*t*(300+20*t)):d=" + length + "\"" +
                  What.Arguments + " -t " + length + ' ' + What.Into,
              Path);
}

constexpr const char* PlainOptions =
    " -map 0:v:0? -map 0:a? -c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p -c:a copy";

// How many clips are cut of each kind; script/soak wants more.
int ClipsOfEachKind()
{
    const char* const pNumber = std::getenv("MOVANE_DEEP_CUTS"); // NOLINT(concurrency-mt-unsafe)
    return pNumber == nullptr ? 1 : std::atoi(pNumber);          // NOLINT(cert-err34-c)
}

class DeepCut : public EncoderProgram, public testing::WithParamInterface<Kind>
{
};
} // namespace

TEST_P(DeepCut, GivesTheStreamsOfThePlainCommand)
{
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    const std::string source = (Work / "source.").native() + GetParam().Ending;
    MakeSource(GetParam(), source);
    FfmpegTellsItsArguments();
    const int lengthMs = GetParam().LengthSec * 1000;
    const int firstMs = GetParam().LengthSec > 12 ? 32'000 : 1000;
    for (int clip = 0; clip < ClipsOfEachKind(); ++clip)
    {
        const int inMs = std::uniform_int_distribution(firstMs, lengthMs - 1500)(random);
        const int forMs = std::uniform_int_distribution(200, 1300)(random);
        const std::string in = SecondsText(inMs);
        const std::string length = SecondsText(forMs);
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + in + " for " + length);
        const std::string name = "clip_" + std::to_string(10'000 + clip) + "_A.mkv";
        MakeMedia("-i " + source + " -ss " + in + " -t " + length + PlainOptions,
                  (Work / "plain.mkv").native());
        fs::remove(Output(name));
        const ProgramRun::End end = Export(source, in, length, name);
        EXPECT_EQ(end.ExitCode, 0) << end.Err << " signal " << end.Signal;
        const std::vector<std::string> cut = PacketsOf(Output(name));
        const std::vector<std::string> plain = PacketsOf((Work / "plain.mkv").native());
        EXPECT_FALSE(plain.empty());
        EXPECT_EQ(cut, plain);
        const std::string arguments = ReadFile(ArgumentsFile());
        EXPECT_EQ(arguments.find("-ss\n") < arguments.find("-i\n"),
                  GetParam().bDeep && inMs >= GetParam().DeepFromMs);
    }
}

namespace
{
class CutNearKeyFrames : public EncoderProgram
{
protected:
    // Whether each clip is as the plain command makes it.
    void ExpectThePlainStreams(const std::string& Source,
                               const std::vector<std::string>& Ins = {"2.000", "3.500", "4.000",
                                                                      "7.000", "8.400", "10.000"})
    {
        for (const std::string& in : Ins)
        {
            const std::string plain = (Work / "plain.mkv").native();
            MakeMedia("-i " + Source + " -ss " + in + " -t 1.500" + PlainOptions, plain);
            const ProgramRun::End end = Export(Source, in, "1.500");
            EXPECT_EQ(end.ExitCode, 0) << in << ": " << end.Err;
            EXPECT_EQ(PacketsOf(Output()), PacketsOf(plain)) << in;
            fs::remove(Output());
        }
    }
};
constexpr const char* PictureAndSound =
    "-f lavfi -i testsrc2=size=160x90:rate=25 -f lavfi -i sine ";
using MatroskaCut = CutNearKeyFrames;
using FragmentedCut = CutNearKeyFrames;
} // namespace

// Its pieces are found by the times of decoding: a seek to 3.000 leads to the key frame at 3.080.
TEST_F(FragmentedCut, HasThePicturesShownBeforeItsKeyFrame)
{
    const std::string source = (Work / "source.mp4").native();
    MakeMedia(PictureAndSound + std::string(X264B " -g 75 -bf 3 -movflags +dash" AAC " -t 12"),
              source);
    ExpectThePlainStreams(source, {"2.980", "3.000", "3.017", "6.030", "6.079", "9.022", "9.081"});
}

TEST_F(MatroskaCut, LosesNoSoundBeforeALateFirstPicture)
{
    const std::string late = (Work / "late.mkv").native();
    MakeMedia(PictureAndSound + std::string(X264 AAC " -t 12 -vf setpts=PTS+3/TB -vsync vfr"),
              late);
    ExpectThePlainStreams(late);
}

TEST_F(MatroskaCut, LosesNoSoundThatIsStoredAheadOfThePicture)
{
    const std::string even = (Work / "even.mkv").native();
    const std::string ahead = (Work / "ahead.mkv").native();
    MakeMedia(PictureAndSound + std::string(X264 " -g 25 -c:a flac -t 12"), even);
    MakeMedia("-i " + even + " -c copy -bsf:a setts=pts=PTS:dts=DTS-300", ahead);
    ExpectThePlainStreams(ahead);
}

TEST_F(MatroskaCut, ThatLacksSoundIsMadeAgainByThePlainCommand)
{
    const std::string film = (Work / "film.mkv").native();
    MakeMedia(PictureAndSound + std::string(X264 AAC " -t 12"), film);
    for (const std::string less : {"-an", "-af atrim=end=6 -c:a aac"})
    {
        // Only of a cut that begins elsewhere than at the beginning.
        FfmpegIs(
            "case \"$*\" in *-ss*-i*) for word do shift; [ \"$word\" = -f ] && set -- \"$@\" " +
            less + "; set -- \"$@\" \"$word\"; done;; esac; exec $real \"$@\"");
        const ProgramRun::End end = Export(film, "8.000", "2.000");
        EXPECT_EQ(end.ExitCode, 0) << end.Err;
        MakeMedia("-i " + film + " -ss 8 -t 2" + PlainOptions, (Work / "plain.mkv").native());
        EXPECT_EQ(PacketsOf(Output()), PacketsOf((Work / "plain.mkv").native())) << less;
        fs::remove(Output());
    }
}

TEST_F(MatroskaCut, ThatIsMadeAgainTellsNoLessThanBefore)
{
    const std::string film = (Work / "film.mkv").native();
    MakeMedia(PictureAndSound + std::string(X264 AAC " -t 12"), film);
    FakeApplication application(Work / "socket");
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = (Work / "socket").native();
    // The first one says how far it is, and waits until that was heard.
    FfmpegIs("case \"$*\" in *-ss*-i*) ;; *) exec $real \"$@\";; esac\n"
             "for word do case $word in pipe:*) fd=${word#pipe:};; esac; done\n"
             "echo out_time_us=1000000 >/proc/self/fd/$fd\n"
             "until [ -e \"$HOME/go\" ]; do sleep 0.01; done\n"
             "for word do shift; [ \"$word\" = -f ] && set -- \"$@\" -an; set -- \"$@\" \"$word\"; "
             "done\nexec $real \"$@\"");
    const auto run = Start(ExportArguments(film, "8.000", "2.000", Output()));
    application.Accept();
    ExportPhase phase = ExportPhase::Seek;
    double fraction = 0.0;
    while (const std::optional<ExportMessage> message = application.Receive())
    {
        if (message->Type != ExportMessageType::Progress)
        {
            continue;
        }
        EXPECT_GE(message->Phase, phase);
        EXPECT_GE(message->Fraction, fraction);
        EXPECT_EQ(message->Fraction == 1.0, message->Phase == ExportPhase::Finish);
        phase = message->Phase;
        fraction = message->Fraction;
        if (phase == ExportPhase::Encode)
        {
            WriteFile(Work / "go", "");
        }
    }
    EXPECT_EQ(run->Finish().ExitCode, 0);
    EXPECT_EQ(fraction, 1.0);
}

namespace
{
class TsClock : public EncoderProgram
{
protected:
    // Two recordings of 45 s, one behind the other.
    std::string MakeTwo(const std::string& SecondsOfTheSecond, const std::string& Ending) const
    {
        const std::string both = (Work / ("both." + Ending)).native();
        const std::string pictures = (Work / "pictures.mp4").native();
        if (!fs::exists(pictures))
        {
            MakeMedia("-f lavfi -i testsrc2=size=160x90:rate=25:duration=45 -c:v libx264 -preset "
                      "ultrafast -g 50 -pix_fmt yuv420p",
                      pictures);
        }
        std::string bytes;
        for (const std::string& offset : {std::string("10"), SecondsOfTheSecond})
        {
            const std::string one = (Work / ("one." + Ending)).native();
            MakeMedia("-i " + pictures + " -c copy -output_ts_offset " + offset, one);
            bytes += ReadFile(one);
        }
        WriteFile(both, bytes);
        return both;
    }
};
} // namespace

TEST_F(TsClock, RunsThroughOneRecording)
{
    EXPECT_TRUE(HasSteadyTsClock(MakeTwo("55", "ts")));
    EXPECT_TRUE(HasSteadyTsClock(MakeTwo("55", "m2ts")));
}

TEST_F(TsClock, JumpsBetweenTwo)
{
    for (const std::string second : {"10", "25", "75", "9000"})
    {
        EXPECT_FALSE(HasSteadyTsClock(MakeTwo(second, "ts"))) << second;
    }
    EXPECT_FALSE(HasSteadyTsClock(MakeTwo("10", "m2ts")));
}

TEST_F(TsClock, IsInNoOtherFile)
{
    WriteFile(Work / "empty.ts", "");
    WriteFile(Work / "text.ts", std::string(100'000, 'G'));
    EXPECT_FALSE(HasSteadyTsClock((Work / "empty.ts").native()));
    EXPECT_FALSE(HasSteadyTsClock((Work / "text.ts").native()));
    EXPECT_FALSE(HasSteadyTsClock((Work / "none.ts").native()));
}

TEST_F(TsClock, ThatJumpsGetsThePlainCommand)
{
    const std::string source = MakeTwo("10", "ts");
    FfmpegTellsItsArguments();
    const ProgramRun::End end = Export(source, "40.000", "1.000");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    const std::string arguments = ReadFile(ArgumentsFile());
    EXPECT_GT(arguments.find("-ss\n"), arguments.find("-i\n"));
}

INSTANTIATE_TEST_SUITE_P(Of,
                         DeepCut,
                         testing::ValuesIn(Kinds),
                         [](const auto& Info) { return std::string(Info.param.Name); });
