// SPDX-License-Identifier: Apache-2.0
// A plain byte sum, truncated to 16 bits.
#include "tnef/TNEFChecksum.h"

namespace qb {

uint16_t calculateChecksum(std::span<const uint8_t> bytes) {
    uint32_t sum = 0;
    for (uint8_t b : bytes)
        sum += b;
    return static_cast<uint16_t>(sum);
}

}  // namespace qb
