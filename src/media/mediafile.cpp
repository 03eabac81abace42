#include "media/mediafile.h"

extern "C"
{
#include <libavformat/avformat.h>
}

#include <array>
#include <fstream>
#include <memory>
#include <string_view>

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

// As "file:", so that no name is taken for another protocol.
InputFile OpenInput(const std::string& Path)
{
    AVFormatContext* opened = nullptr;
    const int error = avformat_open_input(&opened, ("file:" + Path).c_str(), nullptr, nullptr);
    return InputFile(error < 0 ? nullptr : opened);
}

// The first bytes of every Matroska file (RFC 8794, the EBML header's ID).
bool BeginsLikeMatroska(const std::string& Path)
{
    std::array<char, 4> begin = {};
    std::ifstream(Path, std::ios::binary).read(begin.data(), begin.size());
    return std::string_view(begin.data(), begin.size()) == "\x1A\x45\xDF\xA3";
}
} // namespace

bool IsMatroskaWithoutDuration(const std::string& Path)
{
    const InputFile file = OpenInput(Path);
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
    const InputFile file = OpenInput(Path);
    const std::unique_ptr<AVPacket, FreePacket> packet(av_packet_alloc());
    while (file != nullptr && packet != nullptr && av_read_frame(file.get(), packet.get()) >= 0)
    {
        const AVStream* const stream = file->streams[packet->stream_index];
        const bool bPicture = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        av_packet_unref(packet.get());
        if (bPicture)
        {
            return false;
        }
    }
    return true;
}
