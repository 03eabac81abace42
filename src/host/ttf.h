// The interface font, as far as layout needs it.

#pragma once

class TTF
{
public:
    TTF() = default;
    virtual ~TTF() = default;
    TTF(const TTF&) = delete;
    TTF& operator=(const TTF&) = delete;

    /// Returns the width in pixels of one character cell at a text size of Px pixels. Without a real
    /// font a cell is six tenths of the text size, as in common fixed-pitch fonts.
    virtual int GetCellWidth(int Px) { return (Px * 6 + 5) / 10; }
};
