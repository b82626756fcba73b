// SPDX-License-Identifier: Apache-2.0
// Capitalisation restarts after each "-" and white space; the rest are one-liners.
#include "mailkit/MailKitStrings.h"

#include <cctype>

namespace qb {

std::string capitalizedHeaderKey(std::string_view name) {
    std::string out(name);
    bool wordStart = true;
    for (char& c : out) {
        const unsigned char u = static_cast<unsigned char>(c);
        if (c == '-' || std::isspace(u)) {
            wordStart = true;
            continue;
        }
        c = static_cast<char>(wordStart ? std::toupper(u) : std::tolower(u));
        wordStart = false;
    }
    return out;
}

namespace {

std::string quoted(std::string_view text, bool escape) {
    std::string out;
    out.reserve(text.size() + 2);
    out += '"';
    for (char c : text) {
        if (escape && (c == '"' || c == '\\')) out += '\\';
        out += c;
    }
    out += '"';
    return out;
}

}  // namespace

std::string_view trimmedBlanks(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t'))
        text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    return text;
}

std::string quotedString(std::string_view text) {
    return quoted(text, false);
}
std::string escapedQuotedString(std::string_view text) {
    return quoted(text, true);
}

std::string MKStringWithBits(uint64_t value) {
    std::string out(64, '0');
    for (int i = 0; i < 64; ++i)
        if (value & (uint64_t(1) << (63 - i))) out[size_t(i)] = '1';
    return out;
}

std::string MKStringWithUInteger(uint64_t value) {
    return std::to_string(value);
}

}  // namespace qb
