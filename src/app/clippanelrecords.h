// The host's widgets that the clip panel points at. The panel on the screen shows and fills them.
//
// They outlive the real widgets: the session owns them beside the panel. UI thread only.

#pragma once

#include "host/mvlabel.h"
#include "host/mvtable.h"
#include "host/mvtextinput.h"

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
