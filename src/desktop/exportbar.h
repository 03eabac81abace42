// The progress of the running export: a bar with percent, elapsed time and speed in it, and a Stop button.
// It is there only while an export runs. UI thread only.

#pragma once

#include "media/exportprogress.h"

#include <QWidget>

class QAction;
class QProgressBar;

class ExportBar : public QWidget
{
    Q_OBJECT

public:
    /// The Stop button triggers pStop, which must outlive the bar.
    explicit ExportBar(QAction* pStop, QWidget* pParent = nullptr);

    void ShowProgress(const ExportProgressRecord& Progress);

private:
    QProgressBar* pBar;
};
