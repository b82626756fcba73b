// SPDX-License-Identifier: Apache-2.0
// Where the single-output commands write: a named file or standard output, with failures
// reported the same way everywhere.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

namespace qb::cli {

// Writes `data` to the file `output`, or to standard output when none is given or it is
// "-". Reports a failure against `inputName` and returns false when it cannot.
bool writeOutput(const std::optional<std::string>& output, const Bytes& data,
                 const std::string& inputName);

// Writes text to standard output and flushes it; false when that failed (a full disk, a
// closed pipe), with errno set. Held (and true) while this thread's output is held.
bool writeStandardOutput(std::string_view text);

// "quillbox: standard output: <reason>" on standard error, for a failed write.
void reportStandardOutputFailure();

}  // namespace qb::cli
