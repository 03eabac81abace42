// What the desktop application remembers from one run to the next. Clips are not among it.
//
// Kept as an INI file in the state folder (QSettings writes it whole or not at all). UI thread only.

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

struct Settings
{
    QByteArray WindowGeometry; ///< QWidget::saveGeometry
    QByteArray SplitterState;  ///< QSplitter::saveState, video to clip panel
    double VolumePercent = 100.0;
    bool bMuted = false;
    double TextScale = 1.0;
    QStringList RecentFiles; ///< absolute paths as PathText gives them, the last opened one first
};

/// Returns what was saved last; defaults for what is missing or makes no sense.
Settings LoadSettings();

/// Saves; a failure is logged and changes nothing.
void SaveSettings(const Settings& Saved);

/// Puts a file at the head of the list, once, and keeps the ten newest.
void RememberRecentFile(QStringList& RecentFiles, const QString& Path);
