// Whether exports can run at all, so that a missing ffmpeg is told at once and not after the marking.

#pragma once

#include <QStringList>

#include <string>

/// The folders in which an export looks for ffmpeg: those of PATH, then the system's own.
QStringList EncoderFolders();

/// What to tell the user when ffmpeg can't be run: one sentence with the next step, else nothing.
///
/// Override is the value of MOVANE_FFMPEG_BIN; when it is set, the folders do not count, as in an export.
/// An export looks again by itself, so nothing has to be restarted after an installation.
std::string EncoderProblem(const QString& Override, const QStringList& Folders);
