// Everything that a media file holds, as texts that can be compared.

#pragma once

extern "C"
{
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// One text a packet: its stream, times, length in time, flags and bytes (by their hash). Stream by stream,
/// for how the streams are mixed depends on ffmpeg's threads. Empty where the file can't be read.
inline std::vector<std::string> PacketsOf(const std::string& Path)
{
    std::vector<std::string> packets;
    AVFormatContext* file = nullptr;
    if (avformat_open_input(&file, ("file:" + Path).c_str(), nullptr, nullptr) < 0)
    {
        return packets;
    }
    AVPacket* packet = av_packet_alloc();
    while (av_read_frame(file, packet) >= 0)
    {
        const std::string_view bytes(reinterpret_cast<const char*>(packet->data),
                                     static_cast<std::size_t>(packet->size));
        std::string text = "stream " + std::to_string(packet->stream_index);
        text += " pts " + std::to_string(packet->pts) + " dts " + std::to_string(packet->dts);
        text += " duration " + std::to_string(packet->duration);
        text += " flags " + std::to_string(packet->flags) + " size " + std::to_string(packet->size);
        packets.push_back(text + " hash " + std::to_string(std::hash<std::string_view>()(bytes)));
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    avformat_close_input(&file);
    const auto streamOf = [](const std::string& Text) { return Text.substr(0, Text.find(" pts")); };
    std::stable_sort(packets.begin(), packets.end(),
                     [&](const std::string& One, const std::string& Other)
                     { return streamOf(One) < streamOf(Other); });
    return packets;
}
