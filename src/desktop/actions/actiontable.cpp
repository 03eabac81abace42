#include "desktop/actions/actiontable.h"

#include "desktop/actions/commands.h"
#include "desktop/actions/desktopopen.h"
#include "desktop/session/session.h"
#include "desktop/session/videodocument.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QKeySequence>
#include <QStringList>

#include <array>
#include <cassert>
#include <cstddef>
#include <filesystem>
#include <string>

namespace
{
using enum ActionId;
using Group = ActionGroup;
using Panel = MvClipControlPanel;

constexpr double VolumeStepPercent = 5.0;

// Calls a method of the commands, or emits a signal of theirs, with these arguments.
template <auto Member, auto... Arguments> void Call(Commands& Target, Session&)
{
    (Target.*Member)(Arguments...);
}

void OpenFolderOf(const std::string& Path)
{
    OpenWithDesktop(std::filesystem::path(Path).parent_path().native());
}

void CopyPath(const std::string& Path)
{
    QGuiApplication::clipboard()->setText(QFile::decodeName(Path.c_str()));
}

constexpr auto Table = std::to_array<ActionInfo>({
    {OpenFile, Group::File, "Open…", "Ctrl+O", "Opens a video in this window.",
     Call<&Commands::OpenRequested>},
    {NewVideoWindow, Group::File, "New video window", "Ctrl+N",
     "Opens another window with a video and a timeline of its own.",
     Call<&Commands::NewWindowRequested>},
    {CloseWindow, Group::File, "Close window", "Ctrl+W", "Closes this window.",
     Call<&Commands::CloseRequested>},
    {Quit, Group::File, "Quit", "Ctrl+Q", "Ends the program.", Call<&Commands::QuitRequested>},

    {PlayPause, Group::Playback, "Play or pause", "Space", "Plays or pauses.",
     Call<&Commands::PlayPause>},
    {PlayBackward, Group::Playback, "Play slower or back", "J",
     "Halves the speed; from normal speed on plays backward.", Call<&Commands::PlayBackward>},
    {PlayStop, Group::Playback, "Stop", "K", "Pauses at normal speed.", Call<&Commands::PlayStop>},
    {PlayForward, Group::Playback, "Play or faster", "L",
     "Plays; when it plays already, doubles the speed.", Call<&Commands::PlayForward>},
    {StepFrameBack, Group::Playback, "Previous frame", ",", "One frame back.",
     Call<&Commands::Step, SeekRequest::StepFrameBack>},
    {StepFrameForward, Group::Playback, "Next frame", ".", "One frame on.",
     Call<&Commands::Step, SeekRequest::StepFrameForward>},
    {BackOneSecond, Group::Playback, "Back 1 s", "Left", "One second back.",
     Call<&Commands::SeekBy, -1>},
    {ForwardOneSecond, Group::Playback, "Forward 1 s", "Right", "One second on.",
     Call<&Commands::SeekBy, 1>},
    {BackTenSeconds, Group::Playback, "Back 10 s", "Ctrl+Left", "Ten seconds back.",
     Call<&Commands::SeekBy, -10>},
    {ForwardTenSeconds, Group::Playback, "Forward 10 s", "Ctrl+Right", "Ten seconds on.",
     Call<&Commands::SeekBy, 10>},
    {GoToStart, Group::Playback, "To the start", "Home", "To the first frame.",
     Call<&Commands::Seek, SeekRequest::SeekToStart>},
    {GoToEnd, Group::Playback, "To the end", "End", "To the last frame.",
     Call<&Commands::Seek, SeekRequest::SeekToEnd>},
    {GoToTime, Group::Playback, "Go to time…", "G", "Goes to a time that you type, such as 1:15.5.",
     Call<&Commands::GoToTimeRequested>},
    {SpeedDown, Group::Playback, "Slower", "[", "Plays slower.",
     [](Commands& Target, Session&) { Target.MultiplySpeed(0.5); }},
    {SpeedUp, Group::Playback, "Faster", "]", "Plays faster.", Call<&Commands::MultiplySpeed, 2>},
    {SpeedNormal, Group::Playback, "Normal speed", "Backspace", "Plays at normal speed.",
     Call<&Commands::SetSpeed, 1>},
    {VolumeDown, Group::Playback, "Quieter", "Ctrl+Down", "Turns the sound down.",
     [](Commands&, Session& Running) { Running.SetVolume(Running.Volume() - VolumeStepPercent); }},
    {VolumeUp, Group::Playback, "Louder", "Ctrl+Up", "Turns the sound up.",
     [](Commands&, Session& Running) { Running.SetVolume(Running.Volume() + VolumeStepPercent); }},
    {Mute, Group::Playback, "Mute", "Ctrl+M", "Turns the sound off and on.",
     [](Commands&, Session& Running) { Running.SetMuted(!Running.IsMuted()); }},
    {PreviousMarker, Group::Playback, "Previous marker", "Shift+PgUp",
     "To the marker before the playhead.", Call<&Commands::GoToMarkerBeside, -1>},
    {NextMarker, Group::Playback, "Next marker", "Shift+PgDown",
     "To the marker behind the playhead.", Call<&Commands::GoToMarkerBeside, 1>},

    {SetIn, Group::Marking, "Set In", "I",
     "Makes the frame that is shown the first one of the range.",
     [](Commands& Target, Session&) { Target.Mark(&VideoDocument::MarkIn, "In"); }},
    {SetOut, Group::Marking, "Set Out", "O",
     "Makes the frame that is shown the last one of the range.",
     [](Commands& Target, Session&) { Target.Mark(&VideoDocument::MarkOut, "Out"); }},
    {ClearRange, Group::Marking, "Clear range", "Alt+K",
     "Removes In and Out from the timeline; saved clips stay.", Call<&Commands::ClearRange>},
    {AddMarker, Group::Marking, "Add marker", "M", "Adds a marker at the playhead.",
     Call<&Commands::ActOnPanel, &Panel::AddCurrentMarker>},

    {SaveClip, Group::Clips, "Save clip", "+ Ctrl+I",
     "Saves the range from In to Out as a clip, under the name in the name field.",
     Call<&Commands::ActOnPanel, &Panel::SaveCurrentRangeAsClip>},
    {RenameClip, Group::Clips, "Rename", "Ctrl+R",
     "Gives the selected clip the name in the name field.",
     Call<&Commands::ActOnPanel, &Panel::RenameSelectedClip>},
    {DeleteClip, Group::Clips, "Delete", "Delete",
     "Takes the selected clip off the list; exported files stay.",
     Call<&Commands::ActOnPanel, &Panel::DeleteSelectedClip>},
    {LoadClip, Group::Clips, "Load", "Ctrl+Return Ctrl+Enter",
     "Opens the selected clip's video and puts its range on the timeline.",
     Call<&Commands::SeekOnPanel, &Panel::LoadSelectedClip, ClipEnd::First>},
    {JumpToIn, Group::Clips, "To In", "Shift+I Shift+Left",
     "Goes to the first frame of the selected clip.",
     Call<&Commands::SeekOnPanel, &Panel::JumpToSelectedClip, ClipEnd::First>},
    {JumpToOut, Group::Clips, "To Out", "Shift+O Shift+Right",
     "Goes to the last frame of the selected clip.",
     Call<&Commands::SeekOnPanel, &Panel::JumpOutSelectedClip, ClipEnd::Last>},
    {ExportClip, Group::Clips, "Export", "E Ctrl+E",
     "Writes the selected clips to files, one after the other.", Call<&Commands::ExportClip>},
    {ExportAll, Group::Clips, "Export all", "Shift+E",
     "Writes each clip whose file is missing or older than the clip.",
     [](Commands& Target, Session& Running)
     { Target.ActOnPanel([&](Panel&) { Running.Exports().ExportAll(); }); }},
    {ExportAgain, Group::Clips, "Export again", "", "Writes the clip to another file.",
     Call<&Commands::ExportAgain>},
    {RemoveFromQueue, Group::Clips, "Remove from queue", "",
     "Takes back the waiting exports of the selected clips.",
     [](Commands& Target, Session& Running)
     { Running.Exports().RemoveFromQueue(Target.SelectedRows()); }},
    {StopExport, Group::Clips, "Stop export", "Ctrl+Shift+E",
     "Stops the running export and removes its unfinished file.",
     [](Commands&, Session& Running) { Running.Exports().Stop(); }},
    {StopAllExports, Group::Clips, "Stop all exports", "Ctrl+Alt+E",
     "Stops the running export and takes back all that wait.",
     [](Commands&, Session& Running) { Running.Exports().StopAll(); }},
    {OpenClipFile, Group::Clips, "Open file", "", "Opens the clip's exported file.",
     Call<&Commands::UseClipFile, &OpenWithDesktop>},
    {OpenClipFolder, Group::Clips, "Open folder", "",
     "Opens the folder with the clip's exported file.",
     Call<&Commands::UseClipFile, &OpenFolderOf>},
    {CopyClipPath, Group::Clips, "Copy path", "", "Copies the path of the clip's exported file.",
     Call<&Commands::UseClipFile, &CopyPath>},
    {SelectPreviousClip, Group::Clips, "Previous clip", "Alt+Up", "Selects the clip above.",
     Call<&Commands::SelectClipBeside, -1>},
    {SelectNextClip, Group::Clips, "Next clip", "Alt+Down", "Selects the clip below.",
     Call<&Commands::SelectClipBeside, 1>},
    {SelectAllClips, Group::Clips, "Select all clips", "Ctrl+A", "Selects all clips, for Export.",
     Call<&Commands::AllClipsRequested>},
    {EditName, Group::Clips, "Edit name", "F2", "Goes to the name field.",
     Call<&Commands::NameEditRequested>},

    {ZoomIn, Group::View, "Zoom in", "Ctrl++ Ctrl+=", "Shows less time, larger.",
     Call<&Commands::ZoomRequested, 1>},
    {ZoomOut, Group::View, "Zoom out", "Ctrl+-", "Shows more time, smaller.",
     Call<&Commands::ZoomRequested, -1>},
    {ZoomToFit, Group::View, "Whole video", "Shift+Z", "Shows the whole time.",
     Call<&Commands::ZoomRequested, 0>},
    {PanBack, Group::View, "Earlier", "PgUp", "Moves the zoomed timeline a page back.",
     Call<&Commands::PanRequested, -1>},
    {PanForward, Group::View, "Later", "PgDown", "Moves the zoomed timeline a page on.",
     Call<&Commands::PanRequested, 1>},
    {TextLarger, Group::View, "Larger text", "Ctrl+]", "Makes all text larger.",
     Call<&Commands::TextLarger>},
    {TextSmaller, Group::View, "Smaller text", "Ctrl+[", "Makes all text smaller.",
     Call<&Commands::TextSmaller>},
    {TextNormal, Group::View, "Normal text", "Ctrl+0", "Text at 100 %.",
     Call<&Commands::SetTextScale, 1>},
    {FullScreen, Group::View, "Full screen", "F11", "Toggles full screen; Escape leaves it.",
     Call<&Commands::FullScreenRequested>},

    {ShowKeys, Group::Help, "All keys", "F1 ?", "Shows all keys.", Call<&Commands::KeysRequested>},
    {About, Group::Help, "About Movane", "", "Says which version this is.",
     Call<&Commands::AboutRequested>},
});

constexpr bool IsInOrderOfIds()
{
    for (std::size_t i = 0; i < Table.size(); ++i)
    {
        if (static_cast<std::size_t>(Table[i].Id) != i)
        {
            return false;
        }
    }
    return static_cast<std::size_t>(About) + 1 == Table.size();
}
static_assert(IsInOrderOfIds());

constexpr std::array GroupNames = {"File", "Playback", "Marking", "Clips", "View", "Help"};
} // namespace

std::span<const ActionInfo> ActionTable()
{
    return Table;
}

const ActionInfo& InfoOf(ActionId Id)
{
    return Table.at(static_cast<std::size_t>(Id));
}

QString GroupName(ActionGroup Group)
{
    return QString::fromLatin1(GroupNames.at(static_cast<std::size_t>(Group)));
}

QList<QKeySequence> KeysOf(const ActionInfo& Info)
{
    QList<QKeySequence> keys;
    for (const QString& key : QString::fromLatin1(Info.Keys).split(' ', Qt::SkipEmptyParts))
    {
        keys.append(QKeySequence::fromString(key, QKeySequence::PortableText));
    }
    return keys;
}

QString KeysPage()
{
    QString page =
        "# Keys\n\nKeys without Ctrl or Alt act while no text field has the focus; Escape "
        "or Enter leaves a field.\n";
    const ActionInfo* previous = nullptr;
    for (const ActionInfo& info : Table)
    {
        if (previous == nullptr || previous->Group != info.Group)
        {
            page +=
                "\n## " + GroupName(info.Group) + "\n\n| Keys | Action | |\n| --- | --- | --- |\n";
        }
        QStringList keys;
        for (const QString& key : QString::fromLatin1(info.Keys).split(' ', Qt::SkipEmptyParts))
        {
            keys.append("`" + key + "`");
        }
        page += "| " + keys.join(" ") + " | " + QString::fromUtf8(info.Name) + " | " +
                QString::fromUtf8(info.Tooltip) + " |\n";
        previous = &info;
    }
    return page;
}
