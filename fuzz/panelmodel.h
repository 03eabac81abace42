// What the panel must do, told a second time and without the panel: a picture of everything that an
// action can change, and for each action the picture that must follow.
//
// The pictures are compared whole, so whatever an action must leave alone is proved with what it must
// do: a refusal differs from the picture before in nothing but its status text.

#pragma once

#include "panelstage.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

/// Of one video window.
struct PlacePicture
{
    bool bHasRange = false;
    double RangeStartSec = 0.0;
    double RangeEndSec = 0.0;
    std::size_t MarkerCount = 0;
    std::string FilePath;
    std::int64_t SeekTargetUs = 0;
};

struct PanelPicture
{
    std::vector<MvClipControlPanel::SavedClip> Clips;
    MvTableModel::RowList Rows;
    int NextClipOrdinal = 1;
    int SelectedRow = -1;
    int CurrentRow = -1;
    std::string InputText;
    bool bSyncingNameInput = false;

    std::string StatusText;
    std::string StatusLabel;
    std::string SourceLabel;
    std::string RangeLabel;
    std::string MarkersLabel;

    std::uint64_t ExportGeneration = 0;
    bool bInProgress = false;
    bool bResultReady = false;
    bool bResultSuccess = false;
    std::string ResultMessage;
    std::size_t JobCount = 0;
    std::size_t MainThreadJobCount = 0;

    std::array<PlacePicture, 3> Places;
    std::vector<std::string> Commands; ///< every command given to the shell
    std::vector<std::string> Effects; ///< what was done to the host, and each status text, in order
    bool bThrew = false;              ///< the last action left as a filesystem_error

    static PanelPicture Of(const PanelStage& Stage);
};

class PanelModel
{
public:
    explicit PanelModel(const PanelStage& NewStage)
        : Stage(NewStage)
    {
    }

    /// Takes the picture before an action; the members below then make it the one that must follow.
    void Begin() { Now = PanelPicture::Of(Stage); }
    /// Compares the picture with what is there.
    void End();

    void Save();
    void Rename();
    void Delete();
    void AddMarker();
    void ClearRange();
    void Load();
    void JumpIn();
    void JumpOut();
    void Export();
    void Pump();
    void UpdateLabels();
    void SyncName();
    void Rebuild();
    void RunJob();
    void RunMainThreadJob();
    void ReplacePanel();
    void GiveUpExport();

    bool HasJob() const { return !Jobs.empty(); }
    bool HasMainThreadJob() const { return !Results.empty(); }
    bool bThrew() const { return Now.bThrew; }

private:
    using SavedClip = MvClipControlPanel::SavedClip;

    struct Job
    {
        int PanelNumber = 0;
        std::uint64_t Generation = 0;
        std::string Command;
        std::string OutputPath;
        std::string FileName;
    };
    struct Result
    {
        int PanelNumber = 0;
        std::uint64_t Generation = 0;
        bool bSuccess = false;
        std::string Message;
    };

    int TargetPlace() const;
    bool HasTimeline(int Place) const;
    bool HasVideo(int Place) const;
    const SavedClip* Selected() const;
    void Status(const std::string& Text);
    void JumpTo(double SavedClip::*PointSec, const std::string& StatusPrefix);
    bool OpenSource(const SavedClip& Clip, int Place);
    void Seek(int Place, double Sec);
    bool FindEncoder(std::string& OutPath, std::string& OutError) const;
    Result Run(const Job& ExportJob);
    void Complete(const Result& ExportResult);

    const PanelStage& Stage;
    PanelPicture Now;
    bool bAnySeekTarget = false; ///< the time was beyond what microseconds can count
    std::deque<Job> Jobs;
    std::deque<Result> Results;
    int PanelNumber = 0;
};
