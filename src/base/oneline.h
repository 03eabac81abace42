// A text as one line of a terminal or a log, whatever bytes are in the names and paths in it. Any thread.

#pragma once

#include <string>

/// Text with '?' in place of each control character, line ends among them.
std::string OneLine(std::string Text);
