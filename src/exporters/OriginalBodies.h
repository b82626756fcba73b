// SPDX-License-Identifier: Apache-2.0
// The bodies exactly as the message stores them, for whoever must keep evidence unchanged:
// the HTML body in its own encoding and the RTF body decompressed.
#pragma once

#include <string>
#include <vector>

#include "model/OutlookMessage.h"

namespace qb {

struct OriginalBody {
    std::string filename;  // "Message.original.html", "Message.rtf"
    Bytes data;
};

// The stored bodies, HTML first; none when the message has neither.
std::vector<OriginalBody> originalBodies(const OutlookMessage& message);

}  // namespace qb
