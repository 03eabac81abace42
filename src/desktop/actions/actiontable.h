// Everything that the user can do, as one piece of data: name, keys, tooltip and what it does.
//
// Menus, buttons, shortcuts and the keys page of the manual are all made from this table.

#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>

#include <span>

class Commands;
class Session;

enum class ActionId
{
    // File
    OpenFile,
    NewVideoWindow,
    CloseWindow,
    Quit,
    // Playback
    PlayPause,
    PlayBackward,
    PlayStop,
    PlayForward,
    StepFrameBack,
    StepFrameForward,
    BackOneSecond,
    ForwardOneSecond,
    BackTenSeconds,
    ForwardTenSeconds,
    GoToStart,
    GoToEnd,
    GoToTime,
    SpeedDown,
    SpeedUp,
    SpeedNormal,
    VolumeDown,
    VolumeUp,
    Mute,
    PreviousMarker,
    NextMarker,
    // Marking
    SetIn,
    SetOut,
    ClearRange,
    AddMarker,
    // Clips
    SaveClip,
    RenameClip,
    DeleteClip,
    LoadClip,
    JumpToIn,
    JumpToOut,
    ExportClip,
    ExportAll,
    ExportAgain,
    RemoveFromQueue,
    StopExport,
    StopAllExports,
    OpenClipFile,
    OpenClipFolder,
    CopyClipPath,
    SelectPreviousClip,
    SelectNextClip,
    SelectAllClips,
    EditName,
    // View
    ZoomIn,
    ZoomOut,
    ZoomToFit,
    PanBack,
    PanForward,
    TextLarger,
    TextSmaller,
    TextNormal,
    FullScreen,
    // Help
    ShowKeys,
    About,
};

enum class ActionGroup
{
    File,
    Playback,
    Marking,
    Clips,
    View,
    Help,
};

struct ActionInfo
{
    ActionId Id;
    ActionGroup Group;
    const char* Name;    ///< as on a menu or a button
    const char* Keys;    ///< portable key sequences separated by one blank; empty for none
    const char* Tooltip; ///< one sentence, without the keys
    void (*Do)(Commands& Target, Session& Running);
};

/// The table, one entry an ActionId, in the order of ActionId.
std::span<const ActionInfo> ActionTable();

/// The entry of an action.
const ActionInfo& InfoOf(ActionId Id);

/// The action's key sequences, the first one being what menus and tooltips show.
QList<QKeySequence> KeysOf(const ActionInfo& Info);

/// "File", "Playback", …
QString GroupName(ActionGroup Group);

/// The keys page of the manual, in Markdown: a table for each group.
QString KeysPage();
