// SPDX-License-Identifier: Apache-2.0
// The summary behind quillbox info, built from the message model alone.
#pragma once

#include <string>

#include "model/OutlookMessage.h"

namespace qb::cli {

// The `info` view of a message as text (its JSON is api/MessageInfo.h). Nested messages are
// included recursively.
std::string messageText(const OutlookMessage& message, int indent);

}  // namespace qb::cli
