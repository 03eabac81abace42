#include "export/sourcefile.h"

#include "export/exportsentences.h"
#include "media/containers.h"

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
#include <set>
#include <string_view>

namespace
{
// Pictures are stored up to this much away from the order of their times.
constexpr double ReorderSec = 2.0;
// As many pictures as H.264 and HEVC may hold back (16), and the one itself.
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

// The name of a format that is known and not allowed; empty otherwise. Its content is looked at, and
// nothing else is opened.
std::string RefusedFormat(const std::string& Url)
{
    AVIOContext* pBytes = nullptr;
    const AVInputFormat* pFormat = nullptr;
    std::string name;
    if (avio_open2(&pBytes, Url.c_str(), AVIO_FLAG_READ, nullptr, nullptr) >= 0 &&
        av_probe_input_buffer2(pBytes, &pFormat, Url.c_str(), nullptr, 0, 0) >= 0 &&
        av_match_list(pFormat->name, AllowedContainers, ',') <= 0)
    {
        name = pFormat->long_name != nullptr ? pFormat->long_name : pFormat->name;
    }
    avio_closep(&pBytes);
    return name;
}

std::string OpenFailure(const std::string& Path, int Error)
{
    const std::string name = FileNameOf(Path);
    const std::string format = RefusedFormat("file:" + Path);
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

std::unique_ptr<SourceFile> SourceFile::Open(const std::string& Path, std::string& OutSentence)
{
    av_log_set_level(AV_LOG_QUIET); // ffmpeg says the same, and it is asked
    std::unique_ptr<SourceFile> source(new SourceFile);
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

// A subtitle may stay behind them, and then the length of the file says nothing.
std::optional<double> SourceFile::DeclaredSec() const
{
    // A guess from the rate of bits says nothing.
    if (pFile->duration <= 0 || pFile->duration_estimation_method == AVFMT_DURATION_FROM_BITRATE)
    {
        return std::nullopt;
    }
    // In these the length counts from time 0, not from where the file begins.
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

// As ffmpeg seeks for "-ss" before its input.
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
    // What an edit list hides is decoded and never shown: no place is looked for there.
    if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0)
    {
        piece.FromSec = piece.ToSec = -std::numeric_limits<double>::infinity();
    }
    return piece;
}

std::optional<double> SourceFile::FirstKeyFrameSec(double SeekSec)
{
    if (!Known.VideoStream.has_value() || !Seek(SeekSec))
    {
        return std::nullopt;
    }
    for (std::optional<Piece> piece = Read(); piece.has_value(); piece = Read())
    {
        if (piece->Stream == *Known.VideoStream && piece->bKey)
        {
            return piece->FromSec;
        }
    }
    return std::nullopt;
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
    // ffmpeg leaves out a picture that comes 0.6 of a beat too early. Jitter of a camera stays below this.
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
        // Only what can no longer get a neighbour between is compared: pictures come out of their order.
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
