// SPDX-License-Identifier: Apache-2.0
// Unwrapping MacBinary: attachments sent from Macs may carry their file wrapped this way, and
// TNEFAttachment hands out the data fork instead.
#pragma once

#include <optional>

#include "platform/Bytes.h"

namespace qb {

// The data fork of a MacBinary (I, II or III) file, or nothing when the header does not
// check out or the forks do not fit in the data. The result is a window onto `data`.
std::optional<Bytes> CopyDataForkFromMacBinary(const Bytes& data);

}  // namespace qb
