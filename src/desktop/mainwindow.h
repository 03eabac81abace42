// The first window: the video of the document that the panel falls back to, and beside it the clip
// panel of the whole application with the progress of its exports.
//
// Closing it ends the application, after what closing.h asks. UI thread only.

#pragma once

#include "desktop/session/settings.h"
#include "desktop/videowindow.h"

class ClipPanelWidget;
class Closing;
class ExportBar;
class PlainLabel;
class QSplitter;

class MainWindow : public VideoWindow
{
    Q_OBJECT

public:
    MainWindow(Session& NewRunning, Commands& Target, VideoDocument& Shown, SurfaceKind Kind);

    ClipPanelWidget& ClipPanel() { return *pClipPanel; }
    void FocusName();
    void SelectAllClips();

    /// Takes the window's place and division from the settings, and writes them back.
    void Restore(const Settings& Saved);
    void Store(Settings& OutSaved) const;

protected:
    void closeEvent(QCloseEvent* pEvent) override;

private:
    QSplitter* pSplitter;
    ClipPanelWidget* pClipPanel;
    ExportBar* pExportBar;
    PlainLabel* pClosingNote;
    Closing* pClosing;
};
