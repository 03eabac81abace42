// Small shapes that are drawn on a square grid and shown at any size. UI thread only.

#pragma once

#include <QPainterPath>
#include <QPointF>

#include <initializer_list>

class QPainter;
class QRect;

/// A line from point to point, open.
QPainterPath LineThrough(std::initializer_list<QPointF> Points);

/// Lets what is painted from now on in a square from 0 to GridSide stand in the middle of Place, as large
/// as that allows, with smooth edges. The caller saves and restores the painter.
void FitGrid(QPainter& Painter, const QRect& Place, double GridSide);
