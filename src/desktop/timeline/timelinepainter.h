// Draws the timeline.
//
// Only reads: the picture is plain state and places, and nothing is kept here between two paintings. The
// clips' and markers' own colours are the loud ones; a reversed range wears the warning colour and a
// reversed clip is hollow. What is out of sight, or narrower than a pixel beside another, is skipped,
// so that a painting costs by the pixels and not by the clips. UI thread only.

#pragma once

#include "desktop/timeline/timelinelayout.h"

class QPainter;

// A whole picture is the first and then the second. The painter is left as it was.

/// Paints what stays while a video plays: ground, range, markers and clips.
void PaintMarking(QPainter& Painter, const TimelinePicture& Picture);
/// Paints what goes with the playhead and the pointer, and the ruler, whose labels make way for the pointer's
/// time. Looks at no marker and no clip.
void PaintHands(QPainter& Painter, const TimelinePicture& Picture);
