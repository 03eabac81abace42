#include "desktop/exportbar.h"

#include "desktop/theme.h"

#include <QAction>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QToolButton>

namespace
{
constexpr int MarginPx = 8; // that of the clip panel, above which it stands in line
} // namespace

ExportBar::ExportBar(QAction* pStop, QWidget* pParent)
    : QWidget(pParent)
    , pBar(new QProgressBar)
{
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(MarginPx, 0, MarginPx, MarginPx);
    layout->setSpacing(MarginPx);
    pBar->setAccessibleName("Export progress");
    auto* const stop = new QToolButton;
    stop->setFocusPolicy(Qt::TabFocus);
    stop->setText("Stop");
    stop->setToolTip(pStop->toolTip());
    connect(stop, &QToolButton::clicked, pStop, &QAction::trigger);
    layout->addWidget(pBar, 1);
    layout->addWidget(stop);
    hide();
}

void ExportBar::ShowProgress(const RunningExport& Export)
{
    pBar->setValue(static_cast<int>(Export.Fraction * 100.0));
    const QString details = QString::fromStdString(ProgressTimes(Export));
    if (!Export.Phase.has_value())
    {
        // Without a number yet, the running time says that something is going on.
        pBar->setFormat(details);
    }
    else
    {
        const QString percent = QString("%1 %").arg(pBar->value());
        const QString all = percent + "  " + details;
        // The bar must not widen the window, so with large text it may say the percent alone.
        const bool bFits = pBar->fontMetrics().horizontalAdvance(all) < pBar->width();
        pBar->setFormat(bFits ? all : percent);
    }
    pBar->setToolTip(details);
}
