// The actions of one window as QActions, made from the action table.
//
// Plain keys (without Ctrl or Alt, and no function key) are taken from the actions while a text field
// has the focus, so that typing types; the actions themselves stay enabled for buttons and menus. UI
// thread only.

#pragma once

#include "desktop/actions/actiontable.h"

#include <QAction>
#include <QObject>

#include <vector>

class ExportStates;

class ActionSet : public QObject
{
    Q_OBJECT

public:
    /// Adds an action for each table entry to Window, each run by Target. Both must
    /// outlive the set.
    ActionSet(QWidget& Window, Commands& Target);

    /// The action; its tooltip names the keys. Owned by the set.
    QAction* Get(ActionId Id) const;

    /// Enables of the actions on clips' files and exports those that make sense now, for a menu that is
    /// about to be shown. None of them has a key.
    ///
    /// Row   the current row, -1 without one.
    /// Rows  all selected ones where there are several, else empty.
    void EnableFor(const ExportStates& States, int Row, const std::vector<int>& Rows) const;

private:
    void SwitchPlainKeys(QWidget* pFocused);

    std::vector<QAction*> Actions; ///< indexed by ActionId
    bool bPlainKeysOff = false;
};
