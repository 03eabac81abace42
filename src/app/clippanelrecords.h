// The host's widgets that the clip panel points at, for the panel on the screen to show and to fill.
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
