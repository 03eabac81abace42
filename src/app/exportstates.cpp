#include "app/exportstates.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <unordered_map>
#include <utility>

#include <sys/stat.h>

namespace
{
using SavedClip = MvClipControlPanel::SavedClip;

// In all that a file depends on: its name is made of the clip's.
bool AreSame(const SavedClip& A, const SavedClip& B)
{
    return A.SourcePath == B.SourcePath && A.StartSec == B.StartSec && A.EndSec == B.EndSec &&
           A.Name == B.Name;
}

std::optional<FileStamp> StampOf(const std::string& Path)
{
    struct stat info = {};
    if (stat(Path.c_str(), &info) != 0)
    {
        return std::nullopt;
    }
    constexpr std::int64_t NsPerSec = 1'000'000'000;
    return FileStamp{info.st_size, info.st_mtim.tv_sec * NsPerSec + info.st_mtim.tv_nsec};
}

// A file that can't be asked for is still there, as far as anybody knows.
bool IsGone(const std::string& Path)
{
    std::error_code ec;
    return std::filesystem::status(Path, ec).type() == std::filesystem::file_type::not_found;
}
} // namespace

ExportStates::ExportStates(const std::vector<SavedClip>& ClipsOfPanel)
    : Clips(ClipsOfPanel)
{
    Follow(-1);
}

void ExportStates::Follow(int ActedOnRow)
{
    if (Entries.size() != Clips.size())
    {
        ++ChangeCount;
    }
    if (Entries.size() == Clips.size() + 1 && EntryAt(ActedOnRow) != nullptr)
    {
        Entries.erase(Entries.begin() + ActedOnRow);
    }
    while (Entries.size() > Clips.size())
    {
        Entries.pop_back();
    }
    while (Entries.size() < Clips.size())
    {
        Entries.push_back({.ID = NextID++});
    }
}

const ExportStates::Entry* ExportStates::EntryAt(int Index) const
{
    const bool bInRange = Index >= 0 && static_cast<std::size_t>(Index) < Entries.size();
    return bInRange ? &Entries[static_cast<std::size_t>(Index)] : nullptr;
}

ExportStates::Entry* ExportStates::Find(ClipID ID)
{
    const auto at = std::ranges::lower_bound(Entries, ID, {}, &Entry::ID);
    return at != Entries.end() && at->ID == ID ? &*at : nullptr;
}

ExportStates::ClipID ExportStates::IdOf(int Row) const
{
    const Entry* const entry = EntryAt(Row);
    return entry != nullptr ? entry->ID : 0;
}

// A clip that came and was not followed yet has no row, one that went no clip.
bool ExportStates::HasFile(std::size_t Index) const
{
    const Outcome* const outcome = Entries[Index].pOutcome.get();
    return outcome != nullptr && !outcome->Path.empty() && !outcome->bFileGone &&
           !outcome->bSourceRewritten && Index < Clips.size() &&
           AreSame(outcome->Exported, Clips[Index]);
}

// Of one that neither waits nor runs.
ExportState ExportStates::StateOf(const Outcome& Last, int Row) const
{
    if (!Last.Reason.empty())
    {
        return ExportState::Failed;
    }
    if (Last.Path.empty() || Last.bFileGone)
    {
        return ExportState::None;
    }
    return HasFile(static_cast<std::size_t>(Row)) ? ExportState::Done : ExportState::Outdated;
}

ClipExport ExportStates::Of(int Row) const
{
    ClipExport shown;
    const Entry* const entry = EntryAt(Row);
    if (entry == nullptr)
    {
        return shown;
    }
    if (entry->pOutcome != nullptr)
    {
        shown.Path = entry->pOutcome->bFileGone ? std::string() : entry->pOutcome->Path;
        shown.Reason = entry->pOutcome->Reason;
    }
    if (entry->ID == RunningID)
    {
        shown.State = ExportState::Running;
        shown.Fraction = RunningFraction;
    }
    else if (!entry->Waiting.empty())
    {
        shown.State = ExportState::Queued;
    }
    else if (entry->pOutcome != nullptr)
    {
        shown.bStopped = entry->pOutcome->bStopped;
        shown.State = StateOf(*entry->pOutcome, Row);
    }
    return shown;
}

// -- What happens to exports

void ExportStates::Queue(int Row)
{
    if (EntryAt(Row) != nullptr && static_cast<std::size_t>(Row) < Clips.size())
    {
        ++ChangeCount;
        const auto index = static_cast<std::size_t>(Row);
        Entries[index].Waiting.push_back(Clips[index]);
    }
}

void ExportStates::Withdraw(ClipID ID)
{
    if (Entry* const entry = Find(ID))
    {
        ++ChangeCount;
        entry->Waiting.clear();
    }
}

void ExportStates::Begin(ClipID ID)
{
    ++ChangeCount;
    RunningID = ID;
    RunningFraction = 0.0;
    Entry* const entry = Find(ID);
    if (entry != nullptr && !entry->Waiting.empty())
    {
        RunningClip = std::move(entry->Waiting.front());
        RunningSource = StampOf(RunningClip.SourcePath);
        entry->Waiting.erase(entry->Waiting.begin());
    }
}

void ExportStates::Progress(double Fraction)
{
    ++ChangeCount;
    RunningFraction = Fraction;
}

// The outcome to write down, null where the clip has left the list.
ExportStates::Outcome* ExportStates::End()
{
    ++ChangeCount;
    Entry* const entry = Find(std::exchange(RunningID, 0));
    if (entry != nullptr && entry->pOutcome == nullptr)
    {
        entry->pOutcome = std::make_unique<Outcome>();
    }
    return entry != nullptr ? entry->pOutcome.get() : nullptr;
}

void ExportStates::EndDone(const std::string& Path)
{
    if (Outcome* const outcome = End())
    {
        *outcome = {.Path = Path, .Exported = std::move(RunningClip), .Source = RunningSource};
    }
}

void ExportStates::EndFailed(const std::string& Reason)
{
    if (Outcome* const outcome = End())
    {
        outcome->Reason = Reason;
        outcome->bStopped = false;
    }
}

void ExportStates::EndStopped()
{
    if (Outcome* const outcome = End())
    {
        outcome->bStopped = true;
    }
}

bool ExportStates::CheckFiles()
{
    bool bChanged = false;
    std::unordered_map<std::string, std::optional<FileStamp>>
        sources; // many clips have the same one
    for (const Entry& entry : Entries)
    {
        Outcome* const outcome = entry.pOutcome.get();
        if (outcome == nullptr || outcome->Path.empty())
        {
            continue;
        }
        const std::string& path = outcome->Exported.SourcePath;
        const auto [source, bNew] = sources.try_emplace(path);
        if (bNew)
        {
            source->second = StampOf(path);
        }
        const bool bGone = IsGone(outcome->Path);
        const bool bRewritten = outcome->Source.has_value() && source->second.has_value() &&
                                outcome->Source != source->second;
        bChanged =
            bChanged || bGone != outcome->bFileGone || bRewritten != outcome->bSourceRewritten;
        outcome->bFileGone = bGone;
        outcome->bSourceRewritten = bRewritten;
    }
    return bChanged;
}

// -- Counts

bool ExportStates::IsUnderWay(int Row) const
{
    const Entry* const entry = EntryAt(Row);
    if (entry == nullptr || static_cast<std::size_t>(Row) >= Clips.size())
    {
        return false;
    }
    const SavedClip& clip = Clips[static_cast<std::size_t>(Row)];
    return (entry->ID == RunningID && AreSame(RunningClip, clip)) ||
           std::ranges::any_of(entry->Waiting,
                               [&](const SavedClip& Waiting) { return AreSame(Waiting, clip); });
}

std::vector<int> ExportStates::RowsToExport() const
{
    std::vector<int> rows;
    for (std::size_t i = 0; i < Entries.size(); ++i)
    {
        const int row = static_cast<int>(i);
        if (!HasFile(i) && !IsUnderWay(row))
        {
            rows.push_back(row);
        }
    }
    return rows;
}

int ExportStates::CountMissing() const
{
    int count = 0;
    for (std::size_t i = 0; i < Entries.size(); ++i)
    {
        count += HasFile(i) ? 0 : 1;
    }
    return count;
}

int ExportStates::CountMissingAfterExports() const
{
    int count = 0;
    for (std::size_t i = 0; i < Entries.size(); ++i)
    {
        count += HasFile(i) || IsUnderWay(static_cast<int>(i)) ? 0 : 1;
    }
    return count;
}
