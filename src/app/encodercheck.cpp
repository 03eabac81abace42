#include "app/encodercheck.h"

#include "export/ffmpegsearch.h"

std::string EncoderPath(const std::string& Override)
{
    // White space is these four, as in an export.
    constexpr const char* WhiteSpace = " \t\n\r";
    const std::size_t begin = Override.find_first_not_of(WhiteSpace);
    return begin == std::string::npos
               ? FindFfmpeg()
               : Override.substr(begin, Override.find_last_not_of(WhiteSpace) - begin + 1);
}

std::string EncoderProblem(const std::string& Path)
{
    if (Path.empty())
    {
        return NoFfmpegSentence;
    }
    return IsProgram(Path) ? std::string() : "MOVANE_FFMPEG_BIN is not executable: " + Path;
}
