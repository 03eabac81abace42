// Videos that are to be turned before they are shown, as phones write them.

#pragma once

#include "support/filetext.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>

/// Copies an MP4 without sound to Path, with the matrix of its track (ISO/IEC 14496-12, 8.3.2) set to a
/// turn by Degrees clockwise. Done by hand, since the options of ffmpeg for it differ from version to
/// version.
inline void MakeRotatedVideo(const std::string& Source, int Degrees, const std::string& Path)
{
    std::string file = ReadFile(Source);
    // Version and flags, four numbers and the duration, 8 bytes reserved, four small numbers.
    const std::size_t matrix = file.find("tkhd") + 4 + 4 + 20 + 8 + 8;
    if (matrix + 36 > file.size())
    {
        throw std::runtime_error("no track header in " + Source);
    }
    const double angle = Degrees * std::acos(-1.0) / 180.0;
    const std::array<double, 5> turn = {std::cos(angle), std::sin(angle), 0.0, -std::sin(angle),
                                        std::cos(angle)};
    for (std::size_t i = 0; i < turn.size(); ++i)
    {
        const auto fixed = static_cast<std::uint32_t>(std::lround(turn.at(i) * 65536.0));
        for (std::size_t byte = 0; byte < 4; ++byte)
        {
            file.at(matrix + 4 * i + byte) = static_cast<char>(fixed >> (24 - 8 * byte) & 0xFFU);
        }
    }
    if (!WriteFile(Path, file))
    {
        throw std::runtime_error("can't write " + Path);
    }
}
