// SPDX-License-Identifier: Apache-2.0
// Font-size arithmetic: CSS sizes raised in the text itself, HTML bodies through a libxml2 tree.
#include "richtext/HTMLFontSizes.h"

#include <fmt/format.h>
#include <libxml/HTMLparser.h>
#include <libxml/HTMLtree.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "platform/AsciiCase.h"
#include "platform/Log.h"
#include "richtext/XmlNodes.h"

namespace qb {

namespace {

constexpr double kPointsPerPixel = 0.75;
constexpr int kMaxDepth = 256;
// <font size=1…7> in points, as browsers draw them.
constexpr std::array<double, 7> kFontSizePoints{7.5, 10, 12, 13.5, 18, 24, 36};

bool startsWithNoCase(std::string_view s, size_t pos, std::string_view word) {
    return pos <= s.size() && startsWithIgnoringASCIICase(s.substr(pos), word);
}

bool isNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '-';
}

std::string formatPoints(double pt) {
    return fmt::format("{:g}pt", pt);
}

void setAttribute(xmlNode* node, const char* name, const std::string& value) {
    xmlSetProp(node, reinterpret_cast<const xmlChar*>(name),
               reinterpret_cast<const xmlChar*>(value.c_str()));
}

bool hasFontSize(std::string_view style) {
    for (size_t pos = 0; pos < style.size(); ++pos)
        if (startsWithNoCase(style, pos, "font-size")) return true;
    return false;
}

void enlargeTree(xmlNode* node, double points, int depth) {
    if (depth > kMaxDepth) return;
    for (xmlNode* n = node; n; n = n->next) {
        if (n->type == XML_ELEMENT_NODE) {
            const std::string_view name(reinterpret_cast<const char*>(n->name));
            std::string style = xmlAttribute(n, "style");
            if (!style.empty()) setAttribute(n, "style", cssWithFontSizesEnlarged(style, points));
            if (name == "font") {
                if (auto pt = fontElementPoints(xmlAttribute(n, "size"));
                    pt && !hasFontSize(style)) {
                    xmlUnsetProp(n, reinterpret_cast<const xmlChar*>("size"));
                    const std::string now = xmlAttribute(n, "style");
                    setAttribute(n, "style",
                                 "font-size: " + formatPoints(*pt + points) +
                                     (now.empty() ? "" : "; " + now));
                }
            } else if (name == "style") {
                for (xmlNode* t = n->children; t; t = t->next) {
                    if (t->type != XML_TEXT_NODE && t->type != XML_CDATA_SECTION_NODE) continue;
                    if (!t->content) continue;
                    const std::string css =
                        cssWithFontSizesEnlarged(reinterpret_cast<const char*>(t->content), points);
                    xmlNodeSetContent(t, reinterpret_cast<const xmlChar*>(css.c_str()));
                }
            } else if (name == "body" && !hasFontSize(style)) {
                // Text that names no size is shown at the default size; it grows too.
                const std::string now = xmlAttribute(n, "style");
                setAttribute(n, "style",
                             "font-size: " + formatPoints(kDefaultFontPoints + points) +
                                 (now.empty() ? "" : "; " + now));
            }
        }
        if (n->children && n->type == XML_ELEMENT_NODE) enlargeTree(n->children, points, depth + 1);
    }
}

}  // namespace

std::optional<double> fontElementPoints(std::string size) {
    while (!size.empty() && std::isspace(static_cast<unsigned char>(size.back())))
        size.pop_back();
    if (size.empty()) return std::nullopt;
    char* end = nullptr;
    // Anything beyond 1…7 (or ±7) lands on the nearest size; clamped first so "+9…9"
    // cannot overflow.
    const long n = std::clamp(std::strtol(size.c_str(), &end, 10), -16L, 16L);
    if (*end != '\0') return std::nullopt;
    long index = (size[0] == '+' || size[0] == '-') ? 3 + n : n;
    index = std::clamp(index, 1L, 7L);
    return kFontSizePoints[static_cast<size_t>(index - 1)];
}

std::string cssWithFontSizesEnlarged(std::string_view css, double points) {
    std::string out;
    out.reserve(css.size() + 16);
    size_t pos = 0;
    while (pos < css.size()) {
        const bool atName =
            (pos == 0 || !isNameChar(css[pos - 1])) && startsWithNoCase(css, pos, "font");
        if (!atName) {
            out += css[pos++];
            continue;
        }
        size_t p = pos + 4;
        if (startsWithNoCase(css, p, "-size")) p += 5;
        if (p < css.size() && isNameChar(css[p])) {  // font-family, font-weight, …
            out.append(css.substr(pos, p - pos));
            pos = p;
            continue;
        }
        while (p < css.size() && std::isspace(static_cast<unsigned char>(css[p])))
            ++p;
        if (p >= css.size() || css[p] != ':') {
            out.append(css.substr(pos, p - pos));
            pos = p;
            continue;
        }
        // The declaration's value runs to ";", "}" or the end; its first absolute size is
        // the font size (a line height follows a "/").
        const size_t valueEnd = std::min(css.find_first_of(";}", p), css.size());
        out.append(css.substr(pos, p + 1 - pos));
        pos = p + 1;
        bool done = false;
        while (pos < valueEnd) {
            const char c = css[pos];
            const bool numberStart = !done &&
                                     (std::isdigit(static_cast<unsigned char>(c)) ||
                                      (c == '.' && pos + 1 < valueEnd &&
                                       std::isdigit(static_cast<unsigned char>(css[pos + 1])))) &&
                                     (pos == 0 || !isNameChar(css[pos - 1]));
            if (!numberStart) {
                if (c == '/') done = true;
                out += css[pos++];
                continue;
            }
            size_t q = pos;
            while (q < valueEnd &&
                   (std::isdigit(static_cast<unsigned char>(css[q])) || css[q] == '.'))
                ++q;
            const bool pt = startsWithNoCase(css, q, "pt");
            const bool px = startsWithNoCase(css, q, "px");
            const std::string number(css.substr(pos, q - pos));
            char* end = nullptr;
            const double value = std::strtod(number.c_str(), &end);
            if ((pt || px) && end && *end == '\0') {
                out += formatPoints((px ? value * kPointsPerPixel : value) + points);
                pos = q + 2;
            } else {
                out.append(css.substr(pos, q - pos));
                pos = q;
            }
            done = true;
        }
    }
    return out;
}

std::optional<std::string> htmlWithFontsEnlarged(std::string_view utf8Html, double points) {
    initXmlParser();
    if (utf8Html.size() > static_cast<size_t>(INT32_MAX)) return std::nullopt;

    std::unique_ptr<xmlDoc, XmlDocDeleter> doc(htmlReadMemory(
        utf8Html.data(), static_cast<int>(utf8Html.size()), nullptr, "UTF-8",
        HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | HTML_PARSE_NONET));
    if (!doc || !xmlDocGetRootElement(doc.get())) return std::nullopt;

    xmlNode* root = xmlDocGetRootElement(doc.get());
    enlargeTree(root, points, 0);
    declareUTF8(root);

    auto out = htmlDocumentText(doc.get());
    if (!out) log("TextExporter _htmlDataOfString FailureReason the document could not be written");
    return out;
}

}  // namespace qb
