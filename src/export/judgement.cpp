#include "export/judgement.h"

#include "export/exportsentences.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

namespace
{
// Matroska's times are whole milliseconds.
constexpr double RoundingSec = 0.002;

struct CloseInput
{
    void operator()(AVFormatContext* pFile) const { avformat_close_input(&pFile); }
};
using InputFile = std::unique_ptr<AVFormatContext, CloseInput>;

// An element of Matroska: where its content begins, and its size; nullopt for one of unknown size or
// beyond the end (RFC 8794, 4 and 6).
struct Element
{
    std::uint64_t ContentAt;
    std::uint64_t Size;
};
std::optional<Element> ReadElement(int Fd, std::uint64_t At)
{
    constexpr std::size_t IdBytes = 4;
    std::array<std::uint8_t, IdBytes + 8> bytes{};
    const ssize_t count = pread(Fd, bytes.data(), bytes.size(), static_cast<off_t>(At));
    const int length = std::countl_zero(bytes[IdBytes]) + 1;
    if (length > 8 || count < static_cast<ssize_t>(IdBytes) + length)
    {
        return std::nullopt;
    }
    std::uint64_t size = bytes[IdBytes] & (0xFFU >> static_cast<unsigned>(length));
    for (int i = 1; i < length; ++i)
    {
        size = size << 8U | bytes[IdBytes + static_cast<std::size_t>(i)];
    }
    const std::uint64_t unknown = (std::uint64_t{1} << (7U * static_cast<unsigned>(length))) - 1;
    return size == unknown
               ? std::nullopt
               : std::optional(Element{At + IdBytes + static_cast<unsigned>(length), size});
}

// The header, then the segment with everything else. When the disk gets full with the last bytes, ffmpeg may still
// exit with 0; the segment's declared size is then larger than the file.
bool HasAllItsBytes(int Fd)
{
    struct stat status = {};
    const std::optional<Element> header = ReadElement(Fd, 0);
    const std::optional<Element> segment =
        header.has_value() ? ReadElement(Fd, header->ContentAt + header->Size) : std::nullopt;
    return segment.has_value() && fstat(Fd, &status) == 0 &&
           segment->Size <= static_cast<std::uint64_t>(status.st_size) - segment->ContentAt;
}

std::string OneDecimal(double Sec)
{
    std::array<char, 32> text{};
    const auto [pEnd, error] =
        std::to_chars(text.data(), text.data() + text.size(), Sec, std::chars_format::fixed, 1);
    return error == std::errc() ? std::string(text.data(), pEnd) : "?";
}

double ToSec(std::int64_t Ms)
{
    return static_cast<double>(Ms) / 1000.0;
}

// A file's declared length may be this much too long although nothing is missing.
constexpr double DeclaredSlackSec = 0.5;

// The end of what the source declares of the clip.
double WantedEndSec(const PanelCommand& Command, const SourceFacts& Source)
{
    const double outSec = ToSec(Command.InMs + Command.LengthMs);
    return Source.DeclaredSec.has_value() ? std::min(outSec, *Source.DeclaredSec - DeclaredSlackSec)
                                          : outSec;
}

bool HasSound(SourceFile& Source, double FromSec, double EndSec)
{
    const std::vector<int>& streams = Source.Facts().SoundStreams;
    return std::any_of(streams.begin(), streams.end(),
                       [&](int Stream)
                       { return Source.HasAnything(Stream, FromSec, EndSec) == true; });
}

std::string EndsEarly(const std::string& Name, double EndSec, double DeclaredSec)
{
    return Name + " ends at " + OneDecimal(EndSec) + " s, though it says that it lasts " +
           OneDecimal(DeclaredSec) + " s: set Out earlier and export again.";
}
} // namespace

double ClipFacts::EndSec() const
{
    const double soundSec =
        SoundSec.empty() ? 0.0 : *std::max_element(SoundSec.begin(), SoundSec.end());
    return std::max(VideoSec.value_or(0.0), soundSec);
}

std::optional<ClipFacts> ReadClip(int Fd)
{
    AVFormatContext* opened = nullptr;
    const std::string url = "file:/proc/self/fd/" + std::to_string(Fd);
    if (avformat_open_input(&opened, url.c_str(), av_find_input_format("matroska"), nullptr) < 0)
    {
        return std::nullopt;
    }
    const InputFile file(opened);
    const double wholeSec =
        file->duration > 0 ? static_cast<double>(file->duration) / AV_TIME_BASE : 0.0;
    ClipFacts clip;
    clip.bWhole = HasAllItsBytes(Fd);
    for (unsigned i = 0; i < file->nb_streams; ++i)
    {
        const AVStream& stream = *file->streams[i];
        const double endSec = ReadDurationTag(stream).value_or(wholeSec);
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
        {
            clip.SoundSec.push_back(endSec);
        }
        else if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && endSec > 0.0)
        {
            clip.VideoSec = endSec;
        }
    }
    return clip;
}

bool LacksSound(const std::optional<ClipFacts>& Clip,
                const PanelCommand& Command,
                SourceFile& Source)
{
    // Longer than any packet of sound.
    constexpr double SlackSec = 0.3;
    const std::vector<int>& streams = Source.Facts().SoundStreams;
    const double outSec = ToSec(Command.InMs + Command.LengthMs);
    for (std::size_t i = 0; Clip.has_value() && i < streams.size(); ++i)
    {
        const double soundSec = i < Clip->SoundSec.size() ? Clip->SoundSec[i] : 0.0;
        const double fromSec = ToSec(Command.InMs) + (soundSec > 0.0 ? soundSec + SlackSec : 0.0);
        if (fromSec < outSec && Source.HasAnything(streams[i], fromSec, outSec) == true)
        {
            return true;
        }
    }
    return false;
}

std::optional<std::string> WhyNoPicture(const PanelCommand& Command, SourceFile& Source)
{
    const SourceFacts& facts = Source.Facts();
    const std::string name = FileNameOf(Command.SourcePath);
    const double inSec = ToSec(Command.InMs);
    const double outSec = ToSec(Command.InMs + Command.LengthMs);
    if (!facts.VideoStream.has_value() ||
        Source.HasAnything(*facts.VideoStream, inSec, outSec) != false ||
        HasSound(Source, inSec, outSec))
    {
        return std::nullopt;
    }
    if (facts.DeclaredSec.has_value() && inSec < *facts.DeclaredSec - DeclaredSlackSec &&
        Source.Reaches(inSec) == false)
    {
        return name + " ends before " + OneDecimal(inSec) + " s, though it says that it lasts " +
               OneDecimal(*facts.DeclaredSec) + " s: set In earlier and export again.";
    }
    const double endless = std::numeric_limits<double>::infinity();
    // The first picture may come a little before the file's own beginning.
    if (Source.HasAnything(*facts.VideoStream, -1.0, inSec) == false &&
        Source.HasAnything(*facts.VideoStream, outSec, endless) == true)
    {
        return name + " has no picture before Out: set Out later and export again.";
    }
    return name + " has no picture from In on: set In earlier and export again.";
}

std::optional<std::string>
JudgeClip(const std::optional<ClipFacts>& Clip, const PanelCommand& Command, SourceFile& Source)
{
    const SourceFacts& facts = Source.Facts();
    const std::string name = FileNameOf(Command.SourcePath);
    const double inSec = ToSec(Command.InMs);
    const double outSec = ToSec(Command.InMs + Command.LengthMs);
    if (!Clip.has_value())
    {
        return WhyNoPicture(Command, Source)
            .value_or(name + " has nothing from In on that can be decoded: set In elsewhere and "
                             "export again.");
    }
    if (!Clip->bWhole)
    {
        return DiskIsFull(Command.OutputPath);
    }
    // Sound alone is right when the source has no picture there.
    const bool bSoundAlone = facts.VideoStream.has_value() && !Clip->VideoSec.has_value() &&
                             Clip->EndSec() > 0.0 &&
                             Source.HasAnything(*facts.VideoStream, inSec, outSec) == false;
    if (facts.VideoStream.has_value() && !Clip->VideoSec.has_value() && !bSoundAlone)
    {
        return WhyNoPicture(Command, Source)
            .value_or(name + " has no picture from In on that can be decoded: set In elsewhere and "
                             "export again.");
    }
    const double slackSec = facts.FrameSec + RoundingSec;
    const double endSec = inSec + Clip->EndSec();
    const double wantedEndSec = WantedEndSec(Command, facts);
    // At a variable rate the last picture may be shown for long, and the source then continues after it.
    if (facts.DeclaredSec.has_value() && endSec < wantedEndSec - slackSec &&
        Source.Reaches(wantedEndSec - slackSec) == false)
    {
        return EndsEarly(name, endSec, *facts.DeclaredSec);
    }
    const double pictureEndSec = inSec + Clip->VideoSec.value_or(0.0);
    if (facts.VideoStream.has_value() && pictureEndSec < wantedEndSec - slackSec &&
        Source.HasAnything(*facts.VideoStream, pictureEndSec + slackSec, outSec - slackSec) == true)
    {
        return name + " has pictures that can't be decoded from " + OneDecimal(pictureEndSec) +
               " s on: set Out earlier and export again.";
    }
    for (std::size_t i = 0; i < facts.SoundStreams.size(); ++i)
    {
        const bool bSound = i < Clip->SoundSec.size() && Clip->SoundSec[i] > 0.0;
        if (!bSound && Source.HasAnything(facts.SoundStreams[i], inSec, outSec) == true)
        {
            return "The sound of " + name + " did not come into the clip: export again.";
        }
    }
    return std::nullopt;
}
