// Draws the timeline.
//
// Only reads: the picture is plain state and places, and nothing is kept between two paintings. The
// clips' and markers' own colours are the loud ones; a reversed range wears the warning colour and a
// reversed clip is hollow. What is out of sight, or narrower than a pixel beside another, is skipped,
// so that a painting costs by the pixels and not by the clips. UI thread only.

#pragma once

#include "desktop/timeline/timelinelayout.h"

class QPainter;

/// Paints the whole widget. The painter is left as it was.
void PaintTimeline(QPainter& Painter, const TimelinePicture& Picture);
