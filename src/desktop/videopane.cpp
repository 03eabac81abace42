#include "desktop/videopane.h"

#include "app/clippanelrecords.h"
#include "desktop/actions/actionset.h"
#include "desktop/actions/commands.h"
#include "desktop/look/pathtext.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "desktop/session/videodocument.h"
#include "desktop/timeline/timelinewidget.h"
#include "desktop/video/transportbar.h"
#include "host/mvtimecontrol.h"
#include "media/frametimes.h"
#include "player/mpvvideo.h"

#include <QMenu>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

VideoPane::VideoPane(Session& NewRunning,
                     Commands& Target,
                     const ActionSet& Actions,
                     VideoDocument& NewDocument,
                     SurfaceKind Kind,
                     QWidget* pParent)
    : QWidget(pParent)
    , Running(NewRunning)
    , Document(NewDocument)
    , Surface(MakeVideoSurface(Kind, NewDocument.Player(), this))
    , pTransport(new TransportBar({.pPlayPause = Actions.Get(ActionId::PlayPause),
                                   .pStepFrameBack = Actions.Get(ActionId::StepFrameBack),
                                   .pStepFrameForward = Actions.Get(ActionId::StepFrameForward),
                                   .pMute = Actions.Get(ActionId::Mute)},
                                  this))
    , pTimeline(new TimelineWidget(this))
{
    setFocusPolicy(Qt::ClickFocus);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Theme::ScaledPx(4));
    layout->addWidget(Surface->Widget(), 1);
    layout->addWidget(pTransport);
    layout->addWidget(pTimeline);
    setFocusProxy(pTimeline);

    connect(pTransport, &TransportBar::VolumeEdited, &Running, &Session::SetVolume);
    connect(pTransport, &TransportBar::SpeedPicked, &Target, &Commands::SetSpeed);
    connect(pTimeline, &TimelineWidget::SeekRequested, &Target, &Commands::SeekTo);
    connect(pTimeline, &TimelineWidget::ClipPicked, &Target, &Commands::SelectClip);
    connect(pTimeline, &TimelineWidget::ClipOpened, &Target,
            [&Target](int Row)
            {
                Target.SelectClip(Row);
                Target.Run(ActionId::LoadClip);
            });
    connect(pTimeline, &TimelineWidget::RangeEdited, this,
            [this](double StartSec, double EndSec)
            { Document.Timeline().SetRangeSelection(StartSec, EndSec, false); });
    pTimeline->SetDragRule([this](const TimelineRange& Before, RangeEnd End, double HandSec)
                           { return Document.DraggedRange(Before, End, HandSec); });
    connect(pTimeline, &TimelineWidget::MarkerMenuRequested, this, &VideoPane::ShowMarkerMenu);
    connect(&Running, &Session::FrameDone, this, &VideoPane::SyncFromHost);
    Surface->Ready.connect(
        [this]
        {
            if (!WaitingPath.isEmpty())
            {
                OpenNow(std::exchange(WaitingPath, {}));
            }
        });
    SyncFromHost();
}

VideoPane::~VideoPane()
{
    Surface->Detach();
}

void VideoPane::Open(const QString& Path)
{
    if (Surface->IsReady())
    {
        OpenNow(Path);
    }
    else
    {
        WaitingPath = Path;
    }
}

void VideoPane::OpenNow(const QString& Path)
{
    Q_EMIT FileOpening(Path);
    const bool bLoaded = Document.LoadVideoFile(PathBytes(Path), false);
    OpenError = bLoaded ? QString() : QString::fromStdString(Document.LoadError());
    if (bLoaded)
    {
        pTimeline->ZoomToFit();
    }
    Running.RequestFrame();
    Q_EMIT FileOpened(Path, bLoaded);
}

void VideoPane::ShowMarkerMenu(int Index, QPoint GlobalPoint)
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // By its time: while the menu is open the markers may change.
    const double sec = Document.Timeline().Markers.at(static_cast<std::size_t>(Index)).TimeSec;
    connect(menu->addAction("Remove marker"), &QAction::triggered, this,
            [this, sec] { Document.Timeline().RemoveMarkerAt(sec); });
    menu->popup(GlobalPoint);
}

// The picture keeps most of the height, also with large text.
void VideoPane::resizeEvent(QResizeEvent* pEvent)
{
    QWidget::resizeEvent(pEvent);
    pTimeline->setMaximumHeight(std::max(height() / 3, pTimeline->minimumSizeHint().height()));
}

void VideoPane::SyncFromHost()
{
    // What could not be opened is said in the picture's place only where there is no picture.
    Surface->SetState({Document.HasFile(), Document.HasFile() ? QString() : OpenError});
    pTransport->SetState(MakeTransportState());
    pTimeline->SetState(MakeTimelineState());
}

TransportState VideoPane::MakeTransportState()
{
    const MvTimeControl& timeline = Document.Timeline();
    TransportState state{.bHasFile = Document.HasFile(),
                         .bPlaying = Document.IsPlaying(),
                         .TimeSec = timeline.DisplayedTimeSec(),
                         .DurationSec = timeline.DurationSec(),
                         .Speed = Document.Speed(),
                         .VolumePercent = Running.Volume(),
                         .bMuted = Running.IsMuted()};
    if (FrameTimes* const pFrames = Document.Player().Frames();
        state.bHasFile && pFrames != nullptr)
    {
        state.Frame = pFrames->NumberAt(std::llround(state.TimeSec * 1e6));
        state.FrameCount = pFrames->Count();
        if (timeline.HasRangeSelection())
        {
            state.RangeFrames =
                pFrames->CountOfClip(timeline.RangeStartSec(), timeline.RangeEndSec());
        }
    }
    return state;
}

TimelineState VideoPane::MakeTimelineState()
{
    const MvTimeControl& timeline = Document.Timeline();
    TimelineState state;
    if (!Document.HasFile())
    {
        return state;
    }
    state.DurationSec = timeline.DurationSec();
    state.PlayheadSec = timeline.DisplayedTimeSec();
    state.FramesPerSecond = Document.Player().FramesPerSecond();
    state.bHasRange = timeline.HasRangeSelection();
    state.RangeStartSec = timeline.RangeStartSec();
    state.RangeEndSec = timeline.RangeEndSec();
    state.PendingInSec = Document.PendingInSec();
    state.PendingOutSec = Document.PendingOutSec();
    TakeMarkers();
    TakeClips();
    state.Markers = Markers;
    state.Clips = Clips;
    state.SelectedRow = Running.Panel().SelectedClipIndex();
    return state;
}

void VideoPane::TakeMarkers()
{
    const MvTimeControl& timeline = Document.Timeline();
    if (std::exchange(MarkersRevision, timeline.MarkersRevision()) == timeline.MarkersRevision())
    {
        return;
    }
    Markers.clear();
    for (const MvTimeControl::Marker& marker : timeline.Markers)
    {
        Markers.append(
            {marker.TimeSec, QString::fromStdString(marker.Label),
             QColor::fromRgbF(marker.ColorR, marker.ColorG, marker.ColorB, marker.ColorA)});
    }
}

void VideoPane::TakeClips()
{
    const MvClipControlPanel& panel = Running.Panel();
    const std::uint64_t revision = ClipsRevision(panel);
    if (revision == PanelRevision && Document.pVideo->FilePath == ClipsSource)
    {
        return;
    }
    PanelRevision = revision;
    ClipsSource = Document.pVideo->FilePath;
    Clips.clear();
    for (std::size_t i = 0; i < panel.Clips.size(); ++i)
    {
        const MvClipControlPanel::SavedClip& clip = panel.Clips[i];
        if (clip.SourcePath == ClipsSource)
        {
            Clips.append({static_cast<int>(i), QString::fromStdString(clip.Name),
                          QColor::fromRgbF(clip.ColorR, clip.ColorG, clip.ColorB, clip.ColorA),
                          clip.StartSec, clip.EndSec});
        }
    }
}
