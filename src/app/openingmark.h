// The mark that stays where a program dies while it opens a video.
//
// The paths stand in one file of the state folder, which the process that opens them keeps locked until they
// are through. A process that ends in between, by a crash or killed because it hung, leaves the file unlocked;
// the next start then knows what not to open by itself. Where the file can't be made there is no mark, and
// while two processes open videos at the same time only the first one's are marked. Any one thread.

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

    /// Marks a path until End, beside those that are marked already.
    void Add(const std::string& Path);
    /// Takes the mark away: all that was marked has come through.
    void End();

    /// Returns what a process that is dead was opening, in that order, and takes its mark away. Empty for
    /// none.
    static std::vector<std::string> TakeLeftover();

private:
    UniqueFd File; ///< locked while it is open
};
