// What the panel's work costs beside its floor: the least work that its promises allow, done by hand.
//
// Each measured name has a second with "/floor" behind it; script/bench sets them against each other.

#include "countednew.h"
#include "panelbench.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{
void ClipCounts(benchmark::internal::Benchmark* pBench)
{
    for (const int count : {1, 100, 1000, 10000, 100000})
    {
        pBench->Arg(count);
    }
}

// -- Rebuilding the table

void Rebuild(benchmark::State& State)
{
    PanelBench bench(static_cast<int>(State.range(0)));
    for ([[maybe_unused]] auto _ : State)
    {
        bench.Panel.RebuildTableModel();
    }
}
BENCHMARK(Rebuild)->Name("rebuild")->Apply(ClipCounts);

// The table keeps its rows until the next rebuild, so the floor keeps its own as well.
void RebuildFloor(benchmark::State& State)
{
    PanelBench bench(static_cast<int>(State.range(0)));
    MvTableModel::RowList kept;
    for ([[maybe_unused]] auto _ : State)
    {
        MvTableModel::RowList rows;
        rows.reserve(bench.Panel.Clips.size());
        std::size_t longest = 0;
        for (const MvClipControlPanel::SavedClip& clip : bench.Panel.Clips)
        {
            MvTableModel::Row& row = rows.emplace_back(6);
            const double lengthSec = std::max(0.0, clip.EndSec - clip.StartSec);
            row[0] = clip.Name;
            row[1] = MvClipControlPanel::FormatTimeLabel(clip.StartSec);
            row[2] = MvClipControlPanel::FormatTimeLabel(clip.EndSec);
            row[3] = MvClipControlPanel::FormatTimeLabel(lengthSec);
            row[4] = clip.ColorName;
            row[5] = clip.SourceLabel;
            for (const double timeSec : {clip.StartSec, clip.EndSec, lengthSec})
            {
                longest = std::max(longest, MvClipControlPanel::FormatTimeLabel(timeSec).size());
            }
        }
        kept = std::move(rows);
        benchmark::DoNotOptimize(longest);
        benchmark::DoNotOptimize(kept.data());
    }
}
BENCHMARK(RebuildFloor)->Name("rebuild/floor")->Apply(ClipCounts);

// -- Saving

void Save(benchmark::State& State)
{
    PanelBench bench(static_cast<int>(State.range(0)) - 1);
    for ([[maybe_unused]] auto _ : State)
    {
        bench.Panel.SaveCurrentRangeAsClip();
        bench.Panel.Clips.pop_back();
    }
}
BENCHMARK(Save)->Name("save")->Apply(ClipCounts);

void SaveFloor(benchmark::State& State)
{
    Rebuild(State);
}
BENCHMARK(SaveFloor)->Name("save/floor")->Apply(ClipCounts);

// -- An idle frame

void TellAllocations(benchmark::State& State, std::size_t CountBefore)
{
    const std::size_t count = AllocationCount() - CountBefore;
    const auto each = count / static_cast<std::size_t>(State.iterations());
    State.SetLabel(std::to_string(each) + " allocations");
}

void Frame(benchmark::State& State)
{
    PanelBench bench(10);
    const std::size_t before = AllocationCount();
    for ([[maybe_unused]] auto _ : State)
    {
        bench.Panel.PumpExportResult();
        benchmark::DoNotOptimize(bench.Panel.GetExportStatus());
        bench.Panel.UpdateLiveLabels();
    }
    TellAllocations(State, before);
}
BENCHMARK(Frame)->Name("idle frame");

void FrameFloor(benchmark::State& State)
{
    PanelBench bench(10);
    const MvTimeControl& timeline = bench.pWindow->Timeline();
    const std::string& path = bench.pWindow->pVideo->FilePath;
    const std::size_t before = AllocationCount();
    for ([[maybe_unused]] auto _ : State)
    {
        bench.SourceLabel.Text = "Source: " + MvClipControlPanel::BaseNameFromPath(path);
        const double startSec = timeline.RangeStartSec();
        const double endSec = timeline.RangeEndSec();
        bench.RangeLabel.Text =
            "Current Range: " + MvClipControlPanel::FormatTimeLabel(startSec) + " -> " +
            MvClipControlPanel::FormatTimeLabel(endSec) + "   LEN " +
            MvClipControlPanel::FormatTimeLabel(std::max(0.0, endSec - startSec));
        std::ostringstream text;
        text << "Markers: " << timeline.Markers.size()
             << "   Current: " << MvClipControlPanel::FormatTimeLabel(timeline.DisplayedTimeSec());
        bench.MarkersLabel.Text = text.str();
    }
    TellAllocations(State, before);
}
BENCHMARK(FrameFloor)->Name("idle frame/floor");

void Pump(benchmark::State& State)
{
    PanelBench bench(10);
    for ([[maybe_unused]] auto _ : State)
    {
        bench.Panel.PumpExportResult();
    }
}
BENCHMARK(Pump)->Name("pump, nothing waiting");

void PumpFloor(benchmark::State& State)
{
    PanelBench bench(10);
    for ([[maybe_unused]] auto _ : State)
    {
        bench.Panel.ExportMutex.lock();
        bench.Panel.ExportMutex.unlock();
    }
}
BENCHMARK(PumpFloor)->Name("pump, nothing waiting/floor");

// -- Export names

std::vector<std::string> TakeNames(const PanelBench& Bench, int Count)
{
    const std::filesystem::path folder = Bench.Folder.Path() / "recordings" / "clips";
    std::filesystem::create_directories(folder);
    std::vector<std::string> names;
    for (int i = 0; i <= Count; ++i)
    {
        std::array<char, 64> name{};
        std::snprintf(name.data(), name.size(), "clip_%05d_Harbour.mkv", i);
        names.push_back(folder / name.data());
        if (i < Count)
        {
            std::ofstream(names.back()).close();
        }
    }
    return names;
}

void OutputName(benchmark::State& State)
{
    const PanelBench bench(1);
    TakeNames(bench, static_cast<int>(State.range(0)));
    std::string fileName;
    for ([[maybe_unused]] auto _ : State)
    {
        benchmark::DoNotOptimize(MvClipControlPanel::BuildClipExportPath("Harbour", fileName));
    }
}
BENCHMARK(OutputName)->Name("output name")->Arg(10)->Arg(100)->Arg(1000)->Arg(9999);

void OutputNameFloor(benchmark::State& State)
{
    const PanelBench bench(1);
    const std::vector<std::string> names = TakeNames(bench, static_cast<int>(State.range(0)));
    for ([[maybe_unused]] auto _ : State)
    {
        for (const std::string& name : names)
        {
            struct stat status = {};
            benchmark::DoNotOptimize(::stat(name.c_str(), &status));
        }
    }
}
BENCHMARK(OutputNameFloor)->Name("output name/floor")->Arg(10)->Arg(100)->Arg(1000)->Arg(9999);

// -- Quoting

// The name of somebody's holiday: one apostrophe.
std::string PathLike(std::size_t Size)
{
    std::string path(Size, 'x');
    path[Size / 2] = '\'';
    return path;
}

void Quote(benchmark::State& State)
{
    const std::string path = PathLike(static_cast<std::size_t>(State.range(0)));
    for ([[maybe_unused]] auto _ : State)
    {
        benchmark::DoNotOptimize(MvClipControlPanel::ShellQuote(path));
    }
}
BENCHMARK(Quote)->Name("quote")->Arg(40)->Arg(100)->Arg(1000)->Arg(4096);

void QuoteFloor(benchmark::State& State)
{
    const std::string path = PathLike(static_cast<std::size_t>(State.range(0)));
    for ([[maybe_unused]] auto _ : State)
    {
        benchmark::DoNotOptimize(std::string(path));
    }
}
BENCHMARK(QuoteFloor)->Name("quote/floor")->Arg(40)->Arg(100)->Arg(1000)->Arg(4096);
} // namespace

BENCHMARK_MAIN();
