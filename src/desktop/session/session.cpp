#include "desktop/session/session.h"

#include "desktop/look/qtfont.h"
#include "desktop/session/videodocument.h"
#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"

#include <QMetaObject>

#include <algorithm>
#include <utility>

Session::Session(PlayerFactory MakePlayer,
                 std::unique_ptr<ExportSocket> pSocket,
                 std::function<bool()> StopReceived)
    : NewPlayer(std::move(MakePlayer))
    , IsStopReceived(std::move(StopReceived))
    , Program({.pFont = std::make_unique<QtFont>(),
               .pSocket = std::move(pSocket),
               .RequestFrame = [this] { RequestFrame(); }})
    , PanelExports(Program.Panel(), Program.Exports())
    , ExportNews(Program.Exports().Descriptor(), QSocketNotifier::Read)
{
    Program.Parts().pMovane->NotificationQueued.connect([this](const Movane::Notification& Shown)
                                                        { Q_EMIT NotificationQueued(Shown); });
    Records().Table.SelectionChanged.connect([this] { RequestFrame(); });
    connect(&ExportNews, &QSocketNotifier::activated, this, &Session::Frame);
}

Session::~Session() = default;

VideoDocument* Session::AddDocument(std::string& OutError)
{
    std::unique_ptr<MpvVideo> player = NewPlayer(OutError);
    if (player == nullptr)
    {
        return nullptr;
    }
    player->SetWakeUp([this] { RequestFrame(); });
    player->SetVolume(VolumePercent);
    player->SetMuted(bMuted);
    const unsigned long windowID = NextWindowID++;
    auto owned = std::make_unique<VideoDocument>(windowID, std::move(player));
    VideoDocument* const document = owned.get();
    document->Timeline().Changed.connect(
        [this]
        {
            // What the players' news changes is shown by the frame that is running already.
            if (!bPumpingPlayers)
            {
                RequestFrame();
            }
        });
    Program.Parts().pMovane->AddWindow(windowID, std::move(owned));
    return document;
}

void Session::RemoveDocument(unsigned long WindowID)
{
    auto* const document = Program.Parts().pMovane->GetWindowAs<VideoDocument>(WindowID);
    if (document == nullptr)
    {
        return;
    }
    document->bClosing = true;
    document->bFocused = false;
    document->bVisible = false;
    document->bOpen = false;
    Q_EMIT DocumentRemoved(WindowID);
    Program.Parts().pMovane->RemoveWindow(WindowID);
    RequestFrame();
}

void Session::FocusDocument(unsigned long WindowID)
{
    for (VideoDocument* const document : Documents())
    {
        document->bFocused = document->WindowID() == WindowID;
    }
    RequestFrame();
}

VideoDocument* Session::TargetDocument() const
{
    return dynamic_cast<VideoDocument*>(Program.Panel().ResolveTargetVideoWindow());
}

std::vector<VideoDocument*> Session::Documents() const
{
    std::vector<VideoDocument*> documents;
    for (const unsigned long windowID : Program.Parts().pMovane->WindowIDs)
    {
        if (auto* const document = Program.Parts().pMovane->GetWindowAs<VideoDocument>(windowID))
        {
            documents.push_back(document);
        }
    }
    return documents;
}

void Session::SetVolume(double Percent)
{
    VolumePercent = std::clamp(Percent, 0.0, 100.0);
    for (VideoDocument* const document : Documents())
    {
        document->Player().SetVolume(VolumePercent);
    }
    RequestFrame();
}

void Session::SetMuted(bool bNewMuted)
{
    bMuted = bNewMuted;
    for (VideoDocument* const document : Documents())
    {
        document->Player().SetMuted(bMuted);
    }
    RequestFrame();
}

void Session::RequestFrame()
{
    if (!bFrameRequested.exchange(true))
    {
        QMetaObject::invokeMethod(this, &Session::Frame, Qt::QueuedConnection);
    }
}

void Session::Frame()
{
    // First, so that what another thread reports from now on gets a frame of its own.
    bFrameRequested = false;
    PumpPlayers();
    if (IsStopReceived())
    {
        PanelExports.StopAll();
    }
    Program.Frame();
    Q_EMIT FrameDone();
}

void Session::PumpPlayers()
{
    bPumpingPlayers = true;
    for (VideoDocument* const document : Documents())
    {
        document->Player().PumpEvents();
        document->Backward().Continue();
        const double timeSec = document->Player().CurrentTimeSec();
        if (timeSec != document->Timeline().DisplayedTimeSec())
        {
            document->Timeline().SetDisplayedTimeSec(timeSec);
        }
    }
    bPumpingPlayers = false;
}
