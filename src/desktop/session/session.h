// The application for windows: documents with players, exports by rows, frames in the toolkit's event loop,
// and the application's signals as the toolkit's.
//
// The host's records are the truth. A frame brings them up to date (the players' news, then all that the
// application has) and then lets the widgets copy what differs. Frames run when something asks for one
// and never by a clock, so an idle application sleeps. UI thread only, but for RequestFrame.

#pragma once

#include "app/application.h"
#include "desktop/export/clipexports.h"

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

    /// Builds the application. StopReceived tells whether the process was told to end from outside: that
    /// may have ended the encoder, too, and counts like a stop of all exports.
    explicit Session(
        PlayerFactory MakePlayer,
        std::unique_ptr<ExportSocket> pSocket = nullptr,
        std::function<bool()> StopReceived = [] { return false; });
    /// Ends a running export, then takes everything down.
    ~Session() override;

    MvClipControlPanel& Panel() { return Program.Panel(); }
    ClipPanelRecords& Records() { return Program.Records(); }
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
    std::function<bool()> IsStopReceived;
    unsigned long NextWindowID = Movane::FirstVideoWindowID;
    double VolumePercent = 100.0;
    bool bMuted = false;
    bool bPumpingPlayers = false;
    std::atomic<bool> bFrameRequested{false}; ///< a frame is on its way; any thread
    Application Program;                      // behind all that its slots use
    ClipExports PanelExports;
    QSocketNotifier ExportNews;
};
