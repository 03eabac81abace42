// The first window: the video of the document that the panel falls back to, and beside it the clip
// panel of the whole application with the progress of its exports.
//
// Closing it ends the application. It asks first while an export runs or waits or when clips would be lost, never
// twice for the same. UI thread only.

#pragma once

#include "desktop/session/settings.h"
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
    void SelectAllClips();

    /// Takes the window's place and division from the settings, and writes them back.
    void Restore(const Settings& Saved);
    void Store(Settings& OutSaved) const;

protected:
    void closeEvent(QCloseEvent* pEvent) override;

private:
    /// What happens when no export runs or waits any more.
    enum class AfterExports
    {
        Stay,
        CloseWithFiles, ///< a failure is to be seen
        Close,
    };

    void TakeIdle(bool bAllExported);
    void SetAfterExports(AfterExports Wanted, int LossCount);
    void AskAboutExports();
    void AskAboutClips();
    void OpenQuestion(QAbstractButton* pStay);

    QSplitter* pSplitter;
    ClipPanelWidget* pClipPanel;
    ExportBar* pExportBar;
    PlainLabel* pClosingNote;
    QMessageBox* pQuestion = nullptr; ///< while it is open
    AfterExports Then = AfterExports::Stay;
    int AcceptedLossCount = 0; ///< clips without a file that the user has agreed to lose
};
