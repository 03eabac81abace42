// The export state of each clip in the panel's list.
//
// The panel's clips have no identity: a row is a place, and clips move up when one is deleted. So each clip gets a
// number here when it appears in the list. Exports use that number; widgets ask by the row. UI thread only.

#pragma once

#include "panel/mvclipcontrolpanel.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

enum class ExportState
{
    None,
    Queued,
    Running,
    Done,
    Failed,
    Outdated, ///< the clip's range, name or source changed since the export
};

/// One clip's export as its row shows it.
struct ClipExport
{
    ExportState State = ExportState::None;
    double Fraction = 0.0;   ///< from 0 to 1 while it runs
    std::string Path = {};   ///< the last exported file, any bytes; empty without one
    std::string Reason = {}; ///< the panel's message if the last export failed, else empty

    bool operator==(const ClipExport&) const = default;
};

class ExportStates
{
public:
    using SavedClip = MvClipControlPanel::SavedClip;
    /// A clip's number: it increases down the list, is never 0 and never reused.
    using ClipID = std::uint64_t;

    /// ClipsOfPanel is read whenever a row is asked for; it must outlive the object.
    explicit ExportStates(const std::vector<SavedClip>& ClipsOfPanel);

    /// Updates the list of clips. Call it after each action of the panel.
    ///
    /// ActedOnRow  the row that was selected before the action: if one clip is gone, it was this one.
    ///
    /// New clips are at the end of the list. Without a change it costs one comparison, whatever the number of
    /// clips.
    void Follow(int ActedOnRow);

    /// The number of the clip in a row; 0 for a row without one.
    ClipID IdOf(int Row) const;
    /// The state of a row; for a row without a clip, that of a new clip.
    ClipExport Of(int Row) const;
    /// Grows with every call that may have changed the state of a row. A state also follows its clip:
    /// ClipsRevision tells when those change.
    std::uint64_t Revision() const { return ChangeCount; }

    // -- Events. Those of a clip that has left the list are ignored.

    /// The clip in a row waits for its export, which keeps the clip as it is now.
    void Queue(int Row);
    /// None of the clip's exports waits any more.
    void Withdraw(ClipID ID);
    /// The first of the clip's waiting exports begins.
    void Begin(ClipID ID);
    /// The running export has done this fraction.
    void Progress(double Fraction);
    /// The running export ended with a file.
    void EndDone(const std::string& Path);
    /// The running export failed.
    void EndFailed(const std::string& Reason);
    /// The user stopped the running export: the clip's state is again what it was before.
    void EndStopped();

    /// Whether an export of the clip as it is now waits or runs.
    bool IsUnderWay(int Row) const;
    /// The rows, in order, of clips that have no current file and no export of it under way. A file that was
    /// deleted counts as none.
    std::vector<int> RowsToExport() const;
    /// How many clips have no current file. Does not look at the disk.
    int CountMissing() const;
    /// The same without those whose export is under way.
    int CountMissingAfterExports() const;

private:
    struct Outcome
    {
        std::string Path;   ///< empty without a file
        SavedClip Exported; ///< the clip when it was exported
        std::string Reason; ///< empty after a success
    };
    struct Entry
    {
        ClipID ID = 0;
        std::vector<SavedClip> Waiting = {}; ///< as they were when queued, in their order
        std::unique_ptr<Outcome> pOutcome = {};
    };

    Entry* Find(ClipID ID);
    const Entry* EntryAt(int Index) const;
    bool HasFile(std::size_t Index) const;
    Outcome* End();

    const std::vector<SavedClip>& Clips;
    std::vector<Entry> Entries;
    ClipID NextID = 1;
    std::uint64_t ChangeCount = 0;

    // -- The running export.
    ClipID RunningID = 0; ///< 0 while none runs
    SavedClip RunningClip;
    double RunningFraction = 0.0;
};
