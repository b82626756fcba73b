// SPDX-License-Identifier: Apache-2.0
// The progress line on a terminal, and every other line written beside it: a line for
// standard error clears it first and redraws it after, so neither is garbled.
#pragma once

#include <string>

namespace qb::cli {

// Shows progress lines from now on (when standard error is a terminal).
void enableStatusLine(bool enabled);
// Replaces the progress line.
void showStatusLine(const std::string& line);
// Removes the progress line for good.
void finishStatusLine();

// Writes `text` and a line break to standard error, around the progress line. Both printers
// hold the line instead while this thread's output is held (HeldOutput).
void printErrorLine(const std::string& text);
// Writes `text` and a line break to standard output and flushes it; the progress line is
// cleared and redrawn only when standard output shares its terminal.
void printOutputLine(const std::string& text);

}  // namespace qb::cli
