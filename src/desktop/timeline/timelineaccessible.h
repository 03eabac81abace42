// The timeline as a screen reader meets it: a slider whose value is the playhead in seconds.

#pragma once

class TimelineWidget;

/// Makes Qt describe every TimelineWidget so. To be called again at will.
void InstallTimelineAccessible();

/// Whether a screen reader wants to hear of this move of the playhead: of every jump, and of playback
/// once a second, or it would never be silent.
bool IsWorthTelling(double OldSec, double NewSec);
/// Tells the screen reader, when there is one, that the value is another.
void TellValue(TimelineWidget& Timeline);
