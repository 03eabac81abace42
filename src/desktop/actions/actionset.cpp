#include "desktop/actions/actionset.h"

#include "app/exportstates.h"
#include "desktop/actions/commands.h"

#include <QApplication>
#include <QLineEdit>
#include <QWidget>

#include <algorithm>

namespace
{
bool IsPlainKey(const QKeySequence& Keys)
{
    const QKeyCombination first = Keys[0];
    const bool bFunctionKey = first.key() >= Qt::Key_F1 && first.key() <= Qt::Key_F35;
    return !bFunctionKey && !(first.keyboardModifiers() &
                              (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
}

// The keys that act whatever has the focus.
QList<QKeySequence> WithoutPlainKeys(QList<QKeySequence> Keys)
{
    Keys.removeIf(IsPlainKey);
    return Keys;
}

QString TooltipOf(const ActionInfo& Info)
{
    QStringList keys;
    for (const QKeySequence& key : KeysOf(Info))
    {
        keys.append(key.toString(QKeySequence::NativeText));
    }
    const QString text = QString::fromUtf8(Info.Tooltip);
    return keys.isEmpty() ? text : text + " (" + keys.join(", ") + ")";
}
} // namespace

ActionSet::ActionSet(QWidget& Window, Commands& Target)
    : QObject(&Window)
{
    for (const ActionInfo& info : ActionTable())
    {
        auto* const action = new QAction(QString::fromUtf8(info.Name), this);
        action->setToolTip(TooltipOf(info));
        action->setShortcuts(KeysOf(info));
        connect(action, &QAction::triggered, &Target, [&Target, &info] { Target.Run(info.Id); });
        Window.addAction(action);
        Actions.push_back(action);
    }
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget*, QWidget* pFocused) { SwitchPlainKeys(pFocused); });
    SwitchPlainKeys(QApplication::focusWidget());
}

QAction* ActionSet::Get(ActionId Id) const
{
    return Actions.at(static_cast<std::size_t>(Id));
}

void ActionSet::EnableFor(const ExportStates& States, int Row, const std::vector<int>& Rows) const
{
    const ClipExport shown = States.Of(Row);
    const auto waits = [&](int Selected)
    { return States.Of(Selected).State == ExportState::Queued; };
    using enum ActionId;
    for (const ActionId id : {OpenClipFile, OpenClipFolder, CopyClipPath})
    {
        Get(id)->setEnabled(!shown.Path.empty());
    }
    Get(ExportAgain)
        ->setEnabled(shown.State == ExportState::Done || shown.State == ExportState::Failed ||
                     shown.State == ExportState::Outdated);
    Get(RemoveFromQueue)->setEnabled(waits(Row) || std::ranges::any_of(Rows, waits));
}

void ActionSet::SwitchPlainKeys(QWidget* pFocused)
{
    const bool bTyping = qobject_cast<QLineEdit*>(pFocused) != nullptr;
    if (bTyping == bPlainKeysOff)
    {
        return;
    }
    bPlainKeysOff = bTyping;
    for (const ActionInfo& info : ActionTable())
    {
        const QList<QKeySequence> keys = KeysOf(info);
        Get(info.Id)->setShortcuts(bTyping ? WithoutPlainKeys(keys) : keys);
    }
}
