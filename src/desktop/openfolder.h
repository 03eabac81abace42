// Shows a folder in the desktop's file manager.

#pragma once

#include <QString>

/// Starts the file manager on a folder and does not wait for it. It does not get FFREPORT, which is meant
/// for the encoder alone: every ffmpeg that somebody starts from that file manager would write a report.
void OpenFolder(const QString& Path);
