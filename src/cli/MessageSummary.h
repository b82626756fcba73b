// SPDX-License-Identifier: Apache-2.0
// The summary behind quillbox info, built from the message model alone.
#pragma once

#include <string>

#include "cli/MessageInput.h"
#include "model/OutlookMessage.h"
#include "platform/Dictionary.h"

namespace qb::cli {

// The `info` view of a message, as JSON (the schema in the README) and as text. Nested
// messages are included recursively.
Dictionary messageJSON(const OutlookMessage& message);
std::string messageText(const OutlookMessage& message, int indent);
Dictionary errorJSON(const OpenedInput& input);

}  // namespace qb::cli
