#include "media/refusedformat.h"

#include "media/containers.h"

extern "C"
{
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

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
