#include "desktop/actions/commands.h"

#include "desktop/actions/desktopopen.h"
#include "desktop/session/session.h"
#include "desktop/session/videodocument.h"
#include "host/mvtheme.h"
#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"
#include "process/sentences.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <system_error>
#include <vector>

namespace
{
constexpr double MaxShuttleSpeed = 8.0;
constexpr double VolumeStepPercent = 5.0;
constexpr std::array TextScales = {0.75, 0.9, 1.0, 1.1, 1.25, 1.5, 1.75, 2.0, 2.5, 3.0};
constexpr double SamePlaceSec = 1e-5; // seeks are rounded to the microsecond
} // namespace

Commands::Commands(Session& NewRunning)
    : Running(NewRunning)
{
}

// Acts on the target document while it has a file; without one there is nothing to play or mark.
// False when it has none.
template <typename Action> bool Commands::WithDocument(Action Act)
{
    VideoDocument* const document = Running.TargetDocument();
    if (document == nullptr || !document->HasFile())
    {
        return false;
    }
    Act(*document);
    Running.RequestFrame();
    return true;
}

// -- File

void Commands::OpenFile()
{
    Q_EMIT OpenRequested();
}

void Commands::NewVideoWindow()
{
    Q_EMIT NewWindowRequested();
}

void Commands::CloseWindow()
{
    Q_EMIT CloseRequested();
}

void Commands::Quit()
{
    Q_EMIT QuitRequested();
}

// -- Playback

void Commands::PlayPause()
{
    WithDocument([](VideoDocument& Document)
                 { Document.IsPlaying() ? Document.Pause() : Document.Play(); });
}

void Commands::PlayBackward()
{
    WithDocument(
        [](VideoDocument& Document)
        {
            if (Document.IsPlayingBackward())
            {
                Document.SetSpeed(std::min(Document.Speed() * 2.0, MaxShuttleSpeed));
            }
            else if (Document.IsPlaying() && Document.Speed() > 1.0)
            {
                Document.SetSpeed(Document.Speed() / 2.0);
            }
            else
            {
                Document.SetSpeed(1.0);
                Document.PlayBackward();
            }
        });
}

void Commands::PlayStop()
{
    WithDocument(
        [](VideoDocument& Document)
        {
            Document.Pause();
            Document.SetSpeed(1.0);
        });
}

void Commands::PlayForward()
{
    WithDocument(
        [](VideoDocument& Document)
        {
            if (Document.IsPlayingBackward())
            {
                Document.SetSpeed(1.0);
            }
            else if (Document.IsPlaying())
            {
                Document.SetSpeed(std::min(Document.Speed() * 2.0, MaxShuttleSpeed));
            }
            Document.Play();
        });
}

void Commands::Step(int Request)
{
    WithDocument(
        [Request](VideoDocument& Document)
        {
            Document.Pause();
            Document.pVideo->Seek(Request);
        });
}

void Commands::StepBack()
{
    Step(StepFrameBack);
}

void Commands::StepForward()
{
    Step(StepFrameForward);
}

void Commands::SeekBy(double Sec)
{
    WithDocument([Sec](VideoDocument& Document) { Document.SeekBy(Sec); });
}

void Commands::BackOneSecond()
{
    SeekBy(-1.0);
}

void Commands::ForwardOneSecond()
{
    SeekBy(1.0);
}

void Commands::BackTenSeconds()
{
    SeekBy(-10.0);
}

void Commands::ForwardTenSeconds()
{
    SeekBy(10.0);
}

void Commands::GoToStart()
{
    WithDocument([](VideoDocument& Document) { Document.pVideo->Seek(SeekToStart); });
}

void Commands::GoToEnd()
{
    WithDocument([](VideoDocument& Document) { Document.pVideo->Seek(SeekToEnd); });
}

void Commands::GoToTime()
{
    Q_EMIT GoToTimeRequested();
}

void Commands::MultiplySpeed(double Factor)
{
    WithDocument([Factor](VideoDocument& Document)
                 { Document.SetSpeed(Document.Speed() * Factor); });
}

void Commands::SpeedDown()
{
    MultiplySpeed(0.5);
}

void Commands::SpeedUp()
{
    MultiplySpeed(2.0);
}

void Commands::SpeedNormal()
{
    SetSpeed(1.0);
}

void Commands::SetSpeed(double Factor)
{
    WithDocument([Factor](VideoDocument& Document) { Document.SetSpeed(Factor); });
}

void Commands::VolumeDown()
{
    SetVolume(Running.Volume() - VolumeStepPercent);
}

void Commands::VolumeUp()
{
    SetVolume(Running.Volume() + VolumeStepPercent);
}

void Commands::SetVolume(double Percent)
{
    Running.SetVolume(Percent);
}

void Commands::ToggleMute()
{
    Running.SetMuted(!Running.IsMuted());
}

void Commands::SeekTo(double Sec)
{
    WithDocument([Sec](VideoDocument& Document) { Document.SeekTo(Sec); });
}

// Direction is -1 for the marker before the playhead and 1 for the one behind it. A marker between two frames
// may belong to the frame that is shown already: then it is the next one's turn.
void Commands::GoToMarkerBeside(double Direction)
{
    WithDocument(
        [Direction](VideoDocument& Document)
        {
            const double nowSec = Document.pVideo->CurrentTimeSec();
            std::vector<double> distances;
            for (const MvTimeControl::Marker& marker : Document.Timeline().Markers)
            {
                const double distanceSec = (marker.TimeSec - nowSec) * Direction;
                if (distanceSec > SamePlaceSec)
                {
                    distances.push_back(distanceSec);
                }
            }
            std::ranges::sort(distances);
            for (const double distanceSec : distances)
            {
                Document.SeekTo(nowSec + distanceSec * Direction);
                if (Document.pVideo->CurrentTimeSec() != nowSec)
                {
                    break;
                }
            }
        });
}

void Commands::PreviousMarker()
{
    GoToMarkerBeside(-1.0);
}

void Commands::NextMarker()
{
    GoToMarkerBeside(1.0);
}

// -- Marking

void Commands::Refuse(const char* Text)
{
    Running.Panel().SetStatusTextInternal(Text, true);
    Running.RequestFrame();
}

void Commands::SetIn()
{
    const bool bSet = WithDocument([](VideoDocument& Document)
                                   { Document.MarkIn(Document.pVideo->CurrentTimeSec()); });
    if (!bSet)
    {
        Refuse("Open a video before setting In.");
    }
}

void Commands::SetOut()
{
    const bool bSet = WithDocument([](VideoDocument& Document)
                                   { Document.MarkOut(Document.pVideo->CurrentTimeSec()); });
    if (!bSet)
    {
        Refuse("Open a video before setting Out.");
    }
}

void Commands::ClearRange()
{
    if (VideoDocument* const document = Running.TargetDocument())
    {
        document->DropPendingMarks();
    }
    RunPanelAction(&MvClipControlPanel::ClearCurrentRange);
}

void Commands::AddMarker()
{
    RunPanelAction(&MvClipControlPanel::AddCurrentMarker);
}

// -- Clips

// The panel lets file-system errors other than a missing file through: they end here, as its status.
template <typename Action> void Commands::RunPanelAction(Action Act)
{
    MvClipControlPanel& panel = Running.Panel();
    const int row = panel.SelectedClipIndex();
    const std::size_t count = panel.Clips.size();
    try
    {
        std::invoke(Act, panel);
    }
    catch (const std::exception& error)
    {
        panel.SetStatusTextInternal(SentenceOf(error), true);
    }
    if (panel.Clips.size() != count)
    {
        Running.Records().SelectedRows.clear(); // they are other clips now
    }
    Running.Exports().Follow(row);
    Running.RequestFrame();
}

void Commands::SaveClip()
{
    RunPanelAction(&MvClipControlPanel::SaveCurrentRangeAsClip);
}

void Commands::RenameClip()
{
    RunPanelAction(&MvClipControlPanel::RenameSelectedClip);
}

void Commands::DeleteClip()
{
    RunPanelAction(&MvClipControlPanel::DeleteSelectedClip);
}

// The panel asks the player for a time. What is to be seen is the first or the last frame of the clip's
// file, so SetSeekFrame names the one to show.
void Commands::RunSeekingAction(void (MvClipControlPanel::*Action)(), bool bLast)
{
    VideoDocument* const document = Running.TargetDocument();
    const MvClipControlPanel::SavedClip* const clip = Running.Panel().SelectedClip();
    if (document == nullptr || clip == nullptr)
    {
        RunPanelAction(Action);
        return;
    }
    document->Player().SetSeekFrame(MpvVideo::ClipFrame{clip->StartSec, clip->EndSec, bLast});
    RunPanelAction(Action);
    document->Player().SetSeekFrame(std::nullopt);
}

void Commands::LoadClip()
{
    RunSeekingAction(&MvClipControlPanel::LoadSelectedClip, false);
}

void Commands::JumpToIn()
{
    RunSeekingAction(&MvClipControlPanel::JumpToSelectedClip, false);
}

void Commands::JumpToOut()
{
    RunSeekingAction(&MvClipControlPanel::JumpOutSelectedClip, true);
}

// Also where it is one.
std::vector<int> Commands::SelectedRows() const
{
    std::vector<int> rows = Running.Records().SelectedRows;
    const int row = Running.Panel().SelectedClipIndex();
    if (rows.empty() && row >= 0)
    {
        rows.push_back(row);
    }
    return rows;
}

void Commands::ExportClip()
{
    RunPanelAction([this](MvClipControlPanel&) { Running.Exports().Export(SelectedRows()); });
}

void Commands::ExportAll()
{
    RunPanelAction([this](MvClipControlPanel&) { Running.Exports().ExportAll(); });
}

void Commands::ExportAgain()
{
    RunPanelAction(
        [this](MvClipControlPanel& Panel)
        {
            const int row = Panel.SelectedClipIndex();
            Running.Exports().Export(row < 0 ? std::vector<int>() : std::vector<int>{row});
        });
}

void Commands::RemoveFromQueue()
{
    Running.Exports().RemoveFromQueue(SelectedRows());
}

void Commands::StopExport()
{
    Running.Exports().Stop();
}

void Commands::StopAllExports()
{
    Running.Exports().StopAll();
}

// Empty where there is none, after having said so.
std::string Commands::FileOfSelectedClip()
{
    const ClipExport shown = Running.Exports().States().Of(Running.Panel().SelectedClipIndex());
    std::error_code ec;
    if (shown.Path.empty() || !std::filesystem::exists(shown.Path, ec))
    {
        Refuse("The clip has no file: export it.");
        return {};
    }
    return shown.Path;
}

void Commands::OpenClipFile()
{
    if (const std::string file = FileOfSelectedClip(); !file.empty())
    {
        OpenWithDesktop(file);
    }
}

void Commands::OpenClipFolder()
{
    if (const std::string file = FileOfSelectedClip(); !file.empty())
    {
        OpenWithDesktop(std::filesystem::path(file).parent_path().native());
    }
}

void Commands::CopyClipPath()
{
    if (const std::string file = FileOfSelectedClip(); !file.empty())
    {
        QGuiApplication::clipboard()->setText(QFile::decodeName(file.c_str()));
    }
}

void Commands::SelectClip(int Row)
{
    Running.Records().SelectedRows.clear();
    Running.Records().Table.SelectRow(Row);
}

void Commands::SelectClipBeside(int Step)
{
    const int count = static_cast<int>(Running.Panel().Clips.size());
    const int selected = Running.Panel().SelectedClipIndex();
    if (count > 0)
    {
        SelectClip(selected < 0 ? 0 : std::clamp(selected + Step, 0, count - 1));
    }
}

void Commands::SelectPreviousClip()
{
    SelectClipBeside(-1);
}

void Commands::SelectNextClip()
{
    SelectClipBeside(1);
}

void Commands::SelectAllClips()
{
    Q_EMIT AllClipsRequested();
}

void Commands::EditName()
{
    Q_EMIT NameEditRequested();
}

// -- View

void Commands::ZoomIn()
{
    Q_EMIT ZoomRequested(1);
}

void Commands::ZoomOut()
{
    Q_EMIT ZoomRequested(-1);
}

void Commands::ZoomToFit()
{
    Q_EMIT ZoomRequested(0);
}

void Commands::PanBack()
{
    Q_EMIT PanRequested(-1);
}

void Commands::PanForward()
{
    Q_EMIT PanRequested(1);
}

void Commands::SetTextScale(double Scale)
{
    MvTheme::SetTextScale(Scale);
    Q_EMIT TextScaleChanged();
    Running.RequestFrame();
}

void Commands::TextLarger()
{
    const auto larger =
        std::upper_bound(TextScales.begin(), TextScales.end(), MvTheme::TextScale());
    SetTextScale(larger == TextScales.end() ? TextScales.back() : *larger);
}

void Commands::TextSmaller()
{
    const auto same = std::lower_bound(TextScales.begin(), TextScales.end(), MvTheme::TextScale());
    SetTextScale(same == TextScales.begin() ? TextScales.front() : *std::prev(same));
}

void Commands::TextNormal()
{
    SetTextScale(1.0);
}

void Commands::FullScreen()
{
    Q_EMIT FullScreenRequested();
}

// -- Help

void Commands::ShowKeys()
{
    Q_EMIT KeysRequested();
}

void Commands::About()
{
    Q_EMIT AboutRequested();
}
