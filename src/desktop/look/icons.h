// The few pictures on our buttons, drawn from paths in the theme's colours: sharp at every size.
// UI thread only.

#pragma once

#include <QIcon>

enum class IconKind
{
    Play,
    Pause,
    FrameBack,
    FrameForward,
    SoundOn,
    SoundOff,
};

/// The icon; a disabled button shows it dimmed.
QIcon MakeIcon(IconKind Kind);

/// The program's own icon, the one that is installed for the desktop.
QIcon ProgramIcon();
