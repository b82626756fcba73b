// SPDX-License-Identifier: Apache-2.0
// The four escape tables the HTML escapers choose from, each a sorted array of entity and
// UTF-16 code unit.
#pragma once

#include <cstddef>
#include <iterator>

namespace qb::html {

struct EscapeEntry {
    const char* entity;
    char16_t unit;
};

struct EscapeTable {
    const EscapeEntry* entries;
    size_t size;
};

// 253 rows from "&quot;": every named entity.
extern const EscapeTable kAsciiHTML;
// 249 rows from "&amp;": for body text, which keeps its quotes.
extern const EscapeTable kAsciiHTMLContent;
// 33 rows from "&quot;": the markup characters and the named characters above U+0151.
extern const EscapeTable kUnicodeHTML;
// 28 rows from "&OElig;": only the named characters above U+0151.
extern const EscapeTable kUnicodeHTMLContent;

}  // namespace qb::html
