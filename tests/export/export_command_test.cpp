#include "export/encoderarguments.h"
#include "export/encoderprogram.h"
#include "export/encoderprogress.h"
#include "export/panelcommand.h"
#include "support/fakeapplication.h"
#include "support/fakeffmpeg.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace
{
std::optional<PanelCommand> Read(const std::vector<std::string>& Words)
{
    std::vector<const char*> words;
    words.reserve(Words.size());
    for (const std::string& word : Words)
    {
        words.push_back(word.c_str());
    }
    return ReadPanelCommand(words);
}

// Every list that differs from an export's in one word.
std::vector<std::vector<std::string>> OtherLists(const std::vector<std::string>& Export)
{
    std::vector<std::vector<std::string>> lists = {{}, {"-version"}};
    for (std::size_t at = 0; at < Export.size(); ++at)
    {
        const bool bOpen = at == 5 || at + 1 == Export.size();
        std::vector<std::string> list = Export;
        list[at] = bOpen ? "" : Export[at] + "x";
        lists.push_back(list);
        list = Export;
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
        lists.push_back(list);
    }
    lists.push_back(Export);
    lists.back().push_back("-n");
    return lists;
}

class EncoderCommand : public EncoderProgram
{
};
} // namespace

TEST_F(EncoderCommand, IsReadWordByWord)
{
    const auto command = Read(ExportArguments("-a b.mp4", "12.500", "0.050", "/c/clip_00000_A.mk"));
    ASSERT_TRUE(command.has_value());
    EXPECT_EQ(command->SourcePath, "-a b.mp4");
    EXPECT_EQ(command->InMs, 12'500);
    EXPECT_EQ(command->LengthMs, 50);
    EXPECT_EQ(command->OutputPath, "/c/clip_00000_A.mk");
}

TEST_F(EncoderCommand, IsNoOtherList)
{
    for (const auto& list : OtherLists(ExportArguments("a.mp4", "1.000", "2.000", "b.mkv")))
    {
        EXPECT_FALSE(Read(list).has_value()) << testing::PrintToString(list);
    }
}

TEST_F(EncoderCommand, HasTimesOfThreeDecimals)
{
    for (const auto& [text, ms] : std::vector<std::pair<std::string, std::int64_t>>{
             {"0.000", 0},
             {"0.001", 1},
             {"5999.999", 5'999'999},
             {"999999999999.999", 999'999'999'999'999}})
    {
        EXPECT_EQ(ReadSecondsText(text), ms);
        EXPECT_EQ(SecondsText(ms), text);
    }
    for (const char* other :
         {"", ".", ".000", "1", "1.", "1.0", "1.00", "1.0000", "-1.000", "+1.000", " 1.000",
          "1.000 ", "1,000", "1e3.000", "1.0.0", "nan", "0x1.000", "9999999999999.999"})
    {
        EXPECT_EQ(ReadSecondsText(other), std::nullopt) << other;
    }
}

TEST_F(EncoderCommand, OfAnotherKindGoesToFfmpegUnchanged)
{
    const FakeFfmpeg ffmpeg(Work, {.ExitCode = 7, .ErrorText = "words", .bWritesOutput = false});
    Setup.Environment["PATH"] = Work.native() + ":/usr/bin:/bin";
    auto lists = OtherLists(ExportArguments("a.mp4", "1.000", "2.000", Output()));
    lists.push_back({"", "two words", "-i", "\n\xff"});
    std::size_t runs = 0;
    for (const auto& list : lists)
    {
        const ProgramRun::End end = Run(list);
        EXPECT_EQ(end.ExitCode, 7);
        EXPECT_EQ(end.Err, "words");
        EXPECT_EQ(ffmpeg.Runs(), ++runs);
        EXPECT_EQ(ffmpeg.Arguments(), list.empty() ? std::vector<std::string>{""} : list);
    }
    EXPECT_EQ(ClipNames(), std::set<std::string>());
}

TEST_F(EncoderCommand, ReachesFfmpegWithoutTheVariablesOfTheFront)
{
    FfmpegIs("env; for out do :; done; exec $real \"$@\"");
    Setup.Environment["MOVANE_FFMPEG_BIN"] = "/nowhere/movane-encoder";
    const FakeApplication application(Work / "socket");
    Setup.Environment["MOVANE_EXPORT_SOCKET"] = (Work / "socket").native();
    for (const ProgramRun::End& end : {Run({"-version"}), Export(SampleVideo(), "1.000", "0.500")})
    {
        EXPECT_EQ(end.ExitCode, 0) << end.Err;
        EXPECT_THAT(end.Out, testing::HasSubstr("PATH="));
        EXPECT_THAT(end.Out, testing::Not(testing::HasSubstr("MOVANE_")));
    }
}

TEST(EncoderArguments, ArePlainOrDeep)
{
    const PanelCommand command{"a.mp4", 90'500, 2'000, "b.mkv"};
    const auto at = [](const std::vector<std::string>& Words, const std::string& Word)
    { return std::find(Words.begin(), Words.end(), Word) - Words.begin(); };
    const auto plain = EncoderArguments(command, {}, 7, 8);
    EXPECT_EQ(std::count(plain.begin(), plain.end(), "-ss"), 1);
    EXPECT_GT(at(plain, "90.500"), at(plain, "file:a.mp4"));
    EXPECT_EQ(plain.back(), "file:/proc/self/fd/7");
    EXPECT_EQ(plain[static_cast<std::size_t>(at(plain, "-progress")) + 1], "pipe:8");
    const auto deep = EncoderArguments(command, {{30'000}, true}, 7, 8);
    EXPECT_LT(at(deep, "60.500"), at(deep, "file:a.mp4"));
    EXPECT_GT(at(deep, "30.000"), at(deep, "file:a.mp4"));
    EXPECT_LT(at(deep, "-vf"), static_cast<std::ptrdiff_t>(deep.size()));
    EXPECT_EQ(at(plain, "-vf"), static_cast<std::ptrdiff_t>(plain.size()));
}

TEST(EncoderProgress, RisesFromTheSeekToThePicturesAndNeverFalls)
{
    EncoderProgress progress({"a.avi", 16'000, 2'000, "b.mkv"}, {}, 32.0);
    EXPECT_EQ(progress.Message(),
              (ExportMessage{ExportMessageType::Progress, {}, ExportPhase::Seek, 0.0}));
    progress.TakeReadPart(0.25);
    EXPECT_EQ(progress.Message().Fraction, 0.25);
    progress.TakeReadPart(0.1);
    EXPECT_EQ(progress.Message().Fraction, 0.25);
    progress.Take("frame=0\nout_time_us=N/A\nprogress=continue\nout_time_");
    EXPECT_TRUE(progress.IsSeeking());
    progress.Take("us=1000000\nspeed=1x\n");
    EXPECT_EQ(progress.Message(),
              (ExportMessage{ExportMessageType::Progress, {}, ExportPhase::Encode, 0.75}));
    progress.Take("out_time_us=-5\nout_time_us=999999999999\n" + std::string(100'000, 'x'));
    EXPECT_EQ(progress.Message().Fraction, 0.99);
}

TEST(EncoderProgress, IsTheClipsOwnAfterASeekToIn)
{
    EncoderProgress progress({"a.mp4", 5'000'000, 2'000, "b.mkv"}, {{0}}, 6000.0);
    progress.Take("out_time_us=1000000\n");
    EXPECT_EQ(progress.Message().Fraction, 0.5);
}

TEST(EncoderProgress, GoesOnFromThatOfAnEarlierCut)
{
    const ExportMessage earlier = {ExportMessageType::Progress, {}, ExportPhase::Encode, 0.5};
    EncoderProgress progress({"a.avi", 16'000, 2'000, "b.mkv"}, {}, 32.0, earlier);
    EXPECT_EQ(progress.Message(), earlier);
    progress.TakeReadPart(0.25);
    EXPECT_EQ(progress.Message().Fraction, 0.625);
    progress.Take("out_time_us=1000000\n");
    EXPECT_EQ(progress.Message().Fraction, 0.875);
}

TEST_F(EncoderCommand, ReadsItsSourceFromFrontToEnd)
{
    const std::string path = (Work / "source").native();
    WriteFile(path, std::string(1000, 'x'));
    EXPECT_EQ(ReadPartOf(path, getpid()), std::nullopt);
    std::ifstream file(path, std::ios::binary);
    file.rdbuf()->pubsetbuf(nullptr, 0);
    EXPECT_EQ(ReadPartOf(path, getpid()), 0.0);
    file.seekg(250);
    EXPECT_EQ(ReadPartOf(path, getpid()), 0.25);
    EXPECT_EQ(ReadPartOf("/nowhere", getpid()), std::nullopt);
}
