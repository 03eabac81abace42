// The host's widgets that the clip panel points at. The panel on the screen shows and fills them.
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
    /// The selected rows in their order, for Export, when several are selected; otherwise empty. The table's
    /// selected row is among them.
    std::vector<int> SelectedRows;
    MvTextInput NameInput;
    MvLabel StatusLabel;
    MvLabel SourceLabel;
    MvLabel RangeLabel;
    MvLabel MarkersLabel;
};

/// Points Panel at the records, gives it an empty table model with the six column titles, and makes the user's
/// selection fill the name input. Call it once; Panel must outlive every use of the records' table.
void ConnectPanelToRecords(MvClipControlPanel& Panel, ClipPanelRecords& Records);

/// Another number whenever Panel's Clips or the rows of its table have changed, so nobody has to compare
/// them. 0 without a table model.
///
/// It is the table model's revision, and this covers every change of the clips. Only three actions of the
/// panel write them: saving appends one, renaming gives the selected one its name, deleting takes it out.
/// Each goes on to RebuildTableModel, which sets all rows, before it calls anybody. All others read:
/// loading, the two jumps and an export work on a copy. Nobody but renaming writes through the pointer of
/// SelectedClip(). An action that throws may have changed a clip and not set the rows (memory can run out
/// in between): whoever catches that calls MarkChanged of the model.
std::uint64_t ClipsRevision(const MvClipControlPanel& Panel);
