// Facts from a media file's container, read by libavformat without a player.
//
// Any thread. Each call opens and closes the file.

#pragma once

#include <string>

/// Whether the file is Matroska without a length in its header: an unfinished recording, or one that was written
/// into a pipe. The player's "duration" of such a file is only how far it has read so far.
bool IsMatroskaWithoutDuration(const std::string& Path);

/// Whether the length in the file's header counts from time 0 instead of the file's start time: so in Matroska, MP4,
/// MOV and NUT. False without a length in the header: libavformat then estimates it from the start time on.
bool CountsLengthFromZero(const std::string& Path);
