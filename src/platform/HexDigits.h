// SPDX-License-Identifier: Apache-2.0
// Hexadecimal digits both ways, for every reader and writer of hex text.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace qb {

inline constexpr std::string_view kUpperHexDigits = "0123456789ABCDEF";
inline constexpr std::string_view kLowerHexDigits = "0123456789abcdef";

// Appends two digits per byte.
inline void appendHex(std::string& out, std::span<const uint8_t> bytes,
                      std::string_view digits = kLowerHexDigits) {
    out.reserve(out.size() + bytes.size() * 2);
    for (uint8_t b : bytes) {
        out += digits[b >> 4];
        out += digits[b & 15];
    }
}

// 0–15 for a hex digit of either case; -1 for anything else.
constexpr int hexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace qb
