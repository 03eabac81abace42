// What has become of the export of each clip in the panel's list.
//
// The panel's clips have no identity: a row is a place, and clips move up when one is deleted. So each clip
// gets a number here when it appears in the list. Exports are reported under that number, and whoever shows
// a row asks by the row. UI thread only.

#pragma once

#include "panel/mvclipcontrolpanel.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

enum class ExportState
{
    None,
    Queued,
    Running,
    Done,
    Failed,
    Outdated, ///< the file holds another range, name or source than the clip has now, or the source has changed
};

/// One clip's export as its row shows it.
struct ClipExport
{
    ExportState State = ExportState::None;
    double Fraction = 0.0;   ///< from 0 to 1 while it runs
    std::string Path = {};   ///< the last whole file, any bytes; empty without one
    std::string Reason = {}; ///< the panel's message where the last export failed, else empty
    bool bStopped = false;   ///< an export after that was stopped by the user

    bool operator==(const ClipExport&) const = default;
};

/// What tells a file that was rewritten under its name.
struct FileStamp
{
    std::int64_t SizeBytes = 0;
    std::int64_t ModifiedNs = 0;

    bool operator==(const FileStamp&) const = default;
};

class ExportStates
{
public:
    using SavedClip = MvClipControlPanel::SavedClip;
    /// A clip's number: greater further down the list, never 0, never given twice.
    using ClipID = std::uint64_t;

    /// ClipsOfPanel is read whenever a row is asked for; it must outlive the object.
    explicit ExportStates(const std::vector<SavedClip>& ClipsOfPanel);

    /// Takes over that clips came or went, to be called after each action of the panel.
    ///
    /// ActedOnRow  the row that was selected before the action: where one clip is gone, it was that one.
    ///
    /// New clips stand at the end of the list. Without a change it costs a comparison, whatever the number
    /// of clips.
    void Follow(int ActedOnRow);

    /// The number of the clip in a row; 0 where there is none.
    ClipID IdOf(int Row) const;
    /// The state of a row; that of a new clip where there is none.
    ClipExport Of(int Row) const;
    /// Grows with every call that may have changed the state of a row. A state also follows its clip:
    /// ClipsRevision tells when those change.
    std::uint64_t Revision() const { return ChangeCount; }

    // -- What happens to exports. A clip that has left the list meanwhile is passed over.

    /// The clip in a row waits for its export. The export keeps what the clip is now.
    void Queue(int Row);
    /// None of the clip's exports waits any more.
    void Withdraw(ClipID ID);
    /// The first of the clip's waiting exports begins.
    void Begin(ClipID ID);
    /// The running export has come so far.
    void Progress(double Fraction);
    /// The running export has ended with a whole file,
    void EndDone(const std::string& Path);
    /// without one,
    void EndFailed(const std::string& Reason);
    /// or by the user's wish: the clip is again what it was before, and stopped.
    void EndStopped();

    /// Looks on the disk for what has become of the finished files and of their sources. A file that has gone
    /// counts as none from then on, and a source that was rewritten since the export makes the clip outdated.
    ///
    /// Returns whether a row is another now. It asks for two files a clip, so it is for the moments when
    /// somebody comes to look, not for each frame.
    bool CheckFiles();

    /// Whether an export of what the clip is now waits or runs.
    bool IsUnderWay(int Row) const;
    /// The rows, in order, whose clips have no file of what they are now and no export of it under way. The
    /// disk is not asked, nor by what follows: CheckFiles does that.
    std::vector<int> RowsToExport() const;
    /// How many clips have no file of what they are now.
    int CountMissing() const;
    /// The same without those whose export is under way.
    int CountMissingAfterExports() const;

private:
    struct Outcome
    {
        std::string Path = {};   ///< empty without a file
        SavedClip Exported = {}; ///< what the file holds
        std::string Reason = {}; ///< empty after a success
        bool bStopped = false;
        std::optional<FileStamp> Source = {}; ///< what the source was; empty where nobody knows
        bool bFileGone = false;
        bool bSourceRewritten = false;
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
    ExportState StateOf(const Outcome& Last, int Row) const;
    Outcome* End();

    const std::vector<SavedClip>& Clips;
    std::vector<Entry> Entries;
    ClipID NextID = 1;
    std::uint64_t ChangeCount = 0;

    // -- The running export.
    ClipID RunningID = 0; ///< 0 while none runs
    SavedClip RunningClip;
    std::optional<FileStamp> RunningSource;
    double RunningFraction = 0.0;
};
