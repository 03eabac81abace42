#include "cli/exportplan.h"

#include "app/encodercheck.h"
#include "host/apppaths.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <system_error>

namespace
{
using SavedClip = MvClipControlPanel::SavedClip;

double LengthSec(const SavedClip& Clip)
{
    return std::max(Clip.EndSec - Clip.StartSec, 0.0);
}

std::string ThreeDecimals(double Sec)
{
    std::array<char, 64> text = {};
    std::snprintf(text.data(), text.size(), "%.3f", Sec);
    return text.data();
}
} // namespace

std::string
PlanProblem(const SavedClip& Clip, const std::filesystem::path& File, const std::string& Ffmpeg)
{
    constexpr double MinExportSec = 0.05;
    if (LengthSec(Clip) < MinExportSec)
    {
        return "Selected clip is too short to export.";
    }
    if (File.empty())
    {
        return "Could not create clip export path.";
    }
    return EncoderProblem(Ffmpeg);
}

std::filesystem::path PlannedFile(const std::string& ClipName, const std::set<std::string>& Planned)
{
    const std::filesystem::path folder = std::filesystem::path(AppPaths::RecordingsDir()) / "clips";
    // As much of the name as the panel keeps.
    constexpr std::size_t MaxNameBytes = 63;
    const std::string stem = MvClipControlPanel::SanitizeFileStem(ClipName);
    for (int number = 0; number <= 9999; ++number)
    {
        std::array<char, MaxNameBytes + 1> cut{};
        std::snprintf(cut.data(), cut.size(), "clip_%05d_%s", number, stem.c_str());
        std::filesystem::path file = folder / (std::string(cut.data()) + ".mkv");
        std::error_code ec;
        if (!Planned.contains(file.native()) && !std::filesystem::exists(file, ec))
        {
            return file;
        }
    }
    return {};
}

std::string
PlannedCommand(const SavedClip& Clip, const std::filesystem::path& File, const std::string& Ffmpeg)
{
    return MvClipControlPanel::ShellQuote(Ffmpeg) + " -y -hide_banner -loglevel error -i " +
           MvClipControlPanel::ShellQuote(Clip.SourcePath) + " -ss " +
           ThreeDecimals(std::max(Clip.StartSec, 0.0)) + " -t " + ThreeDecimals(LengthSec(Clip)) +
           " -map '0:v:0?' -map '0:a?' -c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p "
           "-c:a copy " +
           MvClipControlPanel::ShellQuote(File.native());
}
