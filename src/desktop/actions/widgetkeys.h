// Who gets a key that both the focused widget and an action want.
//
// A focused button takes Space and Return, a focused slider the keys that move it, a focused table those
// that turn its pages. A text field keeps the keys that move in its text but no others with Ctrl or Alt.
// To be installed as an event filter on the application; UI thread only.

#pragma once

#include <QObject>

class QKeyEvent;

class WidgetKeys : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    bool eventFilter(QObject* pWatched, QEvent* pEvent) override;
};
