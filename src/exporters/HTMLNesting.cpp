// SPDX-License-Identifier: Apache-2.0
// A quick scan of an HTML body's tag nesting, made before the HTML step reads it.
#include "exporters/HTMLNesting.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string>

namespace qb {

namespace {

// Elements that never hold others, or whose end tag may be left out (the parser closes them
// itself, so an unclosed run of them is no nesting).
constexpr std::array<std::string_view, 27> kNotCounted = {
    "area", "base",  "br",     "col",    "embed",    "hr",    "img",   "input", "link",
    "meta", "param", "source", "track",  "wbr",      "p",     "li",    "td",    "th",
    "tr",   "dt",    "dd",     "option", "optgroup", "tbody", "thead", "tfoot", "colgroup"};

bool isNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == ':' || c == '_';
}

}  // namespace

bool htmlNestsDeeperThan(std::string_view html, size_t limit) {
    size_t depth = 0;
    size_t pos = 0;
    std::string name;
    while ((pos = html.find('<', pos)) != std::string_view::npos) {
        ++pos;
        if (pos >= html.size()) break;
        if (html.compare(pos, 3, "!--") == 0) {
            const size_t end = html.find("-->", pos + 3);
            if (end == std::string_view::npos) break;
            pos = end + 3;
            continue;
        }
        const bool closing = html[pos] == '/';
        if (closing) ++pos;
        name.clear();
        while (pos < html.size() && isNameChar(html[pos]))
            name += char(std::tolower(static_cast<unsigned char>(html[pos++])));
        if (name.empty()) continue;  // "<" as text, "<!DOCTYPE", "<?xml"
        const size_t end = html.find('>', pos);
        if (end == std::string_view::npos) break;
        const bool selfClosed = end > pos && html[end - 1] == '/';
        pos = end + 1;
        if (std::find(kNotCounted.begin(), kNotCounted.end(), name) != kNotCounted.end()) continue;
        if (closing) {
            if (depth > 0) --depth;
            continue;
        }
        if (selfClosed) continue;
        if (name == "script" || name == "style") {
            // Their content is text, not tags.
            const size_t close = html.find("</", pos);
            pos = close == std::string_view::npos ? html.size() : close;
            continue;
        }
        if (++depth > limit) return true;
    }
    return false;
}

}  // namespace qb
