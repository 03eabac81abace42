// Small real media files for tests, made with the ffmpeg program.

#pragma once

#include "support/tempfolder.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

/// Runs "ffmpeg ARGUMENTS PATH" through the shell, Path unquoted; throws when that fails. It reads no
/// terminal.
inline void MakeMedia(const std::string& Arguments, const std::string& Path)
{
    const std::string command = "ffmpeg -nostdin -y -v error " + Arguments + " " + Path;
    if (std::system(command.c_str()) != 0) // NOLINT(concurrency-mt-unsafe)
    {
        throw std::runtime_error("failed: " + command);
    }
}

/// The path of a video that lasts as long as the process, made at the first call: 4 seconds of a test
/// picture, 320x180 at 25 frames per second, H.264, with a tone, AAC, in MP4. Its frames are at
/// multiples of 0.04 s, key frames at 0 and every 2 s.
inline const std::string& SampleVideo()
{
    static const TempFolder folder;
    static const std::string path = []
    {
        std::string made = (folder.Path() / "sample.mp4").string();
        MakeMedia("-f lavfi -i testsrc2=size=320x180:rate=25:duration=4 "
                  "-f lavfi -i sine=frequency=440:duration=4 -c:v libx264 -preset ultrafast -g 50 "
                  "-pix_fmt yuv420p -c:a aac -t 4",
                  made);
        return made;
    }();
    return path;
}
