#include "desktop/look/qtfont.h"

#include "desktop/look/theme.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

int QtFont::GetCellWidth(int Px)
{
    QFont font = Theme::NormalFont();
    font.setPixelSize(std::max(Px, 1));
    return static_cast<int>(std::lround(QFontMetricsF(font).horizontalAdvance('0')));
}
