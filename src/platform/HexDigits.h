// The value of a hexadecimal digit, for every reader and writer of hex text.
#pragma once

namespace qb {

// 0–15 for a hex digit of either case; -1 for anything else.
constexpr int hexDigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace qb
