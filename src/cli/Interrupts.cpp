// SPDX-License-Identifier: Apache-2.0
// The signal handlers set one lock-free flag; writers poll it.
#include "cli/Interrupts.h"

#include <signal.h>

namespace qb::cli {

namespace {

std::atomic<bool> gInterrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set from a signal handler");

void onInterrupt(int) {
    gInterrupted.store(true);
}

}  // namespace

const std::atomic<bool>& interruptFlag() {
    return gInterrupted;
}

void installInterruptHandlers() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a blocked write returns, and the loop sees the flag.
    action.sa_flags = 0;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

}  // namespace qb::cli
