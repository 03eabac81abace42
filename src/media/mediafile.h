// What a media file says of itself, asked of its container (libavformat) and not of a player.
//
// Any thread. Each call opens and closes the file.

#pragma once

#include <string>

/// What libavformat calls the format of a file that is not among AllowedContainers, such as "SDP"; empty for
/// an allowed one, for one that it does not know, and for a file that can't be read. Nothing but the file's
/// beginning is read.
std::string NameOfRefusedFormat(const std::string& Path);

/// Whether the file is a Matroska one whose header does not say how long it is: a recording that was
/// never finished, or that was written into a pipe. The player's "duration" of such a file is only how
/// far it has read by chance.
bool IsMatroskaWithoutDuration(const std::string& Path);

/// Whether the file is a Matroska one without a single picture in it, complete or not. ffmpeg ends well
/// and leaves such a file when In lies where the source has no pictures any more. False for files of
/// other kinds, whatever they hold, and for one that can't be read to its end: it may hold some.
bool IsMatroskaWithoutPicture(const std::string& Path);

/// Whether the file lacks its end: a Matroska one that says that it is longer than it is, or does not
/// say how long; or an empty file on a disk without room. On a disk that gets full with the last bytes
/// ffmpeg ends well and leaves such a file. False for files of other kinds, and for one that can't be
/// read.
bool IsCutShort(const std::string& Path);
