// The interface's text scale, one for the whole application. UI thread only.

#pragma once

class MvTheme
{
public:
    /// Returns Px times the text scale, rounded, and kept between MinPx and MaxPx.
    static int ScaleTextPx(int Px, int MinPx, int MaxPx);

    static double TextScale();
    /// Sets the text scale, 1.0 for 100 %; kept between 0.5 and 4. NaN changes nothing.
    static void SetTextScale(double NewScale);
};
