#include "desktop/export/exportbar.h"

#include "app/runningexport.h"
#include "desktop/look/plainlabel.h"
#include "desktop/look/theme.h"

#include <QAction>
#include <QEvent>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QToolButton>
#include <QVBoxLayout>

#include <cmath>

namespace
{
constexpr int BarMarginPx = 8; // that of the clip panel, above which it stands in line
constexpr int BarSpacingPx = 6;
constexpr int ShortestName = 6; // characters

QToolButton* NewBarButton(const QString& Text, QAction* pAction)
{
    auto* const button = new QToolButton;
    button->setFocusPolicy(Qt::TabFocus);
    button->setText(Text);
    button->setToolTip(pAction->toolTip());
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
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
} // namespace

// A text of its own: in a format a clip's name with "%p" in it would be read as one.
class ExportBar::ToldBar : public QProgressBar
{
public:
    void Tell(const QString& NewText)
    {
        Told = NewText;
        update();
    }
    QString text() const override { return Told; }

private:
    QString Told;
};

ExportBar::ExportBar(QAction* pStop, QAction* pStopAll, QWidget* pParent)
    : QWidget(pParent)
    , pContent(new QWidget)
    , pBar(new ToldBar)
{
    pBar->setAccessibleName("Export progress");
    auto* const lines = new QVBoxLayout(pContent);
    lines->setContentsMargins(BarMarginPx, 0, BarMarginPx, BarMarginPx);
    lines->setSpacing(BarSpacingPx);
    lines->addWidget(pBar);
    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(BarSpacingPx);
    buttons->addWidget(NewBarButton("Stop", pStop));
    buttons->addWidget(NewBarButton("Stop all", pStopAll));
    lines->addLayout(buttons);

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
    Name = QString::fromStdString(pRunning->Clip.Name);
    pBar->setValue(static_cast<int>(pRunning->Fraction * 100.0));
    // An encoder that tells nothing: the running time says that something is going on.
    Percent =
        pRunning->Phase ? QString("%1 %").arg(pBar->value()) : MinutesText(pRunning->ElapsedSec);
    Left = pRunning->SecondsLeft ? MinutesText(std::ceil(*pRunning->SecondsLeft)) : QString();
    MoreCount = WaitingCount;
    bStopping = pRunning->bStopping;
    FitText();
}

// The whole where it fits, else a shorter name, else without words.
void ExportBar::FitText()
{
    QStringList words = {Percent};
    QStringList bare = {Percent};
    if (bStopping)
    {
        words.append("stopping");
    }
    else if (!Left.isEmpty())
    {
        words.append(Left + " left");
        bare.append(Left);
    }
    if (MoreCount > 0)
    {
        words.append(QString("%1 more").arg(MoreCount));
        bare.append(QString("+%1").arg(MoreCount));
    }
    const QFontMetrics metrics = pBar->fontMetrics();
    const QString told = words.join(", ");
    const QString gap(3, ' ');
    const int roomPx = pBar->width() - 2 * BarMarginPx;
    const int nameRoomPx = roomPx - metrics.horizontalAdvance(gap + told);
    const bool bNameFits = nameRoomPx >= metrics.averageCharWidth() * ShortestName;
    const QString name = metrics.elidedText(Name, Qt::ElideRight, nameRoomPx);
    const QString text = bNameFits                                   ? name + gap + told
                         : metrics.horizontalAdvance(told) <= roomPx ? told
                                                                     : bare.join("  ");
    pBar->Tell(text);
    pBar->setToolTip(PlainToolTip(Name + ": " + told));
    pBar->setAccessibleDescription(Name + ", " + told);
}

void ExportBar::resizeEvent(QResizeEvent* pEvent)
{
    QWidget::resizeEvent(pEvent);
    FitText();
}

void ExportBar::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    if (pEvent->type() == QEvent::FontChange)
    {
        FitText();
    }
}
