// What the actions do, where it takes more than a call of the session or the panel. Which action calls what
// stands in the action table.
//
// Each acts on the session's target document or on the clip panel; what needs a window (a dialog, the name
// field, another window) is asked for by a signal.
//
// UI thread only. What changes a record asks for a frame, so the widgets show its outcome.

#pragma once

#include "desktop/actions/actiontable.h"

#include <QObject>

#include <functional>
#include <string>
#include <vector>

class MvClipControlPanel;
class VideoDocument;

/// The first or the last frame of a clip.
enum class ClipEnd
{
    First,
    Last,
};

class Commands : public QObject
{
    Q_OBJECT

public:
    explicit Commands(Session& Running);

    /// Does what the action table says.
    void Run(ActionId Id) { InfoOf(Id).Do(*this, Running); }

    // -- The target document; nothing happens without a file.
    void PlayPause();
    void PlayBackward(); ///< faster when it does so already, slower when it plays fast
    void PlayStop();
    void PlayForward();
    void Step(int Request); ///< a SeekRequest; pauses
    void Seek(int Request);
    void SeekBy(double Sec);
    void SeekTo(double Sec);
    void SetSpeed(double Factor);
    void MultiplySpeed(double Factor);
    void GoToMarkerBeside(
        double Direction); ///< -1 for the marker before the playhead, 1 for the one behind
    /// MarkIn or MarkOut at the playhead; without a file the status line says that Name can't be set.
    void Mark(void (VideoDocument::*SetMark)(double Sec), const char* Name);
    void ClearRange(); ///< and what is half marked; also without a file

    // -- The clip panel.

    /// Calls an action of the panel. A file-system error, which the panel lets through, becomes its status.
    void ActOnPanel(const std::function<void(MvClipControlPanel&)>& Action);
    /// Calls an action of the panel that goes to a clip; the player shows that frame of it.
    void SeekOnPanel(void (MvClipControlPanel::*Action)(), ClipEnd Shown);
    /// The rows of the selected clips, also where it is one.
    std::vector<int> SelectedRows() const;
    void ExportClip(); ///< those that are selected
    void ExportAgain();
    /// Hands the path of the selected clip's file to Use; the status line says when there is none.
    void UseClipFile(void (*Use)(const std::string& Path));
    void SelectClip(int Row);
    void SelectClipBeside(int Step);

    // -- View
    void SetTextScale(double Scale);
    void TextLarger();
    void TextSmaller();

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
    void Refuse(const QString& Text);

    Session& Running;
};
