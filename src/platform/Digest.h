// SPDX-License-Identifier: Apache-2.0
// SHA-256 and MD5 of bytes: attachment hashes in `info` and the export manifest, and the
// string digests of mailkit.
#pragma once

#include <string>

#include "platform/Bytes.h"

namespace qb {

// Lower-case hexadecimal digests.
std::string sha256Hex(const Bytes& data);
std::string md5Hex(const Bytes& data);

}  // namespace qb
