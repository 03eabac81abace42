// All actions of the clip control panel.
//
// The order of tests, host calls and writes is part of what the panel promises; so is the order of
// the arithmetic in the column layout (the build keeps the compiler from contracting it).

#include "panel/mvclipcontrolpanel.h"

#include "host/apppaths.h"
#include "host/core.h"
#include "host/coresdl.h"
#include "host/jobsystem.h"
#include "host/movane.h"
#include "host/mvchildwindow.h"
#include "host/mvtheme.h"
#include "host/mvvideo.h"
#include "host/rend.h"
#include "host/ttf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iomanip>
#include <ios>
#include <limits>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace
{
constexpr double MinExportSec = 0.05;

// -- Text and files

// White space is these four; vertical tab and form feed count as text.
std::string TrimCopy(const std::string& Text)
{
    constexpr const char* WhiteSpace = " \t\n\r";
    const std::size_t begin = Text.find_first_not_of(WhiteSpace);
    if (begin == std::string::npos)
    {
        return {};
    }
    const std::size_t end = Text.find_last_not_of(WhiteSpace);
    return Text.substr(begin, end - begin + 1);
}

// An empty path is not found, and what is not found is an error.
bool IsExecutablePath(const std::filesystem::path& Path)
{
    std::error_code ec;
    const std::filesystem::file_status status = std::filesystem::status(Path, ec);
    if (ec || std::filesystem::is_directory(status))
    {
        return false;
    }
    return access(Path.c_str(), X_OK) == 0;
}

std::string EnvironmentValue(const char* Name)
{
    const char* value = std::getenv(Name); // NOLINT(concurrency-mt-unsafe): nothing writes it
    return value == nullptr ? std::string() : std::string(value);
}

bool FindFFmpegInPath(std::string& OutPath)
{
    const std::string pathValue = EnvironmentValue("PATH");
    std::size_t offset = 0;
    std::size_t end = 0;
    do
    {
        end = pathValue.find(':', offset);
        const std::string entry = pathValue.substr(offset, end - offset);
        // An empty entry is the current directory, so an empty PATH still looks there once.
        const std::filesystem::path base =
            entry.empty() ? std::filesystem::current_path() : std::filesystem::path(entry);
        const std::filesystem::path candidate = base / "ffmpeg";
        if (IsExecutablePath(candidate))
        {
            OutPath = candidate.native();
            return true;
        }
        offset = end + 1;
    } while (end != std::string::npos);
    return false;
}

// Searched afresh for every export, so that a changed environment takes effect at the next one.
bool ResolveFFmpegExecutable(std::string& OutPath, std::string& OutError)
{
    const std::string overridePath = TrimCopy(EnvironmentValue("MOVANE_FFMPEG_BIN"));
    if (!overridePath.empty())
    {
        // Meant so: an override that can't be used is told, never passed over for another ffmpeg.
        if (!IsExecutablePath(overridePath))
        {
            OutError = "MOVANE_FFMPEG_BIN is not executable: " + overridePath;
            return false;
        }
        OutPath = overridePath;
        return true;
    }
    if (FindFFmpegInPath(OutPath))
    {
        return true;
    }
    for (const char* candidate : {"/usr/bin/ffmpeg", "/usr/sbin/ffmpeg"})
    {
        if (IsExecutablePath(candidate))
        {
            OutPath = candidate;
            return true;
        }
    }
    OutError = "ffmpeg executable not found. Install ffmpeg or set MOVANE_FFMPEG_BIN.";
    return false;
}

// Holds a flag at true for its own life, also when an exception ends it.
class FlagGuard
{
public:
    explicit FlagGuard(bool& NewFlag)
        : Flag(NewFlag)
    {
        Flag = true;
    }
    ~FlagGuard() { Flag = false; }
    FlagGuard(const FlagGuard&) = delete;
    FlagGuard& operator=(const FlagGuard&) = delete;

private:
    bool& Flag;
};

// -- Clips and the video

// A difference that is not greater than zero counts as 0, NaN among them.
double ExportDurationSec(const MvClipControlPanel::SavedClip& Clip)
{
    const double durationSec = Clip.EndSec - Clip.StartSec;
    return durationSec > 0.0 ? durationSec : 0.0;
}

bool IsUsableVideoWindow(const MvVideoWindow& VideoWindow)
{
    return VideoWindow.bVisible && VideoWindow.bOpen && !VideoWindow.bClosing;
}

void SeekVideoToSec(MvVideo& Video, double Sec)
{
    std::int64_t targetUs = std::llround(1000000.0 * Sec);
    if (Video.pMediaInfo != nullptr && Video.pMediaInfo->DurationUs > 0)
    {
        // Meant so: at the very end there is no picture, so the last place to go is 1 ms before it.
        const std::int64_t lastUs = std::max<std::int64_t>(Video.pMediaInfo->DurationUs - 1000, 0);
        targetUs = std::clamp<std::int64_t>(targetUs, 0, lastUs);
    }
    Video.SeekTargetUs = targetUs;
    Video.Seek(4); // the request to go to SeekTargetUs
}

// -- Export

std::string FormatSeconds(double Sec)
{
    std::ostringstream text;
    text.exceptions(std::ios::badbit); // where memory runs out no cut number must reach ffmpeg
    text << std::fixed << std::setprecision(3) << Sec;
    return text.str();
}

std::string FFmpegCommand(const MvClipControlPanel::SavedClip& Clip,
                          const std::string& StartText,
                          const std::string& DurationText,
                          const std::filesystem::path& OutputPath,
                          const std::filesystem::path& ErrorLogPath,
                          const std::string& FFmpegExecutable)
{
    // -ss and -t stand behind -i: ffmpeg then decodes from the beginning and cuts at the exact frame.
    return MvClipControlPanel::ShellQuote(FFmpegExecutable) +
           " -y -hide_banner -loglevel error -i " +
           MvClipControlPanel::ShellQuote(Clip.SourcePath) + " -ss " + StartText + " -t " +
           DurationText +
           " -map 0:v:0? -map 0:a? -c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p "
           "-c:a copy " +
           MvClipControlPanel::ShellQuote(OutputPath.native()) + " 2> " +
           MvClipControlPanel::ShellQuote(ErrorLogPath.native());
}

// Where memory runs out no cut line must pass for what ffmpeg said.
void ReadLine(std::ifstream& File, std::string& OutLine)
{
    File.exceptions(std::ios::badbit);
    try
    {
        std::getline(File, OutLine);
    }
    catch (const std::ios_base::failure&)
    {
        // A folder, or a disk that fails: what was read until then counts.
    }
}

// Meant so: only the first line counts, however long it is and whatever stands behind it.
std::string ExportFailureMessage(const std::filesystem::path& ErrorLogPath)
{
    std::string line;
    std::ifstream errorLog(ErrorLogPath);
    if (errorLog.good())
    {
        ReadLine(errorLog, line);
    }
    line = TrimCopy(line);
    return line.empty() ? "Clip export failed." : "Clip export failed: " + line;
}

// Runs ffmpeg and judges the outcome. On a worker thread, so it works on what it is given alone.
std::pair<bool, std::string> RunExport(const MvClipControlPanel::SavedClip& Clip,
                                       const std::filesystem::path& OutputPath,
                                       const std::string& FileName,
                                       const std::filesystem::path& ErrorLogPath,
                                       const std::string& FFmpegExecutable)
{
    // Meant so: the request has checked this, and the worker does not rely on it.
    if (ExportDurationSec(Clip) < MinExportSec)
    {
        return {false, "Clip export failed: clip is too short."};
    }
    // Meant so: a negative In is cut from 0, but the length still counts from where In was.
    const std::string startText = FormatSeconds(Clip.StartSec > 0.0 ? Clip.StartSec : 0.0);
    const std::string durationText = FormatSeconds(ExportDurationSec(Clip));
    std::error_code ec;
    std::filesystem::remove(ErrorLogPath, ec);

    const std::string command =
        FFmpegCommand(Clip, startText, durationText, OutputPath, ErrorLogPath, FFmpegExecutable);
    const int exitStatus = std::system(command.c_str()); // NOLINT(concurrency-mt-unsafe)
    const bool bSuccess = exitStatus == 0 && std::filesystem::exists(OutputPath);
    std::string message = bSuccess ? "Exported " + FileName : ExportFailureMessage(ErrorLogPath);

    std::filesystem::remove(ErrorLogPath, ec);
    return {bSuccess, std::move(message)};
}

// -- Table

constexpr std::size_t ColumnCount = 6;
constexpr std::size_t SourceColumn = 5;
constexpr std::array<std::string_view, ColumnCount> ColumnHeaders = {"Name", "In",    "Out",
                                                                     "Len",  "Color", "Source"};

using ColumnWidths = std::array<double, ColumnCount>;

double ClipLengthSec(const MvClipControlPanel::SavedClip& Clip)
{
    return std::max(0.0, Clip.EndSec - Clip.StartSec);
}

// In normalised device coordinates: y grows upwards, so Y1, the top edge, is the greater one.
struct NdcRect
{
    double X1;
    double Y1;
    double X2;
    double Y2;

    // Written so that a NaN makes the rectangle empty.
    bool HasArea() const { return X2 > X1 && Y1 > Y2; }
};

NdcRect PanelRect(const MvClipControlPanel& Panel, double SurfaceWidthPx, double SurfaceHeightPx)
{
    const MvWindow& parent = *Panel.pParentWindow;
    const double borderX = (0.5 * parent.BorderWidth) / SurfaceWidthPx;
    const double borderY = (0.5 * parent.BorderWidth) / SurfaceHeightPx;
    NdcRect panel{};
    // Meant so: the left edge scales the full width and then shifts, the right edge scales the width
    // less the border. At the top a title bar takes the place of the border.
    panel.X1 = (parent.X1 + borderX) + (parent.X2 - parent.X1) * Panel.RelX1;
    panel.X2 = parent.X1 + ((parent.X2 - borderX) - parent.X1) * Panel.RelX2;
    panel.Y1 = parent.bHasTitleBar
                   ? (parent.Y1 + (parent.Y2 - parent.Y1) * Panel.RelY1) - parent.TitleBarHeight
                   : (parent.Y1 - borderY) + (parent.Y2 - parent.Y1) * Panel.RelY1;
    panel.Y2 = parent.Y1 + ((borderY + parent.Y2) - parent.Y1) * Panel.RelY2;
    return panel;
}

NdcRect TableRect(const MvTable& Table, const NdcRect& Inner)
{
    NdcRect table{};
    table.X1 = Inner.X1 + Table.RelX1 * (Inner.X2 - Inner.X1);
    table.X2 = Inner.X1 + (Inner.X2 - Inner.X1) * Table.RelX2;
    table.Y1 = Inner.Y1 + Table.RelY1 * (Inner.Y2 - Inner.Y1);
    table.Y2 = Inner.Y1 + (Inner.Y2 - Inner.Y1) * Table.RelY2;
    return table;
}

int TableTextPx(const MvTable& Table, const NdcRect& Rect, double SurfaceHeightPx, int FontSmallPx)
{
    const int textPx = std::max(Table.TextPx, 8);
    if (!Table.bAutoScaleText)
    {
        return textPx;
    }
    const double tableHeightPx = (std::abs(Rect.Y1 - Rect.Y2) * SurfaceHeightPx) * 0.5;
    const double refPx = std::max(FontSmallPx * 2.2, 1.0);
    const double scale = std::min(4.0, std::max(0.5, tableHeightPx / refPx));
    return static_cast<int>(std::lround(textPx * scale));
}

double TotalPx(const ColumnWidths& WidthsPx)
{
    double totalPx = 0.0;
    for (const double widthPx : WidthsPx)
    {
        totalPx += widthPx;
    }
    return totalPx;
}

// The widths that the columns would like: their widest text and a floor for each.
ColumnWidths WantedWidthsPx(const std::vector<MvClipControlPanel::SavedClip>& Clips,
                            double CellWidthPx,
                            double PaddingPx)
{
    ColumnWidths widthsPx = {
        std::max(10 * CellWidthPx + PaddingPx, 72.0), std::max(5 * CellWidthPx + PaddingPx, 52.0),
        std::max(5 * CellWidthPx + PaddingPx, 52.0),  std::max(5 * CellWidthPx + PaddingPx, 52.0),
        std::max(5 * CellWidthPx + PaddingPx, 48.0),  std::max(6 * CellWidthPx + PaddingPx, 96.0)};
    const auto widen = [&](std::size_t Column, std::size_t TextBytes)
    {
        const double textPx = static_cast<double>(TextBytes) * CellWidthPx + PaddingPx;
        widthsPx[Column] = std::max(widthsPx[Column], textPx);
    };
    for (std::size_t i = 0; i < ColumnCount; ++i)
    {
        widen(i, ColumnHeaders[i].size());
    }
    for (const MvClipControlPanel::SavedClip& clip : Clips)
    {
        widen(0, clip.Name.size());
        widen(1, MvClipControlPanel::FormatTimeLabel(clip.StartSec).size());
        widen(2, MvClipControlPanel::FormatTimeLabel(clip.EndSec).size());
        widen(3, MvClipControlPanel::FormatTimeLabel(ClipLengthSec(clip)).size());
        widen(4, clip.ColorName.size());
        widen(SourceColumn, clip.SourceLabel.size());
    }
    return widthsPx;
}

// Takes what is too much from the columns: each but Source gives the same share of its room above its
// minimum, and only what is still too much then comes off Source.
void ReduceWidths(ColumnWidths& WidthsPx, double AvailablePx)
{
    // Meant so: lower than the floors of the wanted widths, which a reduction may go below.
    constexpr ColumnWidths MinPx = {68.0, 50.0, 50.0, 50.0, 44.0, 96.0};
    const double needReducePx = TotalPx(WidthsPx) - AvailablePx;
    double reduciblePx = 0.0;
    for (std::size_t i = 0; i < SourceColumn; ++i)
    {
        reduciblePx += std::max(0.0, WidthsPx[i] - MinPx[i]);
    }
    if (reduciblePx > 1e-9)
    {
        const double reduceScale = std::min(needReducePx / reduciblePx, 1.0);
        for (std::size_t i = 0; i < SourceColumn; ++i)
        {
            const double roomPx = std::max(0.0, WidthsPx[i] - MinPx[i]);
            WidthsPx[i] = WidthsPx[i] - roomPx * reduceScale;
        }
    }
    const double totalPx = TotalPx(WidthsPx);
    if (totalPx > AvailablePx)
    {
        WidthsPx[SourceColumn] =
            std::max(WidthsPx[SourceColumn] - (totalPx - AvailablePx), MinPx[SourceColumn]);
    }
}
} // namespace

MvClipControlPanel::~MvClipControlPanel()
{
    if (ExportLifetime != nullptr)
    {
        ExportLifetime->store(false);
        ExportLifetime.reset();
    }
}

// -- Selection and target

int MvClipControlPanel::SelectedClipIndex() const
{
    if (pClipTable == nullptr)
    {
        return -1;
    }
    const int row = pClipTable->SelectedRow < 0 ? pClipTable->CurrentRow : pClipTable->SelectedRow;
    if (row < 0 || static_cast<int>(Clips.size()) <= row)
    {
        return -1;
    }
    return row;
}

MvClipControlPanel::SavedClip* MvClipControlPanel::SelectedClip()
{
    return const_cast<SavedClip*>(std::as_const(*this).SelectedClip());
}

const MvClipControlPanel::SavedClip* MvClipControlPanel::SelectedClip() const
{
    const int index = SelectedClipIndex();
    return index < 0 ? nullptr : &Clips[static_cast<std::size_t>(index)];
}

MvVideoWindow* MvClipControlPanel::ResolveTargetVideoWindow() const
{
    if (p == nullptr || p->pMovane == nullptr)
    {
        return nullptr;
    }
    Movane& application = *p->pMovane;
    MvVideoWindow* firstUsable = nullptr;
    for (const unsigned long windowID : application.WindowIDs)
    {
        auto* const videoWindow = dynamic_cast<MvVideoWindow*>(application.GetWindow(windowID));
        if (videoWindow == nullptr || !IsUsableVideoWindow(*videoWindow))
        {
            continue;
        }
        if (videoWindow->bFocused)
        {
            return videoWindow;
        }
        if (firstUsable == nullptr)
        {
            firstUsable = videoWindow;
        }
    }
    if (firstUsable != nullptr)
    {
        return firstUsable;
    }
    // Meant so: the first video window is the last resort, even hidden or closing.
    return dynamic_cast<MvVideoWindow*>(application.GetWindow(3));
}

MvTimeControl* MvClipControlPanel::ResolveTargetTimeline() const
{
    MvVideoWindow* const videoWindow = ResolveTargetVideoWindow();
    return videoWindow == nullptr ? nullptr
                                  : dynamic_cast<MvTimeControl*>(videoWindow->GetChild(0));
}

const std::vector<MvClipControlPanel::ColorPreset>& MvClipControlPanel::ClipPalette()
{
    static const std::vector<ColorPreset> kPalette = {
        {"Amber", 0.98F, 0.56F, 0.22F}, {"Cyan", 0.28F, 0.84F, 0.98F},
        {"Green", 0.36F, 0.92F, 0.52F}, {"Yellow", 0.98F, 0.86F, 0.32F},
        {"Pink", 0.94F, 0.42F, 0.68F},  {"Violet", 0.72F, 0.58F, 1.0F},
    };
    return kPalette;
}

// -- Status line, labels, name input

void MvClipControlPanel::SetStatusTextInternal(const std::string& Text, bool bEmitSignal)
{
    if (&Text != &StatusText)
    {
        StatusText = Text;
    }
    if (pStatusLabel != nullptr)
    {
        pStatusLabel->Text = StatusText;
    }
    if (bEmitSignal)
    {
        StatusChanged.emit(StatusText);
    }
}

std::string MvClipControlPanel::BaseNameFromPath(const std::string& Path)
{
    if (Path.empty())
    {
        return "Unknown Source";
    }
    std::string name = std::filesystem::path(Path).filename().string();
    return name.empty() ? Path : name;
}

std::string MvClipControlPanel::FormatTimeLabel(double TimeSec)
{
    if (!std::isfinite(TimeSec))
    {
        return "00:00";
    }
    const long long total = std::llround(std::max(TimeSec, 0.0));
    const long long hours = total / 3600;
    const long long minutes = (total / 60) % 60;
    const long long seconds = total % 60;
    std::array<char, 32> buf{};
    if (total > 3599)
    {
        std::snprintf(buf.data(), buf.size(), "%lld:%02lld:%02lld", hours, minutes, seconds);
    }
    else
    {
        std::snprintf(buf.data(), buf.size(), "%02lld:%02lld", minutes, seconds);
    }
    return buf.data();
}

// No text is compared or kept between calls, and each label asks for its target afresh.
void MvClipControlPanel::UpdateLiveLabels()
{
    if (pSourceLabel != nullptr)
    {
        const MvVideoWindow* const videoWindow = ResolveTargetVideoWindow();
        const bool bHasSource = videoWindow != nullptr && videoWindow->pVideo != nullptr &&
                                !videoWindow->pVideo->FilePath.empty();
        const std::string sourceLabel =
            bHasSource ? BaseNameFromPath(videoWindow->pVideo->FilePath) : "No active video source";
        pSourceLabel->Text = "Source: " + sourceLabel;
    }
    if (pRangeLabel != nullptr)
    {
        const MvTimeControl* const timeline = ResolveTargetTimeline();
        if (timeline == nullptr || !timeline->HasRangeSelection())
        {
            pRangeLabel->Text = "Current Range: Set In/Out on the video timeline first.";
        }
        else
        {
            const double startSec = timeline->RangeStartSec();
            const double endSec = timeline->RangeEndSec();
            pRangeLabel->Text = "Current Range: " + FormatTimeLabel(startSec) + " -> " +
                                FormatTimeLabel(endSec) + "   LEN " +
                                FormatTimeLabel(std::max(0.0, endSec - startSec));
        }
    }
    if (pMarkersLabel != nullptr)
    {
        const MvTimeControl* const timeline = ResolveTargetTimeline();
        if (timeline == nullptr)
        {
            pMarkersLabel->Text = "Markers: video timeline unavailable.";
        }
        else
        {
            std::ostringstream text;
            text.exceptions(std::ios::badbit); // where memory runs out no text is cut in silence
            text << "Markers: " << timeline->Markers.size()
                 << "   Current: " << FormatTimeLabel(timeline->DisplayedTimeSec());
            pMarkersLabel->Text = text.str();
        }
    }
}

void MvClipControlPanel::SyncNameInputFromSelection()
{
    // The input's own change handling must not feed the panel's write back into itself.
    if (pNameInput == nullptr || bSyncingNameInput)
    {
        return;
    }
    const SavedClip* const clip = SelectedClip();
    const FlagGuard syncing(bSyncingNameInput);
    pNameInput->SetText(clip != nullptr ? clip->Name : std::string(), false);
}

// -- Table

void MvClipControlPanel::RebuildTableModel()
{
    if (TableModel == nullptr)
    {
        return;
    }
    MvTableModel::RowList rows;
    rows.reserve(Clips.size());
    for (const SavedClip& clip : Clips)
    {
        MvTableModel::Row& row = rows.emplace_back();
        row.reserve(ColumnCount);
        row.push_back(clip.Name);
        row.push_back(FormatTimeLabel(clip.StartSec));
        row.push_back(FormatTimeLabel(clip.EndSec));
        row.push_back(FormatTimeLabel(ClipLengthSec(clip)));
        row.push_back(clip.ColorName);
        row.push_back(clip.SourceLabel);
    }
    // NOLINTNEXTLINE(performance-move-const-arg): the recording host of the tests copies
    TableModel->SetRows(std::move(rows));
    UpdateTableColumnLayout();
}

void MvClipControlPanel::UpdateTableColumnLayout()
{
    if (pClipTable == nullptr || TableModel == nullptr || p == nullptr || p->pCoreSDL == nullptr ||
        p->pRend == nullptr || p->pRend->pTTF == nullptr || pParentWindow == nullptr)
    {
        return;
    }
    const double surfaceWidthPx = p->pCoreSDL->Width;
    const double surfaceHeightPx = p->pCoreSDL->Height;
    const NdcRect panel = PanelRect(*this, surfaceWidthPx, surfaceHeightPx);
    if (!panel.HasArea())
    {
        return;
    }
    const double padX = PaddingPx / surfaceWidthPx;
    const double padY = PaddingPx / surfaceHeightPx;
    const NdcRect inner = {panel.X1 + padX, panel.Y1 - padY, panel.X2 - padX, panel.Y2 + padY};
    if (!inner.HasArea())
    {
        return;
    }
    const NdcRect table = TableRect(*pClipTable, inner);
    if (!table.HasArea())
    {
        return;
    }

    const int textPx = TableTextPx(*pClipTable, table, surfaceHeightPx, p->pRend->FontSmallPx);
    const int scaledTextPx = MvTheme::ScaleTextPx(textPx, 8, 220);
    const double cellWidthPx = std::max(p->pRend->pTTF->GetCellWidth(scaledTextPx), 1);
    const double availablePx = std::max((surfaceWidthPx * (table.X2 - table.X1)) * 0.5, 1.0);
    const double columnPaddingPx = 14.0 + 2 * pClipTable->CellPaddingPx;

    ColumnWidths widthsPx = WantedWidthsPx(Clips, cellWidthPx, columnPaddingPx);
    if (TotalPx(widthsPx) > availablePx)
    {
        ReduceWidths(widthsPx, availablePx);
    }
    const double finalTotalPx = TotalPx(widthsPx);
    if (!(finalTotalPx > 1e-9))
    {
        return;
    }
    std::vector<double> fractions;
    fractions.reserve(ColumnCount);
    for (const double widthPx : widthsPx)
    {
        fractions.push_back(widthPx / finalTotalPx);
    }
    pClipTable->MinColumnWidthPx = 44.0;
    pClipTable->SetColumnFractions(fractions);
}

// -- Saving

void MvClipControlPanel::SaveCurrentRangeAsClip()
{
    const MvTimeControl* const timeline = ResolveTargetTimeline();
    const MvVideoWindow* const videoWindow = ResolveTargetVideoWindow();
    if (timeline == nullptr || videoWindow == nullptr || videoWindow->pVideo == nullptr)
    {
        SetStatusTextInternal("No active MvVideoWindow to save a clip from.", true);
        return;
    }
    if (!timeline->HasRangeSelection())
    {
        SetStatusTextInternal("Set In and Out on the timeline before saving a clip.", true);
        return;
    }
    // Meant so: the ordinal is the value before the increment, so a counter that starts at 0 gives 1
    // to the first and to the second clip.
    const int ordinal = std::max(NextClipOrdinal++, 1);
    const std::vector<ColorPreset>& palette = ClipPalette();
    const int paletteSize = std::max(static_cast<int>(palette.size()), 1);
    const ColorPreset& color = palette[static_cast<std::size_t>((ordinal - 1) % paletteSize)];

    SavedClip clip;
    clip.Name = TrimCopy(pNameInput != nullptr ? pNameInput->Text : std::string());
    if (clip.Name.empty())
    {
        clip.Name = "Clip " + std::to_string(ordinal);
    }
    clip.SourcePath = videoWindow->pVideo->FilePath;
    clip.SourceLabel = BaseNameFromPath(clip.SourcePath);
    clip.ColorName = color.Name;
    clip.ColorR = color.R;
    clip.ColorG = color.G;
    clip.ColorB = color.B;
    clip.ColorA = 1.0F;
    clip.StartSec = timeline->RangeStartSec();
    clip.EndSec = timeline->RangeEndSec();
    Clips.push_back(clip);

    RebuildTableModel();
    if (pClipTable != nullptr)
    {
        const int newIndex = static_cast<int>(Clips.size()) - 1;
        pClipTable->SelectedRow = newIndex;
        pClipTable->CurrentRow = newIndex;
        bSyncingNameInput = false; // so that the new clip's name reaches the input in any case
    }
    SyncNameInputFromSelection();
    SetStatusTextInternal("Saved " + clip.Name + " from " + clip.SourceLabel, true);
}

// -- Editing and markers

void MvClipControlPanel::RenameSelectedClip()
{
    SavedClip* const clip = SelectedClip();
    if (clip == nullptr)
    {
        SetStatusTextInternal("Select a saved clip to rename it.", true);
        return;
    }
    const std::string newName = TrimCopy(pNameInput != nullptr ? pNameInput->Text : std::string());
    if (newName.empty())
    {
        SetStatusTextInternal("Clip name cannot be empty.", true);
        return;
    }
    clip->Name = newName;
    RebuildTableModel();
    SetStatusTextInternal("Renamed clip to " + newName, true);
}

void MvClipControlPanel::DeleteSelectedClip()
{
    const int index = SelectedClipIndex();
    if (index < 0)
    {
        SetStatusTextInternal("Select a clip to delete it.", true);
        return;
    }
    const std::string removedName = Clips[static_cast<std::size_t>(index)].Name;
    Clips.erase(Clips.begin() + index);
    RebuildTableModel();
    if (pClipTable != nullptr)
    {
        const int nextIndex =
            Clips.empty() ? -1 : std::clamp(index, 0, static_cast<int>(Clips.size()) - 1);
        pClipTable->SelectedRow = nextIndex;
        pClipTable->CurrentRow = nextIndex;
    }
    SyncNameInputFromSelection();
    SetStatusTextInternal("Deleted " + removedName, true);
}

void MvClipControlPanel::AddCurrentMarker()
{
    MvTimeControl* const timeline = ResolveTargetTimeline();
    if (timeline == nullptr)
    {
        SetStatusTextInternal("Video timeline is not available for marker placement.", true);
        return;
    }
    const double markerSec = timeline->DisplayedTimeSec();
    timeline->AddMarkerAtCurrentTime();
    UpdateLiveLabels();
    SetStatusTextInternal("Added marker at " + FormatTimeLabel(markerSec), true);
}

void MvClipControlPanel::ClearCurrentRange()
{
    MvTimeControl* const timeline = ResolveTargetTimeline();
    if (timeline == nullptr)
    {
        SetStatusTextInternal("Video timeline is not available.", true);
        return;
    }
    timeline->ClearRangeSelection(false);
    UpdateLiveLabels();
    SetStatusTextInternal("Cleared current In/Out range.", true);
}

// -- Navigation. The actions work on a copy of the clip: opening a file lets the host's observers run,
//    and one of them may change the clip list.

void MvClipControlPanel::LoadSelectedClip()
{
    const SavedClip* const selected = SelectedClip();
    MvTimeControl* const timeline = ResolveTargetTimeline();
    MvVideoWindow* const videoWindow = ResolveTargetVideoWindow();
    if (selected == nullptr || timeline == nullptr || videoWindow == nullptr ||
        videoWindow->pVideo == nullptr)
    {
        SetStatusTextInternal("Select a clip and ensure a video timeline is available.", true);
        return;
    }
    const SavedClip clip = *selected;
    if (!EnsureClipSourceLoaded(clip, videoWindow))
    {
        return;
    }
    timeline->SetRangeSelection(clip.StartSec, clip.EndSec, false);
    SeekVideoToSec(*videoWindow->pVideo, clip.StartSec); // read again: loading may have replaced it
    SetStatusTextInternal("Loaded " + clip.Name + " onto the video timeline.", true);
}

void MvClipControlPanel::JumpToSelectedClip()
{
    JumpToPointOfSelectedClip(&SavedClip::StartSec, "Jumped to ");
}

void MvClipControlPanel::JumpOutSelectedClip()
{
    JumpToPointOfSelectedClip(&SavedClip::EndSec, "Jumped to Out for ");
}

void MvClipControlPanel::JumpToPointOfSelectedClip(double SavedClip::*PointSec,
                                                   const char* StatusPrefix)
{
    const SavedClip* const selected = SelectedClip();
    MvVideoWindow* const videoWindow = ResolveTargetVideoWindow();
    if (selected == nullptr || videoWindow == nullptr || videoWindow->pVideo == nullptr)
    {
        SetStatusTextInternal("Select a clip and ensure a video window is available.", true);
        return;
    }
    const SavedClip clip = *selected;
    if (!EnsureClipSourceLoaded(clip, videoWindow))
    {
        return;
    }
    SeekVideoToSec(*videoWindow->pVideo, clip.*PointSec);
    SetStatusTextInternal(StatusPrefix + clip.Name, true);
}

bool MvClipControlPanel::EnsureClipSourceLoaded(const SavedClip& Clip, MvVideoWindow* pVideoWindow)
{
    if (pVideoWindow == nullptr || pVideoWindow->pVideo == nullptr)
    {
        SetStatusTextInternal("Video window is not available for the selected clip.", true);
        return false;
    }
    // A clip without a source plays on whatever is open.
    if (Clip.SourcePath.empty() || Clip.SourcePath == pVideoWindow->pVideo->FilePath)
    {
        return true;
    }
    if (!std::filesystem::exists(Clip.SourcePath))
    {
        SetStatusTextInternal("Clip source file is missing: " + Clip.SourcePath, true);
        return false;
    }
    if (!pVideoWindow->LoadVideoFile(Clip.SourcePath, false))
    {
        SetStatusTextInternal("Failed to load clip source: " + BaseNameFromPath(Clip.SourcePath),
                              true);
        return false;
    }
    AppPaths::SetDefaultVideoFile(Clip.SourcePath);
    return true;
}

// -- Export

std::string MvClipControlPanel::ShellQuote(const std::string& Text)
{
    std::string quoted = "'";
    std::size_t from = 0;
    for (std::size_t at = Text.find('\''); at != std::string::npos; at = Text.find('\'', from))
    {
        quoted.append(Text, from, at - from);
        quoted += R"('"'"')"; // close the quote, a double-quoted apostrophe, reopen the quote
        from = at + 1;
    }
    quoted.append(Text, from);
    quoted += '\'';
    return quoted;
}

// ASCII only and without the locale: every byte of an accented letter is dropped.
std::string MvClipControlPanel::SanitizeFileStem(const std::string& Text)
{
    std::string out;
    out.reserve(Text.size());
    for (const char c : Text)
    {
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
            c == '-' || c == '_')
        {
            out += c;
        }
        else if (c == ' ' || c == '.')
        {
            out += '_';
        }
    }
    while (!out.empty() && out.back() == '_')
    {
        out.pop_back();
    }
    return out.empty() ? "clip" : out;
}

std::filesystem::path MvClipControlPanel::BuildClipExportPath(const std::string& ClipName,
                                                              std::string& OutFileName)
{
    OutFileName.clear();
    const std::filesystem::path clipsDir =
        std::filesystem::path(AppPaths::RecordingsDir()) / "clips";
    std::error_code ec;
    std::filesystem::create_directories(clipsDir, ec);
    if (ec)
    {
        return {};
    }
    const std::string safeStem = SanitizeFileStem(ClipName);
    const std::string folder = clipsDir / ""; // ends with the slash
    for (int index = 0; index <= 9999; ++index)
    {
        // Meant so: a longer name is cut to what the buffer holds, its extension first, and used.
        std::array<char, 64> buf{};
        std::snprintf(buf.data(), buf.size(), "clip_%05d_%s.mkv", index, safeStem.c_str());
        std::filesystem::path candidate = folder + buf.data();
        if (!std::filesystem::exists(candidate, ec))
        {
            OutFileName = buf.data();
            return candidate;
        }
    }
    return {};
}

void MvClipControlPanel::ExportSelectedClip()
{
    PumpExportResult();
    const SavedClip* const clip = SelectedClip();
    if (clip == nullptr)
    {
        SetStatusTextInternal("Select a saved clip to export it.", true);
        return;
    }
    {
        const std::lock_guard lock(ExportMutex);
        if (bExportInProgress)
        {
            // Meant so: the text is set before the mutex is released.
            SetStatusTextInternal("Clip export already in progress.", true);
            return;
        }
    }
    if (ExportDurationSec(*clip) < MinExportSec)
    {
        SetStatusTextInternal("Selected clip is too short to export.", true);
        return;
    }
    if (clip->SourcePath.empty() || !std::filesystem::exists(clip->SourcePath))
    {
        // Meant so: the label here, the full path when a clip is loaded.
        SetStatusTextInternal("Clip source file is missing: " + clip->SourceLabel, true);
        return;
    }
    std::string fileName;
    const std::filesystem::path outputPath = BuildClipExportPath(clip->Name, fileName);
    if (outputPath.empty())
    {
        SetStatusTextInternal("Could not create clip export path.", true);
        return;
    }
    std::string ffmpegExecutable;
    std::string ffmpegResolveError;
    if (!ResolveFFmpegExecutable(ffmpegExecutable, ffmpegResolveError))
    {
        SetStatusTextInternal(ffmpegResolveError, true);
        return;
    }
    StartExport(*clip, outputPath, fileName, ffmpegExecutable);
}

// Every check has passed: from here on the export counts as started.
void MvClipControlPanel::StartExport(const SavedClip& Clip,
                                     const std::filesystem::path& OutputPath,
                                     const std::string& FileName,
                                     const std::string& FFmpegExecutable)
{
    const std::uint64_t exportGeneration = ++ExportGeneration;
    const std::weak_ptr<std::atomic<bool>> exportLifetime = ExportLifetime;
    {
        const std::lock_guard lock(ExportMutex);
        bExportInProgress = true;
        bExportResultReady = false;
        bExportResultSuccess = false;
        ExportResultMessage.clear();
    }
    const SavedClip exportClip = Clip;
    const std::filesystem::path errorLogPath =
        std::filesystem::path(AppPaths::RuntimeDir()) / "temp" / "clip-export.log";
    SetStatusTextInternal("Exporting " + exportClip.Name + " to " + FileName + "...", true);

    auto runExport = [exportClip, outputPath = OutputPath, fileName = FileName, errorLogPath,
                      ffmpegExecutable = FFmpegExecutable]
    { return RunExport(exportClip, outputPath, fileName, errorLogPath, ffmpegExecutable); };
    const auto completeExport =
        [this, exportLifetime, exportGeneration](bool bSuccess, std::string Message)
    {
        const std::shared_ptr<std::atomic<bool>> lifetime = exportLifetime.lock();
        if (lifetime == nullptr || !lifetime->load() || ExportGeneration.load() != exportGeneration)
        {
            return;
        }
        const std::lock_guard lock(ExportMutex);
        bExportResultSuccess = bSuccess;
        bExportInProgress = false;
        bExportResultReady = true;
        ExportResultMessage = std::move(Message);
    };

    JobSystem* const jobSystem = p != nullptr ? p->pJobSystem.get() : nullptr;
    if (jobSystem != nullptr && jobSystem->IsRunning())
    {
        std::function<void()> job = [jobSystem, runExport = std::move(runExport), completeExport]
        {
            auto [bSuccess, message] = runExport();
            jobSystem->EnqueueMainThread(
                [completeExport, bSuccess = bSuccess, message = std::move(message)]() mutable
                { completeExport(bSuccess, std::move(message)); });
        };
        static_cast<void>(jobSystem->Enqueue(std::move(job), "clip export"));
        return;
    }
    auto [bSuccess, message] = runExport();
    completeExport(bSuccess, std::move(message));
}

void MvClipControlPanel::PumpExportResult()
{
    std::unique_lock lock(ExportMutex);
    if (!bExportResultReady)
    {
        return;
    }
    const bool bSuccess = bExportResultSuccess;
    const std::string message = ExportResultMessage; // a copy: GetExportStatus goes on giving it
    bExportResultReady = false;
    lock.unlock();

    SetStatusTextInternal(message, true);
    if (p == nullptr || p->pMovane == nullptr)
    {
        return;
    }
    // Meant so: a success is plain information.
    p->pMovane->QueueNotification(bSuccess ? Movane::NotificationInfo : Movane::NotificationError,
                                  "Clip Export", message, bSuccess ? 2200U : 3200U);
}

MvClipControlPanel::ExportStatus MvClipControlPanel::GetExportStatus() const
{
    const std::lock_guard lock(ExportMutex);
    return {bExportInProgress, bExportInProgress ? StatusText : ExportResultMessage};
}
