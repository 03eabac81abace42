#include "host/mvtheme.h"

#include <algorithm>
#include <cmath>

namespace
{
double textScale = 1.0;
} // namespace

int MvTheme::ScaleTextPx(int Px, int MinPx, int MaxPx)
{
    const double scaledPx = std::round(Px * textScale);
    // Clamped before the conversion, since the product may leave the range of int.
    return static_cast<int>(
        std::min(std::max(scaledPx, static_cast<double>(MinPx)), static_cast<double>(MaxPx)));
}

double MvTheme::TextScale()
{
    return textScale;
}

void MvTheme::SetTextScale(double NewScale)
{
    if (!std::isnan(NewScale))
    {
        textScale = std::clamp(NewScale, 0.5, 4.0);
    }
}
