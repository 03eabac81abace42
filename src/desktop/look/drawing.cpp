#include "desktop/look/drawing.h"

#include <QPainter>
#include <QPolygonF>
#include <QRectF>

#include <algorithm>

QPainterPath LineThrough(std::initializer_list<QPointF> Points)
{
    QPainterPath path;
    path.addPolygon(QPolygonF(Points));
    return path;
}

void FitGrid(QPainter& Painter, const QRect& Place, double GridSide)
{
    const double scale = std::min(Place.width(), Place.height()) / GridSide;
    Painter.setRenderHint(QPainter::Antialiasing);
    Painter.translate(QRectF(Place).center());
    Painter.scale(scale, scale);
    Painter.translate(-GridSide / 2.0, -GridSide / 2.0);
}
