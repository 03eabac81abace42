// The first window: the video of the document that the panel falls back to, and beside it the clip
// panel of the whole application with the progress of the running export.
//
// Closing it ends the application. It asks first while an export runs or when clips would be lost, never
// twice for the same. UI thread only.

#pragma once

#include "desktop/exportedclips.h"
#include "desktop/settings.h"
#include "desktop/videowindow.h"

class ClipPanelWidget;
class ExportBar;
class PlainLabel;
class QAbstractButton;
class QMessageBox;
class QSplitter;

class MainWindow : public VideoWindow
{
    Q_OBJECT

public:
    MainWindow(Session& NewRunning, Commands& Target, VideoDocument& Shown, SurfaceKind Kind);

    ClipPanelWidget& ClipPanel() { return *pClipPanel; }
    void FocusName();

    /// Takes the window's place and division from the settings, and writes them back.
    void Restore(const Settings& Saved);
    void Store(Settings& OutSaved) const;

protected:
    void closeEvent(QCloseEvent* pEvent) override;

private:
    /// What happens when nothing is exported any more.
    enum class AfterExport
    {
        Stay,
        CloseWithFile, ///< a failure is to be seen
        Close,
    };

    void TakeExportsEnd();
    void SetAfterExport(AfterExport Wanted, int LossCount);
    void AskAboutExport();
    void AskAboutClips();
    void OpenQuestion(QAbstractButton* pStay);

    QSplitter* pSplitter;
    ClipPanelWidget* pClipPanel;
    ExportBar* pExportBar;
    PlainLabel* pClosingNote;
    ExportedClips Exported;
    QMessageBox* pQuestion = nullptr; ///< while it is open
    AfterExport Then = AfterExport::Stay;
    bool bAllExported = true;  ///< since exports began last
    int AcceptedLossCount = 0; ///< clips without a file that the user has agreed to lose
};
