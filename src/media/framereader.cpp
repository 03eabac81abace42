#include "media/framereader.h"

#include "media/containers.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>

namespace
{
constexpr std::int64_t UsPerSec = 1'000'000;
constexpr std::int64_t MsPerSec = 1'000;
// How many later packets may be shown before a frame: 16 in H.264 and HEVC, each of which may be two fields.
constexpr std::size_t MostReordered = 33;
constexpr int PacketsAtOnce = 64;
// Beyond this a seek is quicker than reading on.
constexpr std::int64_t ReadOnUs = 10 * UsPerSec;
constexpr std::int64_t FirstStepBackUs = UsPerSec / 2;
constexpr int MostSeeks = 9;

// The frame header of VP8: a bit says whether the frame is shown (RFC 6386, 9.1). The same for VP9 (its
// bitstream specification, 6.2), where a superframe, which ends in a marker, always holds a shown frame.
bool IsShown(AVCodecID Codec, const AVPacket& Packet)
{
    if (Packet.size <= 0)
    {
        return true;
    }
    const unsigned first = Packet.data[0];
    if (Codec == AV_CODEC_ID_VP8)
    {
        return (first >> 4U & 1U) != 0;
    }
    const unsigned last = Packet.data[Packet.size - 1];
    if (Codec != AV_CODEC_ID_VP9 || (last & 0xE0U) == 0xC0U)
    {
        return true;
    }
    const unsigned profile = (first >> 5U & 1U) | (first >> 4U & 1U) << 1U;
    const unsigned shift = profile == 3 ? 2 : 3; // profile 3 has a reserved bit more
    const bool bShowsExisting = (first >> shift & 1U) != 0;
    return bShowsExisting || (first >> (shift - 2) & 1U) != 0;
}

AVStream* FirstVideo(const AVFormatContext& Format)
{
    for (unsigned i = 0; i < Format.nb_streams; ++i)
    {
        AVStream* const stream = Format.streams[i];
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
            (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) == 0)
        {
            return stream;
        }
    }
    return nullptr;
}

int IsStopped(void* pStop)
{
    return static_cast<const std::atomic<bool>*>(pStop)->load() ? 1 : 0;
}
} // namespace

// -- Times

std::int64_t FrameClock::UsOf(std::int64_t Ticks) const
{
    return av_rescale_rnd(Ticks, Num * UsPerSec, Den, AV_ROUND_DOWN);
}

std::int64_t FrameClock::MsOf(std::int64_t Ticks) const
{
    return av_rescale_rnd(Ticks, Num * MsPerSec, Den, AV_ROUND_DOWN);
}

std::int64_t FrameClock::TicksOf(std::int64_t Us) const
{
    return av_rescale_rnd(Us, Den, Num * UsPerSec, AV_ROUND_NEAR_INF);
}

std::int64_t FrameClock::TicksFrom(std::int64_t Us) const
{
    return av_rescale_rnd(Us, Den, Num * UsPerSec, AV_ROUND_UP);
}

double FrameClock::OffsetSec() const
{
    return static_cast<double>(OffsetTicks) * static_cast<double>(Num) / static_cast<double>(Den);
}

// -- Window

std::size_t FrameWindow::KnownCount() const
{
    return bToEnd ? Ticks.size() : Ticks.size() - std::min(Ticks.size(), MostReordered);
}

std::optional<FramePlace> FrameWindow::PlaceOf(std::size_t Index, Lack& OutLack) const
{
    FramePlace place;
    place.Ticks = Ticks[Index];
    place.bFirst = Index == 0;
    place.bLast = Index + 1 == Ticks.size();
    place.BeforeTicks = place.bFirst ? place.Ticks : Ticks[Index - 1];
    place.AfterTicks = place.bLast ? EndTicks : Ticks[Index + 1];
    const auto key =
        std::upper_bound(KeyFrames.begin(), KeyFrames.end(), place.Ticks,
                         [](std::int64_t Time, const KeyFrame& Each) { return Time < Each.Ticks; });
    place.KeyTicks = key == KeyFrames.begin() ? place.Ticks : std::prev(key)->DecodeTicks;
    if (place.bFirst && !bFromStart)
    {
        OutLack = Lack::Earlier;
        return std::nullopt;
    }
    if (Index + 1 >= KnownCount() && !bToEnd)
    {
        OutLack = Lack::Later;
        return std::nullopt;
    }
    OutLack = Lack::Nothing;
    return place;
}

std::optional<FramePlace> FrameWindow::Find(FrameSide Side, std::int64_t Limit, Lack& OutLack) const
{
    const auto end = Ticks.begin() + static_cast<std::ptrdiff_t>(KnownCount());
    const auto found = std::lower_bound(Ticks.begin(), end, Limit);
    if (found == end && !bToEnd)
    {
        OutLack = Lack::Later;
        return std::nullopt;
    }
    if (Ticks.empty())
    {
        OutLack = bFromStart ? Lack::Nothing : Lack::Earlier;
        return std::nullopt;
    }
    const auto index = static_cast<std::size_t>(found - Ticks.begin());
    if (Side == FrameSide::FirstFrom)
    {
        return PlaceOf(std::min(index, Ticks.size() - 1), OutLack);
    }
    if (index == 0 && !bFromStart)
    {
        OutLack = Lack::Earlier;
        return std::nullopt;
    }
    return PlaceOf(index > 0 ? index - 1 : 0, OutLack);
}

// -- Reader

struct FrameReader::Input
{
    Input() = default;
    ~Input()
    {
        av_packet_free(&pPacket);
        avformat_close_input(&pFormat);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    static std::unique_ptr<Input> Open(const std::string& Path, const std::atomic<bool>& bStop);

    AVFormatContext* pFormat = nullptr;
    AVStream* pStream = nullptr;
    AVPacket* pPacket = av_packet_alloc();
};

// The prefix "file:" keeps names such as "http:x" from being taken for a protocol.
std::unique_ptr<FrameReader::Input> FrameReader::Input::Open(const std::string& Path,
                                                             const std::atomic<bool>& bStop)
{
    auto input = std::make_unique<Input>();
    input->pFormat = avformat_alloc_context();
    if (input->pFormat == nullptr || input->pPacket == nullptr)
    {
        return nullptr;
    }
    input->pFormat->interrupt_callback = {&IsStopped, const_cast<std::atomic<bool>*>(&bStop)};
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", AllowedContainers, 0);
    av_dict_set(&options, "protocol_whitelist", AllowedProtocols, 0);
    const int error =
        avformat_open_input(&input->pFormat, ("file:" + Path).c_str(), nullptr, &options);
    av_dict_free(&options);
    // The file's start time is known only after its streams were probed.
    if (error < 0 || avformat_find_stream_info(input->pFormat, nullptr) < 0)
    {
        return nullptr;
    }
    input->pStream = FirstVideo(*input->pFormat);
    for (unsigned i = 0; i < input->pFormat->nb_streams; ++i)
    {
        AVStream* const stream = input->pFormat->streams[i];
        stream->discard = stream == input->pStream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
    }
    return input->pStream == nullptr ? nullptr : std::move(input);
}

std::unique_ptr<FrameReader> FrameReader::Open(const std::string& Path,
                                               const std::atomic<bool>& bStop)
{
    std::unique_ptr<Input> input = Input::Open(Path, bStop);
    return input == nullptr
               ? nullptr
               : std::unique_ptr<FrameReader>(new FrameReader(std::move(input), Path, bStop));
}

FrameReader::FrameReader(std::unique_ptr<Input> NewInput,
                         const std::string& NewPath,
                         const std::atomic<bool>& bNewStop)
    : File(std::move(NewInput))
    , FilePath(NewPath)
    , bStopped(bNewStop)
    , LowestTicks(std::numeric_limits<std::int64_t>::min())
{
    const AVRational timeBase = File->pStream->time_base;
    Ticking.Num = timeBase.num;
    Ticking.Den = timeBase.den;
    if (File->pFormat->start_time != AV_NOPTS_VALUE)
    {
        Ticking.OffsetTicks = av_rescale_q(-File->pFormat->start_time, AV_TIME_BASE_Q, timeBase);
    }
    Known.bFromStart = true;
    const std::string_view container = File->pFormat->iformat->name;
    Ticking.bSeeksAnywhere = container == "mpegts" || container == "mpeg";
    // AVI has no presentation times, and MPEG program streams not for all frames.
    bPtsKnown = container != "avi" && container != "mpeg";
}

FrameReader::~FrameReader() = default;

std::optional<FramePlace> FrameReader::Find(FrameSide Side, std::int64_t Limit)
{
    const std::int64_t target = std::clamp(Limit, std::int64_t{0}, LastTicks());
    int seeks = 0;
    for (;;)
    {
        FrameWindow::Lack lack = FrameWindow::Lack::Nothing;
        const std::optional<FramePlace> place = Known.Find(Side, Limit, lack);
        if (place || lack == FrameWindow::Lack::Nothing || bStopped)
        {
            return place;
        }
        const bool bFar = !Known.Ticks.empty() &&
                          target - Known.Ticks.back() > Ticking.TicksOf(ReadOnUs) && seeks == 0;
        if (lack == FrameWindow::Lack::Earlier || bFar)
        {
            if (!GoBack(target, seeks))
            {
                return std::nullopt;
            }
        }
        else if (!ReadOn(PacketsAtOnce) && !Known.bToEnd)
        {
            return std::nullopt;
        }
    }
}

// Seeks to a key frame before Limit: each further time twice as far back, in the end to the start.
bool FrameReader::GoBack(std::int64_t Limit, int& Seeks)
{
    while (Seeks < MostSeeks && !bStopped)
    {
        const std::int64_t backUs = ((std::int64_t{1} << Seeks) - 1) * FirstStepBackUs;
        ++Seeks;
        if (SeekTo(Limit - 1 - Ticking.TicksOf(backUs), Limit - 1))
        {
            return true;
        }
    }
    return Rewind();
}

// The end of the file by its header, or by an estimate: seeks behind it fail.
std::int64_t FrameReader::LastTicks() const
{
    const std::int64_t durationUs = File->pFormat->duration;
    return durationUs > 0 ? Ticking.TicksFrom(durationUs)
                          : std::numeric_limits<std::int64_t>::max() / 4;
}

// Goes to the first packet by opening the file again: no container guarantees that a seek leads there.
bool FrameReader::Rewind()
{
    std::unique_ptr<Input> input = Input::Open(FilePath, bStopped);
    if (input == nullptr)
    {
        return false;
    }
    File = std::move(input);
    Known = {};
    Known.bFromStart = true;
    LowestTicks = std::numeric_limits<std::int64_t>::min();
    return true;
}

// Seeks to a key frame at or before Target, or the next one after it; false when that is later than Latest.
bool FrameReader::SeekTo(std::int64_t Target, std::int64_t Latest)
{
    if (av_seek_frame(File->pFormat, File->pStream->index, Target - Ticking.OffsetTicks,
                      AVSEEK_FLAG_BACKWARD) < 0)
    {
        return false;
    }
    Known = {};
    std::size_t later = 0;
    while (ReadPacket())
    {
        const AVPacket& packet = *File->pPacket;
        const std::int64_t ticks = TimeOfPacket();
        if (ticks == AV_NOPTS_VALUE)
        {
            continue;
        }
        if ((packet.flags & AV_PKT_FLAG_KEY) != 0)
        {
            // Frames shown before a key frame may be stored before it, too.
            LowestTicks = ticks;
            TakePacket();
            return ticks <= Latest;
        }
        later += ticks > Latest ? 1 : 0;
        if (later > MostReordered)
        {
            return false;
        }
    }
    return false;
}

bool FrameReader::ReadOn(int Count)
{
    for (int i = 0; i < Count && !Known.bToEnd; ++i)
    {
        if (ReadPacket())
        {
            TakePacket();
        }
        else if (!bStopped)
        {
            Known.bToEnd = true;
        }
        else
        {
            return false;
        }
    }
    return !Known.bToEnd;
}

// The next packet of the stream.
bool FrameReader::ReadPacket()
{
    AVPacket& packet = *File->pPacket;
    do
    {
        av_packet_unref(&packet);
        if (bStopped || av_read_frame(File->pFormat, &packet) < 0)
        {
            return false;
        }
    } while (packet.stream_index != File->pStream->index);
    return true;
}

// The presentation time of a frame. Where the container has none, the decoding time plus a fixed lead: frames are
// shown at the rate at which they are decoded, as much later as the first one.
std::int64_t FrameReader::TimeOfPacket()
{
    const AVPacket& packet = *File->pPacket;
    if (bPtsKnown)
    {
        return packet.pts == AV_NOPTS_VALUE ? AV_NOPTS_VALUE : packet.pts + Ticking.OffsetTicks;
    }
    if (packet.dts == AV_NOPTS_VALUE)
    {
        return AV_NOPTS_VALUE;
    }
    if (!DecodeLead)
    {
        DecodeLead = packet.pts == AV_NOPTS_VALUE ? 0 : packet.pts - packet.dts;
    }
    return packet.dts + *DecodeLead + Ticking.OffsetTicks;
}

void FrameReader::TakeKeyFrame(std::int64_t Ticks)
{
    const AVPacket& packet = *File->pPacket;
    const std::int64_t shown =
        packet.pts == AV_NOPTS_VALUE ? Ticks : packet.pts + Ticking.OffsetTicks;
    if (Known.KeyFrames.empty() || shown > Known.KeyFrames.back().Ticks)
    {
        Known.KeyFrames.push_back(
            {shown, packet.dts == AV_NOPTS_VALUE ? Ticks : packet.dts + Ticking.OffsetTicks});
    }
}

void FrameReader::TakePacket()
{
    const AVPacket& packet = *File->pPacket;
    const std::int64_t ticks = TimeOfPacket();
    if (ticks != AV_NOPTS_VALUE && (packet.flags & AV_PKT_FLAG_KEY) != 0)
    {
        TakeKeyFrame(ticks);
    }
    if (ticks == AV_NOPTS_VALUE || (packet.flags & AV_PKT_FLAG_DISCARD) != 0 ||
        !IsShown(File->pStream->codecpar->codec_id, packet))
    {
        return;
    }
    std::vector<std::int64_t>& all = Known.Ticks;
    const auto place = std::lower_bound(all.begin(), all.end(), ticks);
    if (ticks < LowestTicks || (place != all.end() && *place == ticks))
    {
        return;
    }
    if (place == all.end())
    {
        const std::int64_t sinceLast = all.empty() ? 1 : ticks - all.back();
        Known.EndTicks =
            ticks + std::max<std::int64_t>(packet.duration > 0 ? packet.duration : sinceLast, 1);
    }
    all.insert(place, ticks);
}
