#include "desktop/actions/actiontable.h"

#include "desktop/actions/commands.h"

#include <QKeySequence>
#include <QStringList>

#include <array>
#include <cassert>
#include <cstddef>

namespace
{
using enum ActionId;
using Group = ActionGroup;

constexpr auto Table = std::to_array<ActionInfo>({
    {OpenFile, Group::File, "Open…", "Ctrl+O", "Opens a video in this window.",
     &Commands::OpenFile},
    {NewVideoWindow, Group::File, "New video window", "Ctrl+N",
     "Opens another window with a video and a timeline of its own.", &Commands::NewVideoWindow},
    {CloseWindow, Group::File, "Close window", "Ctrl+W", "Closes this window.",
     &Commands::CloseWindow},
    {Quit, Group::File, "Quit", "Ctrl+Q", "Ends the program.", &Commands::Quit},

    {PlayPause, Group::Playback, "Play or pause", "Space", "Plays or pauses.",
     &Commands::PlayPause},
    {PlayBackward, Group::Playback, "Play slower or back", "J",
     "Halves the speed; from normal speed on plays backward.", &Commands::PlayBackward},
    {PlayStop, Group::Playback, "Stop", "K", "Pauses at normal speed.", &Commands::PlayStop},
    {PlayForward, Group::Playback, "Play or faster", "L",
     "Plays; when it plays already, doubles the speed.", &Commands::PlayForward},
    {StepFrameBack, Group::Playback, "Previous frame", ",", "One frame back.", &Commands::StepBack},
    {StepFrameForward, Group::Playback, "Next frame", ".", "One frame on.", &Commands::StepForward},
    {BackOneSecond, Group::Playback, "Back 1 s", "Left", "One second back.",
     &Commands::BackOneSecond},
    {ForwardOneSecond, Group::Playback, "Forward 1 s", "Right", "One second on.",
     &Commands::ForwardOneSecond},
    {BackTenSeconds, Group::Playback, "Back 10 s", "Ctrl+Left", "Ten seconds back.",
     &Commands::BackTenSeconds},
    {ForwardTenSeconds, Group::Playback, "Forward 10 s", "Ctrl+Right", "Ten seconds on.",
     &Commands::ForwardTenSeconds},
    {GoToStart, Group::Playback, "To the start", "Home", "To the first frame.",
     &Commands::GoToStart},
    {GoToEnd, Group::Playback, "To the end", "End", "To the last frame.", &Commands::GoToEnd},
    {GoToTime, Group::Playback, "Go to time…", "G", "Goes to a time that you type, such as 1:15.5.",
     &Commands::GoToTime},
    {SpeedDown, Group::Playback, "Slower", "[", "Plays slower.", &Commands::SpeedDown},
    {SpeedUp, Group::Playback, "Faster", "]", "Plays faster.", &Commands::SpeedUp},
    {SpeedNormal, Group::Playback, "Normal speed", "Backspace", "Plays at normal speed.",
     &Commands::SpeedNormal},
    {VolumeDown, Group::Playback, "Quieter", "Ctrl+Down", "Turns the sound down.",
     &Commands::VolumeDown},
    {VolumeUp, Group::Playback, "Louder", "Ctrl+Up", "Turns the sound up.", &Commands::VolumeUp},
    {Mute, Group::Playback, "Mute", "Ctrl+M", "Turns the sound off and on.", &Commands::ToggleMute},
    {PreviousMarker, Group::Playback, "Previous marker", "Shift+PgUp",
     "To the marker before the playhead.", &Commands::PreviousMarker},
    {NextMarker, Group::Playback, "Next marker", "Shift+PgDown",
     "To the marker behind the playhead.", &Commands::NextMarker},

    {SetIn, Group::Marking, "Set In", "I",
     "Makes the frame that is shown the first one of the range.", &Commands::SetIn},
    {SetOut, Group::Marking, "Set Out", "O",
     "Makes the frame that is shown the last one of the range.", &Commands::SetOut},
    {ClearRange, Group::Marking, "Clear range", "Alt+K",
     "Removes In and Out from the timeline; saved clips stay.", &Commands::ClearRange},
    {AddMarker, Group::Marking, "Add marker", "M", "Adds a marker at the playhead.",
     &Commands::AddMarker},

    {SaveClip, Group::Clips, "Save clip", "+ Ctrl+I",
     "Saves the range from In to Out as a clip, under the name in the name field.",
     &Commands::SaveClip},
    {RenameClip, Group::Clips, "Rename", "Ctrl+R",
     "Gives the selected clip the name in the name field.", &Commands::RenameClip},
    {DeleteClip, Group::Clips, "Delete", "Delete",
     "Takes the selected clip off the list; exported files stay.", &Commands::DeleteClip},
    {LoadClip, Group::Clips, "Load", "Ctrl+Return Ctrl+Enter",
     "Opens the selected clip's video and puts its range on the timeline.", &Commands::LoadClip},
    {JumpToIn, Group::Clips, "To In", "Shift+I Shift+Left",
     "Goes to the first frame of the selected clip.", &Commands::JumpToIn},
    {JumpToOut, Group::Clips, "To Out", "Shift+O Shift+Right",
     "Goes to the last frame of the selected clip.", &Commands::JumpToOut},
    {ExportClip, Group::Clips, "Export", "E Ctrl+E",
     "Writes the selected clips to files, one after the other.", &Commands::ExportClip},
    {ExportAll, Group::Clips, "Export all", "Shift+E",
     "Writes each clip whose file is missing or older than the clip.", &Commands::ExportAll},
    {ExportAgain, Group::Clips, "Export again", "", "Writes the clip to another file.",
     &Commands::ExportAgain},
    {RemoveFromQueue, Group::Clips, "Remove from queue", "",
     "Takes back the waiting exports of the selected clips.", &Commands::RemoveFromQueue},
    {StopExport, Group::Clips, "Stop export", "Ctrl+Shift+E",
     "Stops the running export and removes its unfinished file.", &Commands::StopExport},
    {StopAllExports, Group::Clips, "Stop all exports", "Ctrl+Alt+E",
     "Stops the running export and takes back all that wait.", &Commands::StopAllExports},
    {OpenClipFile, Group::Clips, "Open file", "", "Opens the clip's exported file.",
     &Commands::OpenClipFile},
    {OpenClipFolder, Group::Clips, "Open folder", "",
     "Opens the folder with the clip's exported file.", &Commands::OpenClipFolder},
    {CopyClipPath, Group::Clips, "Copy path", "", "Copies the path of the clip's exported file.",
     &Commands::CopyClipPath},
    {SelectPreviousClip, Group::Clips, "Previous clip", "Alt+Up", "Selects the clip above.",
     &Commands::SelectPreviousClip},
    {SelectNextClip, Group::Clips, "Next clip", "Alt+Down", "Selects the clip below.",
     &Commands::SelectNextClip},
    {SelectAllClips, Group::Clips, "Select all clips", "Ctrl+A", "Selects all clips, for Export.",
     &Commands::SelectAllClips},
    {EditName, Group::Clips, "Edit name", "F2", "Goes to the name field.", &Commands::EditName},

    {ZoomIn, Group::View, "Zoom in", "Ctrl++ Ctrl+=", "Shows less time, larger.",
     &Commands::ZoomIn},
    {ZoomOut, Group::View, "Zoom out", "Ctrl+-", "Shows more time, smaller.", &Commands::ZoomOut},
    {ZoomToFit, Group::View, "Whole video", "Shift+Z", "Shows the whole time.",
     &Commands::ZoomToFit},
    {PanBack, Group::View, "Earlier", "PgUp", "Moves the zoomed timeline a page back.",
     &Commands::PanBack},
    {PanForward, Group::View, "Later", "PgDown", "Moves the zoomed timeline a page on.",
     &Commands::PanForward},
    {TextLarger, Group::View, "Larger text", "Ctrl+]", "Makes all text larger.",
     &Commands::TextLarger},
    {TextSmaller, Group::View, "Smaller text", "Ctrl+[", "Makes all text smaller.",
     &Commands::TextSmaller},
    {TextNormal, Group::View, "Normal text", "Ctrl+0", "Text at 100 %.", &Commands::TextNormal},
    {FullScreen, Group::View, "Full screen", "F11", "Toggles full screen; Escape leaves it.",
     &Commands::FullScreen},

    {ShowKeys, Group::Help, "All keys", "F1 ?", "Shows all keys.", &Commands::ShowKeys},
    {About, Group::Help, "About Movane", "", "Says which version this is.", &Commands::About},
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
