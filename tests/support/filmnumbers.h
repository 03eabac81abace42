// Reads the numbers back that the frames of numberedfilms.h show. A program for each film would take longer.

#pragma once

extern "C"
{
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// The numbers of the frames of such a film, or of what was cut from it, in order of showing. Throws where the
/// file can't be read.
inline std::vector<int> NumbersIn(const std::string& Path)
{
    const auto must = [&](bool bDone)
    {
        if (!bDone)
        {
            throw std::runtime_error("can't be decoded: " + Path);
        }
    };
    AVFormatContext* opened = nullptr;
    must(avformat_open_input(&opened, ("file:" + Path).c_str(), nullptr, nullptr) >= 0);
    const auto closeFormat = [](AVFormatContext* pFormat) { avformat_close_input(&pFormat); };
    const std::unique_ptr<AVFormatContext, decltype(closeFormat)> format(opened);
    must(avformat_find_stream_info(opened, nullptr) >= 0);
    const AVCodec* pCodec = nullptr;
    const int video = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, &pCodec, 0);
    must(video >= 0);
    const auto freeDecoder = [](AVCodecContext* pDecoder) { avcodec_free_context(&pDecoder); };
    const std::unique_ptr<AVCodecContext, decltype(freeDecoder)> decoder(
        avcodec_alloc_context3(pCodec));
    must(decoder != nullptr &&
         avcodec_parameters_to_context(decoder.get(), opened->streams[video]->codecpar) >= 0 &&
         avcodec_open2(decoder.get(), pCodec, nullptr) >= 0);
    const auto freePacket = [](AVPacket* pPacket) { av_packet_free(&pPacket); };
    const std::unique_ptr<AVPacket, decltype(freePacket)> packet(av_packet_alloc());
    const auto freeFrame = [](AVFrame* pFrame) { av_frame_free(&pFrame); };
    const std::unique_ptr<AVFrame, decltype(freeFrame)> frame(av_frame_alloc());
    must(packet != nullptr && frame != nullptr);

    std::vector<int> numbers;
    const auto decode = [&](const AVPacket* pPacket)
    {
        must(avcodec_send_packet(decoder.get(), pPacket) >= 0);
        while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0)
        {
            const int middle = frame->height / 2 * frame->linesize[0] + frame->width / 2;
            numbers.push_back(static_cast<int>(std::lround((frame->data[0][middle] - 30.0) / 2.0)));
        }
    };
    while (av_read_frame(opened, packet.get()) >= 0)
    {
        if (packet->stream_index == video)
        {
            decode(packet.get());
        }
        av_packet_unref(packet.get());
    }
    decode(nullptr);
    return numbers;
}
