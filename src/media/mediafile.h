// What a media file says of itself, asked of its container (libavformat) and not of a player.
//
// Any thread. Each call opens and closes the file.

#pragma once

#include <string>

/// Whether the file is a Matroska one whose header does not say how long it is: a recording that was
/// never finished, or that was written into a pipe. The player's "duration" of such a file is only how
/// far it has read by chance.
bool IsMatroskaWithoutDuration(const std::string& Path);

/// Whether the length that the file's header gives counts from time 0 and not from the file's start time:
/// in Matroska, MP4, MOV and NUT. False where the header gives none: then the length is an estimate, from the
/// start on.
bool CountsLengthFromZero(const std::string& Path);
