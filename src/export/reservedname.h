// The final name of an export, held from its first moment, and the file that is written for it.
//
// An empty file stands under the final name, made by this export alone, so that every other program's
// search takes the next number. The clip is written into NAME.part beside it, which is locked (flock)
// for as long as the front or its ffmpeg lives, and renamed over the empty file at the end. No link is
// followed, and nothing that somebody else made is replaced or removed.

#pragma once

#include "base/uniquefd.h"

#include <memory>
#include <string>

#include <sys/types.h>

class ReservedName
{
public:
    /// Takes Path for this export. Null where that can't be; OutSentence then says why, and OutTaken
    /// whether somebody else has the name, so that the next free one will do.
    static std::unique_ptr<ReservedName>
    Take(const std::string& Path, bool& OutTaken, std::string& OutSentence);

    /// Removes the pair where it was not published.
    ~ReservedName();
    ReservedName(const ReservedName&) = delete;
    ReservedName& operator=(const ReservedName&) = delete;

    /// The descriptor of NAME.part, to be inherited by ffmpeg; it holds the lock. Readable and
    /// writable, close-on-exec.
    int PartFd() const { return Part.Get(); }

    /// Gives the written file its final name once it is on the disk. False sets OutSentence, and
    /// replaces nothing.
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
