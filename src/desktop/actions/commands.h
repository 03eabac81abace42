// What the actions do. Each acts on the session's target document or on the clip panel; what needs a
// window (a dialog, the name field, another window) is asked for by a signal.
//
// UI thread only. What changes a record asks for a frame, so the widgets show its outcome.

#pragma once

#include <QObject>

#include <string>
#include <vector>

class MvClipControlPanel;
class Session;

class Commands : public QObject
{
    Q_OBJECT

public:
    explicit Commands(Session& Running);

    // -- File
    void OpenFile();
    void NewVideoWindow();
    void CloseWindow();
    void Quit();

    // -- Playback
    void PlayPause();
    void PlayBackward();
    void PlayStop();
    void PlayForward();
    void StepBack();
    void StepForward();
    void BackOneSecond();
    void ForwardOneSecond();
    void BackTenSeconds();
    void ForwardTenSeconds();
    void GoToStart();
    void GoToEnd();
    void GoToTime();
    void SpeedDown();
    void SpeedUp();
    void SpeedNormal();
    void VolumeDown();
    void VolumeUp();
    void ToggleMute();
    void PreviousMarker();
    void NextMarker();

    // -- Marking
    void SetIn();
    void SetOut();
    void ClearRange();
    void AddMarker();

    // -- Clips
    void SaveClip();
    void RenameClip();
    void DeleteClip();
    void LoadClip();
    void JumpToIn();
    void JumpToOut();
    void ExportClip();
    void ExportAll();
    void ExportAgain();
    void RemoveFromQueue();
    void StopExport();
    void StopAllExports();
    void OpenClipFile();
    void OpenClipFolder();
    void CopyClipPath();
    void SelectPreviousClip();
    void SelectNextClip();
    void SelectAllClips();
    void EditName();

    // -- View
    void ZoomIn();
    void ZoomOut();
    void ZoomToFit();
    void PanBack();
    void PanForward();
    void TextLarger();
    void TextSmaller();
    void TextNormal();
    void FullScreen();

    // -- Help
    void ShowKeys();
    void About();

    // -- With an argument, for widgets.
    void SeekTo(double Sec);
    void SetSpeed(double Factor);
    void SetVolume(double Percent);
    void SelectClip(int Row);

Q_SIGNALS:
    void OpenRequested();
    void NewWindowRequested();
    void CloseRequested();
    void QuitRequested();
    void GoToTimeRequested();
    void NameEditRequested();
    void ZoomRequested(int Steps); ///< positive shows less time; 0 the whole
    void PanRequested(int Pages);  ///< positive shows later times
    void TextScaleChanged();
    void FullScreenRequested();
    void KeysRequested();
    void AboutRequested();
    void AllClipsRequested(); ///< their rows are to be selected

private:
    template <typename Action> bool WithDocument(Action Act);
    void SeekBy(double Sec);
    void Step(int Request);
    void MultiplySpeed(double Factor);
    void GoToMarkerBeside(double Direction);
    void Refuse(const char* Text);
    void SetTextScale(double Scale);
    void SelectClipBeside(int Step);
    template <typename Action> void RunPanelAction(Action Act);
    std::vector<int> SelectedRows() const;
    std::string FileOfSelectedClip();
    void RunSeekingAction(void (MvClipControlPanel::*Action)(), bool bLast);

    Session& Running;
};
