#include "media/mediafile.h"

#include "media/containers.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <memory>
#include <string_view>

namespace
{
struct CloseInput
{
    void operator()(AVFormatContext* pFile) const { avformat_close_input(&pFile); }
};
using InputFile = std::unique_ptr<AVFormatContext, CloseInput>;

// The prefix "file:" keeps names such as "http:x" from being taken for a protocol. Null on failure.
InputFile OpenInput(const std::string& Path)
{
    AVDictionary* options = nullptr;
    av_dict_set(&options, "format_whitelist", AllowedContainers, 0);
    av_dict_set(&options, "protocol_whitelist", AllowedProtocols, 0);
    AVFormatContext* opened = nullptr;
    const int error = avformat_open_input(&opened, ("file:" + Path).c_str(), nullptr, &options);
    av_dict_free(&options);
    return InputFile(error < 0 ? nullptr : opened);
}
} // namespace

bool IsMatroskaWithoutDuration(const std::string& Path)
{
    const InputFile file = OpenInput(Path);
    // Don't probe the streams first: that would replace the length by an estimate.
    return file != nullptr && std::string_view(file->iformat->name).starts_with("matroska") &&
           (file->duration == AV_NOPTS_VALUE || file->duration <= 0);
}

bool CountsLengthFromZero(const std::string& Path)
{
    const InputFile file = OpenInput(Path);
    return file != nullptr && file->duration != AV_NOPTS_VALUE && file->duration > 0 &&
           av_match_list(file->iformat->name, "matroska,mov,nut", ',') > 0;
}
