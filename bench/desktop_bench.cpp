// What the windows cost with a great many clips: a frame, a selection and each action, with all of the
// toolkit, a real player that is paused, and without a screen.

#include "app/clippanelrecords.h"
#include "desktop/actions/actionset.h"
#include "desktop/actions/commands.h"
#include "desktop/clips/clippanelwidget.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "desktop/session/videodocument.h"
#include "desktop/timeline/timelinewidget.h"
#include "desktop/videopane.h"
#include "host/mvtimecontrol.h"
#include "player/mpvvideo.h"
#include "process/processsetup.h"
#include "support/samplevideo.h"

#include <QApplication>
#include <QVBoxLayout>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{
constexpr double FilmSec = 7200.0;

/// A film of two hours: the sample again and again.
const std::string& Film()
{
    static const TempFolder folder;
    static const std::string path = []
    {
        std::string made = (folder.Path() / "film.mkv").native();
        MakeMedia("-stream_loop -1 -i " + SampleVideo() + " -an -c copy -t " +
                      std::to_string(FilmSec),
                  made);
        return made;
    }();
    return path;
}

/// The clip panel and a video with its timeline, in one window.
class Stage
{
public:
    explicit Stage(int ClipCount)
    {
        pPane = new VideoPane(Running, Target, Actions, *pDocument, SurfaceKind::Software, &Window);
        QObject::connect(&Running, &Session::FrameDone, pWidget, &ClipPanelWidget::SyncFromHost);
        auto* const layout = new QVBoxLayout(&Window);
        layout->addWidget(pPane, 1);
        layout->addWidget(pWidget, 2);
        Window.resize(1000, 1000);
        Window.show();
        if (!pDocument->LoadVideoFile(Film(), false))
        {
            throw std::runtime_error(pDocument->LoadError());
        }
        SetRange();
        for (int i = 0; i < ClipCount; ++i)
        {
            MvClipControlPanel::SavedClip clip;
            clip.Name = "Clip " + std::to_string(i + 1);
            clip.SourcePath = Film();
            clip.SourceLabel = "film.mkv";
            clip.ColorName = "Amber";
            clip.StartSec = 0.05 * i;
            clip.EndSec = 0.05 * i + 0.04;
            Panel().Clips.push_back(clip);
        }
        Panel().RebuildTableModel();
        Frame();
        Frame();
    }

    MvClipControlPanel& Panel() { return Running.Panel(); }

    void Frame()
    {
        Running.Frame();
        QCoreApplication::processEvents();
    }

    /// A frame of a video that plays 30 times a second, but for the player, whose news is not measured.
    void PlayOn(double Sec)
    {
        PlayheadSec = std::fmod(PlayheadSec + Sec, FilmSec);
        pDocument->Timeline().SetDisplayedTimeSec(PlayheadSec);
        Panel().PumpExportResult();
        Panel().UpdateLiveLabels();
        Q_EMIT Running.FrameDone();
        // Without the frame that the timeline has asked for, which would take the player's own time.
        QCoreApplication::removePostedEvents(&Running);
        QCoreApplication::processEvents();
    }

    /// Clips, markers and range as before an action that leaves the earlier clips in place.
    void TakeBack(std::size_t ClipCount)
    {
        std::vector<MvClipControlPanel::SavedClip>& clips = Panel().Clips;
        if (clips.size() > ClipCount)
        {
            clips.erase(clips.begin() + static_cast<std::ptrdiff_t>(ClipCount), clips.end());
            Panel().RebuildTableModel();
            Running.Records().Table.SelectRow(static_cast<int>(ClipCount) - 1);
        }
        pDocument->Timeline().Markers.clear();
        pDocument->Timeline().MarkMarkersChanged();
        SetRange();
        Frame();
    }

    Session Running{[](std::string& OutError)
                    { return MpvVideo::Create({.VideoOutput = "libmpv"}, OutError); }};
    Commands Target{Running};

private:
    void SetRange() { pDocument->Timeline().SetRangeSelection(12.0, 34.5, false); }
    VideoDocument* NewDocument()
    {
        std::string error;
        VideoDocument* const document = Running.AddDocument(error);
        if (document == nullptr)
        {
            throw std::runtime_error(error);
        }
        return document;
    }

    VideoDocument* pDocument = NewDocument();
    QWidget Window;
    ActionSet Actions{Window, Target};
    ClipPanelWidget* pWidget = new ClipPanelWidget(Running, Actions, &Window);
    VideoPane* pPane = nullptr;
    double PlayheadSec = 0.0;
};

void Counts(benchmark::internal::Benchmark* pBench)
{
    for (const int count : {1, 100, 10000, 100000})
    {
        pBench->Arg(count);
    }
    pBench->Unit(benchmark::kMicrosecond);
}

void PlayFrames(benchmark::State& State, double StepSec)
{
    Stage stage(static_cast<int>(State.range(0)));
    for ([[maybe_unused]] auto _ : State)
    {
        stage.PlayOn(StepSec);
    }
}

void PlayingFrame(benchmark::State& State)
{
    PlayFrames(State, 0.04);
}
BENCHMARK(PlayingFrame)->Name("window: a frame while playing")->Apply(Counts);

// As each frame of a short video does.
void PixelFrame(benchmark::State& State)
{
    PlayFrames(State, FilmSec / 900.0);
}
BENCHMARK(PixelFrame)->Name("window: a frame that moves the playhead by a pixel")->Apply(Counts);

void Rebuild(benchmark::State& State)
{
    Stage stage(static_cast<int>(State.range(0)));
    for ([[maybe_unused]] auto _ : State)
    {
        stage.Panel().RebuildTableModel();
    }
}
BENCHMARK(Rebuild)->Name("window: the panel's rebuild by itself")->Apply(Counts);

/// An action of the panel with the frame that shows it. It is taken back outside the measured time, so
/// that each begins with the same list.
void Act(benchmark::State& State, void (MvClipControlPanel::*Action)())
{
    Stage stage(static_cast<int>(State.range(0)));
    stage.Running.Records().Table.SelectRow(static_cast<int>(State.range(0)) - 1);
    stage.Frame();
    for ([[maybe_unused]] auto _ : State)
    {
        const auto started = std::chrono::steady_clock::now();
        (stage.Panel().*Action)();
        stage.Frame();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - started;
        State.SetIterationTime(elapsed.count());
        stage.TakeBack(static_cast<std::size_t>(State.range(0)));
    }
}

void ActOn(const char* Name, void (MvClipControlPanel::*Action)())
{
    benchmark::RegisterBenchmark(Name, [Action](benchmark::State& State) { Act(State, Action); })
        ->Apply(Counts)
        ->UseManualTime();
}

// The list stays as long as it is.
void Delete(benchmark::State& State)
{
    Stage stage(static_cast<int>(State.range(0)));
    MvClipControlPanel& panel = stage.Running.Panel();
    stage.Running.Records().Table.SelectRow(0);
    for ([[maybe_unused]] auto _ : State)
    {
        panel.Clips.push_back(panel.Clips.front());
        panel.DeleteSelectedClip();
        stage.Frame();
    }
}
BENCHMARK(Delete)->Name("window: delete a clip")->Apply(Counts);

void Select(benchmark::State& State)
{
    Stage stage(static_cast<int>(State.range(0)));
    int row = 0;
    for ([[maybe_unused]] auto _ : State)
    {
        row = (row + 7919) % static_cast<int>(State.range(0));
        stage.Running.Records().Table.SelectRow(row);
        stage.Frame();
    }
}
BENCHMARK(Select)->Name("window: select a clip far away")->Apply(Counts);
} // namespace

int main(int ArgumentCount, char** Arguments)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(ArgumentCount, Arguments);
    KeepDecimalPoint();
    Theme::Apply();
    using Panel = MvClipControlPanel;
    ActOn("window: save a clip", &Panel::SaveCurrentRangeAsClip);
    ActOn("window: rename a clip", &Panel::RenameSelectedClip);
    ActOn("window: load a clip", &Panel::LoadSelectedClip);
    ActOn("window: jump to In", &Panel::JumpToSelectedClip);
    ActOn("window: jump to Out", &Panel::JumpOutSelectedClip);
    ActOn("window: add a marker", &Panel::AddCurrentMarker);
    ActOn("window: clear the range", &Panel::ClearCurrentRange);
    ActOn("window: ask for an export that is refused", &Panel::ExportSelectedClip);
    benchmark::Initialize(&ArgumentCount, Arguments);
    benchmark::RunSpecifiedBenchmarks();
}
