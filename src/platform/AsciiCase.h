// SPDX-License-Identifier: Apache-2.0
// Case rules for protocol text (header names, charset labels, addresses, file extensions):
// ASCII letters only, whatever the process locale says.
#pragma once

#include <string>
#include <string_view>

namespace qb {

constexpr char toLowerASCII(char c) {
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

inline std::string lowercasedASCII(std::string_view s) {
    std::string out(s);
    for (char& c : out)
        c = toLowerASCII(c);
    return out;
}

constexpr bool equalsIgnoringASCIICase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (toLowerASCII(a[i]) != toLowerASCII(b[i])) return false;
    return true;
}

constexpr bool startsWithIgnoringASCIICase(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && equalsIgnoringASCIICase(s.substr(0, prefix.size()), prefix);
}

}  // namespace qb
