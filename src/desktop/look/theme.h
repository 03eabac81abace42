// The one look of the application: calm and dark, the clips' colours the only loud ones.
//
// Sizes follow the interface's text scale (MvTheme), so that everything stays legible from 75 to 300 %.
// UI thread only.

#pragma once

#include <QColor>
#include <QFont>

namespace Theme
{
inline const QColor Window{0x1e, 0x20, 0x24};
inline const QColor Surface{0x26, 0x29, 0x2e}; ///< fields, tables, the timeline's ground
inline const QColor Raised{0x33, 0x37, 0x3d};  ///< buttons, handles
inline const QColor Line{0x45, 0x4a, 0x52};    ///< edges, ticks
inline const QColor Text{0xe4, 0xe6, 0xe9};
inline const QColor TextDim{0xa3, 0xa9, 0xb2}; ///< second-rank text; 4.5:1 on Window and Surface
inline const QColor Accent{0x7a, 0xa2, 0xd6};  ///< focus, selection, the range
inline const QColor Success{0x86, 0xc0, 0x8b};
inline const QColor Warning{0xe0, 0xb4, 0x5c};
inline const QColor Error{0xe8, 0x7f, 0x7a};

/// Sets style, palette, style sheet and font of the QApplication for the current text scale.
void Apply();

/// Px at 100 % text scale, scaled: for text and for all that must grow with it.
int ScaledPx(int Px);

/// The interface font at its normal or small size, and the fixed-width one for times.
QFont NormalFont();
QFont SmallFont();
QFont TimeFont();
} // namespace Theme
