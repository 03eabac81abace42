// The host's widgets that the clip panel points at, for the panel on the screen to show and to fill.
//
// They outlive the real widgets: the session owns them beside the panel. UI thread only.

#pragma once

#include "host/mvlabel.h"
#include "host/mvtable.h"
#include "host/mvtextinput.h"

#include <cstdint>
#include <vector>

class MvClipControlPanel;

struct ClipPanelRecords
{
    MvTable Table;
    /// The rows that Export takes, in their order, where several are selected; the table's one is among
    /// them. Otherwise empty.
    std::vector<int> SelectedRows;
    MvTextInput NameInput;
    MvLabel StatusLabel;
    MvLabel SourceLabel;
    MvLabel RangeLabel;
    MvLabel MarkersLabel;
};

/// Points Panel at the records, gives it an empty table model with the six column titles, and lets a
/// selection of the user's fill the name input. To be called once; Panel must outlive every use of
/// the records' table.
void ConnectPanelToRecords(MvClipControlPanel& Panel, ClipPanelRecords& Records);

/// Another number whenever Panel's Clips or the rows of its table have changed, so nobody has to compare
/// them. 0 without a table model.
///
/// It is the table model's revision, and this covers every change of the clips: only three actions of the
/// panel write them (saving appends one, renaming gives the selected one its name, deleting takes it
/// out), and each goes on to RebuildTableModel, which sets all rows, before it calls anybody. All others
/// read: loading and the two jumps work on a copy, an export too. SelectedClip() hands out a pointer through which a clip
/// could be changed, but nobody writes through it but renaming. Where an action throws between its
/// change and the rebuild, for want of memory, whoever catches that calls MarkChanged of the model.
std::uint64_t ClipsRevision(const MvClipControlPanel& Panel);
