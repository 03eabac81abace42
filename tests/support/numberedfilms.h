// Films that tell their frames' numbers, in many rates and containers: each frame is flat and grey, a little
// lighter than the one before, beside a tone.

#pragma once

#include "support/samplevideo.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

constexpr int FilmFrames = 100;

/// Rates as ffmpeg writes them, and two variable ones: "jitter" has 30 frames a second as a phone takes them, up
/// to 5 ms early or late, and "gaps" 50 of which some are left out, as a recorded screen has.
inline const std::vector<std::string>& FilmRates()
{
    static const std::vector<std::string> rates = {
        "24000/1001", "24", "25",          "30000/1001", "30",  "50",
        "60000/1001", "60", "120000/1001", "jitter",     "gaps"};
    return rates;
}

/// A rate that follows no beat: gaps from 22 to 54 ms. ffmpeg, which exports in beats, may leave out frames of
/// such a film.
constexpr const char* IrregularRate = "irregular";

inline std::vector<std::string> FilmRatesAndIrregular()
{
    std::vector<std::string> rates = FilmRates();
    rates.emplace_back(IrregularRate);
    return rates;
}

inline const std::vector<std::string>& FilmContainers()
{
    static const std::vector<std::string> containers = {"mp4", "mov", "mkv", "webm", "ts"};
    return containers;
}

/// The path of a film of FilmFrames frames that lasts as long as the process, made at its first call: 64x36,
/// with B frames (H.264), in WebM with frames that are never shown (VP8). The first time in TS is 1.4 s or so,
/// MP4 and MOV have edit lists, in MKV the picture begins after the sound and in WebM the sound before 0.
inline std::string NumberedFilm(const std::string& Rate, const std::string& Container)
{
    static const TempFolder folder;
    const auto path = [&](const std::string& Extension)
    {
        std::string name = Rate;
        for (char& c : name)
        {
            c = c == '/' ? '_' : c;
        }
        return (folder.Path() / (name + "." + Extension)).string();
    };
    const std::string master = path("mp4");
    if (!std::filesystem::exists(master))
    {
        const std::string times = Rate == "jitter"        ? "(N+0.15*sin(N*N))/30"
                                  : Rate == "gaps"        ? "(N+floor(N/3)+floor(N/7)*2)/50"
                                  : Rate == IrregularRate ? "N*0.04+0.002*mod(N*7\\,16)"
                                                          : "";
        const bool bVariable = !times.empty();
        MakeMedia(
            "-f lavfi -i \"color=c=black:size=32x18:rate=" + (bVariable ? "25" : Rate) +
                ",format=yuv420p,geq=lum='30+2*N':cb=128:cr=128,scale=64:36:flags=neighbor" +
                (bVariable ? ",settb=1/90000,setpts='(" + times + ")/TB'" : "") +
                "\" -f lavfi -i sine=frequency=440:sample_rate=48000 -frames:v " +
                std::to_string(FilmFrames) +
                " -shortest -c:v libx264 -preset medium -bf 3 -g 30 -qp 2 -pix_fmt yuv420p -c:a "
                "aac" +
                (bVariable
                     ? " -fps_mode passthrough -enc_time_base 1/90000 -video_track_timescale 90000"
                     : ""),
            master);
    }
    const std::string made = path(Container);
    if (!std::filesystem::exists(made))
    {
        std::string codecs = "-c copy";
        if (Container == "webm")
        {
            codecs = "-c:v libvpx -auto-alt-ref 1 -lag-in-frames 10 -g 30 -b:v 2M -qmin 0 -qmax 4 "
                     "-fps_mode passthrough -enc_time_base 1/1000 -c:a libopus";
        }
        else if (Container == "mkv" && Rate == "gaps")
        {
            // A copy would say the average rate in its header, which ffmpeg takes for the beat of an export.
            codecs = "-c:v libx264 -bf 3 -g 30 -qp 2 -fps_mode passthrough -r 50 -c:a copy";
        }
        std::string arguments = "-i ";
        arguments += master;
        arguments += ' ';
        MakeMedia(arguments + codecs, made);
    }
    return made;
}

/// What a command prints, without its standard error.
inline std::string OutputOf(const std::string& Command)
{
    std::string output;
    FILE* const pPipe = popen(Command.c_str(), "r"); // NOLINT(concurrency-mt-unsafe)
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0;
         pPipe != nullptr && (count = fread(buffer.data(), 1, buffer.size(), pPipe)) > 0;)
    {
        output.append(buffer.data(), count);
    }
    if (pPipe == nullptr || pclose(pPipe) != 0)
    {
        throw std::runtime_error("failed: " + Command);
    }
    return output;
}
