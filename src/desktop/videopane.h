// One document on the screen: picture, transport bar and timeline.
//
// It copies the document's records into its widgets after each frame and turns gestures into commands.
// UI thread only. It must be destroyed before its document.

#pragma once

#include "desktop/timeline/timelinestate.h"
#include "desktop/video/transportstate.h"
#include "desktop/video/videosurface.h"

#include <QList>
#include <QString>
#include <QWidget>

#include <cstdint>
#include <memory>
#include <string>

class ActionSet;
class Commands;
class Session;
class TimelineWidget;
class TransportBar;
class VideoDocument;

class VideoPane : public QWidget
{
    Q_OBJECT

public:
    VideoPane(Session& Running,
              Commands& Target,
              const ActionSet& Actions,
              VideoDocument& NewDocument,
              SurfaceKind Kind,
              QWidget* pParent);
    ~VideoPane() override;

    /// Opens a file as soon as the surface can show one; the outcome is told by FileOpened.
    void Open(const QString& Path);

    VideoDocument& Shown() { return Document; }
    TimelineWidget& Timeline() { return *pTimeline; }
    /// The picture's widget, for what is laid over it.
    QWidget* Picture() { return Surface->Widget(); }

    void SyncFromHost();

Q_SIGNALS:
    void FileOpening(const QString& Path); ///< just before
    void FileOpened(const QString& Path, bool bLoaded);

protected:
    void resizeEvent(QResizeEvent* pEvent) override;

private:
    void OpenNow(const QString& Path);
    void ShowMarkerMenu(int Index, QPoint GlobalPoint);
    TransportState MakeTransportState();
    TimelineState MakeTimelineState();
    void TakeMarkers();
    void TakeClips();

    Session& Running;
    VideoDocument& Document;
    std::unique_ptr<VideoSurface> Surface;
    TransportBar* pTransport;
    TimelineWidget* pTimeline;
    QString WaitingPath; ///< to be opened when the surface is ready
    QString OpenError;   ///< why the last file could not be opened

    // -- The marking as the timeline draws it, and what it was made of: it is made anew only when one of
    //    these has changed.
    QList<TimelineMarker> Markers;
    std::uint64_t MarkersRevision = 0;
    QList<TimelineClip> Clips; ///< those of the open file
    std::uint64_t PanelRevision = 0;
    std::string ClipsSource; ///< the path that was open then
};
