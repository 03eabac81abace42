// The panel as a machine: the bytes are a list of what a person and the host may do, in any order.
//
// Before each action the model says what must follow; after it the panel is compared with that, so a
// clip, row, status text, seek, command or notification too many or too few ends the program.

#include "check.h"
#include "inputbytes.h"
#include "panelmodel.h"
#include "panelstage.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <list>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace
{
using Panel = MvClipControlPanel;

class PanelMachine
{
public:
    PanelMachine(const std::uint8_t* pData, std::size_t Size)
        : Input(pData, Size)
    {
    }

    void Run()
    {
        while (!Input.IsAtEnd())
        {
            const auto& step = Steps.at(Input.Byte() % Steps.size());
            Host().Log.clear();
            (this->*step)();
        }
        // What still waits comes when the panel is gone, or another one stands in its place.
        Replace();
        while (Model.HasJob() || Model.HasMainThreadJob())
        {
            RunJob();
            RunMainThreadJob();
        }
    }

private:
    using Step = void (PanelMachine::*)();

    // -- Actions

    template <void (Panel::*PanelAction)(), void (PanelModel::*ModelAction)()> void Act()
    {
        Host().Log.clear();
        Model.Begin();
        (Model.*ModelAction)();
        bool bThrew = false;
        try
        {
            (Stage.Panel->*PanelAction)();
        }
        catch (const std::filesystem::filesystem_error&)
        {
            bThrew = true;
        }
        Check(bThrew == Model.bThrew(), "only a file-system error that is no absence is thrown");
        Model.End();
        CheckColumns();
    }

    void RunJob()
    {
        if (Model.HasJob())
        {
            Host().Log.clear();
            Model.Begin();
            Model.RunJob();
            Host().RunJob();
            Model.End();
        }
    }

    void RunMainThreadJob()
    {
        if (Model.HasMainThreadJob())
        {
            Host().Log.clear();
            Model.Begin();
            Model.RunMainThreadJob();
            Host().RunMainThreadJob();
            Model.End();
        }
    }

    void Replace()
    {
        Host().Log.clear();
        Model.Begin();
        Model.ReplacePanel();
        Stage.ReplacePanel();
        Model.End();
    }

    // Whoever holds the panel waits for the export no longer, and its result comes all the same.
    void GiveUpExport()
    {
        Host().Log.clear();
        Model.Begin();
        Model.GiveUpExport();
        ++Stage.Panel->ExportGeneration;
        Stage.Panel->bExportInProgress = false;
        Model.End();
    }

    void LayOut()
    {
        Host().Log.clear();
        Model.Begin();
        Stage.Panel->UpdateTableColumnLayout();
        Model.End();
        CheckColumns();
    }

    static void CheckColumns()
    {
        const std::vector<double>& fractions = Host().ColumnFractions;
        if (fractions.empty())
        {
            return;
        }
        Check(fractions.size() == 6, "each column has its width");
        for (const double fraction : fractions)
        {
            Check(std::isfinite(fraction) && fraction > 0.0, "no column is without a width");
        }
        const double sum = std::accumulate(fractions.begin(), fractions.end(), 0.0);
        Check(std::abs(sum - 1.0) < 1e-9, "the columns together are the table");
    }

    // -- Values

    double Time()
    {
        constexpr std::array<double, 12> Times = {0.0,
                                                  0.05,
                                                  0.04999,
                                                  -1.5,
                                                  3599.4,
                                                  3599.5,
                                                  1e12,
                                                  -1e12,
                                                  1.0 / 3.0,
                                                  std::numeric_limits<double>::quiet_NaN(),
                                                  std::numeric_limits<double>::infinity(),
                                                  -std::numeric_limits<double>::infinity()};
        const std::size_t choice = Input.Byte();
        return choice < Times.size() ? Times.at(choice) : static_cast<double>(choice) * 0.37;
    }

    // From -2 to 2 in small steps.
    double Fraction() { return (Input.Byte() - 128) / 64.0; }

    std::string Text()
    {
        const int choice = Input.Choice(64);
        if (choice >= 32)
        {
            return std::string(static_cast<std::size_t>(choice), static_cast<char>(Input.Byte()));
        }
        return Input.Text(static_cast<std::size_t>(choice));
    }

    std::string SourcePath()
    {
        const std::array<std::string, 6> paths = {
            "", "/media/a.mp4", "/media/it's.mp4", "/media/", "/", Stage.LinkLoop()};
        const std::size_t choice = Input.Byte();
        return choice < paths.size() ? paths.at(choice) : Text();
    }

    VideoPlace& Place() { return Stage.Places.at(static_cast<std::size_t>(Input.Choice(3))); }

    // -- Changes of the host

    void SetRange()
    {
        const VideoPlace& place = Place();
        const double startSec = Time();
        const double endSec = Time();
        if (place.Timeline != nullptr)
        {
            ContractHost::TimelineAnswer& answer = Host().Timelines[place.Timeline.get()];
            answer.bHasRange = Input.Choice(4) != 0;
            answer.RangeStartSec = startSec;
            answer.RangeEndSec = endSec;
        }
    }

    void SetDisplayedTime()
    {
        const VideoPlace& place = Place();
        const double sec = Time();
        if (place.Timeline != nullptr)
        {
            Host().Timelines[place.Timeline.get()].DisplayedTimeSec = sec;
        }
    }

    void SetMarkers()
    {
        const VideoPlace& place = Place();
        const auto count = static_cast<std::size_t>(Input.Choice(12));
        if (place.Timeline != nullptr)
        {
            place.Timeline->Markers.resize(count);
        }
    }

    void SetFlags()
    {
        const VideoPlace& place = Place();
        const int flags = Input.Byte();
        if (place.Window != nullptr)
        {
            place.Window->bOpen = (flags & 1) == 0;
            place.Window->bVisible = (flags & 2) == 0;
            place.Window->bClosing = (flags & 4) != 0;
            place.Window->bFocused = (flags & 8) != 0;
        }
    }

    void ChangeWindow()
    {
        VideoPlace& place = Place();
        const int choice = Input.Choice(6);
        const std::string path = SourcePath();
        if (choice == 0)
        {
            Stage.OpenWindow(place);
        }
        else if (place.Window == nullptr)
        {
            return;
        }
        else if (choice == 1)
        {
            Stage.CloseWindow(place);
        }
        else if (choice == 2)
        {
            Stage.CloseVideo(place);
        }
        else if (choice == 3)
        {
            Stage.ReplaceVideo(place, path);
        }
        else
        {
            Stage.SetTimeline(place, choice == 4);
        }
    }

    void SetMediaInfo()
    {
        VideoPlace& place = Place();
        const std::int64_t durationUs = (Input.Byte() - 8) * std::int64_t{123'457};
        if (place.Video != nullptr)
        {
            place.Info = durationUs < 0 ? nullptr : std::make_unique<MvMediaInfo>();
            place.Video->pMediaInfo = place.Info.get();
            if (place.Info != nullptr)
            {
                place.Info->DurationUs = durationUs;
            }
        }
    }

    void OrderWindows()
    {
        std::list<unsigned long>& order = Stage.Application.pMovane != nullptr
                                              ? Stage.Application.pMovane->WindowIDs
                                              : OrderOfNobody;
        const auto id = static_cast<unsigned long>(Input.Choice(9));
        order.remove(id);
        switch (Input.Choice(3))
        {
        case 0:
            order.push_front(id);
            break;
        case 1:
            order.push_back(id);
            break;
        default: // the window is not in the list
            break;
        }
    }

    void SetInputText()
    {
        const std::string text = Text();
        if (Stage.NameInput != nullptr)
        {
            Stage.NameInput->Text = text;
        }
    }

    void Select()
    {
        const int selected = Input.Choice(12) - 2;
        const int current = Input.Choice(12) - 2;
        if (Stage.Table != nullptr)
        {
            Stage.Table->SelectedRow = selected;
            Stage.Table->CurrentRow = current;
        }
    }

    template <typename T> static T* Toggle(std::unique_ptr<T>& Widget)
    {
        Widget = Widget == nullptr ? std::make_unique<T>() : nullptr;
        return Widget.get();
    }

    void ToggleWidget()
    {
        switch (Input.Choice(7))
        {
        case 0:
            Stage.Panel->pClipTable = Toggle(Stage.Table);
            break;
        case 1:
            Stage.Panel->pNameInput = Toggle(Stage.NameInput);
            break;
        case 2:
            Stage.Panel->pStatusLabel = Toggle(Stage.StatusLabel);
            break;
        case 3:
            Stage.Panel->pSourceLabel = Toggle(Stage.SourceLabel);
            break;
        case 4:
            Stage.Panel->pRangeLabel = Toggle(Stage.RangeLabel);
            break;
        case 5:
            Stage.Panel->pMarkersLabel = Toggle(Stage.MarkersLabel);
            break;
        default:
            Toggle(Stage.Panel->TableModel);
            Act<&Panel::RebuildTableModel, &PanelModel::Rebuild>();
            break;
        }
    }

    void ToggleHost()
    {
        Core& application = Stage.Application;
        switch (Input.Choice(8))
        {
        case 0:
            p = p == nullptr ? &application : nullptr;
            break;
        case 1:
            Toggle(application.pMovane);
            break;
        case 2:
            // A job that waits still knows it.
            std::swap(application.pJobSystem, Stage.AbsentJobSystem);
            break;
        case 3:
            Host().bJobSystemRuns = !Host().bJobSystemRuns;
            break;
        case 4:
            Toggle(application.pCoreSDL);
            break;
        case 5:
            Toggle(application.pRend);
            break;
        case 6:
            if (application.pRend != nullptr)
            {
                application.pRend->pTTF =
                    application.pRend->pTTF == nullptr ? &Stage.Font : nullptr;
            }
            break;
        default:
            Stage.Panel->pParentWindow =
                Stage.Panel->pParentWindow == nullptr ? &Stage.ParentWindow : nullptr;
            break;
        }
    }

    void SetGeometry()
    {
        Stage.Panel->RelX1 = Fraction();
        Stage.Panel->RelX2 = Fraction();
        Stage.Panel->RelY1 = Fraction();
        Stage.Panel->RelY2 = Fraction();
        Stage.Panel->PaddingPx = Input.Byte();
        Stage.ParentWindow.X1 = Fraction();
        Stage.ParentWindow.X2 = Fraction();
        Stage.ParentWindow.Y1 = Fraction();
        Stage.ParentWindow.Y2 = Fraction();
        Stage.ParentWindow.BorderWidth = Input.Byte();
        Stage.ParentWindow.bHasTitleBar = Input.Bool();
        Stage.ParentWindow.TitleBarHeight = Fraction();
    }

    void SetSurface()
    {
        Host().TextScale = Input.Choice(5);
        Host().CellWidthPx = Input.Choice(40) - 1;
        const int width = Input.Byte() * 16 - 16;
        const int height = Input.Byte() * 16 - 16;
        if (Stage.Application.pCoreSDL != nullptr)
        {
            Stage.Application.pCoreSDL->Width = width;
            Stage.Application.pCoreSDL->Height = height;
        }
        if (Stage.Table != nullptr)
        {
            Stage.Table->TextPx = Input.Byte();
            Stage.Table->bAutoScaleText = Input.Bool();
            Stage.Table->CellPaddingPx = Input.Byte();
            Stage.Table->RelX2 = Fraction();
            Stage.Table->RelY2 = Fraction();
        }
    }

    void SetOutcome()
    {
        constexpr std::array<int, 6> Results = {0, 0, 256, 9, 127 * 256, -1};
        Stage.Outcome.SystemResult = Results.at(static_cast<std::size_t>(Input.Choice(6)));
        Stage.Outcome.bWritesOutput = Input.Bool();
        Stage.Outcome.ErrorText = Text();
    }

    void SetEncoder()
    {
        const std::array<std::string, 5> overrides = {"", " \n", "/opt/it's/ffmpeg",
                                                      "\t/opt/it's/ffmpeg ", "/nowhere/ffmpeg"};
        const bool bInstalled = Input.Choice(4) != 0;
        Stage.SetEncoder(overrides.at(static_cast<std::size_t>(Input.Choice(5))), bInstalled);
    }

    void ToggleFiles()
    {
        const std::string path = SourcePath();
        switch (Input.Choice(5))
        {
        case 0:
            Platform().PretendedFiles.insert(path);
            break;
        case 1:
            Platform().PretendedFiles.erase(path);
            break;
        case 2:
            Host().bLoadSucceeds = !Host().bLoadSucceeds;
            break;
        case 3:
            Stage.SetRecordingsFolder(!Stage.bRecordingsUsable);
            break;
        default:
            Stage.bReplacesVideoOnLoad = Input.Bool();
            Stage.bDeletesClipOnLoad = Input.Bool();
            break;
        }
    }

    void SetOrdinal() { Stage.Panel->NextClipOrdinal = Input.Byte() - 8; }

    static constexpr std::array<Step, 35> Steps = {
        &PanelMachine::Act<&Panel::SaveCurrentRangeAsClip, &PanelModel::Save>,
        &PanelMachine::Act<&Panel::RenameSelectedClip, &PanelModel::Rename>,
        &PanelMachine::Act<&Panel::DeleteSelectedClip, &PanelModel::Delete>,
        &PanelMachine::Act<&Panel::AddCurrentMarker, &PanelModel::AddMarker>,
        &PanelMachine::Act<&Panel::ClearCurrentRange, &PanelModel::ClearRange>,
        &PanelMachine::Act<&Panel::LoadSelectedClip, &PanelModel::Load>,
        &PanelMachine::Act<&Panel::JumpToSelectedClip, &PanelModel::JumpIn>,
        &PanelMachine::Act<&Panel::JumpOutSelectedClip, &PanelModel::JumpOut>,
        &PanelMachine::Act<&Panel::ExportSelectedClip, &PanelModel::Export>,
        &PanelMachine::Act<&Panel::PumpExportResult, &PanelModel::Pump>,
        &PanelMachine::Act<&Panel::UpdateLiveLabels, &PanelModel::UpdateLabels>,
        &PanelMachine::Act<&Panel::SyncNameInputFromSelection, &PanelModel::SyncName>,
        &PanelMachine::Act<&Panel::RebuildTableModel, &PanelModel::Rebuild>,
        &PanelMachine::LayOut,
        &PanelMachine::RunJob,
        &PanelMachine::RunMainThreadJob,
        &PanelMachine::Replace,
        &PanelMachine::SetRange,
        &PanelMachine::SetDisplayedTime,
        &PanelMachine::SetMarkers,
        &PanelMachine::SetFlags,
        &PanelMachine::ChangeWindow,
        &PanelMachine::SetMediaInfo,
        &PanelMachine::OrderWindows,
        &PanelMachine::SetInputText,
        &PanelMachine::Select,
        &PanelMachine::ToggleWidget,
        &PanelMachine::ToggleHost,
        &PanelMachine::SetGeometry,
        &PanelMachine::SetSurface,
        &PanelMachine::SetOutcome,
        &PanelMachine::SetEncoder,
        &PanelMachine::ToggleFiles,
        &PanelMachine::SetOrdinal,
        &PanelMachine::GiveUpExport,
    };

    InputBytes Input;
    PanelStage Stage;
    PanelModel Model{Stage};
    std::list<unsigned long> OrderOfNobody;
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t Size)
{
    PanelMachine(pData, Size).Run();
    return 0;
}
