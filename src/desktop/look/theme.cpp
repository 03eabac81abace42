#include "desktop/look/theme.h"

#include "host/mvtheme.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <QString>
#include <QStyleFactory>

#include <algorithm>

namespace
{
constexpr int NormalPx = 13;
constexpr int SmallPx = 11;

QFont SizedFont(QFont Font, int Px)
{
    Font.setPixelSize(Theme::ScaledPx(Px));
    return Font;
}

QPalette DarkPalette()
{
    QPalette palette;
    palette.setColor(QPalette::Window, Theme::Window);
    palette.setColor(QPalette::WindowText, Theme::Text);
    palette.setColor(QPalette::Base, Theme::Surface);
    palette.setColor(QPalette::AlternateBase, Theme::Surface.lighter(108));
    palette.setColor(QPalette::ToolTipBase, Theme::Raised);
    palette.setColor(QPalette::ToolTipText, Theme::Text);
    palette.setColor(QPalette::Text, Theme::Text);
    palette.setColor(QPalette::PlaceholderText, Theme::TextDim);
    palette.setColor(QPalette::Button, Theme::Raised);
    palette.setColor(QPalette::ButtonText, Theme::Text);
    palette.setColor(QPalette::BrightText, Theme::Error);
    palette.setColor(QPalette::Link, Theme::Accent);
    palette.setColor(QPalette::Highlight, Theme::Accent.darker(170));
    palette.setColor(QPalette::HighlightedText, Theme::Text);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::HighlightedText})
    {
        palette.setColor(QPalette::Disabled, role, Theme::TextDim.darker(140));
    }
    // The style draws a light copy of a disabled text below it, which would look like an enabled one.
    palette.setColor(QPalette::Disabled, QPalette::Light, Theme::Window);
    return palette;
}

// What the palette alone does not say: edges, room and the mark of the keyboard's focus.
QString StyleSheet()
{
    return QString(R"(
        QPushButton, QToolButton { background: %1; border: 1px solid %2; border-radius: %5px;
                                   padding: %5px %6px; }
        QPushButton:hover, QToolButton:hover { border-color: %3; }
        QToolButton[popupMode="1"] { padding-right: %10px; }
        QToolButton::menu-button { border: none; border-left: 1px solid %2; width: %10px; }
        QPushButton:pressed, QToolButton:pressed, QToolButton:checked { background: %2; }
        QPushButton:focus, QToolButton:focus, QLineEdit:focus, QTableView:focus { border: 1px solid %3; }
        QLineEdit, QTableView { background: %4; border: 1px solid %2; border-radius: %5px; }
        QLineEdit { padding: %5px; }
        QHeaderView::section { background: %1; border: none; border-right: 1px solid %2;
                               padding: 2px 4px; }
        QToolTip { background: %1; color: palette(tool-tip-text); border: 1px solid %2; }
        QSplitter::handle { background: %2; }
        QProgressBar { background: %4; border: 1px solid %2; border-radius: %5px;
                       text-align: center; }
        QProgressBar::chunk { background: %7; border-radius: %5px; }
        QScrollBar { background: transparent; margin: 0; }
        QScrollBar:vertical { width: %8px; }
        QScrollBar#bodyScrollBar:vertical { width: %6px; }
        QScrollBar:horizontal { height: %8px; }
        QScrollBar::handle { background: %2; border: 2px solid %4; border-radius: %5px; }
        QScrollBar::handle:hover { background: %3; }
        QScrollBar::handle:vertical { min-height: %9px; }
        QScrollBar::handle:horizontal { min-width: %9px; }
        QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }
        QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }
        QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }
    )")
        .arg(Theme::Raised.name(), Theme::Line.name(), Theme::Accent.name(), Theme::Surface.name())
        .arg(std::min(Theme::ScaledPx(4), 6)) // large text needs the room itself
        .arg(std::min(Theme::ScaledPx(8), 14))
        .arg(Theme::Accent.darker(170).name())
        .arg(std::min(Theme::ScaledPx(12), 20))
        .arg(Theme::ScaledPx(24))
        .arg(Theme::ScaledPx(20));
}
} // namespace

void Theme::Apply()
{
    QApplication::setStyle(QStyleFactory::create("Fusion"));
    QApplication::setPalette(DarkPalette());
    QApplication::setFont(NormalFont());
    qApp->setStyleSheet(StyleSheet());
}

int Theme::ScaledPx(int Px)
{
    return MvTheme::ScaleTextPx(Px, 1, 4096);
}

QFont Theme::NormalFont()
{
    return SizedFont(QFontDatabase::systemFont(QFontDatabase::GeneralFont), NormalPx);
}

QFont Theme::SmallFont()
{
    return SizedFont(QFontDatabase::systemFont(QFontDatabase::GeneralFont), SmallPx);
}

QFont Theme::TimeFont()
{
    return SizedFont(QFontDatabase::systemFont(QFontDatabase::FixedFont), NormalPx);
}
