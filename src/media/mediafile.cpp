#include "media/mediafile.h"

#include "media/containers.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <array>
#include <bit>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <istream>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

namespace
{
struct CloseInput
{
    void operator()(AVFormatContext* pFile) const { avformat_close_input(&pFile); }
};
using InputFile = std::unique_ptr<AVFormatContext, CloseInput>;

struct FreePacket
{
    void operator()(AVPacket* pPacket) const { av_packet_free(&pPacket); }
};

// As "file:", so that no name is taken for another protocol. Null sets OutError.
InputFile OpenInput(const std::string& Path, int& OutError)
{
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", AllowedContainers, 0);
    av_dict_set(&options, "protocol_whitelist", AllowedProtocols, 0);
    AVFormatContext* opened = nullptr;
    OutError = avformat_open_input(&opened, ("file:" + Path).c_str(), nullptr, &options);
    av_dict_free(&options);
    return InputFile(OutError < 0 ? nullptr : opened);
}

// The first bytes of every Matroska file (RFC 8794, the EBML header's ID).
bool BeginsLikeMatroska(const std::string& Path)
{
    std::array<char, 4> begin = {};
    std::ifstream(Path, std::ios::binary).read(begin.data(), begin.size());
    return std::string_view(begin.data(), begin.size()) == "\x1A\x45\xDF\xA3";
}

// The size of an element, which stands behind its ID (RFC 8794, 4 and 6): the leading zeros of its first
// byte tell its length, and all ones an unknown size. None also where the file ends.
std::optional<std::uint64_t> ReadElementSize(std::istream& File)
{
    const auto first = static_cast<std::uint8_t>(File.get());
    const int length = std::countl_zero(first) + 1;
    std::uint64_t size = first & (0xFFU >> static_cast<unsigned>(length));
    for (int i = 1; i < length; ++i)
    {
        size = size << 8U | static_cast<std::uint8_t>(File.get());
    }
    const std::uint64_t unknown = (std::uint64_t{1} << (7U * static_cast<unsigned>(length))) - 1;
    return File.good() && size != unknown ? std::optional(size) : std::nullopt;
}
} // namespace

std::string NameOfRefusedFormat(const std::string& Path)
{
    const std::string url = "file:" + Path;
    AVIOContext* bytes = nullptr;
    const AVInputFormat* format = nullptr;
    std::string name;
    if (avio_open2(&bytes, url.c_str(), AVIO_FLAG_READ, nullptr, nullptr) >= 0 &&
        av_probe_input_buffer2(bytes, &format, url.c_str(), nullptr, 0, 0) >= 0 &&
        av_match_list(format->name, AllowedContainers, ',') <= 0)
    {
        name = format->long_name != nullptr ? format->long_name : format->name;
    }
    avio_closep(&bytes);
    return name;
}

bool IsMatroskaWithoutDuration(const std::string& Path)
{
    int error = 0;
    const InputFile file = OpenInput(Path, error);
    // Asked before the streams are looked into, which would put an estimate in its place.
    return file != nullptr && std::string_view(file->iformat->name).starts_with("matroska") &&
           (file->duration == AV_NOPTS_VALUE || file->duration <= 0);
}

bool IsMatroskaWithoutPicture(const std::string& Path)
{
    if (!BeginsLikeMatroska(Path))
    {
        return false;
    }
    int error = 0;
    const InputFile file = OpenInput(Path, error);
    const std::unique_ptr<AVPacket, FreePacket> packet(av_packet_alloc());
    if (packet == nullptr)
    {
        return false;
    }
    while (file != nullptr && (error = av_read_frame(file.get(), packet.get())) >= 0)
    {
        const AVStream* const stream = file->streams[packet->stream_index];
        const bool bPicture = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        av_packet_unref(packet.get());
        if (bPicture)
        {
            return false;
        }
    }
    // A header alone ends in the opening.
    return error == AVERROR_EOF;
}

bool IsCutShort(const std::string& Path)
{
    std::error_code ec;
    const std::uint64_t fileSize = std::filesystem::file_size(Path, ec);
    if (!ec && fileSize == 0)
    {
        return std::filesystem::space(Path, ec).available == 0;
    }
    if (!BeginsLikeMatroska(Path))
    {
        return false;
    }
    // The header, then the segment with everything else in it; their IDs have four bytes each.
    std::ifstream file(Path, std::ios::binary);
    file.seekg(4);
    const std::optional<std::uint64_t> headerSize = ReadElementSize(file);
    file.seekg(static_cast<std::streamoff>(headerSize.value_or(0)) + 4, std::ios::cur);
    const std::optional<std::uint64_t> segmentSize = ReadElementSize(file);
    if (!file.is_open() || file.bad())
    {
        return false;
    }
    return !headerSize.has_value() || !segmentSize.has_value() ||
           *segmentSize > fileSize - static_cast<std::uint64_t>(file.tellg());
}
