// The progress of the running export: a bar with percent and time in it, and a Stop button.
// It is there only while an export runs. UI thread only.

#pragma once

#include "app/runningexport.h"

#include <QWidget>

class QAction;
class QProgressBar;

class ExportBar : public QWidget
{
    Q_OBJECT

public:
    /// The Stop button triggers pStop, which must outlive the bar.
    explicit ExportBar(QAction* pStop, QWidget* pParent = nullptr);

    void ShowProgress(const RunningExport& Export);

private:
    QProgressBar* pBar;
};
