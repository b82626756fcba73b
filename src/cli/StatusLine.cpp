// SPDX-License-Identifier: Apache-2.0
// One process-wide progress line, drawn by the thread that runs the command; workers' lines
// are held (HeldOutput) and printed from that thread.
#include "cli/StatusLine.h"

#include <unistd.h>

#include <cstdio>

#include "cli/HeldOutput.h"

namespace qb::cli {

namespace {

bool gEnabled = false;
std::string gLine;

void clear() {
    if (gEnabled && !gLine.empty()) std::fputs("\r\033[K", stderr);
}

void redraw() {
    if (gEnabled && !gLine.empty()) {
        std::fputs(gLine.c_str(), stderr);
        std::fflush(stderr);
    }
}

}  // namespace

void enableStatusLine(bool enabled) {
    gEnabled = enabled && ::isatty(STDERR_FILENO);
}

void showStatusLine(const std::string& line) {
    clear();
    gLine = line;
    redraw();
}

void finishStatusLine() {
    clear();
    gLine.clear();
}

void printErrorLine(const std::string& text) {
    if (auto* held = HeldOutput::current()) return held->add(HeldOutput::Kind::ErrorLine, text);
    clear();
    std::fprintf(stderr, "%s\n", text.c_str());
    redraw();
}

void printOutputLine(const std::string& text) {
    if (auto* held = HeldOutput::current()) return held->add(HeldOutput::Kind::OutputLine, text);
    static const bool sharesTerminal = ::isatty(STDOUT_FILENO);
    if (sharesTerminal) clear();
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
    if (sharesTerminal) redraw();
}

}  // namespace qb::cli
