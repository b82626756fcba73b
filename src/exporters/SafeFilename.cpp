// SPDX-License-Identifier: Apache-2.0
// Byte-level cleaning that never cuts a UTF-8 sequence; long names keep a sensible extension.
#include "exporters/SafeFilename.h"

#include <fmt/format.h>

#include <cctype>

#include "mime/MimeTypes.h"
#include "platform/StringEncoding.h"

namespace qb {

namespace {

constexpr size_t kMaxNameBytes = 200;
// Room for " (n)" added later.
constexpr size_t kMaxExtensionBytes = 32;

// The longest prefix of at most `limit` bytes that does not cut a UTF-8 sequence.
std::string_view utf8Prefix(std::string_view s, size_t limit) {
    if (s.size() <= limit) return s;
    size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(s[end]) & 0xC0) == 0x80)
        --end;
    return s.substr(0, end);
}

}  // namespace

std::string safeFilename(std::string_view name, std::string_view fallback) {
    std::string text = isValidUTF8(name) ? std::string(name)
                                         : decodeString(name, kUTF8Encoding, true).value_or("");
    for (char& c : text) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '/' || c == '\\' || u < 0x20 || u == 0x7F) c = '_';
    }
    // Trailing spaces and dots are lost or refused by some file systems.
    while (!text.empty() && (text.back() == ' ' || text.back() == '.'))
        text.pop_back();
    if (text.empty()) text = std::string(fallback);
    if (!text.empty() && text.front() == '.') text = std::string("_").append(text);

    if (text.size() > kMaxNameBytes) {
        std::string ext = pathExtension(text);
        if (ext.size() > kMaxExtensionBytes) ext.clear();
        const std::string_view stem =
            std::string_view(text).substr(0, text.size() - (ext.empty() ? 0 : ext.size() + 1));
        std::string cut(utf8Prefix(stem, kMaxNameBytes - (ext.empty() ? 0 : ext.size() + 1)));
        if (!ext.empty()) cut += "." + ext;
        text = std::move(cut);
    }
    return text;
}

std::string numberedFilename(std::string_view name, unsigned n) {
    if (n <= 1) return std::string(name);
    const std::string ext = pathExtension(name);
    const std::string_view stem = ext.empty() ? name : name.substr(0, name.size() - ext.size() - 1);
    return ext.empty() ? fmt::format("{} ({})", stem, n) : fmt::format("{} ({}).{}", stem, n, ext);
}

bool isWindowsReservedName(const std::string& name) {
    std::string stem = name.substr(0, name.find('.'));
    while (!stem.empty() && stem.back() == ' ')
        stem.pop_back();
    for (char& c : stem)
        c = char(std::toupper(static_cast<unsigned char>(c)));
    if (stem == "CON" || stem == "PRN" || stem == "AUX" || stem == "NUL") return true;
    return stem.size() == 4 && (stem.starts_with("COM") || stem.starts_with("LPT")) &&
           stem[3] >= '1' && stem[3] <= '9';
}

}  // namespace qb
