// The running export at the foot of the clip panel: the clip, how far it is, how long it will still take, how
// many wait, and the buttons that stop it.
//
// It keeps its place and its height while nothing runs, and is empty then: no button moves when an export
// starts or ends. UI thread only.

#pragma once

#include <QWidget>

#include <cstddef>

class PlainLabel;
class QAction;
class QProgressBar;
struct RunningExport;

class ExportBar : public QWidget
{
    Q_OBJECT

public:
    /// The buttons trigger the actions, which must outlive the bar.
    ExportBar(QAction* pStop, QAction* pStopAll, QWidget* pParent = nullptr);

    /// Shows a running export; without one (null) the bar is empty.
    void Show(const RunningExport* pRunning, std::size_t WaitingCount);

private:
    QWidget* pContent;
    PlainLabel* pClip;
    PlainLabel* pRest;
    QProgressBar* pBar;
};
