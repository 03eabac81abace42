// A video that tells its frames' numbers: each is flat and grey, a little lighter than the one before.

#pragma once

#include "support/samplevideo.h"

#include <QImage>
#include <QtGlobal>

#include <string>

/// Makes a video of Seconds (at most 4) at 25 frames per second, 320x180, H.264, with a tone in AAC.
inline void MakeNumberedVideo(const std::string& Path, int Seconds)
{
    const std::string duration = std::to_string(Seconds);
    MakeMedia("-f lavfi -i \"color=c=black:size=32x18:rate=25:duration=" + duration +
                  ",format=yuv420p,geq=lum='30+2*N':cb=128:cr=128,scale=320:180:flags=neighbor\" "
                  "-f lavfi -i sine=frequency=440:duration=" +
                  duration +
                  " -c:v libx264 -preset ultrafast -qp 2 -g 25 -pix_fmt yuv420p -c:a aac -t " +
                  duration,
              Path);
}

/// The number of the frame of such a video that a picture shows in its middle; -1 where it is black.
inline int NumberOnPicture(const QImage& Picture)
{
    const int shade = Picture.pixelColor(Picture.width() / 2, Picture.height() / 2).green();
    return shade == 0 ? -1 : qRound((shade / 255.0 * 219.0 + 16.0 - 30.0) / 2.0);
}
