#include "export/sourcefile.h"

#include "export/exportsentences.h"
#include "media/containers.h"
#include "media/refusedformat.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <new>
#include <set>
#include <string_view>
#include <utility>

namespace
{
// Pictures may be stored this much out of the order of their times.
constexpr double ReorderSec = 2.0;
// Where streams begin further apart than 10 s, ffmpeg takes the later ones for a clock that has jumped
// ("-dts_delta_threshold"); half of that is far more than any broadcast has.
constexpr double JumpSec = 5.0;
// H.264 and HEVC may hold back 16 pictures; plus the picture itself.
constexpr std::size_t MaxReorderedPictures = 17;

struct FreePacket
{
    void operator()(AVPacket* pPacket) const { av_packet_free(&pPacket); }
};
using Packet = std::unique_ptr<AVPacket, FreePacket>;

std::string ErrorText(int Error)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(Error, text.data(), text.size());
    return text.data();
}

std::string OpenFailure(const std::string& Path, int Error)
{
    const std::string name = FileNameOf(Path);
    const std::string format = NameOfRefusedFormat(Path);
    if (!format.empty())
    {
        return RefusedFormatSentence(name, format);
    }
    return name + " can't be read as a video: " + ErrorText(Error) + '.';
}

std::optional<double> InSec(std::int64_t Time, AVRational Base)
{
    return Time == AV_NOPTS_VALUE ? std::nullopt
                                  : std::optional(static_cast<double>(Time) * av_q2d(Base));
}

bool IsPicture(const AVStream& Stream)
{
    return Stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (Stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

bool IsSound(const AVStream& Stream)
{
    return Stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
}

// The time of a stream's end, on the file's own clock.
std::optional<double> DeclaredStreamEndSec(const AVStream& Stream)
{
    if (const std::optional<double> tagSec = ReadDurationTag(Stream))
    {
        return tagSec;
    }
    const std::optional<double> fromSec = InSec(Stream.start_time, Stream.time_base);
    const std::optional<double> lengthSec = InSec(Stream.duration, Stream.time_base);
    return fromSec.has_value() && lengthSec.value_or(0.0) > 0.0
               ? std::optional(*fromSec + *lengthSec)
               : std::nullopt;
}
} // namespace

std::optional<double> ReadDurationTag(const AVStream& Stream)
{
    const AVDictionaryEntry* const pTag = av_dict_get(Stream.metadata, "DURATION", nullptr, 0);
    double seconds = 0.0;
    std::string_view rest = pTag == nullptr ? std::string_view() : pTag->value;
    for (int part = 0; part < 3; ++part)
    {
        double number = 0.0;
        const auto [pRest, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (error != std::errc())
        {
            return std::nullopt;
        }
        seconds = seconds * 60.0 + number;
        rest.remove_prefix(
            std::min(static_cast<std::size_t>(pRest - rest.data()) + 1, rest.size()));
    }
    return seconds;
}

SourceFile::SourceFile(std::function<bool()> NewIsStopped)
    : IsStopped(std::move(NewIsStopped))
    , pFile(avformat_alloc_context())
{
    if (pFile == nullptr)
    {
        throw std::bad_alloc();
    }
    const auto ask = [](void* pThis)
    { return static_cast<SourceFile*>(pThis)->IsStopped() ? 1 : 0; };
    pFile->interrupt_callback = {ask, this};
}

std::unique_ptr<SourceFile>
SourceFile::Open(const std::string& Path, std::string& OutSentence, std::function<bool()> IsStopped)
{
    av_log_set_level(AV_LOG_QUIET); // the ffmpeg process prints the same
    std::unique_ptr<SourceFile> source(new SourceFile(std::move(IsStopped)));
    AVDictionary* pOptions = nullptr;
    av_dict_set(&pOptions, "format_whitelist", AllowedContainers, 0);
    av_dict_set(&pOptions, "protocol_whitelist", AllowedProtocols, 0);
    int error = avformat_open_input(&source->pFile, ("file:" + Path).c_str(), nullptr, &pOptions);
    av_dict_free(&pOptions);
    if (error >= 0)
    {
        error = avformat_find_stream_info(source->pFile, nullptr);
    }
    if (error < 0)
    {
        OutSentence = OpenFailure(Path, error);
        return nullptr;
    }
    source->Learn();
    return source;
}

SourceFile::~SourceFile()
{
    avformat_close_input(&pFile);
}

void SourceFile::Learn()
{
    Known.Format = pFile->iformat->name;
    StartSec = InSec(pFile->start_time, AV_TIME_BASE_Q).value_or(0.0);
    for (unsigned i = 0; i < pFile->nb_streams; ++i)
    {
        const AVStream& stream = *pFile->streams[i];
        if (IsSound(stream))
        {
            Known.SoundStreams.push_back(static_cast<int>(i));
        }
        else if (IsPicture(stream) && !Known.VideoStream.has_value())
        {
            Known.VideoStream = static_cast<int>(i);
            Known.WidthPx = stream.codecpar->width;
            Known.HeightPx = stream.codecpar->height;
            const double rate = av_q2d(stream.avg_frame_rate);
            Known.FrameSec = rate > 1.0 && std::isfinite(rate) ? 1.0 / rate : Known.FrameSec;
            const double guessedRate = av_q2d(stream.r_frame_rate);
            const bool bVariable = std::isfinite(guessedRate) && guessedRate > 0.0 &&
                                   av_cmp_q(stream.r_frame_rate, stream.avg_frame_rate) != 0;
            Known.BeatSec = bVariable ? 1.0 / guessedRate : 0.0;
        }
    }
    Known.DeclaredSec = DeclaredSec();
}

// A subtitle may end later; then the length of the file is of no use.
std::optional<double> SourceFile::DeclaredSec() const
{
    // An estimate from the bit rate is of no use.
    if (pFile->duration <= 0 || pFile->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE)
    {
        return std::nullopt;
    }
    // In these formats the length counts from time 0, not from the file's start.
    const bool bFromZero = av_match_list(pFile->iformat->name, "mov,matroska,webm,nut", ',') > 0;
    const double fileEndSec =
        static_cast<double>(pFile->duration) / AV_TIME_BASE - (bFromZero ? StartSec : 0.0);
    std::optional<double> endSec;
    bool bOther = false;
    for (unsigned i = 0; i < pFile->nb_streams; ++i)
    {
        const AVStream& stream = *pFile->streams[i];
        const AVMediaType type = stream.codecpar->codec_type;
        bOther = bOther || type == AVMEDIA_TYPE_SUBTITLE || type == AVMEDIA_TYPE_DATA;
        const std::optional<double> streamEndSec = DeclaredStreamEndSec(stream);
        if ((IsPicture(stream) || IsSound(stream)) && streamEndSec.has_value())
        {
            endSec = std::max(endSec.value_or(0.0), *streamEndSec - StartSec);
        }
    }
    if (!endSec.has_value())
    {
        return bOther ? std::nullopt : std::optional(fileEndSec);
    }
    return std::min(*endSec, fileEndSec);
}

// Seeks as ffmpeg does for "-ss" before its input.
bool SourceFile::Seek(double Sec)
{
    const auto time = static_cast<std::int64_t>(std::llround((Sec + StartSec) * AV_TIME_BASE));
    return avformat_seek_file(pFile, -1, std::numeric_limits<std::int64_t>::min(), time, time, 0) >=
           0;
}

std::optional<SourceFile::Piece> SourceFile::Read()
{
    const Packet packet(av_packet_alloc());
    if (packet == nullptr || av_read_frame(pFile, packet.get()) < 0)
    {
        return std::nullopt;
    }
    const AVRational base = pFile->streams[packet->stream_index]->time_base;
    Piece piece{packet->stream_index, (packet->flags & AV_PKT_FLAG_KEY) != 0,
                InSec(packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts, base), 0.0};
    if (piece.FromSec.has_value())
    {
        *piece.FromSec -= StartSec;
        piece.ToSec = *piece.FromSec + static_cast<double>(packet->duration) * av_q2d(base);
    }
    // An edit list hides packets that are decoded and never shown: skip them.
    if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0)
    {
        piece.FromSec = piece.ToSec = -std::numeric_limits<double>::infinity();
    }
    return piece;
}

bool SourceFile::HoldsAll(double SeekSec, double LatestKeySec, double InSec)
{
    if (!Seek(SeekSec))
    {
        return false;
    }
    std::set<int> awaited;
    for (const int stream : Known.SoundStreams)
    {
        const std::optional<double> endSec = DeclaredStreamEndSec(*pFile->streams[stream]);
        if (!endSec.has_value() || *endSec - StartSec >= SeekSec)
        {
            awaited.insert(stream);
        }
    }
    if (Known.VideoStream.has_value())
    {
        awaited.insert(*Known.VideoStream);
    }
    const bool bJumps = (pFile->iformat->flags & AVFMT_TS_DISCONT) != 0;
    std::map<int, double> firstSec; // by stream
    while (!awaited.empty())
    {
        const std::optional<Piece> piece = Read();
        if (!piece.has_value())
        {
            return false;
        }
        if (bJumps && piece->FromSec.has_value())
        {
            const auto [entry, bNew] = firstSec.emplace(piece->Stream, *piece->FromSec);
            if (bNew && std::abs(*piece->FromSec - firstSec.begin()->second) > JumpSec)
            {
                return false;
            }
        }
        const bool bPicture = piece->Stream == Known.VideoStream;
        if (awaited.contains(piece->Stream) && (piece->bKey || !bPicture))
        {
            if (!piece->FromSec.has_value() || *piece->FromSec > (bPicture ? LatestKeySec : InSec))
            {
                return false;
            }
            awaited.erase(piece->Stream);
        }
        else if (bPicture && piece->FromSec.value_or(InSec) > InSec + ReorderSec)
        {
            return false;
        }
    }
    return true;
}

std::optional<bool> SourceFile::HasAnything(int Stream, double FromSec, double ToSec)
{
    if (!Seek(FromSec))
    {
        return std::nullopt;
    }
    bool bTimes = true;
    for (std::optional<Piece> piece = Read(); piece.has_value(); piece = Read())
    {
        bTimes = piece->FromSec.has_value();
        if (!bTimes)
        {
            continue;
        }
        if (piece->Stream == Stream && *piece->FromSec >= FromSec && *piece->FromSec < ToSec)
        {
            return true;
        }
        if (*piece->FromSec >= ToSec + ReorderSec)
        {
            break;
        }
    }
    return bTimes ? std::optional(false) : std::nullopt;
}

bool SourceFile::HasCrowdedPictures(double FromSec, double ToSec)
{
    // ffmpeg drops a picture that comes 0.6 of a frame duration too early. A camera's jitter is smaller.
    constexpr double ClosestBeats = 0.75;
    if (Known.BeatSec <= 0.0 || !Known.VideoStream.has_value() || !Seek(FromSec))
    {
        return false;
    }
    const auto isCrowded = [&](double EarlierSec, double LaterSec)
    {
        return EarlierSec >= FromSec && LaterSec < ToSec &&
               LaterSec - EarlierSec < ClosestBeats * Known.BeatSec;
    };
    std::set<double> timesSec;
    for (std::optional<Piece> piece = Read(); piece.has_value(); piece = Read())
    {
        if (piece->Stream != *Known.VideoStream || !piece->FromSec.has_value())
        {
            continue;
        }
        if (*piece->FromSec >= ToSec + ReorderSec)
        {
            break;
        }
        // Pictures arrive out of order: compare only those between which no other can come any more.
        timesSec.insert(*piece->FromSec);
        while (timesSec.size() > MaxReorderedPictures)
        {
            const double earlierSec = timesSec.extract(timesSec.begin()).value();
            if (isCrowded(earlierSec, *timesSec.begin()))
            {
                return true;
            }
        }
    }
    return std::adjacent_find(timesSec.begin(), timesSec.end(), isCrowded) != timesSec.end();
}

std::optional<bool> SourceFile::Reaches(double AtSec)
{
    if (!Seek(AtSec))
    {
        return std::nullopt;
    }
    bool bTimes = true;
    for (std::optional<Piece> piece = Read(); piece.has_value(); piece = Read())
    {
        const AVStream& stream = *pFile->streams[piece->Stream];
        if (!IsPicture(stream) && !IsSound(stream))
        {
            continue;
        }
        bTimes = piece->FromSec.has_value();
        if (bTimes && piece->ToSec >= AtSec)
        {
            return true;
        }
    }
    return bTimes ? std::optional(false) : std::nullopt;
}
