// SPDX-License-Identifier: Apache-2.0
// Ctrl-C and SIGTERM as a request to stop between (and within) writes.
#pragma once

#include <atomic>

namespace qb::cli {

// Set by SIGINT or SIGTERM once installInterruptHandlers ran.
const std::atomic<bool>& interruptFlag();
inline bool interrupted() {
    return interruptFlag().load();
}
// Catches SIGINT and SIGTERM so that a run can stop between writes and clean up.
void installInterruptHandlers();

}  // namespace qb::cli
