#include "desktop/look/icons.h"

#include "desktop/look/drawing.h"
#include "desktop/look/theme.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace
{
// All shapes are drawn on a square of this side.
constexpr double GridSide = 24.0;

QPainterPath Triangle(double LeftX, double TipX)
{
    return LineThrough({{LeftX, 4.0}, {TipX, 12.0}, {LeftX, 20.0}});
}

QPainterPath Bar(double LeftX, double WidthX)
{
    QPainterPath path;
    path.addRect(LeftX, 4.0, WidthX, 16.0);
    return path;
}

QPainterPath Loudspeaker()
{
    return LineThrough(
        {{3.0, 9.0}, {7.0, 9.0}, {12.0, 4.5}, {12.0, 19.5}, {7.0, 15.0}, {3.0, 15.0}});
}

// What is filled of an icon.
QPainterPath Shape(IconKind Kind)
{
    switch (Kind)
    {
    case IconKind::Play:
        return Triangle(6.0, 20.0);
    case IconKind::Pause:
        return Bar(6.0, 4.0).united(Bar(14.0, 4.0));
    case IconKind::FrameBack:
        return Triangle(16.0, 5.0).united(Bar(18.0, 2.5));
    case IconKind::FrameForward:
        return Triangle(8.0, 19.0).united(Bar(3.5, 2.5));
    case IconKind::SoundOn:
    case IconKind::SoundOff:
        break;
    }
    return Loudspeaker();
}

// What is drawn as a line of an icon.
QPainterPath Strokes(IconKind Kind)
{
    QPainterPath path;
    if (Kind == IconKind::SoundOn)
    {
        for (const double radius : {4.0, 8.0})
        {
            const QRectF circle(12.5 - radius, 12.0 - radius, 2.0 * radius, 2.0 * radius);
            path.arcMoveTo(circle, -45.0);
            path.arcTo(circle, -45.0, 90.0);
        }
    }
    else if (Kind == IconKind::SoundOff)
    {
        path.addPath(LineThrough({{15.5, 9.0}, {21.5, 15.0}}));
        path.addPath(LineThrough({{21.5, 9.0}, {15.5, 15.0}}));
    }
    return path;
}

class IconEngine : public QIconEngine
{
public:
    explicit IconEngine(IconKind DrawnKind)
        : Kind(DrawnKind)
    {
    }

    void paint(QPainter* pPainter, const QRect& Rect, QIcon::Mode Mode, QIcon::State) override
    {
        const QColor color = Mode == QIcon::Disabled ? Theme::TextDim.darker(140) : Theme::Text;
        pPainter->save();
        FitGrid(*pPainter, Rect, GridSide);
        pPainter->fillPath(Shape(Kind), color);
        pPainter->strokePath(Strokes(Kind),
                             QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        pPainter->restore();
    }

    QPixmap pixmap(const QSize& Size, QIcon::Mode Mode, QIcon::State State) override
    {
        QPixmap drawn(Size);
        if (drawn.isNull())
        {
            return drawn; // of a button that has no room
        }
        drawn.fill(Qt::transparent);
        QPainter painter(&drawn);
        paint(&painter, QRect(QPoint(0, 0), Size), Mode, State);
        return drawn;
    }

    QIconEngine* clone() const override { return new IconEngine(Kind); }

private:
    IconKind Kind;
};
} // namespace

QIcon MakeIcon(IconKind Kind)
{
    return QIcon(new IconEngine(Kind));
}

QIcon ProgramIcon()
{
    Q_INIT_RESOURCE(movane); // a static library's resources are not there by themselves
    QIcon icon;
    for (const int sidePx : {16, 24, 32, 48, 64, 128, 256, 512})
    {
        icon.addFile(QString(":/icons/movane-%1.png").arg(sidePx));
    }
    return icon;
}
