#pragma once

#include <cstddef>
#include <cstdint>

namespace qb {

// Sum of the bytes modulo 65536, the checksum of a TNEF record's data.
uint16_t calculateChecksum(const uint8_t* bytes, size_t count);

// Big-endian readings of bytes given in order (MacBinary headers).
constexpr uint16_t getU16(uint8_t a, uint8_t b) {
    return static_cast<uint16_t>(a << 8 | b);
}
constexpr uint32_t getU32(uint8_t a, uint8_t b, uint8_t c, uint8_t d) {
    return uint32_t(a) << 24 | uint32_t(b) << 16 | uint32_t(c) << 8 | d;
}

}  // namespace qb
