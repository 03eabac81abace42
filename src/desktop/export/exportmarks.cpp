#include "desktop/export/exportmarks.h"

#include "desktop/look/theme.h"

#include <QPainter>
#include <QPainterPath>
#include <QRect>

#include <algorithm>

namespace
{
// All marks are drawn as lines on a square of this side.
constexpr double MarkGridSide = 16.0;
constexpr double MarkLine = 2.0;

// The hands of a clock: it waits.
QPainterPath ClockLines()
{
    QPainterPath path;
    path.addEllipse(QPointF(8.0, 8.0), 6.0, 6.0);
    path.moveTo(8.0, 4.5);
    path.lineTo(8.0, 8.0);
    path.lineTo(10.5, 9.5);
    return path;
}

QPainterPath CheckLines()
{
    QPainterPath path;
    path.moveTo(2.5, 8.5);
    path.lineTo(6.5, 12.5);
    path.lineTo(13.5, 3.5);
    return path;
}

QPainterPath CrossLines()
{
    QPainterPath path;
    path.moveTo(3.5, 3.5);
    path.lineTo(12.5, 12.5);
    path.moveTo(12.5, 3.5);
    path.lineTo(3.5, 12.5);
    return path;
}

// An arrow that goes round: it is to be done once more.
QPainterPath RoundArrowLines()
{
    QPainterPath path;
    path.arcMoveTo(QRectF(2.5, 2.5, 11.0, 11.0), 20.0);
    path.arcTo(QRectF(2.5, 2.5, 11.0, 11.0), 20.0, 300.0);
    path.moveTo(13.8, 1.8);
    path.lineTo(13.2, 6.2);
    path.lineTo(8.9, 5.6);
    return path;
}

struct Mark
{
    QPainterPath Lines;
    QColor Color;
};

Mark MarkOf(ExportState State)
{
    switch (State)
    {
    case ExportState::Queued:
        return {ClockLines(), Theme::Text};
    case ExportState::Done:
        return {CheckLines(), Theme::Success};
    case ExportState::Failed:
        return {CrossLines(), Theme::Error};
    case ExportState::Outdated:
        return {RoundArrowLines(), Theme::Warning};
    case ExportState::None:
    case ExportState::Running:
        break;
    }
    return {};
}
} // namespace

void PaintExportMark(QPainter& Painter, const QRect& Square, ExportState State)
{
    const auto [lines, color] = MarkOf(State);
    const double scale = std::min(Square.width(), Square.height()) / MarkGridSide;
    Painter.save();
    Painter.setRenderHint(QPainter::Antialiasing);
    Painter.translate(Square.center() + QPointF(0.5, 0.5));
    Painter.scale(scale, scale);
    Painter.translate(-MarkGridSide / 2.0, -MarkGridSide / 2.0);
    Painter.setBrush(Qt::NoBrush);
    Painter.setPen(QPen(color, MarkLine, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    Painter.drawPath(lines);
    Painter.restore();
}

namespace
{
QString StateText(const ClipExport& Export)
{
    switch (Export.State)
    {
    case ExportState::Queued:
        return "waits for its export";
    case ExportState::Running:
        return QString("is exported, %1 %").arg(static_cast<int>(Export.Fraction * 100.0));
    case ExportState::Done:
        return "exported";
    case ExportState::Failed:
        return QString::fromStdString(Export.Reason);
    case ExportState::Outdated:
        return "changed since its export";
    case ExportState::None:
        break;
    }
    return {};
}
} // namespace

QString ExportStateText(const ClipExport& Export)
{
    const QString state = StateText(Export);
    if (!Export.bStopped)
    {
        return state;
    }
    return state.isEmpty() ? "export stopped" : state + " (last export stopped)";
}
