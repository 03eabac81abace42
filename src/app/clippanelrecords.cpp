#include "app/clippanelrecords.h"

#include "panel/mvclipcontrolpanel.h"

#include <memory>

void ConnectPanelToRecords(MvClipControlPanel& Panel, ClipPanelRecords& Records)
{
    Panel.pClipTable = &Records.Table;
    Panel.pNameInput = &Records.NameInput;
    Panel.pStatusLabel = &Records.StatusLabel;
    Panel.pSourceLabel = &Records.SourceLabel;
    Panel.pRangeLabel = &Records.RangeLabel;
    Panel.pMarkersLabel = &Records.MarkersLabel;
    Panel.TableModel = std::make_unique<MvTableModel>();
    Panel.TableModel->SetHeaders({"Name", "In", "Out", "Len", "Color", "Source"});
    Records.Table.SelectionChanged.connect([&Panel] { Panel.SyncNameInputFromSelection(); });
}

std::uint64_t ClipsRevision(const MvClipControlPanel& Panel)
{
    return Panel.TableModel != nullptr ? Panel.TableModel->Revision() : 0;
}
