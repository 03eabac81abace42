// The progress of the running export as one line that is written over itself, on standard error when
// that is a terminal. Elsewhere it does nothing. UI thread only.

#pragma once

#include <string>
#include <utility>

class TerminalProgress
{
public:
    TerminalProgress();

    /// What the line shows from the next Show on; nothing when it is empty.
    void Set(std::string NewText) { Text = std::move(NewText); }
    void Show();
    /// Takes the line away, before anything else is printed.
    void Clear();

private:
    bool bTerminal;
    bool bShown = false;
    std::string Text;
};
