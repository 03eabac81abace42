// The picture of one video player as a widget, behind one small interface.
//
// There are two: one that draws with OpenGL and one that draws in memory, for machines where OpenGL
// would only be imitated by the processor. Both take the player's frames as it announces them, also
// while they are hidden, and draw by no clock. The player letterboxes the picture. UI thread only.
//
// A file must not be opened before the surface is ready: the player would show no picture for it.

#pragma once

#include "host/signal.h"

#include <QString>

#include <memory>
#include <string_view>

class MpvVideo;
class QWidget;

enum class SurfaceKind
{
    Automatic, ///< OpenGl where a graphics processor does the work, Software elsewhere
    OpenGl,
    Software,
};

struct SurfaceState
{
    bool bHasFile = false; ///< without a file the surface says how to open one
    QString Message;       ///< one sentence over the picture, an error for example; empty for none

    bool operator==(const SurfaceState&) const = default;
};

class VideoSurface
{
public:
    VideoSurface() = default;
    virtual ~VideoSurface() = default;
    VideoSurface(const VideoSurface&) = delete;
    VideoSurface& operator=(const VideoSurface&) = delete;

    /// The widget to place, which is owned by the surface.
    virtual QWidget* Widget() = 0;
    /// OpenGl or Software.
    virtual SurfaceKind Kind() const = 0;
    virtual void SetState(const SurfaceState& NewState) = 0;

    /// Whether a file may be opened now. Software is ready when it is made, OpenGL some time after its
    /// window is shown; where that fails it says so in the picture's place and is never ready.
    virtual bool IsReady() const = 0;
    /// Emitted from the event loop when IsReady becomes true after the surface was made.
    Signal<> Ready;

    /// Lets go of the player for good, whatever it plays; the widget stays, black. Takes up to 0.2 s.
    /// Without it the destructor does the same. Either must happen before the player is destroyed.
    virtual void Detach() = 0;
};

/// Makes a surface for a player whose video output is "libmpv". It must be destroyed before Player and
/// before Parent. A player has at most one surface, from its first file on.
///
/// OpenGl becomes Software where no OpenGL context can be made. To find the kind on its own costs up
/// to 0.1 s on a machine with a graphics processor and next to nothing on others.
std::unique_ptr<VideoSurface>
MakeVideoSurface(SurfaceKind Wanted, MpvVideo& Player, QWidget* pParent);

/// Whether OpenGL of this renderer name is the processor's work.
bool IsSoftwareRenderer(std::string_view RendererName);
