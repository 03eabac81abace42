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

    /// Replaces the text. bQuiet keeps the observers from hearing of it: for the code that carries the
    /// user's typing into this record.
    virtual void SetText(const std::string& NewText, bool bQuiet);

    /// Emitted with the new text after every SetText that was not asked to be quiet, also when the
    /// text is the one that was there.
    Signal<std::string> Changed;

    std::string Text;
};
