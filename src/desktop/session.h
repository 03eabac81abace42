// The running desktop application without its windows: the application that the command line has, too,
// with documents, the exports that the windows show, and frames of the toolkit's event loop.
//
// The host's records are the truth. A frame brings them up to date (player events, callbacks of jobs,
// a finished export, the live labels) and then lets the widgets copy what differs. Frames run when
// something asks for one and never by a clock, so an idle application sleeps. UI thread only, but for
// RequestFrame.

#pragma once

#include "app/application.h"
#include "desktop/clipexports.h"

#include <QObject>
#include <QSocketNotifier>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class MpvVideo;
class VideoDocument;

class Session : public QObject
{
    Q_OBJECT

public:
    /// Makes a player for a new video window, or null with OutError set to one sentence.
    using PlayerFactory = std::function<std::unique_ptr<MpvVideo>(std::string& OutError)>;

    explicit Session(PlayerFactory MakePlayer);

    MvClipControlPanel& Panel() { return pModel->Panel(); }
    ClipPanelRecords& Records() { return pModel->Records(); }
    ClipExports& Exports() { return PanelExports; }

    /// Adds a document with a player, the first one under the ID that the panel falls back to. Null sets
    /// OutError.
    VideoDocument* AddDocument(std::string& OutError);
    /// Takes a document out: closing, hidden, not open, then gone. Its widgets must have let go of it.
    void RemoveDocument(unsigned long WindowID);
    /// Makes a document the one that the panel acts on.
    void FocusDocument(unsigned long WindowID);
    /// The document that the panel acts on, null while there is none.
    VideoDocument* TargetDocument() const;
    std::vector<VideoDocument*> Documents() const;

    // -- The sound of all documents.
    void SetVolume(double Percent); ///< kept between 0 and 100
    double Volume() const { return VolumePercent; }
    void SetMuted(bool bNewMuted);
    bool IsMuted() const { return bMuted; }

    /// Asks for a frame; many requests before it make one. Any thread.
    void RequestFrame();
    /// Runs a frame at once.
    void Frame();

Q_SIGNALS:
    /// The records are up to date: widgets copy what differs.
    void FrameDone();
    void NotificationQueued(const Movane::Notification& Shown);
    void DocumentRemoved(unsigned long WindowID);

private:
    void PumpPlayers();

    PlayerFactory NewPlayer;
    std::atomic<bool> bFrameRequested{false}; ///< a frame is on its way; any thread
    std::unique_ptr<Application> pModel;
    ClipExports PanelExports;
    QSocketNotifier ExportNews;
    unsigned long NextWindowID = Movane::FirstVideoWindowID;
    double VolumePercent = 100.0;
    bool bMuted = false;
    bool bPumpingPlayers = false;
};
