// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Dictionary.h"

namespace qb::test {

// Whether python3 and its email package are there.
bool havePythonEmail();

// What Python's email package (policy "default") sees in each message: defects, subject,
// From/To/Cc mailboxes as [name, address] pairs, attachments with size and SHA-256, nested
// messages reported the same way. Keyed by the position of the message in `messages`.
// Nothing when Python could not be run.
std::optional<Dictionary> pythonEmlReport(const std::vector<std::string>& messages);

}  // namespace qb::test
