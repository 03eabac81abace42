#include "desktop/actions/widgetkeys.h"

#include "desktop/actions/actiontable.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QKeyEvent>
#include <QLineEdit>

#include <algorithm>
#include <array>

namespace
{
bool IsMoveKey(int Key)
{
    constexpr std::array Keys = {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up,     Qt::Key_Down,
                                 Qt::Key_Home, Qt::Key_End,   Qt::Key_PageUp, Qt::Key_PageDown};
    return std::find(Keys.begin(), Keys.end(), Key) != Keys.end();
}

bool IsReturn(int Key)
{
    return Key == Qt::Key_Return || Key == Qt::Key_Enter;
}

bool IsKeyOfAction(const QKeyEvent& Event)
{
    const QKeySequence pressed(Event.keyCombination());
    return std::ranges::any_of(ActionTable(), [&](const ActionInfo& Info)
                               { return KeysOf(Info).contains(pressed); });
}

bool BelongsToWidget(const QObject& Focused, const QKeyEvent& Event)
{
    const bool bAlone = (Event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (qobject_cast<const QAbstractButton*>(&Focused) != nullptr)
    {
        return bAlone && (Event.key() == Qt::Key_Space || IsReturn(Event.key()));
    }
    if (qobject_cast<const QAbstractItemView*>(&Focused) != nullptr)
    {
        return bAlone && (Event.key() == Qt::Key_PageUp || Event.key() == Qt::Key_PageDown);
    }
    return qobject_cast<const QAbstractSlider*>(&Focused) != nullptr && bAlone &&
           IsMoveKey(Event.key());
}

// The toolkit's text fields take Ctrl+E, for example, for the end of the line. All of the text is selected in
// a field, not all clips.
bool BelongsToAction(const QObject& Focused, const QKeyEvent& Event)
{
    return qobject_cast<const QLineEdit*>(&Focused) != nullptr &&
           (Event.modifiers() & (Qt::ControlModifier | Qt::AltModifier)) != 0 &&
           !IsMoveKey(Event.key()) && !Event.matches(QKeySequence::SelectAll) &&
           IsKeyOfAction(Event);
}
} // namespace

bool WidgetKeys::eventFilter(QObject* pWatched, QEvent* pEvent)
{
    if (pEvent->type() != QEvent::ShortcutOverride && pEvent->type() != QEvent::KeyPress)
    {
        return false;
    }
    auto& event = static_cast<QKeyEvent&>(*pEvent);
    if (event.type() == QEvent::KeyPress)
    {
        auto* const button = qobject_cast<QAbstractButton*>(pWatched);
        if (button == nullptr || !IsReturn(event.key()) || !BelongsToWidget(*button, event))
        {
            return false;
        }
        button->click();
        return true;
    }
    if (BelongsToAction(*pWatched, event))
    {
        event.ignore();
        return true;
    }
    if (BelongsToWidget(*pWatched, event))
    {
        event.accept();
        return true;
    }
    return false;
}
