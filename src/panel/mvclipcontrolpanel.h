// The clip control panel: marked ranges become named, coloured clips that are listed, renamed,
// deleted, loaded, jumped to and exported.
//
// The panel holds state and acts on the host (windows, timeline, video, table, job system, paths); it
// draws nothing and owns no widget. Whoever builds it sets the widget pointers, calls UpdateLiveLabels
// and PumpExportResult in its frame, and SyncNameInputFromSelection when the table's selection
// changes.
//
// UI thread only, but for the ffmpeg run of an export, which works on copies of its own on a job
// system worker. Times are seconds from the start of the source. Text is bytes, UTF-8 untouched.

#pragma once

#include "host/mvlabel.h"
#include "host/mvtable.h"
#include "host/mvtablemodel.h"
#include "host/mvtextinput.h"
#include "host/mvtimecontrol.h"
#include "host/mvvideowindow.h"
#include "host/mvwindow.h"
#include "host/signal.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class MvClipControlPanel
{
public:
    /// One saved clip. Nothing ties StartSec to EndSec: a clip keeps what the timeline reported.
    struct SavedClip
    {
        std::string Name;
        std::string SourcePath;  ///< full path of the source; may be empty
        std::string SourceLabel; ///< the source's file name
        std::string ColorName;   ///< of the palette entry
        float ColorR = 0.98F;
        float ColorG = 0.56F;
        float ColorB = 0.22F;
        float ColorA = 1.0F;
        double StartSec = 0.0; ///< In
        double EndSec = 0.0;   ///< Out
    };

    /// One colour of the palette, components from 0 to 1.
    struct ColorPreset
    {
        const char* Name; ///< lives for the whole program
        float R;
        float G;
        float B;
    };

    /// Snapshot of the export state.
    struct ExportStatus
    {
        bool bInProgress =
            false;           ///< an export was started and its result has not been accepted yet
        std::string Message; ///< the status line meanwhile, then the last export's message
    };

    /// Makes a panel without widgets, model or clips.
    MvClipControlPanel() = default;
    /// Ends the panel's life for results that are still to come: they find the flag false or gone.
    ~MvClipControlPanel();
    // Closures of a running export hold the panel's address.
    MvClipControlPanel(const MvClipControlPanel&) = delete;
    MvClipControlPanel& operator=(const MvClipControlPanel&) = delete;
    MvClipControlPanel(MvClipControlPanel&&) = delete;
    MvClipControlPanel& operator=(MvClipControlPanel&&) = delete;

    // -- Actions. Each ends in exactly one status text, which ExportSelectedClip lets follow that of a
    //    waiting result; a refusal says why and changes nothing else. A user's error never throws. A
    //    file-system error other than absence leaves ExportSelectedClip and the three navigation
    //    actions as std::filesystem::filesystem_error: while the source of a clip is looked for; while
    //    ffmpeg is looked for, with an empty entry of PATH in a folder that was deleted; and in a run on
    //    the spot while its output is looked for, after which the export counts as running for good.

    /// Appends the target timeline's range to Clips, named from the name input (trimmed; "Clip N" when
    /// empty) and coloured in turn from the palette, and selects it.
    void SaveCurrentRangeAsClip();
    /// Gives the selected clip the name input's trimmed text; an empty one is refused.
    void RenameSelectedClip();
    /// Removes the selected clip and selects the one that moves into its place, or the new last one.
    void DeleteSelectedClip();
    /// Adds a marker on the target timeline at its displayed time.
    void AddCurrentMarker();
    /// Removes the target timeline's range. Saved clips keep theirs.
    void ClearCurrentRange();
    /// Opens the selected clip's source if another file is open, marks the clip's range on the timeline
    /// and moves playback to In.
    void LoadSelectedClip();
    /// Opens the source if needed and moves playback to In; the timeline's range stays.
    void JumpToSelectedClip();
    /// Like JumpToSelectedClip, to Out. A point at or past the end lands 1 ms before the end.
    void JumpOutSelectedClip();
    /// Starts to export the selected clip with ffmpeg and returns; without a running job system it
    /// returns when ffmpeg has finished. Either way the result is shown by the next PumpExportResult.
    void ExportSelectedClip();

    // -- Presentation.

    /// Shows the result of a finished export once: status line and notification. Without a waiting
    /// result it costs one lock, so it may be called every frame.
    void PumpExportResult();
    /// Locks ExportMutex, so a slot of StatusChanged must call neither it nor PumpExportResult nor
    /// ExportSelectedClip: a refused export sets its status text with the mutex held.
    ExportStatus GetExportStatus() const;
    /// Writes the source, range and markers labels afresh; widgets that are null are left out.
    void UpdateLiveLabels();
    /// Puts the selected clip's name, or nothing, into the name input. Does nothing while the panel is
    /// writing the input already.
    void SyncNameInputFromSelection();
    /// Replaces the model's rows by one for each clip, then lays out the columns.
    void RebuildTableModel();
    /// Fits the column widths to their texts and to the table's width on the screen, and hands them to
    /// the table as fractions. To be called when the geometry or the text size has changed; changes
    /// nothing while an object is missing or a rectangle is empty.
    void UpdateTableColumnLayout();
    /// Stores Text as the status line and shows it; bEmitSignal also tells the listeners of
    /// StatusChanged, even when the text is the one that was there.
    void SetStatusTextInternal(const std::string& Text, bool bEmitSignal);

    // -- Queries.

    /// Index into Clips of the selected clip, or -1. The table's SelectedRow counts when it is not
    /// negative, even when it is out of range, else its CurrentRow.
    int SelectedClipIndex() const;
    /// The selected clip or null; valid until Clips is changed.
    SavedClip* SelectedClip();
    const SavedClip* SelectedClip() const;
    /// The video window that the panel acts on, or null: the first focused one among the visible, open,
    /// not closing ones, else the first of them, else window 3 whatever its state.
    MvVideoWindow* ResolveTargetVideoWindow() const;
    /// The timeline of that window, or null.
    MvTimeControl* ResolveTargetTimeline() const;
    /// Makes Clip's source the open video of the window. On false the status line says why.
    bool EnsureClipSourceLoaded(const SavedClip& Clip, MvVideoWindow* pVideoWindow);

    // -- Helpers without state.

    /// The six colours of new clips, in the order of use. Any thread.
    static const std::vector<ColorPreset>& ClipPalette();
    /// The one time format of the panel: "MM:SS", from one hour on "H:MM:SS", rounded to the second.
    /// Negative and non-finite times show as "00:00".
    static std::string FormatTimeLabel(double TimeSec);
    /// The file name of a path; the path itself when it has none; "Unknown Source" for an empty one.
    static std::string BaseNameFromPath(const std::string& Path);
    /// Text as one single-quoted word of the POSIX shell (POSIX.1-2017, Shell Command Language, 2.2.2).
    static std::string ShellQuote(const std::string& Text);
    /// A file-name stem of letters, digits, '-' and '_' (for space and '.'), never empty.
    static std::string SanitizeFileStem(const std::string& Text);
    /// Makes the clips folder and returns the first free "clip_NNNNN_STEM.mkv" in it, its name alone in
    /// OutFileName. Both are empty when the folder can't be made or all 10000 numbers are taken.
    static std::filesystem::path BuildClipExportPath(const std::string& ClipName,
                                                     std::string& OutFileName);

    Signal<std::string> StatusChanged;

    // -- Widgets, not owned; each may be null.
    MvTextInput* pNameInput = nullptr;
    MvTable* pClipTable = nullptr;
    MvLabel* pStatusLabel = nullptr;
    MvLabel* pSourceLabel = nullptr;
    MvLabel* pRangeLabel = nullptr;
    MvLabel* pMarkersLabel = nullptr;

    std::unique_ptr<MvTableModel> TableModel;
    std::vector<SavedClip> Clips; ///< in table order: row i of the table is Clips[i]
    std::string StatusText;
    int NextClipOrdinal = 1;
    bool bSyncingNameInput = false; ///< true while the panel itself writes the name input

    // -- Where the panel stands: fractions of the parent's inner area, from its top left corner.
    MvWindow* pParentWindow = nullptr; ///< not owned; may be null
    double RelX1 = 0.0;
    double RelY1 = 0.0;
    double RelX2 = 1.0;
    double RelY2 = 1.0;
    double PaddingPx = 0.0;

    // -- Export. A completion acts only while it can lock the flag, the flag is true and the
    //    generation is still its own, so a late result touches neither a dead panel nor a newer export.
    std::shared_ptr<std::atomic<bool>> ExportLifetime = std::make_shared<std::atomic<bool>>(true);
    std::atomic<std::uint64_t> ExportGeneration{0}; ///< counts the started exports
    mutable std::mutex ExportMutex;
    // -- Guarded by ExportMutex.
    bool bExportInProgress = false;
    bool bExportResultReady = false; ///< a result waits for PumpExportResult
    bool bExportResultSuccess = false;
    std::string ExportResultMessage; ///< of the last export; kept after it was shown

private:
    void JumpToPointOfSelectedClip(double SavedClip::*PointSec, const char* StatusPrefix);
    void StartExport(const SavedClip& Clip,
                     const std::filesystem::path& OutputPath,
                     const std::string& FileName,
                     const std::string& FFmpegExecutable);
};
