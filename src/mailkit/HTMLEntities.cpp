// SPDX-License-Identifier: Apache-2.0
// Escaping walks code points and looks each up in a sorted table; decoding takes named
// entities and numeric references, and leaves a stray "&" as it stands.
#include "mailkit/HTMLEntities.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>
#include <unordered_map>

#include "mailkit/Unicode.h"
#include "platform/HexDigits.h"

namespace qb {

namespace {

const html::EscapeEntry* find(const html::EscapeTable& table, char32_t c) {
    if (c > 0xFFFF) return nullptr;
    const auto* end = table.entries + table.size;
    const auto* it = std::lower_bound(
        table.entries, end, c, [](const html::EscapeEntry& e, char32_t v) { return e.unit < v; });
    return it != end && it->unit == c ? it : nullptr;
}

}  // namespace

std::string stringByEscapingHTMLUsingTable(std::string_view utf8, const html::EscapeTable& table,
                                           bool escapingUnicode) {
    std::string out;
    out.reserve(utf8.size());
    size_t i = 0;
    while (i < utf8.size()) {
        const size_t start = i;
        const char32_t c = nextCodePoint(utf8, i);
        if (const auto* e = find(table, c)) {
            out += e->entity;
        } else if (escapingUnicode && c > 127) {
            out += "&#" + std::to_string(static_cast<uint32_t>(c)) + ";";
        } else {
            out.append(utf8.substr(start, i - start));
        }
    }
    return out;
}

std::string stringByEncodingHTMLEntities(std::string_view s) {
    return stringByEscapingHTMLUsingTable(s, html::kUnicodeHTML, false);
}
std::string stringByEscapingForAsciiHTML(std::string_view s) {
    return stringByEscapingHTMLUsingTable(s, html::kAsciiHTML, true);
}
std::string stringByEscapingForAsciiHTMLContent(std::string_view s) {
    return stringByEscapingHTMLUsingTable(s, html::kAsciiHTMLContent, true);
}
std::string stringByEscapingForHTMLContent(std::string_view s) {
    return stringByEscapingHTMLUsingTable(s, html::kUnicodeHTMLContent, true);
}

std::string stringByDecodingHTMLEntities(std::string_view text) {
    static const auto* names = [] {
        auto* m = new std::unordered_map<std::string_view, char32_t>;
        for (size_t i = 0; i < html::kAsciiHTML.size; ++i) {
            std::string_view entity = html::kAsciiHTML.entries[i].entity;
            m->emplace(entity.substr(1, entity.size() - 2), html::kAsciiHTML.entries[i].unit);
        }
        return m;
    }();
    std::string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        const size_t amp = text.find('&', i);
        if (amp == std::string_view::npos) break;
        out.append(text.substr(i, amp - i));
        const size_t semi = text.find(';', amp + 1);
        // Entities are short; a far-away ';' belongs to something else.
        if (semi == std::string_view::npos || semi - amp > 12) {
            out += '&';
            i = amp + 1;
            continue;
        }
        const std::string_view body = text.substr(amp + 1, semi - amp - 1);
        std::optional<char32_t> c;
        if (body.size() >= 2 && body[0] == '#') {
            const bool hex = body[1] == 'x' || body[1] == 'X';
            const std::string_view digits = body.substr(hex ? 2 : 1);
            uint32_t v = 0;
            bool ok = !digits.empty() && digits.size() <= 8;
            for (char d : digits) {
                const int n = hex ? hexDigitValue(d)
                                  : std::isdigit(static_cast<unsigned char>(d)) ? d - '0'
                                                                                 : -1;
                if (n < 0) ok = false;
                v = v * (hex ? 16 : 10) + static_cast<uint32_t>(std::max(n, 0));
            }
            if (ok && v > 0 && v <= 0x10FFFF && (v < 0xD800 || v > 0xDFFF)) c = v;
        } else if (auto it = names->find(body); it != names->end()) {
            c = it->second;
        }
        if (c) {
            appendUTF8(out, *c);
            i = semi + 1;
        } else {
            out += '&';
            i = amp + 1;
        }
    }
    if (i < text.size()) out.append(text.substr(i));
    return out;
}

}  // namespace qb
