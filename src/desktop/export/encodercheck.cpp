#include "desktop/export/encodercheck.h"

#include "export/ffmpegsearch.h"

namespace
{
// White space is these four, as in an export.
std::string Trimmed(const std::string& Text)
{
    constexpr const char* WhiteSpace = " \t\n\r";
    const std::size_t begin = Text.find_first_not_of(WhiteSpace);
    return begin == std::string::npos
               ? std::string()
               : Text.substr(begin, Text.find_last_not_of(WhiteSpace) - begin + 1);
}
} // namespace

std::string EncoderProblem(const std::string& Override, const std::string& Found)
{
    const std::string override = Trimmed(Override);
    if (!override.empty())
    {
        return IsProgram(override) ? std::string()
                                   : "MOVANE_FFMPEG_BIN is not executable: " + override;
    }
    return !Found.empty()
               ? std::string()
               : "Clips can't be exported without ffmpeg: install it with \"sudo apt install "
                 "ffmpeg\". Marking works meanwhile.";
}
