// SPDX-License-Identifier: Apache-2.0
// The rendering record that opens each attachment in a TNEF stream; its type tells an OLE
// object from a file.
#pragma once

#include <cstdint>
#include <string>

#include "platform/Export.h"

namespace qb {

/// How an attachment is rendered in the message body (attAttachRenddata).
struct QB_API TNEFAttachmentRendData {
    int64_t type = 0;
    int64_t position = 0;
    int64_t width = 0;
    int64_t height = 0;
    int64_t flags = 0;

    /// "{type = 1, position = -1, width = 0, height = 0, flags = 0}"
    std::string description() const;
    bool operator==(const TNEFAttachmentRendData&) const = default;
};

}  // namespace qb
