// The first window: the video of the document that the panel falls back to, and beside it the clip
// panel of the whole application with the progress of the running export.
//
// Closing it ends the application; while an export runs it asks first. UI thread only.

#pragma once

#include "desktop/settings.h"
#include "desktop/videowindow.h"

class ClipPanelWidget;
class ExportBar;
class ExportWatch;
class QMessageBox;
class QSplitter;

class MainWindow : public VideoWindow
{
    Q_OBJECT

public:
    MainWindow(Session& NewRunning,
               Commands& Target,
               VideoDocument& Shown,
               SurfaceKind Kind,
               ExportWatch& NewExport);

    ClipPanelWidget& ClipPanel() { return *pClipPanel; }
    void FocusName();

    /// Takes the window's place and division from the settings, and writes them back.
    void Restore(const Settings& Saved);
    void Store(Settings& OutSaved) const;

protected:
    void closeEvent(QCloseEvent* pEvent) override;

private:
    void AskAboutExport();

    ExportWatch& Export;
    QSplitter* pSplitter;
    ClipPanelWidget* pClipPanel;
    ExportBar* pExportBar;
    QMessageBox* pQuestion = nullptr; ///< while it is open
    bool bCloseAfterExport = false;
};
