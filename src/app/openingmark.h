// A mark on disk that remains when the program dies while it opens a video.
//
// The paths are in one file of the state folder. The process that opens them keeps the file locked until they are
// open. If it crashes or is killed before, the file remains, unlocked, and the next start does not open these videos
// by itself. There is no mark when the file can't be made; of two processes that open videos at the same time, only
// the first one's are marked. Any one thread.

#pragma once

#include "base/uniquefd.h"

#include <string>
#include <vector>

class OpeningMark
{
public:
    OpeningMark() = default;
    ~OpeningMark() { End(); }
    OpeningMark(const OpeningMark&) = delete;
    OpeningMark& operator=(const OpeningMark&) = delete;

    /// Marks one more path until End.
    void Add(const std::string& Path);
    /// Removes the mark: all marked videos are open.
    void End();

    /// Returns the videos that a dead process was opening, in order, and removes its mark. Empty without one.
    static std::vector<std::string> TakeLeftover();

private:
    UniqueFd File; ///< locked while it is open
};
