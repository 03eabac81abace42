// The running export at the foot of the clip panel: the clip, how far it is, how long it will still take, how
// many wait, and the buttons that stop it.
//
// It keeps its place and its height while nothing runs, and is empty then: no button moves when an export
// starts or ends. With large text it leaves out words; its tooltip has them all. UI thread only.

#pragma once

#include <QString>
#include <QWidget>

#include <cstddef>

class QAction;
struct RunningExport;

class ExportBar : public QWidget
{
    Q_OBJECT

public:
    /// The buttons trigger the actions, which must outlive the bar.
    ExportBar(QAction* pStop, QAction* pStopAll, QWidget* pParent = nullptr);

    /// Shows a running export; without one (null) the bar is empty.
    void Show(const RunningExport* pRunning, std::size_t WaitingCount);

protected:
    void resizeEvent(QResizeEvent* pEvent) override;
    void changeEvent(QEvent* pEvent) override;

private:
    void FitText();

    class ToldBar;

    QWidget* pContent;
    ToldBar* pBar;

    // -- What is shown, as text.
    QString Name;
    QString Percent; ///< or the running time
    QString Left;    ///< "0:12"; empty while it is unknown
    std::size_t MoreCount = 0;
    bool bStopping = false;
};
