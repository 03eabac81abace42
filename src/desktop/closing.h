// Whether the application may end: asks while an export runs or waits and when clips would be lost, never twice
// for the same.
//
// The answer may close the window later, when the exports are finished. UI thread only.

#pragma once

#include <QObject>

class ClipExports;
class QAbstractButton;
class QMessageBox;

class Closing : public QObject
{
    Q_OBJECT

public:
    /// ClosedWindow owns it and is the parent of its questions.
    Closing(QWidget& ClosedWindow, ClipExports& PanelExports);

    /// For the window's closeEvent. On false a question is open.
    bool MayClose();

Q_SIGNALS:
    /// Whether the window closes by itself when the exports are finished.
    void WaitChanged(bool bWaits);

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

    QWidget& Window;
    ClipExports& Exports;
    QMessageBox* pQuestion = nullptr; ///< while it is open
    AfterExports Then = AfterExports::Stay;
    int AcceptedLossCount = 0; ///< clips without a file that the user has agreed to lose
};
