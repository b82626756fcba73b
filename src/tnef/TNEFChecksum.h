// SPDX-License-Identifier: Apache-2.0
// The per-record checksum the TNEF reader checks when checksums are not ignored.
#pragma once

#include <cstdint>
#include <span>

namespace qb {

// Sum of the bytes modulo 65536, the checksum of a TNEF record's data.
uint16_t calculateChecksum(std::span<const uint8_t> bytes);

}  // namespace qb
