#include "desktop/actions/commands.h"

#include "desktop/session/session.h"
#include "desktop/session/videodocument.h"
#include "host/mvtheme.h"
#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"
#include "process/sentences.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>
#include <vector>

namespace
{
constexpr double MaxShuttleSpeed = 8.0;
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

void Commands::Refuse(const QString& Text)
{
    Running.Panel().SetStatusTextInternal(Text.toStdString(), true);
    Running.RequestFrame();
}

// -- The target document

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

void Commands::Seek(int Request)
{
    WithDocument([Request](VideoDocument& Document) { Document.pVideo->Seek(Request); });
}

void Commands::SeekBy(double Sec)
{
    WithDocument([Sec](VideoDocument& Document) { Document.SeekBy(Sec); });
}

void Commands::SeekTo(double Sec)
{
    WithDocument([Sec](VideoDocument& Document) { Document.SeekTo(Sec); });
}

void Commands::SetSpeed(double Factor)
{
    WithDocument([Factor](VideoDocument& Document) { Document.SetSpeed(Factor); });
}

void Commands::MultiplySpeed(double Factor)
{
    WithDocument([Factor](VideoDocument& Document)
                 { Document.SetSpeed(Document.Speed() * Factor); });
}

// A marker between two frames may belong to the frame that is shown already: then it is the next one's turn.
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

void Commands::Mark(void (VideoDocument::*SetMark)(double Sec), const char* Name)
{
    const bool bSet = WithDocument([SetMark](VideoDocument& Document)
                                   { (Document.*SetMark)(Document.pVideo->CurrentTimeSec()); });
    if (!bSet)
    {
        Refuse(QString("Open a video before setting %1.").arg(Name));
    }
}

void Commands::ClearRange()
{
    if (VideoDocument* const document = Running.TargetDocument())
    {
        document->DropPendingMarks();
    }
    ActOnPanel(&MvClipControlPanel::ClearCurrentRange);
}

// -- The clip panel

void Commands::ActOnPanel(const std::function<void(MvClipControlPanel&)>& Action)
{
    MvClipControlPanel& panel = Running.Panel();
    const int row = panel.SelectedClipIndex();
    const std::size_t count = panel.Clips.size();
    try
    {
        Action(panel);
    }
    catch (const std::exception& error)
    {
        // It may have changed a clip and not come to the rebuild of the table, which moves the revision.
        panel.TableModel->MarkChanged();
        panel.SetStatusTextInternal(SentenceOf(error), true);
    }
    if (panel.Clips.size() != count)
    {
        Running.Records().SelectedRows.clear(); // they are other clips now
    }
    Running.Exports().Follow(row);
    Running.RequestFrame();
}

// The panel asks the player for a time. What is to be seen is the first or the last frame of the clip's
// file, so SetSeekFrame names the one to show.
void Commands::SeekOnPanel(void (MvClipControlPanel::*Action)(), ClipEnd Shown)
{
    VideoDocument* const document = Running.TargetDocument();
    const MvClipControlPanel::SavedClip* const clip = Running.Panel().SelectedClip();
    if (document == nullptr || clip == nullptr)
    {
        ActOnPanel(Action);
        return;
    }
    document->Player().SetSeekFrame(
        MpvVideo::ClipFrame{clip->StartSec, clip->EndSec, Shown == ClipEnd::Last});
    ActOnPanel(Action);
    document->Player().SetSeekFrame(std::nullopt);
}

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
    ActOnPanel([this](MvClipControlPanel&) { Running.Exports().Export(SelectedRows()); });
}

void Commands::ExportAgain()
{
    const int row = Running.Panel().SelectedClipIndex();
    const std::vector<int> rows(row < 0 ? 0 : 1, row);
    ActOnPanel([&](MvClipControlPanel&) { Running.Exports().Export(rows); });
}

void Commands::UseClipFile(void (*Use)(const std::string& Path))
{
    const ClipExport shown = Running.Exports().States().Of(Running.Panel().SelectedClipIndex());
    std::error_code ec;
    if (shown.Path.empty() || !std::filesystem::exists(shown.Path, ec))
    {
        Refuse("The clip has no file: export it.");
        return;
    }
    Use(shown.Path);
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

// -- View

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
