#include "desktop/exportbar.h"

#include "app/runningexport.h"
#include "desktop/plainlabel.h"
#include "desktop/theme.h"

#include <QAction>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <cmath>

namespace
{
constexpr int BarMarginPx = 8; // that of the clip panel, above which it stands in line
constexpr int LineSpacingPx = 4;

QToolButton* NewBarButton(const QString& Text, QAction* pAction)
{
    auto* const button = new QToolButton;
    button->setFocusPolicy(Qt::TabFocus);
    button->setText(Text);
    button->setToolTip(pAction->toolTip());
    QObject::connect(button, &QToolButton::clicked, pAction, &QAction::trigger);
    return button;
}

QString MinutesText(double Sec)
{
    const auto seconds = static_cast<int>(Sec);
    const auto twoDigits = [](int Value) { return QString("%1").arg(Value, 2, 10, QChar('0')); };
    const QString rest = twoDigits(seconds % 60);
    return seconds < 3600
               ? QString("%1:%2").arg(seconds / 60).arg(rest)
               : QString("%1:%2:%3").arg(seconds / 3600).arg(twoDigits(seconds / 60 % 60), rest);
}

QString RestText(const RunningExport& Running, std::size_t WaitingCount)
{
    QStringList parts;
    if (Running.bStopping)
    {
        parts.append("stopping");
    }
    else if (Running.SecondsLeft)
    {
        parts.append(MinutesText(std::ceil(*Running.SecondsLeft)) + " left");
    }
    if (WaitingCount > 0)
    {
        parts.append(QString("%1 more").arg(WaitingCount));
    }
    return parts.join(", ");
}
} // namespace

ExportBar::ExportBar(QAction* pStop, QAction* pStopAll, QWidget* pParent)
    : QWidget(pParent)
    , pContent(new QWidget)
    , pClip(new PlainLabel(PlainLabel::Overflow::ElideMiddle))
    , pRest(new PlainLabel(PlainLabel::Overflow::ElideMiddle))
    , pBar(new QProgressBar)
{
    pClip->setObjectName("exportClip");
    pRest->setObjectName("exportRest");
    pRest->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    pBar->setAccessibleName("Export progress");

    auto* const lines = new QVBoxLayout(pContent);
    lines->setContentsMargins(BarMarginPx, 0, BarMarginPx, BarMarginPx);
    lines->setSpacing(LineSpacingPx);
    auto* const texts = new QHBoxLayout;
    texts->setSpacing(BarMarginPx);
    texts->addWidget(pClip, 1);
    texts->addWidget(pRest);
    auto* const row = new QHBoxLayout;
    row->setSpacing(BarMarginPx);
    row->addWidget(pBar, 1);
    row->addWidget(NewBarButton("Stop", pStop));
    row->addWidget(NewBarButton("Stop all", pStopAll));
    lines->addLayout(texts);
    lines->addLayout(row);

    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(pContent);
    QSizePolicy kept = pContent->sizePolicy();
    kept.setRetainSizeWhenHidden(true);
    pContent->setSizePolicy(kept);
    pContent->hide();
}

void ExportBar::Show(const RunningExport* pRunning, std::size_t WaitingCount)
{
    pContent->setVisible(pRunning != nullptr);
    if (pRunning == nullptr)
    {
        return;
    }
    const QString name = QString::fromStdString(pRunning->Clip.Name);
    const QString rest = RestText(*pRunning, WaitingCount);
    pClip->Show(name);
    pRest->Show(rest);
    pBar->setValue(static_cast<int>(pRunning->Fraction * 100.0));
    // An encoder that tells nothing: the running time says that something is going on.
    pBar->setFormat(pRunning->Phase ? "%p %" : MinutesText(pRunning->ElapsedSec));
    pBar->setAccessibleDescription(name + ", " + rest);
}
