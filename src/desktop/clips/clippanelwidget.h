// The clip panel on the screen: live labels, the table of clips, the name field, a button for each of
// the panel's actions, the status line.
//
// The host's records are the truth. SyncFromHost copies what differs to the widgets; what the user
// types or selects is written to the records at once, before any action can run. Clips change by the
// actions alone. UI thread only; times and texts are the panel's own.
//
// Where there is not enough height, with very large text for example, all but the status line scrolls.

#pragma once

#include "desktop/actions/actiontable.h"

#include <QPointer>
#include <QWidget>

#include <string>
#include <vector>

class ActionSet;
class ClipExports;
class ClipTableModel;
class ClipTableView;
class GridFlow;
class MvClipControlPanel;
class MvLabel;
class PlainLabel;
class Session;
class QLineEdit;
class QScrollArea;
struct ClipPanelRecords;

class ClipPanelWidget : public QWidget
{
    Q_OBJECT

public:
    /// Shows the session's panel with its exports. Both must outlive the widget.
    ClipPanelWidget(Session& Running, const ActionSet& WindowActions, QWidget* pParent = nullptr);

    /// Copies from the host what the widgets show differently. For the end of every frame: without a
    /// change it costs some comparisons, whatever the number of clips.
    void SyncFromHost();

    /// Writes the table's real place and text size into the records, has the panel lay out the columns
    /// for them, and takes the widths. Happens by itself when the widget or its text is resized.
    void UpdateGeometryRecords();

    /// Goes to the name field and selects its text.
    void FocusName();
    /// Goes to the table and selects all its rows.
    void SelectAll();

protected:
    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;
    void moveEvent(QMoveEvent* pEvent) override;
    void showEvent(QShowEvent* pEvent) override;

private:
    void BuildBody();
    void AddButtons();
    void ConnectTable();
    void ConnectNameField();

    void SyncTable();
    void SyncSelection(bool bCountChanged);
    void SyncName();
    void SyncLabels();

    void TakeSelection();
    void Trigger(ActionId Id);
    void LeaveName();
    void ShowRowMenu(const QPoint& GlobalPos);

    bool MirrorGeometry();

    MvClipControlPanel& Panel;
    ClipPanelRecords& Records;
    ClipExports& Exports;
    const ActionSet& Actions;

    QScrollArea* pScroll = nullptr;
    GridFlow* pButtons = nullptr;
    PlainLabel* pSourceLabel = nullptr;
    PlainLabel* pRangeLabel = nullptr;
    PlainLabel* pMarkersLabel = nullptr;
    PlainLabel* pStatusLabel = nullptr;
    QLineEdit* pNameEdit = nullptr;
    ClipTableModel* pModel = nullptr;
    ClipTableView* pTable = nullptr;

    std::string ShownName;              ///< the bytes that the name field shows or was given
    int LaidOutWidthPx = -1;            ///< the viewport's width in the last layout
    std::vector<double> ShownFractions; ///< the column widths that were taken last
    QPointer<QWidget> pFocusBeforeName; ///< gets the focus back
    bool bSyncing = false;              ///< the widgets are being written from the host
};
