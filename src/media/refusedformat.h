// The format of a file that is in no allowed container.
//
// Apart from mediafile.h, for the encoder front is built with this text as well, and has its own way to
// libavformat. Any thread.

#pragma once

#include <string>

/// What libavformat calls the format of a file that is not among AllowedContainers, such as "SDP"; empty for
/// an allowed one, for one that it does not know, and for a file that can't be read. Nothing but the file's
/// beginning is read.
std::string NameOfRefusedFormat(const std::string& Path);
