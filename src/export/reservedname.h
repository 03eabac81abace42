// The final name of an export, reserved at its start, and the file that becomes it.
//
// An empty file with the final name makes other exports take the next number. The clip is written to NAME.part
// beside it, which stays locked (flock) as long as the front or its ffmpeg lives; at the end it is renamed over the
// empty file. No link is followed, and no file of another program is replaced or removed.

#pragma once

#include "base/uniquefd.h"

#include <memory>
#include <string>

#include <sys/types.h>

class ReservedName
{
public:
    /// Reserves Path. On failure returns null and sets OutSentence; sets OutTaken if another program has the name,
    /// so that the caller may try the next one.
    static std::unique_ptr<ReservedName>
    Take(const std::string& Path, bool& OutTaken, std::string& OutSentence);

    /// Removes both files unless published.
    ~ReservedName();
    ReservedName(const ReservedName&) = delete;
    ReservedName& operator=(const ReservedName&) = delete;

    /// The descriptor of NAME.part, for ffmpeg to inherit; it holds the lock. Open for reading and writing,
    /// close-on-exec.
    int PartFd() const { return Part.Get(); }

    /// Flushes the written file to the disk and gives it its final name. On failure returns false, sets
    /// OutSentence and replaces nothing.
    bool Publish(std::string& OutSentence);

private:
    ReservedName() = default;
    bool IsOurs(const std::string& FileName, int Fd) const;

    std::string Name;     ///< for sentences and within Folder
    std::string PartName; ///< within Folder
    UniqueFd Folder;
    UniqueFd Empty; ///< under the final name
    UniqueFd Part;
};
