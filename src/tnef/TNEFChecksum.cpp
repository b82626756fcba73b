#include "tnef/TNEFChecksum.h"

namespace qb {

uint16_t calculateChecksum(const uint8_t* bytes, size_t count) {
    uint32_t sum = 0;
    for (size_t i = 0; i < count; ++i)
        sum += bytes[i];
    return static_cast<uint16_t>(sum);
}

}  // namespace qb
