// The progress of the running export: one line that overwrites itself, on standard error if that is a terminal.
// Otherwise it does nothing. UI thread only.

#pragma once

#include <string>
#include <utility>

class TerminalProgress
{
public:
    TerminalProgress();

    /// Sets the line for the next Show; an empty one shows nothing.
    void Set(std::string NewText) { Text = std::move(NewText); }
    void Show();
    /// Removes the line. Call it before printing anything else.
    void Clear();

private:
    bool bTerminal;
    bool bShown = false;
    std::string Text;
};
