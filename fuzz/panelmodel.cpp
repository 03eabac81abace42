#include "panelmodel.h"

#include "check.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <numeric>

#include <sys/stat.h>

namespace
{
using SavedClip = MvClipControlPanel::SavedClip;

bool IsWhite(char Character)
{
    return Character == ' ' || Character == '\t' || Character == '\n' || Character == '\r';
}

std::string Trimmed(std::string Text)
{
    while (!Text.empty() && IsWhite(Text.back()))
    {
        Text.pop_back();
    }
    Text.erase(Text.begin(), std::find_if_not(Text.begin(), Text.end(), IsWhite));
    return Text;
}

std::string TwoDigits(std::int64_t Number)
{
    return (Number < 10 ? "0" : "") + std::to_string(Number);
}

std::string TimeText(double Sec)
{
    const auto whole =
        static_cast<std::int64_t>(std::isfinite(Sec) && Sec > 0 ? std::round(Sec) : 0);
    const std::string minutesAndSeconds = TwoDigits(whole / 60 % 60) + ':' + TwoDigits(whole % 60);
    return whole < 3600 ? minutesAndSeconds
                        : std::to_string(whole / 3600) + ':' + minutesAndSeconds;
}

double LengthSec(const SavedClip& Clip)
{
    return Clip.EndSec > Clip.StartSec ? Clip.EndSec - Clip.StartSec : 0.0;
}

std::string BaseName(const std::string& Path)
{
    const std::string name = Path.substr(Path.rfind('/') + 1);
    return Path.empty() ? "Unknown Source" : name.empty() ? Path : name;
}

std::string Stem(const std::string& Name)
{
    std::string stem;
    for (const char byte : Name)
    {
        const bool bKept = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') || byte == '-' || byte == '_';
        if (bKept || byte == ' ' || byte == '.')
        {
            stem += bKept ? byte : '_';
        }
    }
    stem.erase(stem.find_last_not_of('_') + 1);
    return stem.empty() ? "clip" : stem;
}

std::string Word(const std::string& Text)
{
    std::string word = "'";
    for (const char byte : Text)
    {
        word += byte == '\'' ? std::string("'\"'\"'") : std::string(1, byte);
    }
    return word + '\'';
}

std::string SecondsText(double Sec)
{
    std::array<char, 512> text{};
    std::snprintf(text.data(), text.size(), "%.3f", Sec);
    return text.data();
}

enum class Existence
{
    Yes,
    No,
    Unknown,
};

Existence ExistenceOf(const std::string& Path)
{
    struct stat status = {};
    if (stat(Path.c_str(), &status) == 0)
    {
        return Existence::Yes;
    }
    return errno == ENOENT || errno == ENOTDIR ? Existence::No : Existence::Unknown;
}

// Bit by bit, so that a time that is no number is equal to itself.
bool SameTime(double Left, double Right)
{
    return std::bit_cast<std::uint64_t>(Left) == std::bit_cast<std::uint64_t>(Right);
}

bool SameClip(const SavedClip& Left, const SavedClip& Right)
{
    return Left.Name == Right.Name && Left.SourcePath == Right.SourcePath &&
           Left.SourceLabel == Right.SourceLabel && Left.ColorName == Right.ColorName &&
           Left.ColorR == Right.ColorR && Left.ColorG == Right.ColorG &&
           Left.ColorB == Right.ColorB && Left.ColorA == Right.ColorA &&
           SameTime(Left.StartSec, Right.StartSec) && SameTime(Left.EndSec, Right.EndSec);
}

MvTableModel::RowList RowsOf(const std::vector<SavedClip>& Clips)
{
    MvTableModel::RowList rows;
    for (const SavedClip& clip : Clips)
    {
        rows.push_back({clip.Name, TimeText(clip.StartSec), TimeText(clip.EndSec),
                        TimeText(LengthSec(clip)), clip.ColorName, clip.SourceLabel});
    }
    return rows;
}

// What the panel asks the host changes nothing, so only the rest of the log counts.
bool IsEffect(const std::string& Call)
{
    constexpr std::array<const char*, 11> Effects = {"Status(",
                                                     "QueueNotification(",
                                                     "LoadVideoFile(",
                                                     "SetDefaultVideoFile(",
                                                     "Seek(",
                                                     "SetRangeSelection(",
                                                     "ClearRangeSelection(",
                                                     "AddMarkerAtCurrentTime(",
                                                     "SetText(",
                                                     "SetRows(",
                                                     "Enqueue"};
    return std::any_of(Effects.begin(), Effects.end(),
                       [&](const char* Begin) { return Call.starts_with(Begin); });
}

// The numbers of these calls are compared as numbers, elsewhere in the picture.
std::string EffectText(const std::string& Call)
{
    const bool bOfNumbers = Call.starts_with("Seek(") || Call.starts_with("SetRangeSelection(");
    return bOfNumbers ? Call.substr(0, Call.find('(')) : Call;
}

std::string TextOf(const std::unique_ptr<MvLabel>& Label)
{
    return Label == nullptr ? std::string() : Label->Text;
}

PlacePicture PictureOf(const VideoPlace& Place)
{
    PlacePicture picture;
    if (const auto found = Host().Timelines.find(Place.Timeline.get());
        Place.Timeline != nullptr && found != Host().Timelines.end())
    {
        picture.bHasRange = found->second.bHasRange;
        picture.RangeStartSec = found->second.RangeStartSec;
        picture.RangeEndSec = found->second.RangeEndSec;
    }
    picture.MarkerCount = Place.Timeline == nullptr ? 0 : Place.Timeline->Markers.size();
    if (Place.Video != nullptr)
    {
        picture.FilePath = Place.Video->FilePath;
        picture.SeekTargetUs = Place.Video->SeekTargetUs;
    }
    return picture;
}

// The texts of the checks below are put together only where they are needed: there are many checks.

void CheckText(const std::string& Is, const std::string& MustBe, const char* What)
{
    if (Is != MustBe)
    {
        Check(false, std::string(What) + " is \"" + Is + "\", not \"" + MustBe + '"');
    }
}

void CheckTexts(const std::vector<std::string>& Is,
                const std::vector<std::string>& MustBe,
                const char* What)
{
    const auto join = [](const std::string& Sum, const std::string& Text)
    { return Sum + "\n    " + Text; };
    if (Is != MustBe)
    {
        const std::string is = std::accumulate(Is.begin(), Is.end(), std::string(What), join);
        Check(false, std::accumulate(MustBe.begin(), MustBe.end(), is + "\n  not:", join));
    }
}

void CheckPlace(const PlacePicture& Is, const PlacePicture& MustBe, bool bAnySeekTarget)
{
    Check(Is.bHasRange == MustBe.bHasRange && SameTime(Is.RangeStartSec, MustBe.RangeStartSec) &&
              SameTime(Is.RangeEndSec, MustBe.RangeEndSec),
          "the timeline's range");
    Check(Is.MarkerCount == MustBe.MarkerCount, "the timeline's markers");
    CheckText(Is.FilePath, MustBe.FilePath, "the open file");
    Check(bAnySeekTarget || Is.SeekTargetUs == MustBe.SeekTargetUs, "the place to go to");
}
} // namespace

PanelPicture PanelPicture::Of(const PanelStage& Stage)
{
    const MvClipControlPanel& panel = *Stage.Panel;
    PanelPicture picture;
    picture.Clips = panel.Clips;
    picture.Rows = panel.TableModel == nullptr ? MvTableModel::RowList() : panel.TableModel->Rows;
    picture.NextClipOrdinal = panel.NextClipOrdinal;
    picture.SelectedRow = Stage.Table == nullptr ? -1 : Stage.Table->SelectedRow;
    picture.CurrentRow = Stage.Table == nullptr ? -1 : Stage.Table->CurrentRow;
    picture.InputText = Stage.NameInput == nullptr ? std::string() : Stage.NameInput->Text;
    picture.bSyncingNameInput = panel.bSyncingNameInput;
    picture.StatusText = panel.StatusText;
    picture.StatusLabel = TextOf(Stage.StatusLabel);
    picture.SourceLabel = TextOf(Stage.SourceLabel);
    picture.RangeLabel = TextOf(Stage.RangeLabel);
    picture.MarkersLabel = TextOf(Stage.MarkersLabel);
    picture.ExportGeneration = panel.ExportGeneration.load();
    picture.bInProgress = panel.bExportInProgress;
    picture.bResultReady = panel.bExportResultReady;
    picture.bResultSuccess = panel.bExportResultSuccess;
    picture.ResultMessage = panel.ExportResultMessage;
    picture.JobCount = Host().Jobs.size();
    picture.MainThreadJobCount = Host().MainThreadJobs.size();
    for (std::size_t i = 0; i < picture.Places.size(); ++i)
    {
        picture.Places[i] = PictureOf(Stage.Places[i]);
    }
    picture.Commands = Platform().Commands;
    for (const std::string& call : Host().Log)
    {
        if (IsEffect(call))
        {
            picture.Effects.push_back(EffectText(call));
        }
    }
    return picture;
}

void PanelModel::End()
{
    const PanelPicture is = PanelPicture::Of(Stage);
    CheckTexts(is.Effects, Now.Effects, "done:");
    Check(
        std::equal(is.Clips.begin(), is.Clips.end(), Now.Clips.begin(), Now.Clips.end(), SameClip),
        "the clips are what the actions made of them");
    Check(is.Rows == Now.Rows, "the rows are what the actions made of them");
    Check(Stage.Panel->TableModel == nullptr || is.Rows == RowsOf(is.Clips), "row i is clip i");
    Check(is.NextClipOrdinal == Now.NextClipOrdinal, "the counter");
    Check(is.SelectedRow == Now.SelectedRow && is.CurrentRow == Now.CurrentRow, "the selection");
    CheckText(is.InputText, Now.InputText, "the name input");
    Check(is.bSyncingNameInput == Now.bSyncingNameInput, "the flag of the name input");
    CheckText(is.StatusText, Now.StatusText, "the status");
    CheckText(is.StatusLabel, Now.StatusLabel, "the status label");
    CheckText(is.SourceLabel, Now.SourceLabel, "the source label");
    CheckText(is.RangeLabel, Now.RangeLabel, "the range label");
    CheckText(is.MarkersLabel, Now.MarkersLabel, "the markers label");

    Check(is.ExportGeneration == Now.ExportGeneration, "the number of exports");
    Check(is.bInProgress == Now.bInProgress, "whether an export runs");
    Check(is.bResultReady == Now.bResultReady, "whether a result waits");
    Check(is.bResultSuccess == Now.bResultSuccess, "how the export ended");
    CheckText(is.ResultMessage, Now.ResultMessage, "the export's message");
    const MvClipControlPanel::ExportStatus status = Stage.Panel->GetExportStatus();
    Check(status.bInProgress == Now.bInProgress, "the export status tells whether one runs");
    CheckText(status.Message, Now.bInProgress ? Now.StatusText : Now.ResultMessage, "its message");
    Check(is.JobCount == Jobs.size() && is.MainThreadJobCount == Results.size(),
          "the jobs that wait");
    const auto isOurs = [&](const auto& One)
    { return One.PanelNumber == PanelNumber && One.Generation == is.ExportGeneration; };
    const auto running = std::count_if(Jobs.begin(), Jobs.end(), isOurs) +
                         std::count_if(Results.begin(), Results.end(), isOurs);
    Check(running == (is.bInProgress ? 1 : 0), "at most one export of a panel is under way");

    for (std::size_t i = 0; i < is.Places.size(); ++i)
    {
        CheckPlace(is.Places[i], Now.Places[i], bAnySeekTarget);
    }
    bAnySeekTarget = false;
    CheckTexts(is.Commands, Now.Commands, "run:");
    Check(ExistenceOf(Stage.ErrorLogPath()) == Existence::No, "no error log is left");
}

// -- What there is

int PanelModel::TargetPlace() const
{
    if (p == nullptr || p->pMovane == nullptr)
    {
        return -1;
    }
    int firstUsable = -1;
    for (const unsigned long windowID : p->pMovane->WindowIDs)
    {
        for (int place = 0; place < 3; ++place)
        {
            const MvVideoWindow* const window =
                Stage.Places[static_cast<std::size_t>(place)].Window.get();
            if (Stage.Places[static_cast<std::size_t>(place)].ID != windowID || window == nullptr ||
                !window->bVisible || !window->bOpen || window->bClosing)
            {
                continue;
            }
            if (window->bFocused)
            {
                return place;
            }
            firstUsable = firstUsable < 0 ? place : firstUsable;
        }
    }
    return firstUsable < 0 && Stage.Places[0].Window != nullptr ? 0 : firstUsable;
}

bool PanelModel::HasTimeline(int Place) const
{
    return Place >= 0 && Stage.Places[static_cast<std::size_t>(Place)].Timeline != nullptr;
}

bool PanelModel::HasVideo(int Place) const
{
    return Place >= 0 && Stage.Places[static_cast<std::size_t>(Place)].Video != nullptr;
}

const PanelModel::SavedClip* PanelModel::Selected() const
{
    const int row = Now.SelectedRow >= 0 ? Now.SelectedRow : Now.CurrentRow;
    const bool bThere =
        Stage.Table != nullptr && row >= 0 && row < static_cast<int>(Now.Clips.size());
    return bThere ? &Now.Clips[static_cast<std::size_t>(row)] : nullptr;
}

// -- What is said and shown

void PanelModel::Status(const std::string& Text)
{
    Now.StatusText = Text;
    if (Stage.StatusLabel != nullptr)
    {
        Now.StatusLabel = Text;
    }
    Now.Effects.push_back("Status(" + Text + ")");
}

void PanelModel::UpdateLabels()
{
    const int target = TargetPlace();
    const PlacePicture place =
        target < 0 ? PlacePicture() : Now.Places[static_cast<std::size_t>(target)];
    if (Stage.SourceLabel != nullptr)
    {
        Now.SourceLabel = "Source: " + (place.FilePath.empty() ? "No active video source"
                                                               : BaseName(place.FilePath));
    }
    if (Stage.RangeLabel != nullptr)
    {
        SavedClip range;
        range.StartSec = place.RangeStartSec;
        range.EndSec = place.RangeEndSec;
        Now.RangeLabel = "Current Range: ";
        Now.RangeLabel += place.bHasRange
                              ? TimeText(range.StartSec) + " -> " + TimeText(range.EndSec) +
                                    "   LEN " + TimeText(LengthSec(range))
                              : "Set In/Out on the video timeline first.";
    }
    if (Stage.MarkersLabel != nullptr)
    {
        Now.MarkersLabel = "Markers: video timeline unavailable.";
        if (HasTimeline(target))
        {
            const MvTimeControl* const timeline =
                Stage.Places[static_cast<std::size_t>(target)].Timeline.get();
            Now.MarkersLabel = "Markers: " + std::to_string(place.MarkerCount) + "   Current: " +
                               TimeText(Host().Timelines[timeline].DisplayedTimeSec);
        }
    }
}

void PanelModel::SyncName()
{
    if (Stage.NameInput != nullptr)
    {
        Now.InputText = Selected() == nullptr ? std::string() : Selected()->Name;
        Now.Effects.push_back("SetText(" + Now.InputText + ", false)");
    }
}

void PanelModel::Rebuild()
{
    if (Stage.Panel->TableModel != nullptr)
    {
        Now.Rows = RowsOf(Now.Clips);
        Now.Effects.push_back("SetRows(" + std::to_string(Now.Rows.size()) + ")");
    }
}

// -- Clips

void PanelModel::Save()
{
    const int target = TargetPlace();
    if (!HasTimeline(target) || !HasVideo(target))
    {
        Status("No active MvVideoWindow to save a clip from.");
        return;
    }
    const PlacePicture& place = Now.Places[static_cast<std::size_t>(target)];
    if (!place.bHasRange)
    {
        Status("Set In and Out on the timeline before saving a clip.");
        return;
    }
    constexpr std::array<const char*, 6> ColorNames = {"Amber",  "Cyan", "Green",
                                                       "Yellow", "Pink", "Violet"};
    constexpr std::array<std::array<float, 3>, 6> Colors = {{{0.98F, 0.56F, 0.22F},
                                                             {0.28F, 0.84F, 0.98F},
                                                             {0.36F, 0.92F, 0.52F},
                                                             {0.98F, 0.86F, 0.32F},
                                                             {0.94F, 0.42F, 0.68F},
                                                             {0.72F, 0.58F, 1.0F}}};
    const int ordinal = std::max(Now.NextClipOrdinal, 1);
    ++Now.NextClipOrdinal;
    const auto color = static_cast<std::size_t>((ordinal - 1) % 6);
    SavedClip clip;
    clip.Name = Trimmed(Now.InputText);
    clip.Name = clip.Name.empty() ? "Clip " + std::to_string(ordinal) : clip.Name;
    clip.SourcePath = place.FilePath;
    clip.SourceLabel = BaseName(place.FilePath);
    clip.ColorName = ColorNames[color];
    clip.ColorR = Colors[color][0];
    clip.ColorG = Colors[color][1];
    clip.ColorB = Colors[color][2];
    clip.ColorA = 1.0F;
    clip.StartSec = place.RangeStartSec;
    clip.EndSec = place.RangeEndSec;
    Now.Clips.push_back(clip);
    Rebuild();
    if (Stage.Table != nullptr)
    {
        Now.SelectedRow = Now.CurrentRow = static_cast<int>(Now.Clips.size()) - 1;
    }
    SyncName();
    Status("Saved " + clip.Name + " from " + clip.SourceLabel);
}

void PanelModel::Rename()
{
    const std::string name = Trimmed(Now.InputText);
    if (Selected() == nullptr)
    {
        Status("Select a saved clip to rename it.");
        return;
    }
    if (name.empty())
    {
        Status("Clip name cannot be empty.");
        return;
    }
    Now.Clips[static_cast<std::size_t>(Selected() - Now.Clips.data())].Name = name;
    Rebuild();
    Status("Renamed clip to " + name);
}

void PanelModel::Delete()
{
    if (Selected() == nullptr)
    {
        Status("Select a clip to delete it.");
        return;
    }
    const auto index = Selected() - Now.Clips.data();
    const std::string name = Selected()->Name;
    Now.Clips.erase(Now.Clips.begin() + index);
    Rebuild();
    const int lastIndex = static_cast<int>(Now.Clips.size()) - 1;
    Now.SelectedRow = Now.CurrentRow = std::min(static_cast<int>(index), lastIndex);
    SyncName();
    Status("Deleted " + name);
}

void PanelModel::AddMarker()
{
    const int target = TargetPlace();
    if (!HasTimeline(target))
    {
        Status("Video timeline is not available for marker placement.");
        return;
    }
    const MvTimeControl* const timeline =
        Stage.Places[static_cast<std::size_t>(target)].Timeline.get();
    const double sec = Host().Timelines[timeline].DisplayedTimeSec;
    ++Now.Places[static_cast<std::size_t>(target)].MarkerCount;
    Now.Effects.emplace_back("AddMarkerAtCurrentTime()");
    UpdateLabels();
    Status("Added marker at " + TimeText(sec));
}

void PanelModel::ClearRange()
{
    const int target = TargetPlace();
    if (!HasTimeline(target))
    {
        Status("Video timeline is not available.");
        return;
    }
    Now.Places[static_cast<std::size_t>(target)].bHasRange = false;
    Now.Effects.emplace_back("ClearRangeSelection(false)");
    UpdateLabels();
    Status("Cleared current In/Out range.");
}

// -- Navigation

void PanelModel::Load()
{
    const int target = TargetPlace();
    if (Selected() == nullptr || !HasTimeline(target) || !HasVideo(target))
    {
        Status("Select a clip and ensure a video timeline is available.");
        return;
    }
    const SavedClip clip = *Selected();
    if (!OpenSource(clip, target))
    {
        return;
    }
    PlacePicture& place = Now.Places[static_cast<std::size_t>(target)];
    place.bHasRange = true;
    place.RangeStartSec = clip.StartSec;
    place.RangeEndSec = clip.EndSec;
    Now.Effects.emplace_back("SetRangeSelection");
    Seek(target, clip.StartSec);
    Status("Loaded " + clip.Name + " onto the video timeline.");
}

void PanelModel::JumpIn()
{
    JumpTo(&SavedClip::StartSec, "Jumped to ");
}

void PanelModel::JumpOut()
{
    JumpTo(&SavedClip::EndSec, "Jumped to Out for ");
}

void PanelModel::JumpTo(double SavedClip::*PointSec, const std::string& StatusPrefix)
{
    const int target = TargetPlace();
    if (Selected() == nullptr || !HasVideo(target))
    {
        Status("Select a clip and ensure a video window is available.");
        return;
    }
    const SavedClip clip = *Selected();
    if (OpenSource(clip, target))
    {
        Seek(target, clip.*PointSec);
        Status(StatusPrefix + clip.Name);
    }
}

bool PanelModel::OpenSource(const SavedClip& Clip, int Place)
{
    PlacePicture& place = Now.Places[static_cast<std::size_t>(Place)];
    if (Clip.SourcePath.empty() || Clip.SourcePath == place.FilePath)
    {
        return true;
    }
    const Existence existence = ExistenceOf(Clip.SourcePath);
    if (existence == Existence::Unknown)
    {
        Now.bThrew = true;
        return false;
    }
    if (existence == Existence::No)
    {
        Status("Clip source file is missing: " + Clip.SourcePath);
        return false;
    }
    place.FilePath = Host().bLoadSucceeds ? Clip.SourcePath : place.FilePath;
    Now.Effects.push_back("LoadVideoFile(" + Clip.SourcePath + ", false)");
    if (Stage.bReplacesVideoOnLoad)
    {
        for (PlacePicture& other : Now.Places)
        {
            other.SeekTargetUs = 0;
        }
    }
    if (Stage.bDeletesClipOnLoad)
    {
        Delete();
    }
    if (!Host().bLoadSucceeds)
    {
        Status("Failed to load clip source: " + BaseName(Clip.SourcePath));
        return false;
    }
    Now.Effects.push_back("SetDefaultVideoFile(" + Clip.SourcePath + ")");
    return true;
}

void PanelModel::Seek(int Place, double Sec)
{
    const VideoPlace& place = Stage.Places[static_cast<std::size_t>(Place)];
    const double us = 1000000.0 * Sec;
    bAnySeekTarget = !(std::abs(us) < 9.2e18);
    auto targetUs = bAnySeekTarget ? 0 : static_cast<std::int64_t>(std::round(us));
    // A record that the player makes anew has no media information.
    const bool bNewRecord =
        Stage.bReplacesVideoOnLoad &&
        std::any_of(Now.Effects.begin(), Now.Effects.end(),
                    [](const std::string& Effect) { return Effect.starts_with("LoadVideoFile("); });
    if (place.Info != nullptr && place.Info->DurationUs > 0 && !bNewRecord)
    {
        const std::int64_t lastUs = std::max<std::int64_t>(place.Info->DurationUs - 1000, 0);
        targetUs = std::min(std::max<std::int64_t>(targetUs, 0), lastUs);
    }
    Now.Places[static_cast<std::size_t>(Place)].SeekTargetUs = targetUs;
    Now.Effects.emplace_back("Seek");
}

// -- Export

bool PanelModel::FindEncoder(std::string& OutPath, std::string& OutError) const
{
    const std::string overridePath = Trimmed(Stage.OverridePath);
    OutPath = overridePath.empty() ? "/usr/bin/ffmpeg" : overridePath;
    OutError = overridePath.empty()
                   ? "ffmpeg executable not found. Install ffmpeg or set MOVANE_FFMPEG_BIN."
                   : "MOVANE_FFMPEG_BIN is not executable: " + overridePath;
    return overridePath.empty() ? Stage.bInstalled : overridePath == "/opt/it's/ffmpeg";
}

void PanelModel::Export()
{
    Pump();
    const SavedClip* const clip = Selected();
    if (clip == nullptr)
    {
        Status("Select a saved clip to export it.");
        return;
    }
    if (Now.bInProgress)
    {
        Status("Clip export already in progress.");
        return;
    }
    if (!(clip->EndSec - clip->StartSec >= 0.05))
    {
        Status("Selected clip is too short to export.");
        return;
    }
    const Existence existence =
        clip->SourcePath.empty() ? Existence::No : ExistenceOf(clip->SourcePath);
    if (existence == Existence::Unknown)
    {
        Now.bThrew = true;
        return;
    }
    if (existence == Existence::No)
    {
        Status("Clip source file is missing: " + clip->SourceLabel);
        return;
    }
    if (!Stage.bRecordingsUsable)
    {
        Status("Could not create clip export path.");
        return;
    }
    Job job;
    job.PanelNumber = PanelNumber;
    for (int number = 0; job.FileName.empty(); ++number)
    {
        std::string digits = std::to_string(number);
        digits.insert(0, 5 - digits.size(), '0');
        const std::string name = ("clip_" + digits + '_' + Stem(clip->Name) + ".mkv").substr(0, 63);
        job.OutputPath = Host().RecordingsDir + "/clips/" + name;
        job.FileName = ExistenceOf(job.OutputPath) == Existence::Yes ? "" : name;
    }
    std::string encoder;
    std::string error;
    if (!FindEncoder(encoder, error))
    {
        Status(error);
        return;
    }
    job.Command = Word(encoder) + " -y -hide_banner -loglevel error -i " + Word(clip->SourcePath) +
                  " -ss " + SecondsText(clip->StartSec > 0.0 ? clip->StartSec : 0.0) + " -t " +
                  SecondsText(clip->EndSec - clip->StartSec) +
                  " -map 0:v:0? -map 0:a? -c:v libx264 -preset veryfast -crf 18 -pix_fmt yuv420p "
                  "-c:a copy " +
                  Word(job.OutputPath) + " 2> " + Word(Stage.ErrorLogPath());
    job.Generation = ++Now.ExportGeneration;
    Now.bInProgress = true;
    Now.bResultReady = false;
    Now.bResultSuccess = false;
    Now.ResultMessage.clear();
    Status("Exporting " + clip->Name + " to " + job.FileName + "...");
    if (p != nullptr && p->pJobSystem != nullptr && Host().bJobSystemRuns)
    {
        Now.Effects.emplace_back("Enqueue(clip export)");
        Jobs.push_back(job);
        return;
    }
    Complete(Run(job));
}

PanelModel::Result PanelModel::Run(const Job& ExportJob)
{
    // The shell gets the command up to a NUL, which only a source's path can hold.
    const std::string command = ExportJob.Command.c_str();
    Now.Commands.push_back(command);
    const EncoderOutcome outcome =
        command == ExportJob.Command ? Stage.Outcome : EncoderOutcome{SyntaxError, false, ""};
    const bool bThere =
        outcome.bWritesOutput || ExistenceOf(ExportJob.OutputPath) == Existence::Yes;
    if (outcome.SystemResult == 0 && bThere)
    {
        return {ExportJob.PanelNumber, ExportJob.Generation, true,
                "Exported " + ExportJob.FileName};
    }
    const std::string line = Trimmed(outcome.ErrorText.substr(0, outcome.ErrorText.find('\n')));
    return {ExportJob.PanelNumber, ExportJob.Generation, false,
            line.empty() ? "Clip export failed." : "Clip export failed: " + line};
}

void PanelModel::Complete(const Result& ExportResult)
{
    // Neither a panel that took another one's place nor a newer export gets this result.
    if (ExportResult.PanelNumber == PanelNumber && ExportResult.Generation == Now.ExportGeneration)
    {
        Now.bInProgress = false;
        Now.bResultReady = true;
        Now.bResultSuccess = ExportResult.bSuccess;
        Now.ResultMessage = ExportResult.Message;
    }
}

void PanelModel::RunJob()
{
    Results.push_back(Run(Jobs.front()));
    Jobs.pop_front();
    Now.Effects.emplace_back("EnqueueMainThread()");
}

void PanelModel::RunMainThreadJob()
{
    Complete(Results.front());
    Results.pop_front();
}

void PanelModel::Pump()
{
    if (!Now.bResultReady)
    {
        return;
    }
    Now.bResultReady = false;
    Status(Now.ResultMessage);
    if (p != nullptr && p->pMovane != nullptr)
    {
        const std::string type = Now.bResultSuccess ? "0" : "3";
        const std::string durationMs = Now.bResultSuccess ? "2200" : "3200";
        Now.Effects.push_back("QueueNotification(" + type + ", Clip Export, " + Now.ResultMessage +
                              ", " + durationMs + ")");
    }
}

void PanelModel::GiveUpExport()
{
    ++Now.ExportGeneration;
    Now.bInProgress = false;
}

void PanelModel::ReplacePanel()
{
    ++PanelNumber;
    PanelPicture fresh;
    fresh.SelectedRow = Now.SelectedRow;
    fresh.CurrentRow = Now.CurrentRow;
    fresh.InputText = Now.InputText;
    fresh.StatusLabel = Now.StatusLabel;
    fresh.SourceLabel = Now.SourceLabel;
    fresh.RangeLabel = Now.RangeLabel;
    fresh.MarkersLabel = Now.MarkersLabel;
    fresh.Places = Now.Places;
    fresh.Commands = Now.Commands;
    fresh.Effects = Now.Effects;
    fresh.JobCount = Now.JobCount;
    fresh.MainThreadJobCount = Now.MainThreadJobCount;
    Now = fresh;
}
