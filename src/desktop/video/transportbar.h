// The row below the picture: play and step, the time, speed and sound.
//
// It shows a TransportState and knows no player: buttons trigger the actions of their window, the
// volume and the speed are signals. Where the window is too narrow for the row, the time gets a second
// one; with large text the volume gets shorter, and the frame's number, the length and the sound get rows of
// their own. The widgets have object names: PlayPause, StepFrameBack, StepFrameForward, Speed, Time,
// Frame, Mute and Volume. UI thread only.

#pragma once

#include "desktop/look/icons.h"
#include "desktop/video/transportstate.h"

#include <QWidget>

class QAction;
class QBoxLayout;
class QGridLayout;
class QLabel;
class QSlider;
class QToolButton;

/// What the buttons trigger. All must outlive the bar.
struct TransportActions
{
    QAction* pPlayPause = nullptr;
    QAction* pStepFrameBack = nullptr;
    QAction* pStepFrameForward = nullptr;
    QAction* pMute = nullptr;
};

class TransportBar : public QWidget
{
    Q_OBJECT

public:
    explicit TransportBar(const TransportActions& Actions, QWidget* pParent = nullptr);

    /// Shows a state. Emits nothing. A volume that the user is just dragging stays in their hand.
    void SetState(const TransportState& NewState);

    QSize minimumSizeHint() const override;

Q_SIGNALS:
    /// The user moved the volume to 0 to 100.
    void VolumeEdited(double Percent);
    /// The user chose a speed, 1 is normal.
    void SpeedPicked(double Factor);

protected:
    void changeEvent(QEvent* pEvent) override;
    void resizeEvent(QResizeEvent* pEvent) override;

private:
    /// Where the parts stand in the width that there is.
    struct Placement
    {
        bool bStacked = false;     ///< the time has a row of its own
        bool bFrameBelow = false;  ///< and the frame's number has one below it
        bool bLengthBelow = false; ///< the time stands above the length
        bool bSoundBelow = false;  ///< the sound has the last row
        int VolumePx = 0;

        bool operator==(const Placement&) const = default;
    };

    QToolButton* AddButton(QWidget& Group, const char* Name, IconKind Kind, QAction& Triggered);
    QWidget* MakePlayGroup(const TransportActions& Actions);
    QWidget* MakeTimeGroup();
    QWidget* MakeSoundGroup(QAction& MuteAction);
    void FillSpeedMenu();
    void ApplySizes();
    Placement FittingPlacement() const;
    void PlaceGroups();
    void PlaceGroupsWhereChanged();
    int SoundWidthPx(int VolumePx) const;
    void ShowTime();
    void ShowPlaying();
    void ShowSpeed();
    void ShowSound();

    TransportState State;
    QGridLayout* pGrid = nullptr;
    QWidget* pPlayGroup = nullptr;
    QWidget* pTimeGroup = nullptr;
    QBoxLayout* pTimes = nullptr; ///< the time group's
    QWidget* pSoundGroup = nullptr;
    QToolButton* pPlay = nullptr;
    QToolButton* pSpeed = nullptr;
    QLabel* pTime = nullptr;
    QLabel* pFrame = nullptr;
    QToolButton* pMute = nullptr;
    QSlider* pVolume = nullptr;
    Placement Placed;
};
