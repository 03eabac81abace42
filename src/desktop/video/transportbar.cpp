#include "desktop/video/transportbar.h"

#include "desktop/look/theme.h"
#include "desktop/look/timetext.h"

#include <QAction>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QSignalBlocker>
#include <QSlider>
#include <QToolButton>

#include <algorithm>
#include <array>
#include <utility>

namespace
{
constexpr std::array Speeds = {0.25, 0.5, 0.75, 1.0, 1.25, 1.5, 2.0, 4.0, 8.0};
constexpr int IconPx = 18;
constexpr int GapPx = 6;
constexpr int GroupGapPx = 12;
constexpr int SliderPx = 80;
constexpr int MarginPx = 8;
// Large texts need the room more than all else does.
constexpr int LargestIconPx = 36;
constexpr int WidestGapPx = 20;
constexpr int LongestSliderPx = 120;
constexpr int ShortestSliderPx = 60;

int LongestVolumePx()
{
    return std::min(Theme::ScaledPx(SliderPx), LongestSliderPx);
}

int ShortestVolumePx()
{
    return std::min(LongestVolumePx(), ShortestSliderPx);
}

int GapOf(int Px)
{
    return std::min(Theme::ScaledPx(Px), WidestGapPx);
}

QString SpeedText(double Factor)
{
    return QLocale::c().toString(Factor, 'g', 3) + QChar(0x00D7);
}

QString TimesText(const TransportState& State, bool bLengthBelow)
{
    const QString timeText = TimeText(State.TimeSec);
    const QString gap = bLengthBelow ? " /\n" : " / ";
    return State.DurationSec > 0.0 ? timeText + gap + TimeText(State.DurationSec) : timeText;
}

// As wide as that of the last frame, so that nothing moves while the numbers run.
QString FrameText(const TransportState& State)
{
    if (!State.Frame || !State.FrameCount)
    {
        return {};
    }
    const qsizetype digits =
        QString::number(std::max<std::int64_t>(*State.FrameCount - 1, 0)).size();
    const QString frame = "Frame " + QString::number(*State.Frame).rightJustified(digits, ' ');
    return State.RangeFrames ? frame + ", range " + QString::number(*State.RangeFrames) : frame;
}

// The style's own slider keeps its size when the text grows.
QString SliderStyle()
{
    const int handlePx = Theme::ScaledPx(12);
    const int groovePx = Theme::ScaledPx(4);
    return QStringLiteral(R"(
        QSlider { min-height: %1px; }
        QSlider::groove:horizontal { height: %2px; border-radius: %3px; background: %6; }
        QSlider::sub-page:horizontal { border-radius: %3px; background: %7; }
        QSlider::handle:horizontal { width: %1px; margin: -%4px 0; border-radius: %5px;
                                     background: %8; }
        QSlider::handle:horizontal:focus { background: %7; })")
        .arg(handlePx)
        .arg(groovePx)
        .arg(groovePx / 2)
        .arg((handlePx - groovePx) / 2)
        .arg(handlePx / 2)
        .arg(Theme::Line.name(), Theme::Accent.name(), Theme::Text.name());
}

QWidget* MakeGroup(QWidget& Bar)
{
    auto* const group = new QWidget(&Bar);
    auto* const row = new QHBoxLayout(group);
    row->setContentsMargins(0, 0, 0, 0);
    return group;
}
} // namespace

TransportBar::TransportBar(const TransportActions& Actions, QWidget* pParent)
    : QWidget(pParent)
{
    pPlayGroup = MakePlayGroup(Actions);
    pTimeGroup = MakeTimeGroup();
    pSoundGroup = MakeSoundGroup(*Actions.pMute);
    pGrid = new QGridLayout(this);
    pGrid->setColumnStretch(1, 1);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    ApplySizes();
    ShowTime();
    ShowPlaying();
    ShowSpeed();
    ShowSound();
}

QToolButton*
TransportBar::AddButton(QWidget& Group, const char* Name, IconKind Kind, QAction& Triggered)
{
    auto* const button = new QToolButton(&Group);
    button->setIcon(MakeIcon(Kind));
    button->setToolTip(Triggered.toolTip());
    button->setAccessibleName(Triggered.text());
    // By Tab only: a click must not take the focus, and with it the keys, from where the user works.
    button->setFocusPolicy(Qt::TabFocus);
    button->setObjectName(Name);
    connect(button, &QToolButton::clicked, &Triggered, &QAction::trigger);
    Group.layout()->addWidget(button);
    return button;
}

QWidget* TransportBar::MakePlayGroup(const TransportActions& Actions)
{
    QWidget* const group = MakeGroup(*this);
    AddButton(*group, "StepFrameBack", IconKind::FrameBack, *Actions.pStepFrameBack);
    pPlay = AddButton(*group, "PlayPause", IconKind::Play, *Actions.pPlayPause);
    AddButton(*group, "StepFrameForward", IconKind::FrameForward, *Actions.pStepFrameForward);
    pSpeed = new QToolButton(group);
    pSpeed->setObjectName("Speed");
    pSpeed->setToolTip("Playback speed");
    pSpeed->setPopupMode(QToolButton::InstantPopup);
    // The text ends in an arrow of its own, which grows with it.
    pSpeed->setStyleSheet("QToolButton::menu-indicator { image: none; }");
    pSpeed->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Preferred);
    pSpeed->setFocusPolicy(Qt::TabFocus);
    FillSpeedMenu();
    group->layout()->addWidget(pSpeed);
    return group;
}

QWidget* TransportBar::MakeTimeGroup()
{
    QWidget* const group = MakeGroup(*this);
    pTimes = static_cast<QBoxLayout*>(group->layout());
    pTime = new QLabel(group);
    pTime->setObjectName("Time");
    pTime->setToolTip("Time and length, in hours, minutes and seconds");
    pFrame = new QLabel(group);
    pFrame->setObjectName("Frame");
    pFrame->setToolTip("Number of the frame, counted from 0, and the range's length in frames");
    group->layout()->addWidget(pTime);
    group->layout()->addWidget(pFrame);
    return group;
}

QWidget* TransportBar::MakeSoundGroup(QAction& MuteAction)
{
    QWidget* const group = MakeGroup(*this);
    pMute = AddButton(*group, "Mute", IconKind::SoundOn, MuteAction);
    pVolume = new QSlider(Qt::Horizontal, group);
    pVolume->setObjectName("Volume");
    pVolume->setRange(0, 100);
    pVolume->setPageStep(10);
    pVolume->setAccessibleName("Volume");
    pVolume->setFocusPolicy(Qt::TabFocus);
    connect(pVolume, &QSlider::valueChanged, this,
            [this](int Percent) { Q_EMIT VolumeEdited(Percent); });
    group->layout()->addWidget(pVolume);
    return group;
}

void TransportBar::FillSpeedMenu()
{
    auto* const menu = new QMenu(pSpeed);
    for (const double speed : Speeds)
    {
        QAction* const item = menu->addAction(SpeedText(speed));
        item->setCheckable(true);
        item->setData(speed);
        connect(item, &QAction::triggered, this,
                [this, speed]
                {
                    // The choice shows once the player has taken it.
                    ShowSpeed();
                    Q_EMIT SpeedPicked(speed);
                });
    }
    pSpeed->setMenu(menu);
}

void TransportBar::SetState(const TransportState& NewState)
{
    if (State == NewState)
    {
        return;
    }
    const TransportState earlier = std::exchange(State, NewState);
    // While a video plays only the time changes, and with every frame.
    ShowTime();
    if (State.bHasFile != earlier.bHasFile || State.bPlaying != earlier.bPlaying)
    {
        ShowPlaying();
    }
    if (State.Speed != earlier.Speed)
    {
        ShowSpeed();
    }
    if (State.VolumePercent != earlier.VolumePercent || State.bMuted != earlier.bMuted)
    {
        ShowSound();
    }
}

void TransportBar::ShowTime()
{
    const QString times = TimesText(State, Placed.bLengthBelow);
    const QString frame = FrameText(State);
    const bool bOtherWidth =
        times.size() != pTime->text().size() || frame.size() != pFrame->text().size();
    pTime->setText(times);
    pFrame->setText(frame);
    pFrame->setVisible(!frame.isEmpty());
    if (bOtherWidth)
    {
        PlaceGroups();
    }
}

void TransportBar::ShowPlaying()
{
    pPlayGroup->setEnabled(State.bHasFile);
    pTimeGroup->setEnabled(State.bHasFile);
    pPlay->setIcon(MakeIcon(State.bPlaying ? IconKind::Pause : IconKind::Play));
    pPlay->setAccessibleName(State.bPlaying ? "Pause" : "Play");
}

void TransportBar::ShowSpeed()
{
    pSpeed->setText(SpeedText(State.Speed) + " " + QChar(0x25BE));
    pSpeed->setAccessibleName("Playback speed " + SpeedText(State.Speed));
    for (QAction* const item : pSpeed->menu()->actions())
    {
        item->setChecked(qFuzzyCompare(item->data().toDouble(), State.Speed));
    }
    PlaceGroupsWhereChanged();
}

void TransportBar::ShowSound()
{
    pMute->setIcon(MakeIcon(State.bMuted ? IconKind::SoundOff : IconKind::SoundOn));
    pMute->setAccessibleName(State.bMuted ? "Unmute" : "Mute");
    if (!pVolume->isSliderDown())
    {
        const QSignalBlocker silent(pVolume);
        pVolume->setValue(qRound(State.VolumePercent));
    }
    pVolume->setToolTip(QStringLiteral("Volume %1 %").arg(pVolume->value()));
}

void TransportBar::ApplySizes()
{
    const int iconPx = std::min(Theme::ScaledPx(IconPx), LargestIconPx);
    for (QToolButton* const button : findChildren<QToolButton*>())
    {
        button->setIconSize(QSize(iconPx, iconPx));
    }
    for (QLabel* const label : {pTime, pFrame})
    {
        label->setAlignment(Qt::AlignCenter);
        label->setFont(Theme::TimeFont());
    }
    pVolume->setStyleSheet(SliderStyle());
    for (QWidget* const group : {pPlayGroup, pTimeGroup, pSoundGroup})
    {
        group->layout()->setSpacing(GapOf(GapPx));
    }
    pTimes->setSpacing(GapOf(GroupGapPx));
    pGrid->setContentsMargins(MarginPx, 0, MarginPx, 0);
    pGrid->setHorizontalSpacing(GapOf(GroupGapPx));
    pGrid->setVerticalSpacing(GapOf(GapPx));
    PlaceGroups();
}

int TransportBar::SoundWidthPx(int VolumePx) const
{
    return pMute->sizeHint().width() + pSoundGroup->layout()->spacing() + VolumePx;
}

TransportBar::Placement TransportBar::FittingPlacement() const
{
    const int roomPx = width() - 2 * MarginPx;
    const int gapPx = pGrid->horizontalSpacing();
    const int playPx = pPlayGroup->sizeHint().width() + gapPx;
    const int timePx = pTime->fontMetrics().horizontalAdvance(TimesText(State, false));
    const int framePx =
        pFrame->isVisibleTo(pTimeGroup) ? pTimes->spacing() + pFrame->sizeHint().width() : 0;
    Placement fitting;
    fitting.bStacked = roomPx < playPx + timePx + framePx + gapPx + SoundWidthPx(LongestVolumePx());
    fitting.bFrameBelow = roomPx < timePx + framePx;
    fitting.bLengthBelow = roomPx < timePx;
    fitting.bSoundBelow = roomPx < playPx + SoundWidthPx(ShortestVolumePx());
    fitting.VolumePx = fitting.bSoundBelow ? LongestVolumePx()
                                           : std::clamp(roomPx - playPx - SoundWidthPx(0),
                                                        ShortestVolumePx(), LongestVolumePx());
    return fitting;
}

void TransportBar::PlaceGroups()
{
    Placed = FittingPlacement();
    pVolume->setFixedWidth(Placed.VolumePx);
    pTime->setText(TimesText(State, Placed.bLengthBelow));
    pTimes->setDirection(Placed.bFrameBelow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    for (QWidget* const group : {pPlayGroup, pTimeGroup, pSoundGroup})
    {
        pGrid->removeWidget(group);
    }
    if (!Placed.bStacked)
    {
        pGrid->addWidget(pPlayGroup, 0, 0);
        pGrid->addWidget(pTimeGroup, 0, 1, Qt::AlignCenter);
        pGrid->addWidget(pSoundGroup, 0, 2);
        return;
    }
    pGrid->addWidget(pTimeGroup, 1, 0, 1, 2, Qt::AlignCenter);
    if (Placed.bSoundBelow)
    {
        pGrid->addWidget(pPlayGroup, 0, 0, 1, 2, Qt::AlignCenter);
        pGrid->addWidget(pSoundGroup, 2, 0, 1, 2, Qt::AlignCenter);
        return;
    }
    pGrid->addWidget(pPlayGroup, 0, 0);
    pGrid->addWidget(pSoundGroup, 0, 1, Qt::AlignRight);
}

void TransportBar::PlaceGroupsWhereChanged()
{
    if (pGrid != nullptr && Placed != FittingPlacement())
    {
        PlaceGroups();
    }
}

QSize TransportBar::minimumSizeHint() const
{
    const QFontMetrics metrics = pTime->fontMetrics();
    const QStringList times = TimesText(State, true).split('\n');
    int widthPx = std::max({pPlayGroup->sizeHint().width(), SoundWidthPx(ShortestVolumePx()),
                            pFrame->sizeHint().width()});
    for (const QString& line : times)
    {
        widthPx = std::max(widthPx, metrics.horizontalAdvance(line));
    }
    return {widthPx + 2 * MarginPx, pGrid->totalMinimumSize().height()};
}

void TransportBar::changeEvent(QEvent* pEvent)
{
    QWidget::changeEvent(pEvent);
    // The theme was applied anew, for another text scale perhaps.
    if (pGrid != nullptr &&
        (pEvent->type() == QEvent::StyleChange || pEvent->type() == QEvent::FontChange))
    {
        // Queued: after this event the style sheet puts back the fonts that the labels had before.
        QMetaObject::invokeMethod(this, &TransportBar::ApplySizes, Qt::QueuedConnection);
    }
}

void TransportBar::resizeEvent(QResizeEvent* pEvent)
{
    QWidget::resizeEvent(pEvent);
    PlaceGroupsWhereChanged();
}
