// A field that the user types into. UI thread only.

#pragma once

#include "host/signal.h"

#include <string>

class MvTextInput
{
public:
    MvTextInput() = default;
    virtual ~MvTextInput() = default;
    MvTextInput(const MvTextInput&) = delete;
    MvTextInput& operator=(const MvTextInput&) = delete;

    /// Replaces the text. With bQuiet, observers are not notified: for the widget that writes the user's typing
    /// into this record.
    virtual void SetText(const std::string& NewText, bool bQuiet);

    /// Emitted with the text after every SetText without bQuiet, even if the text is the same as before.
    Signal<std::string> Changed;

    std::string Text;
};
