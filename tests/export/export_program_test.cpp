#include "export/encoderprogram.h"
#include "export/packetsof.h"
#include "export/sourcefile.h"
#include "support/fakeapplication.h"
#include "support/tinydisk.h"

#include <algorithm>
#include <array>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace
{
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Names = std::set<std::string>;
using Type = ExportMessageType;

// Writes a little and then waits for its end.
constexpr const char* EndlessFfmpeg =
    "for out do :; done\necho half >\"${out#file:}\"\necho $$ >\"$HOME/begun\"\n"
    "while :; do sleep 0.01; done";

class EncoderProgramTest : public EncoderProgram
{
protected:
    // A source of its own, made by ffmpeg.
    std::string Make(const std::string& Name, const std::string& Arguments) const
    {
        const std::string path = (Work / Name).native();
        MakeMedia(Arguments, path);
        return path;
    }

    // How many pictures a file has that holds nothing else.
    static int PicturesIn(const std::string& Path)
    {
        AVFormatContext* file = nullptr;
        AVPacket* packet = av_packet_alloc();
        int count = 0;
        if (avformat_open_input(&file, Path.c_str(), nullptr, nullptr) >= 0)
        {
            for (; av_read_frame(file, packet) >= 0; ++count)
            {
                av_packet_unref(packet);
            }
        }
        av_packet_free(&packet);
        avformat_close_input(&file);
        return count;
    }

    // Types and sizes of the streams, as one text.
    static std::string Streams(const std::string& Path)
    {
        AVFormatContext* file = nullptr;
        std::string text;
        if (avformat_open_input(&file, Path.c_str(), nullptr, nullptr) < 0)
        {
            return "unreadable";
        }
        for (unsigned i = 0; i < file->nb_streams; ++i)
        {
            const AVCodecParameters& codec = *file->streams[i]->codecpar;
            text += av_get_media_type_string(codec.codec_type);
            text +=
                codec.codec_type == AVMEDIA_TYPE_VIDEO
                    ? ' ' + std::to_string(codec.width) + 'x' + std::to_string(codec.height) + ' '
                    : std::string(" ");
        }
        avformat_close_input(&file);
        return text;
    }

    // Waits until the endless ffmpeg has begun to write.
    bool HasBegun() const
    {
        return WaitFor([this] { return !ReadFile(Work / "begun").empty(); });
    }

    void ExpectStopped(const ProgramRun::End& End) const
    {
        EXPECT_EQ(End.ExitCode, 1);
        EXPECT_EQ(End.Err, "stopped.\n");
        EXPECT_THAT(ClipNames(), IsEmpty());
    }

    std::string Pictures = "-f lavfi -i testsrc2=size=160x90:rate=25:duration=3 ";
    std::string Tone = "-f lavfi -i sine=duration=3 ";
    std::string Codecs = " -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac ";
};

using EncoderExport = EncoderProgramTest;
using EncoderName = EncoderProgramTest;
using EncoderSource = EncoderProgramTest;
using EncoderFailure = EncoderProgramTest;
using EncoderStop = EncoderProgramTest;
using EncoderDeath = EncoderProgramTest;
using EncoderLink = EncoderProgramTest;
} // namespace

// -- What comes out

TEST_F(EncoderExport, IsTheFileThatThePlainCommandMakes)
{
    const std::string plain = (Work / "plain.mkv").native();
    MakeMedia("-i " + SampleVideo() +
                  " -ss 1.000 -t 2.000 -map 0:v:0 -map 0:a -c:v libx264 -preset veryfast -crf 18 "
                  "-pix_fmt yuv420p -c:a copy",
              plain);
    const ProgramRun::End end = Export(SampleVideo(), "1.000", "2.000");
    EXPECT_EQ(end.ExitCode, 0);
    EXPECT_EQ(end.Out + end.Err, "");
    EXPECT_EQ(ClipNames(), Names({"clip_00000_A.mkv"}));
    EXPECT_EQ(PacketsOf(Output()), PacketsOf(plain));
    EXPECT_EQ(fs::file_size(Output()), fs::file_size(plain));
    EXPECT_EQ(fs::status(Output()).permissions(), fs::status(plain).permissions());
}

TEST_F(EncoderExport, NeedsNoExtensionInAName)
{
    const std::string name = "clip_00000_" + std::string(52, 'x');
    EXPECT_EQ(Export(SampleVideo(), "1.000", "0.500", name).ExitCode, 0);
    EXPECT_EQ(Streams(Output(name)), "video 320x180 audio ");
}

TEST_F(EncoderExport, PadsAnOddSizeByOneLine)
{
    const std::string odd =
        Make("odd.mkv", "-f lavfi -i testsrc=size=161x91:rate=25:duration=3 -c:v "
                        "libx264 -preset ultrafast -pix_fmt yuv444p");
    const ProgramRun::End end = Export(odd, "1.000", "1.000");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_EQ(Streams(Output()), "video 162x92 ");
}

// 24 pictures a second, then 60: ffmpeg guesses 24 and by itself leaves out half of what follows.
TEST_F(EncoderExport, KeepsEachPictureOfARateThatRises)
{
    const std::string film =
        Make("rising.mp4",
             "-f lavfi -i \"testsrc2=size=160x90:rate=120:duration=6,"
             "select='if(lt(t\\,3)\\,not(mod(n\\,5))\\,not(mod(n\\,2)))'\" "
             "-vsync vfr -enc_time_base -1 -c:v libx264 -preset ultrafast -bf 2 -pix_fmt yuv420p");
    const ProgramRun::End end = Export(film, "2.000", "2.000");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_EQ(PicturesIn(Output()), 24 + 60);
}

TEST_F(EncoderExport, TakesNoCoverForTheVideo)
{
    const std::string cover = Make("cover.png", "-f lavfi -i color=red:size=64x64 -frames:v 1");
    const std::string film =
        Make("film.mp4",
             "-i " + cover + ' ' + Pictures + Tone +
                 "-map 0 -map 1 -map 2 -c:v:1 libx264 -preset ultrafast -pix_fmt:v:1 yuv420p "
                 "-c:a aac -c:v:0 copy -disposition:v:0 attached_pic");
    const ProgramRun::End end = Export(film, "1.000", "1.000");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_EQ(Streams(Output()), "video 160x90 audio ");
}

TEST_F(EncoderExport, TakesTheFirstOfTwoVideosAndEverySound)
{
    const std::string film =
        Make("film.mkv", "-f lavfi -i testsrc2=size=320x180:duration=3 " + Pictures + Tone + Tone +
                             "-map 0 -map 1 -map 2 -map 3 -map 2" + Codecs);
    EXPECT_EQ(Export(film, "1.000", "1.000").ExitCode, 0);
    EXPECT_EQ(Streams(Output()), "video 320x180 audio audio audio ");
}

TEST_F(EncoderExport, OfSoundAloneHasSoundAlone)
{
    const std::string sound = Make("sound.m4a", Tone + "-c:a aac");
    const ProgramRun::End end = Export(sound, "1.000", "1.000");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_EQ(Streams(Output()), "audio ");
}

TEST_F(EncoderExport, UpToTheSourcesOwnEndIsWhole)
{
    const ProgramRun::End end = Export(SampleVideo(), "3.000", "60.000");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
}

TEST_F(EncoderExport, OfAPictureThatStaysUntilTheEndIsWhole)
{
    const std::string slow =
        Make("slow.mkv", "-f lavfi -i testsrc2=size=160x90:rate=25:duration=12 "
                         "-vf \"select='lt(t,2)+gt(t,9)'\" -vsync vfr" +
                             Codecs);
    const ProgramRun::End end = Export(slow, "1.000", "6.000");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
}

// Its encoder counts in ticks of the rate and leaves out a picture that comes within half a tick of Out.
TEST_F(EncoderExport, OfAVariableRateIsWholeWithoutAPictureJustBeforeOut)
{
    const std::string slow =
        Make("slow.mp4", "-f lavfi -i \"testsrc2=size=160x90:rate=50:duration=9,"
                         "select='gt(random(1)\\,0.4)'\" -vsync vfr" +
                             Codecs);
    const ProgramRun::End end = Export(slow, "6.447", "1.240");
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
}

TEST_F(EncoderExport, LivesOnARelativePathAndStrangeNames)
{
    fs::copy_file(SampleVideo(), Work / "http:it's \n\xff.mp4");
    const ProgramRun::End end =
        Run(ExportArguments("http:it's \n\xff.mp4", "1.000", "0.500", "-o:A"));
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_TRUE(fs::exists(Work / "-o:A"));
}

// -- The name

TEST_F(EncoderName, ThatIsTakenIsToldBeforeAnyWork)
{
    FfmpegIs("echo ran >\"$HOME/begun\"");
    WriteFile(Output(), "somebody's");
    FakeApplication application(Work / "socket");
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = (Work / "socket").native();
    const ProgramRun::End end = Export(SampleVideo(), "1.000", "1.000");
    application.Accept();
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "clip_00000_A.mkv was taken by another program: export again.\n");
    EXPECT_EQ(application.ReceiveAll(),
              (std::vector<ExportMessage>{{Type::Output, Output()}, {Type::Taken}}));
    EXPECT_EQ(ReadFile(Output()), "somebody's");
    EXPECT_EQ(ClipNames(), Names({"clip_00000_A.mkv"}));
    EXPECT_FALSE(fs::exists(Work / "begun"));
}

TEST_F(EncoderName, ThatIsALinkIsNotFollowed)
{
    fs::create_symlink(Work / "target", Output());
    EXPECT_EQ(Export(SampleVideo(), "1.000", "1.000").Err,
              "clip_00000_A.mkv is in the way: remove it and export again.\n");
    fs::rename(Output(), Output() + ".part");
    EXPECT_EQ(Export(SampleVideo(), "1.000", "1.000").Err,
              "clip_00000_A.mkv.part is in the way: remove it and export again.\n");
    EXPECT_FALSE(fs::exists(Work / "target"));
    EXPECT_EQ(ClipNames(), Names({"clip_00000_A.mkv.part"}));
}

TEST_F(EncoderName, IsHeldFromTheBeginning)
{
    FfmpegIs(EndlessFfmpeg);
    const auto run = Start(ExportArguments(SampleVideo(), "1.000", "1.000", Output()));
    ASSERT_TRUE(HasBegun());
    EXPECT_EQ(ClipNames(), Names({"clip_00000_A.mkv", "clip_00000_A.mkv.part"}));
    EXPECT_EQ(fs::file_size(Output()), 0U);
    run->Signal(SIGTERM);
    ExpectStopped(run->Finish());
}

TEST_F(EncoderName, ThatSomebodyWroteToMeanwhileIsNotReplaced)
{
    FfmpegIs("echo mine >\"" + Output() + "\"; exec $real \"$@\"");
    const ProgramRun::End end = Export(SampleVideo(), "1.000", "0.500");
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err,
              "clip_00000_A.mkv was changed by another program meanwhile: export again.\n");
    EXPECT_EQ(ReadFile(Output()), "mine\n");
    EXPECT_EQ(ClipNames(), Names({"clip_00000_A.mkv"}));
}

TEST_F(EncoderName, IsGivenToOneOfFourAtOnce)
{
    std::vector<std::unique_ptr<ProgramRun>> runs;
    for (int i = 0; i < 4; ++i)
    {
        Setup.OutputFolder = Folder.Path() / ("output" + std::to_string(i));
        fs::create_directory(Setup.OutputFolder);
        runs.push_back(Start(ExportArguments(SampleVideo(), "1.000", "0.500", Output())));
    }
    int whole = 0;
    for (const auto& run : runs)
    {
        const ProgramRun::End end = run->Finish();
        whole += end.ExitCode == 0 ? 1 : 0;
        EXPECT_TRUE(end.ExitCode == 0 || end.Err.find("was taken") != std::string::npos) << end.Err;
    }
    EXPECT_EQ(whole, 1);
    EXPECT_EQ(ClipNames(), Names({"clip_00000_A.mkv"}));
}

TEST_F(EncoderName, InAFolderThatIsNotThereIsToldInASentence)
{
    fs::remove(Clips);
    const ProgramRun::End end = Export(SampleVideo(), "1.000", "0.500");
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "The file " + Output() + " can't be written: No such file or directory.\n");
    fs::create_directory(Clips);
}

// -- The source

TEST_F(EncoderSource, ThatNamesOtherFilesIsRefusedAndNothingElseOpened)
{
    // Whoever opened the pipe would wait for ever.
    ASSERT_EQ(mkfifo((Work / "secret.mp4").c_str(), 0600), 0);
    WriteFile(Work / "list.mp4", "ffconcat version 1.0\nfile 'secret.mp4'\n");
    WriteFile(Work / "list.mkv", "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:9,\nsecret.mp4\n");
    WriteFile(Work / "call.mp4", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                                 "m=video 40404 RTP/AVP 96\na=rtpmap:96 H264/90000\n");
    FfmpegIs("echo ran >\"$HOME/begun\"; exec $real \"$@\"");
    for (const auto& [name, format] : std::vector<std::pair<std::string, std::string>>{
             {"list.mp4", "Virtual concatenation script"},
             {"list.mkv", "Apple HTTP Live Streaming"},
             {"call.mp4", "SDP"}})
    {
        const ProgramRun::End end = Export((Work / name).native(), "0.000", "1.000");
        EXPECT_EQ(end.ExitCode, 1);
        EXPECT_EQ(end.Err, name + " has the format " + format +
                               ", which is not supported: convert it, or choose another video.\n");
    }
    EXPECT_FALSE(fs::exists(Work / "begun"));
    EXPECT_THAT(ClipNames(), IsEmpty());
}

TEST_F(EncoderSource, ThatCanNotBeReadIsToldInASentence)
{
    WriteFile(Work / "text.mp4", "no video");
    ASSERT_EQ(mkfifo((Work / "pipe.mp4").c_str(), 0600), 0);
    EXPECT_EQ(Export((Work / "none.mp4").native(), "0.000", "1.000").Err,
              "none.mp4 does not exist: check the name.\n");
    EXPECT_EQ(Export((Work / "pipe.mp4").native(), "0.000", "1.000").Err,
              "pipe.mp4 is not a regular file: choose a video.\n");
    EXPECT_EQ(Export(Work.native(), "0.000", "1.000").Err,
              "work is a folder: choose a video in it.\n");
    EXPECT_THAT(Export((Work / "text.mp4").native(), "0.000", "1.000").Err,
                StartsWith("text.mp4 can't be read as a video: "));
    EXPECT_THAT(ClipNames(), IsEmpty());
}

TEST_F(EncoderSource, WithoutAPictureFromInOnIsToldInASentence)
{
    for (const char* ending : {"mp4", "mkv", "ts", "avi"})
    {
        const std::string name = std::string("film.") + ending;
        const ProgramRun::End end = Export(Make(name, Pictures + Tone + Codecs), "3.500", "2.000");
        EXPECT_EQ(end.ExitCode, 1) << name;
        EXPECT_EQ(end.Err, name + " has no picture from In on: set In earlier and export again.\n");
        EXPECT_THAT(ClipNames(), IsEmpty());
    }
}

TEST_F(EncoderSource, WithAStrangeNameIsToldInOneLine)
{
    FakeApplication application(Work / "socket");
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = (Work / "socket").native();
    const ProgramRun::End end =
        Export((Work / "stopped.\n\x1B[31m\x7F\xC3\xA4.mp4").native(), "0.000", "1.000");
    const std::string sentence = "stopped.??[31m?\xC3\xA4.mp4 does not exist: check the name.";
    EXPECT_EQ(end.Err, sentence + '\n');
    application.Accept();
    EXPECT_EQ(application.ReceiveAll().back(), (ExportMessage{Type::Failed, sentence}));
}

TEST_F(EncoderSource, WithSoundAloneBetweenInAndOutIsExported)
{
    const std::string sound = "-f lavfi -i sine=duration=7 ";
    const std::string slides = "-f lavfi -i testsrc2=size=160x90:rate=1/4:duration=8 ";
    for (const std::string ending : {"mp4", "mkv", "ts"})
    {
        for (const auto& [name, arguments, in] : std::vector<std::array<std::string, 3>>{
                 {"long", Pictures + sound + Codecs, "4.000"},
                 {"late", Pictures + sound + Codecs + "-vf setpts=PTS+3/TB -vsync vfr", "0.500"},
                 {"slides", slides + sound + Codecs, "1.000"}})
        {
            if (ending == "ts" && name == "slides")
            {
                continue; // its container does not tell where its pictures are
            }
            const std::string film = Make(name + ("." + ending), arguments);
            const ProgramRun::End end = Export(film, in, "2.000");
            EXPECT_EQ(end.ExitCode, 0) << film << ": " << end.Err;
            EXPECT_THAT(Streams(Output()), HasSubstr("audio ")) << film;
            fs::remove(Output());
        }
    }
}

TEST_F(EncoderSource, WithoutAPictureBeforeOutIsToldInASentence)
{
    const std::string film = Make("film.mkv", Pictures + "-f lavfi -i sine=duration=1 " + Codecs +
                                                  "-vf setpts=PTS+3/TB -vsync vfr");
    EXPECT_EQ(Export(film, "1.500", "1.000").Err,
              "film.mkv has no picture before Out: set Out later and export again.\n");
    EXPECT_THAT(ClipNames(), IsEmpty());
}

TEST_F(EncoderSource, ThatEndsBeforeItSaysIsToldWithWhatThereIs)
{
    const std::string twelve = "-f lavfi -i testsrc2=size=160x90:rate=25:duration=12 "
                               "-f lavfi -i sine=duration=12 -g 25";
    for (const std::string name : {"film.mkv", "film.mp4"})
    {
        const std::string path = Make(name, twelve + Codecs + " -movflags +faststart");
        fs::resize_file(path, fs::file_size(path) / 2);
        const ProgramRun::End whole = Export(path, "1.000", "1.000");
        EXPECT_EQ(whole.ExitCode, 0) << whole.Err;
        fs::remove(Output());
        const ProgramRun::End cut = Export(path, "2.000", "9.500");
        EXPECT_EQ(cut.ExitCode, 1);
        EXPECT_THAT(cut.Err,
                    testing::MatchesRegex(name + " ends at [4-8]\\.[0-9] s, though it says that "
                                                 "it lasts 12\\.0 s: set Out earlier and export "
                                                 "again\\.\n"));
        const ProgramRun::End none = Export(path, "10.000", "1.000");
        EXPECT_EQ(none.ExitCode, 1);
        EXPECT_EQ(none.Err, name +
                                " ends before 10.0 s, though it says that it lasts 12.0 s: set In "
                                "earlier and export again.\n");
        EXPECT_THAT(ClipNames(), IsEmpty());
    }
}

TEST_F(EncoderSource, ThatBeginsLateIsExportedToItsEnd)
{
    const std::string film = Make("film.mkv", Pictures + Tone + Codecs);
    const std::string web = Make("film.webm", Pictures + Tone +
                                                  "-c:v libvpx -deadline realtime -cpu-used 8 "
                                                  "-c:a libopus");
    for (const std::string ending : {"mp4", "mov", "nut", "mkv", "webm", "ts", "flv"})
    {
        const std::string late =
            Make("late." + ending, "-itsoffset 2 -i " + (ending == "webm" ? web : film) +
                                       " -c copy -avoid_negative_ts disabled");
        const ProgramRun::End end = Export(late, "0.000", "9.000");
        EXPECT_EQ(end.ExitCode, 0) << ending << ": " << end.Err;
        fs::remove(Output());
    }
    const std::string cut = (Work / "late.mkv").native();
    fs::resize_file(cut, fs::file_size(cut) / 2);
    EXPECT_THAT(Export(cut, "0.000", "9.000").Err,
                HasSubstr(", though it says that it lasts 3.0 s: "));
}

TEST_F(EncoderSource, WhoseSubtitleStaysBehindItsEndIsExportedToItsEnd)
{
    const std::string text = (Work / "text.srt").native();
    WriteFile(text, "1\n00:00:00,500 --> 00:00:00,900\nHello\n\n"
                    "2\n00:00:02,500 --> 00:00:20,000\nThere\n");
    for (const auto& [name, codec] : std::vector<std::pair<std::string, std::string>>{
             {"film.mkv", "-c:s srt"},
             {"film.mp4", "-c:s mov_text"},
             {"untold.mkv", "-c:s srt -f matroska pipe:1 >"}})
    {
        const std::string film = Make(name, Pictures + Tone + "-i " + text + Codecs + codec);
        const ProgramRun::End end = Export(film, "0.000", "20.000");
        EXPECT_EQ(end.ExitCode, 0) << name << ": " << end.Err;
        fs::remove(Output());
    }
}

// -- ffmpeg and the disk

TEST_F(EncoderFailure, IsToldWithTheFirstLineOfFfmpeg)
{
    FfmpegIs("echo >&2; echo 'The encoder broke.' >&2; echo 'Then this.' >&2; exit 3");
    const ProgramRun::End end = Export(SampleVideo(), "1.000", "1.000");
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "The encoder broke.\n");
    EXPECT_THAT(ClipNames(), IsEmpty());
}

TEST_F(EncoderFailure, IsToldWithoutWhichPartOfFfmpegSaidIt)
{
    FfmpegIs("echo '[NULL @ 0x5629a84a0600] [x @ 0x1] Invalid NAL [unit @ 0x2] size.' >&2; exit 1");
    EXPECT_EQ(Export(SampleVideo(), "1.000", "1.000").Err, "Invalid NAL [unit @ 0x2] size.\n");
}

TEST_F(EncoderFailure, WithoutAWordIsToldInASentence)
{
    FfmpegIs("exit 3");
    EXPECT_EQ(Export(SampleVideo(), "1.000", "1.000").Err,
              "ffmpeg ended with exit code 3 and no message: export again.\n");
    FfmpegIs("kill -9 $$");
    EXPECT_EQ(Export(SampleVideo(), "1.000", "1.000").Err,
              "ffmpeg was ended by signal 9: export again.\n");
    FfmpegIs("exit 0");
    EXPECT_EQ(Export(SampleVideo(), "1.000", "1.000").Err,
              "sample.mp4 has nothing from In on that can be decoded: set In elsewhere and export "
              "again.\n");
    EXPECT_THAT(ClipNames(), IsEmpty());
}

// Of an ffmpeg that ends well and leaves something out.
TEST_F(EncoderFailure, OfAClipThatLacksWhatTheSourceHasIsToldInASentence)
{
    const std::string insert = "for word do shift; [ \"$word\" = -f ] && set -- \"$@\" $more; "
                               "set -- \"$@\" \"$word\"; done; exec $real \"$@\"";
    FfmpegIs("more=-an; " + insert);
    EXPECT_EQ(Export(SampleVideo(), "1.000", "2.000").Err,
              "The sound of sample.mp4 did not come into the clip: export again.\n");
    FfmpegIs("more=-vn; " + insert);
    EXPECT_EQ(
        Export(SampleVideo(), "1.000", "2.000").Err,
        "sample.mp4 has no picture from In on that can be decoded: set In elsewhere and export "
        "again.\n");
    FfmpegIs("more='-frames:v 10'; " + insert);
    EXPECT_EQ(
        Export(SampleVideo(), "1.000", "2.000").Err,
        "sample.mp4 has pictures that can't be decoded from 1.4 s on: set Out earlier and export "
        "again.\n");
    FfmpegIs("more='-t 1.8'; " + insert);
    EXPECT_EQ(Export(SampleVideo(), "1.000", "2.000").ExitCode, 1);
    EXPECT_THAT(ClipNames(), IsEmpty());
    FfmpegIs("more='-t 2'; " + insert);
    EXPECT_EQ(Export(SampleVideo(), "1.000", "2.000").ExitCode, 0);
}

TEST_F(EncoderFailure, OfAFullDiskIsToldInASentenceHoweverMuchThereWas)
{
    const std::string words =
        "clip_00000_A.mkv is cut short: make room on its disk and export again.\n";
    ASSERT_EQ(Export(SampleVideo(), "0.000", "4.000").ExitCode, 0);
    const auto whole = static_cast<rlim_t>(fs::file_size(Output()));
    fs::remove(Output());
    for (const rlim_t bytes : {rlim_t{1000}, whole / 2, whole - 5000, whole - 1})
    {
        Setup.BeforeStart = [bytes]
        {
            const rlimit limit = {bytes, bytes};
            setrlimit(RLIMIT_FSIZE, &limit);
        };
        const ProgramRun::End end = Export(SampleVideo(), "0.000", "4.000");
        EXPECT_EQ(end.ExitCode, 1) << bytes << " of " << whole;
        EXPECT_EQ(end.Err, words) << bytes << " of " << whole;
        EXPECT_THAT(ClipNames(), IsEmpty());
    }
}

TEST_F(EncoderFailure, OfAFullDiskIsToldHoweverMuchWasSaidBefore)
{
    const std::string full = "echo 'Writing failed: No space left on device' >&2; ";
    const std::string much = "head -c 10000 /dev/zero | tr '\\0' x >&2; echo >&2; ";
    for (const std::string& words :
         {"echo 'A frame is damaged.' >&2; " + full, much + full + much, much + full + "exit 0; "})
    {
        FfmpegIs(words + "exit 3");
        EXPECT_EQ(Export(SampleVideo(), "1.000", "1.000").Err,
                  "clip_00000_A.mkv is cut short: make room on its disk and export again.\n")
            << words;
    }
    EXPECT_THAT(ClipNames(), IsEmpty());
}

TEST_F(EncoderFailure, OnADiskWithoutRoomIsToldInASentence)
{
    if (geteuid() != 0 && !MayMountAsOrdinaryUser())
    {
        GTEST_SKIP() << "may not mount here";
    }
    const std::string source = SampleVideo();
    const TinyDisk disk(Clips, "64k");
    ASSERT_TRUE(disk.IsMounted());
    const ProgramRun::End end = Export(source, "0.000", "4.000");
    EXPECT_EQ(end.ExitCode, 1);
    EXPECT_EQ(end.Err, "clip_00000_A.mkv is cut short: make room on its disk and export again.\n");
    EXPECT_THAT(ClipNames(), IsEmpty());
}

// -- Stops

TEST_F(EncoderStop, ByASignalLeavesNothing)
{
    FfmpegIs(EndlessFfmpeg);
    // A shell that started the tests in the background has it ignored.
    Setup.BeforeStart = [] { std::signal(SIGQUIT, SIG_DFL); };
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
    {
        fs::remove(Work / "begun");
        const auto run = Start(ExportArguments(SampleVideo(), "1.000", "1.000", Output()));
        ASSERT_TRUE(HasBegun());
        run->Signal(number);
        ExpectStopped(run->Finish());
    }
}

TEST_F(EncoderStop, ByASignalThatWasBlockedLeavesNothing)
{
    FfmpegIs(EndlessFfmpeg);
    Setup.BeforeStart = []
    {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
    };
    const auto run = Start(ExportArguments(SampleVideo(), "1.000", "1.000", Output()));
    ASSERT_TRUE(HasBegun());
    run->Signal(SIGINT);
    ExpectStopped(run->Finish());
}

TEST_F(EncoderStop, ByASignalThatTheCallerIgnoresIsNone)
{
    FfmpegIs(
        "echo >\"$HOME/begun\"\nuntil [ -e \"$HOME/go\" ]; do sleep 0.01; done\nexec $real \"$@\"");
    Setup.BeforeStart = [] { std::signal(SIGINT, SIG_IGN); };
    const auto run = Start(ExportArguments(SampleVideo(), "1.000", "0.500", Output()));
    ASSERT_TRUE(HasBegun());
    run->Signal(SIGINT);
    WriteFile(Work / "go", "");
    const ProgramRun::End end = run->Finish();
    EXPECT_EQ(end.ExitCode, 0) << end.Err;
    EXPECT_EQ(ClipNames(), Names({"clip_00000_A.mkv"}));
}

TEST_F(EncoderStop, ByTheApplicationOrItsDeathLeavesNothing)
{
    FfmpegIs(EndlessFfmpeg);
    for (const bool bDeath : {false, true})
    {
        const fs::path socket = Work / (bDeath ? "first" : "second");
        FakeApplication application(socket);
        Setup.Environment["MOVANE_EXPORT_SOCKET"] = socket.native();
        fs::remove(Work / "begun");
        const auto run = Start(ExportArguments(SampleVideo(), "1.000", "1.000", Output()));
        application.Accept();
        ASSERT_TRUE(HasBegun());
        if (bDeath)
        {
            application.Die();
        }
        else
        {
            application.SendStop();
        }
        ExpectStopped(run->Finish());
        if (!bDeath)
        {
            EXPECT_EQ(application.ReceiveAll().back(), (ExportMessage{Type::Failed, "stopped."}));
        }
    }
}

// The whole of a film of uneven rate is read before it is known how it is cut.
TEST(SourceFile, IsReadNoFurtherOnceItIsStopped)
{
    const TempFolder folder;
    const std::string film = (folder.Path() / "film.mp4").native();
    MakeMedia("-stream_loop 200 -i " + SampleVideo() + " -c copy", film);
    int reads = 0;
    int stopAt = std::numeric_limits<int>::max();
    const auto isStopped = [&] { return ++reads >= stopAt; };
    std::string sentence;
    const auto source = SourceFile::Open(film, sentence, isStopped);
    ASSERT_NE(source, nullptr) << sentence;
    reads = 0;
    (void)source->HasCrowdedPictures(0.0, 800.0);
    const int whole = reads;
    EXPECT_GT(whole, 100);
    reads = 0;
    stopAt = 10;
    (void)source->HasCrowdedPictures(0.0, 800.0);
    EXPECT_LT(reads, 50);
    reads = stopAt;
    EXPECT_EQ(SourceFile::Open(film, sentence, isStopped), nullptr);
}

// -- Deaths

TEST_F(EncoderDeath, OfAnyPartAtARandomMomentLeavesOnlyWholeFiles)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const char* const pMoments = std::getenv("MOVANE_DEATHS"); // NOLINT(concurrency-mt-unsafe)
    const int moments = pMoments == nullptr ? 20 : std::atoi(pMoments); // NOLINT(cert-err34-c)
    ASSERT_EQ(Export(SampleVideo(), "1.000", "2.000", "whole.mkv").ExitCode, 0);
    const std::vector<std::string> whole = PacketsOf(Output("whole.mkv"));
    FfmpegIs("echo $$ >\"$HOME/begun\"; exec $real \"$@\"");
    for (int moment = 0; moment < moments; ++moment)
    {
        fs::remove(Work / "begun");
        const fs::path socket = Work / ("socket" + std::to_string(moment));
        FakeApplication application(socket);
        Setup.Environment["MOVANE_EXPORT_SOCKET"] = socket.native();
        const auto run = Start(ExportArguments(SampleVideo(), "1.000", "2.000", Output()));
        application.Accept();
        const auto until = std::chrono::steady_clock::now() +
                           std::chrono::milliseconds(std::uniform_int_distribution(0, 600)(random));
        (void)WaitFor([&] { return run->HasEnded() || std::chrono::steady_clock::now() > until; });
        if (moment % 3 == 0)
        {
            run->Signal(SIGKILL);
        }
        else if (moment % 3 == 1)
        {
            application.Die();
        }
        else if (const pid_t ffmpeg = std::atoi(ReadFile(Work / "begun").c_str()); // NOLINT
                 ffmpeg > 0 && !run->HasEnded())
        {
            kill(ffmpeg, SIGKILL);
        }
        run->Finish();
        EXPECT_TRUE(WaitFor([] { return ProgramRun::LeftChildren().empty(); }))
            << testing::PrintToString(ProgramRun::LeftChildren());
        // What a killed front left, the next export clears.
        Setup.Environment.erase("MOVANE_EXPORT_SOCKET");
        ASSERT_EQ(Export(SampleVideo(), "1.000", "0.200", "clip_00001_next.mkv").ExitCode, 0);
        fs::remove(Output("clip_00001_next.mkv"));
        for (const std::string& name : ClipNames())
        {
            EXPECT_TRUE(name == "whole.mkv" || name == "clip_00000_A.mkv") << name;
            EXPECT_EQ(PacketsOf(Output(name)), whole) << name;
        }
        fs::remove(Output());
    }
}

// -- The application

TEST_F(EncoderLink, TellsHowFarTheExportIs)
{
    FakeApplication application(Work / "socket");
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = (Work / "socket").native();
    FfmpegIs("for word do case $word in pipe:*) fd=${word#pipe:};; esac; done\n"
             "echo out_time_us=500000 >/proc/self/fd/$fd\n"
             "until [ -e \"$HOME/go\" ]; do sleep 0.01; done\nexec $real \"$@\"");
    const auto run = Start(ExportArguments(SampleVideo(), "1.000", "1.000", Output()));
    application.Accept();
    std::vector<ExportMessage> messages;
    bool bEncodes = false;
    while (const std::optional<ExportMessage> message = application.Receive())
    {
        messages.push_back(*message);
        if (!bEncodes && message->Phase == ExportPhase::Encode && message->Type == Type::Progress)
        {
            EXPECT_EQ(message->Fraction, 0.5);
            bEncodes = WriteFile(Work / "go", "");
        }
    }
    EXPECT_TRUE(bEncodes);
    EXPECT_EQ(run->Finish().ExitCode, 0);
    ASSERT_GE(messages.size(), 4U);
    EXPECT_EQ(messages.front(), (ExportMessage{Type::Output, Output()}));
    EXPECT_EQ(messages.back(), ExportMessage{Type::Judged});
    double fraction = 0.0;
    for (std::size_t i = 1; i + 1 < messages.size(); ++i)
    {
        EXPECT_EQ(messages[i].Type, Type::Progress);
        EXPECT_GE(messages[i].Fraction, fraction);
        fraction = messages[i].Fraction;
    }
    EXPECT_EQ(messages[messages.size() - 2],
              (ExportMessage{Type::Progress, {}, ExportPhase::Finish, 1.0}));
}

TEST_F(EncoderLink, TellsAFailureInTheWordsOfStandardError)
{
    FakeApplication application(Work / "socket");
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = (Work / "socket").native();
    FfmpegIs("echo 'The encoder broke.' >&2; exit 1");
    Export(SampleVideo(), "1.000", "1.000");
    application.Accept();
    EXPECT_EQ(application.ReceiveAll().back(), (ExportMessage{Type::Failed, "The encoder broke."}));
}

TEST_F(EncoderLink, ReachesASocketWhosePathIsTooLongForAnAddress)
{
    const fs::path folder = Work / std::string(200, 'f');
    fs::create_directory(folder);
    FakeApplication application(folder / "export.socket");
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = (folder / "export.socket").native();
    EXPECT_EQ(Export(SampleVideo(), "1.000", "0.500").ExitCode, 0);
    application.Accept();
    EXPECT_EQ(application.ReceiveAll().back(), ExportMessage{Type::Judged});
}

TEST_F(EncoderLink, IsNotNeeded)
{
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = "";
    EXPECT_EQ(Export(SampleVideo(), "1.000", "0.500").ExitCode, 0);
}

TEST_F(EncoderLink, ToADeadApplicationIsAStopBeforeAnyWork)
{
    FfmpegIs("echo ran >\"$HOME/begun\"");
    const std::string dead = (Work / "dead.socket").native();
    {
        FakeApplication application(dead);
        fs::rename(dead, dead + ".kept"); // as a program that was killed leaves it
    }
    fs::rename(dead + ".kept", dead);
    for (const std::string& path :
         {dead, std::string("/nowhere/export.socket"), std::string("relative")})
    {
        Setup.Environment["MOVANE_EXPORT_SOCKET"] = path;
        ExpectStopped(Export(SampleVideo(), "1.000", "0.500"));
    }
    EXPECT_FALSE(fs::exists(Work / "begun"));
}
