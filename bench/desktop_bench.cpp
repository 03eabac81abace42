// What the windows cost with a great many clips: a frame, a selection and each action, with all of the
// toolkit and without a screen.

#include "app/clippanelrecords.h"
#include "desktop/actions/actionset.h"
#include "desktop/actions/commands.h"
#include "desktop/clips/clippanelwidget.h"
#include "desktop/look/theme.h"
#include "desktop/session/session.h"
#include "desktop/timeline/timelineclips.h"
#include "desktop/timeline/timelinewidget.h"
#include "host/mvvideowindow.h"
#include "player/mpvvideo.h"
#include "support/fakevideo.h"

#include <QApplication>
#include <QTableView>
#include <QVBoxLayout>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstddef>
#include <vector>

namespace
{
// A clip panel in a window, with its session but without a player.
class Stage
{
public:
    explicit Stage(int ClipCount)
    {
        auto window = std::make_unique<MvVideoWindow>();
        window->SetVideo(std::make_unique<FakeVideo>());
        pWindow = window.get();
        p->pMovane->AddWindow(Movane::FirstVideoWindowID, std::move(window));
        pWindow->LoadVideoFile(Path, false);
        SetRange();
        auto* const layout = new QVBoxLayout(&Window);
        layout->addWidget(pWidget);
        layout->addWidget(pTimeline);
        Window.resize(500, 760);
        Window.show();
        for (int i = 0; i < ClipCount; ++i)
        {
            MvClipControlPanel::SavedClip clip;
            clip.Name = "Clip " + std::to_string(i + 1);
            clip.SourcePath = Path;
            clip.SourceLabel = "holiday.mp4";
            clip.ColorName = "Amber";
            clip.StartSec = 0.05 * i;
            clip.EndSec = 0.05 * i + 0.04;
            Running.Panel().Clips.push_back(clip);
        }
        Running.Panel().RebuildTableModel();
        Frame();
        QCoreApplication::processEvents();
    }

    /// As a video that plays makes it thirty times a second.
    void Frame()
    {
        Running.Frame();
        TimelineState state;
        state.DurationSec = 7200.0;
        state.PlayheadSec = (PlayheadSec += 0.04);
        state.Clips = Bars.Of(Running.Panel(), Path);
        pTimeline->SetState(state);
        QCoreApplication::processEvents();
    }

    /// Clips, markers and range as before an action that leaves the earlier clips in place.
    void TakeBack(std::size_t ClipCount)
    {
        std::vector<MvClipControlPanel::SavedClip>& clips = Running.Panel().Clips;
        if (clips.size() > ClipCount)
        {
            clips.erase(clips.begin() + static_cast<std::ptrdiff_t>(ClipCount), clips.end());
            Running.Panel().RebuildTableModel();
            Running.Records().Table.SelectRow(static_cast<int>(ClipCount) - 1);
        }
        pWindow->Timeline().Markers.clear();
        SetRange();
        Frame();
    }

    static constexpr const char* Path = "/videos/holiday.mp4";
    Session Running{[](std::string& OutError)
                    {
                        OutError = "No player here.";
                        return std::unique_ptr<MpvVideo>();
                    }};
    Commands Target{Running};
    MvVideoWindow* pWindow = nullptr;
    QWidget Window;
    ActionSet Actions{Window, Target};
    ClipPanelWidget* pWidget = new ClipPanelWidget(Running, Actions, &Window);
    TimelineWidget* pTimeline = new TimelineWidget(&Window);
    TimelineClips Bars;
    double PlayheadSec = 0.0;

private:
    void SetRange() { pWindow->Timeline().SetRangeSelection(12.0, 34.5, false); }
};

void Counts(benchmark::internal::Benchmark* pBench)
{
    for (const int count : {1, 100, 10000, 100000})
    {
        pBench->Arg(count);
    }
    pBench->Unit(benchmark::kMicrosecond);
}

void PlayingFrame(benchmark::State& State)
{
    Stage stage(static_cast<int>(State.range(0)));
    for ([[maybe_unused]] auto _ : State)
    {
        stage.Frame();
    }
}
BENCHMARK(PlayingFrame)->Name("window: a frame while playing")->Apply(Counts);

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
        (stage.Running.Panel().*Action)();
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
