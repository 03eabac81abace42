// What a program says to whoever started it: one sentence for each error on standard error, texts on
// standard output.
//
// Any thread. A sentence stays one line, whatever bytes are in its names and paths.

#pragma once

#include <exception>
#include <string>

/// What was thrown as one sentence, which names the path of a file-system error.
std::string SentenceOf(const std::exception& Error);

/// Prints a text of several lines on standard output. Returns false when that failed, after saying so.
bool PrintText(const std::string& Text);

/// Says on standard error that standard output can't be written, for that Reason. False, and silent, without one.
bool PrintWriteError(const std::string& Reason);

/// Prints "movane: " and the sentence as one line on standard error.
void PrintError(const std::string& Sentence);

/// Writes Text to standard output as it is. Returns why that failed, empty when all is written.
std::string WriteToStandardOutput(const std::string& Text);
