// The mark of an export's state in a row of the clip table: each state has a shape of its own, so that
// nobody needs its colour. UI thread only.

#pragma once

#include "app/exportstates.h"

#include <QString>

class QPainter;
class QRect;

/// Draws the mark into the middle of a square. A running export and none have no mark.
void PaintExportMark(QPainter& Painter, const QRect& Square, ExportState State);

/// The state in words, such as "exported" or "waits for its export"; empty for none. A running one tells
/// its percent, one whose last export was stopped says so.
QString ExportStateText(const ClipExport& Export);
