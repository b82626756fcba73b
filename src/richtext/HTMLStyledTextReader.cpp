// SPDX-License-Identifier: Apache-2.0
// HTML read into styled text with libxml2's tolerant parser: the elements and inline
// styles that say how text looks become run and paragraph attributes.
#include "richtext/HTMLStyledTextReader.h"

#include <libxml/HTMLparser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "mailkit/Base64.h"
#include "richtext/HTMLFontSizes.h"
#include "platform/HexDigits.h"
#include "richtext/XmlNodes.h"

namespace qb {

namespace {

constexpr int kMaxDepth = 256;

std::string lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

std::string trim(std::string_view s) {
    size_t b = 0, e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t' || s[b] == '\n' || s[b] == '\r')) ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t' || s[e - 1] == '\n' || s[e - 1] == '\r')) --e;
    return std::string(s.substr(b, e - b));
}

// "#rgb", "#rrggbb", "rgb(r, g, b)" and the sixteen basic colour names.
std::optional<RGBColor> parseColor(std::string value) {
    value = lower(trim(value));
    if (!value.empty() && value[0] == '#') {
        std::string h = value.substr(1);
        if (h.size() == 3) h = {h[0], h[0], h[1], h[1], h[2], h[2]};
        if (h.size() != 6) return std::nullopt;
        uint8_t v[3];
        for (int i = 0; i < 3; ++i) {
            const int a = hexDigitValue(h[size_t(i * 2)]), b = hexDigitValue(h[size_t(i * 2 + 1)]);
            if (a < 0 || b < 0) return std::nullopt;
            v[i] = static_cast<uint8_t>(a * 16 + b);
        }
        return RGBColor{v[0], v[1], v[2]};
    }
    if (value.starts_with("rgb(")) {
        int v[3] = {0, 0, 0};
        const char* p = value.c_str() + 4;
        for (int& c : v) {
            char* end = nullptr;
            c = std::clamp(static_cast<int>(std::strtol(p, &end, 10)), 0, 255);
            p = end;
            while (*p == ',' || *p == ' ') ++p;
        }
        return RGBColor{uint8_t(v[0]), uint8_t(v[1]), uint8_t(v[2])};
    }
    struct Named {
        std::string_view name;
        RGBColor color;
    };
    static constexpr std::array<Named, 16> kNames{{{"black", {0, 0, 0}},
                                                   {"silver", {192, 192, 192}},
                                                   {"gray", {128, 128, 128}},
                                                   {"white", {255, 255, 255}},
                                                   {"maroon", {128, 0, 0}},
                                                   {"red", {255, 0, 0}},
                                                   {"purple", {128, 0, 128}},
                                                   {"fuchsia", {255, 0, 255}},
                                                   {"green", {0, 128, 0}},
                                                   {"lime", {0, 255, 0}},
                                                   {"olive", {128, 128, 0}},
                                                   {"yellow", {255, 255, 0}},
                                                   {"navy", {0, 0, 128}},
                                                   {"blue", {0, 0, 255}},
                                                   {"teal", {0, 128, 128}},
                                                   {"aqua", {0, 255, 255}}}};
    for (const auto& n : kNames)
        if (value == n.name) return n.color;
    return std::nullopt;
}

// "12pt", "16px", "1.5em" (of `current`) in points.
std::optional<double> parseLength(std::string value, double current) {
    value = lower(trim(value));
    char* end = nullptr;
    const double n = std::strtod(value.c_str(), &end);
    if (end == value.c_str() || !(n >= 0) || n > 10000) return std::nullopt;
    const std::string unit = trim(end);
    if (unit == "pt") return n;
    if (unit == "px" || unit.empty()) return n * 0.75;
    if (unit == "em" || unit == "rem") return n * current;
    if (unit == "%") return n * current / 100;
    if (unit == "in") return n * 72;
    if (unit == "cm") return n * 72 / 2.54;
    if (unit == "mm") return n * 72 / 25.4;
    return std::nullopt;
}

struct Style {
    CharAttributes chars;
    ParagraphAttributes paragraph;
    bool preformatted = false;
};

// The declarations of a style attribute that the model holds.
void applyCSS(std::string_view css, Style& style) {
    size_t pos = 0;
    while (pos < css.size()) {
        size_t end = css.find(';', pos);
        if (end == std::string_view::npos) end = css.size();
        const std::string_view decl = css.substr(pos, end - pos);
        pos = end + 1;
        const size_t colon = decl.find(':');
        if (colon == std::string_view::npos) continue;
        const std::string name = lower(trim(decl.substr(0, colon)));
        std::string value = trim(decl.substr(colon + 1));
        if (const size_t bang = value.find('!'); bang != std::string::npos) value = trim(value.substr(0, bang));
        const std::string v = lower(value);
        CharAttributes& c = style.chars;
        if (name == "font-size") {
            if (auto pt = parseLength(v, c.pointSize.value_or(kDefaultFontPoints))) c.pointSize = pt;
        } else if (name == "font-family") {
            std::string family = trim(value.substr(0, value.find(',')));
            family.erase(std::remove(family.begin(), family.end(), '\''), family.end());
            family.erase(std::remove(family.begin(), family.end(), '"'), family.end());
            c.fontFamily = family;
        } else if (name == "font-weight") {
            c.bold = v == "bold" || v == "bolder" || std::atoi(v.c_str()) >= 600;
        } else if (name == "font-style") {
            c.italic = v == "italic" || v == "oblique";
        } else if (name == "text-decoration" || name == "text-decoration-line") {
            c.underline = v.find("underline") != std::string::npos;
            c.strikethrough = v.find("line-through") != std::string::npos;
        } else if (name == "color") {
            if (auto col = parseColor(v)) c.foreground = col;
        } else if (name == "background-color" || name == "background") {
            if (auto col = parseColor(v)) c.background = col;
        } else if (name == "vertical-align") {
            if (v == "super") c.vertical = VerticalPosition::Superscript;
            if (v == "sub") c.vertical = VerticalPosition::Subscript;
        } else if (name == "text-align") {
            auto& a = style.paragraph.alignment;
            if (v == "center") a = Alignment::Center;
            if (v == "right") a = Alignment::Right;
            if (v == "justify") a = Alignment::Justified;
            if (v == "left") a = Alignment::Left;
        } else if (name == "margin-left") {
            if (auto pt = parseLength(v, 12)) style.paragraph.leftIndent = static_cast<int32_t>(*pt * 20);
        } else if (name == "white-space") {
            style.preformatted = v.starts_with("pre");
        }
    }
}

class Reader {
  public:
    StyledText read(xmlNode* root) {
        Style base;
        base.chars.pointSize = kDefaultFontPoints;
        walk(root, base, 0);
        endParagraph();
        return std::move(doc_);
    }

  private:
    void endParagraph() {
        if (current_.runs.empty() && current_.attributes.listMarker.empty()) return;
        if (cell_) {
            cell_->paragraphs.push_back(std::move(current_));
        } else {
            doc_.blocks().push_back(Block{false, std::move(current_), {}});
        }
        current_ = Paragraph{};
        atLineStart_ = true;
    }

    void addText(std::string_view text, const Style& style) {
        std::string out;
        for (char c : text) {
            const bool space = c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
            if (style.preformatted) {
                if (c == '\r') continue;
                out += c;
            } else if (space) {
                // White space collapses, and none starts a line.
                if (!atLineStart_ && !pendingSpace_) pendingSpace_ = true;
            } else {
                // A space between two runs belongs to the one before it.
                if (pendingSpace_) {
                    if (out.empty() && !current_.runs.empty() && !current_.runs.back().image)
                        current_.runs.back().text += ' ';
                    else
                        out += ' ';
                }
                pendingSpace_ = false;
                out += c;
                atLineStart_ = false;
            }
        }
        if (out.empty()) return;
        if (style.preformatted) atLineStart_ = false;
        current_.attributes.alignment = style.paragraph.alignment;
        current_.attributes.leftIndent = style.paragraph.leftIndent;
        auto& runs = current_.runs;
        const AttributesID look = doc_.intern(style.chars);
        if (!runs.empty() && !runs.back().image && runs.back().attributes == look)
            runs.back().text += out;
        else
            runs.push_back(TextRun{std::move(out), nullptr, look});
    }

    void addImage(xmlNode* n, const Style& style) {
        StyledImage image;
        const std::string src = xmlAttribute(n, "src");
        // Pictures carried in the page itself keep their bytes; others keep their address.
        if (src.starts_with("data:")) {
            const size_t comma = src.find(',');
            const std::string head = src.substr(5, comma == std::string::npos ? 0 : comma - 5);
            image.mimeType = head.substr(0, head.find(';'));
            if (comma != std::string::npos && head.ends_with(";base64"))
                image.data = dataFromBase64String(std::string_view(src).substr(comma + 1));
        } else {
            image.name = src;
        }
        if (auto w = parseLength(xmlAttribute(n, "width"), 12)) image.widthTwips = static_cast<int32_t>(*w * 20);
        if (auto h = parseLength(xmlAttribute(n, "height"), 12)) image.heightTwips = static_cast<int32_t>(*h * 20);
        current_.runs.push_back(TextRun{
            {}, std::make_shared<const StyledImage>(std::move(image)), doc_.intern(style.chars)});
        atLineStart_ = false;
        pendingSpace_ = false;
    }

    void walk(xmlNode* node, const Style& inherited, int depth) {
        if (depth > kMaxDepth) return;
        for (xmlNode* n = node; n; n = n->next) {
            if (n->type == XML_TEXT_NODE || n->type == XML_CDATA_SECTION_NODE) {
                if (n->content) addText(reinterpret_cast<const char*>(n->content), inherited);
                continue;
            }
            if (n->type != XML_ELEMENT_NODE) continue;
            const std::string name = lower(reinterpret_cast<const char*>(n->name));
            if (name == "head" || name == "style" || name == "script" || name == "title") continue;
            Style style = inherited;
            CharAttributes& c = style.chars;
            if (name == "b" || name == "strong" || name == "th") c.bold = true;
            if (name == "i" || name == "em" || name == "cite") c.italic = true;
            if (name == "u" || name == "ins") c.underline = true;
            if (name == "s" || name == "strike" || name == "del") c.strikethrough = true;
            if (name == "sup") c.vertical = VerticalPosition::Superscript;
            if (name == "sub") c.vertical = VerticalPosition::Subscript;
            if (name == "pre" || name == "code" || name == "tt") c.genericFamily = "monospace";
            if (name == "pre") style.preformatted = true;
            if (name == "a") {
                const std::string href = xmlAttribute(n, "href");
                if (!href.empty()) c.link = href;
            }
            if (name == "font") {
                if (auto face = xmlAttribute(n, "face"); !face.empty()) c.fontFamily = trim(face.substr(0, face.find(',')));
                if (auto col = parseColor(xmlAttribute(n, "color"))) c.foreground = col;
                if (auto pt = fontElementPoints(trim(xmlAttribute(n, "size")))) c.pointSize = pt;
            }
            if (name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6') {
                static constexpr std::array<double, 6> kHeadings{24, 18, 14, 12, 10, 7.5};
                c.pointSize = kHeadings[static_cast<size_t>(name[1] - '1')];
                c.bold = true;
            }
            if (auto align = lower(xmlAttribute(n, "align")); !align.empty())
                applyCSS("text-align:" + align, style);
            applyCSS(xmlAttribute(n, "style"), style);

            const bool block = name == "p" || name == "div" || name == "li" || name == "pre" ||
                               name == "blockquote" || name == "ul" || name == "ol" ||
                               (name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6');
            if (name == "br") {
                addText("\n", Style{inherited.chars, inherited.paragraph, true});
                atLineStart_ = true;
                pendingSpace_ = false;
                continue;
            }
            if (name == "img") {
                addImage(n, style);
                continue;
            }
            if (name == "table") {
                readTable(n, style, depth);
                continue;
            }
            if (block) endParagraph();
            if (name == "li") current_.attributes.listMarker = "•";
            walk(n->children, style, depth + 1);
            if (block) endParagraph();
        }
    }

    void readTable(xmlNode* table, const Style& style, int depth) {
        endParagraph();
        Table t;
        std::vector<xmlNode*> rows;
        // Rows directly in the table or in its sections.
        for (xmlNode* n = table->children; n; n = n->next) {
            if (n->type != XML_ELEMENT_NODE) continue;
            const std::string name = lower(reinterpret_cast<const char*>(n->name));
            if (name == "tr") rows.push_back(n);
            if (name == "tbody" || name == "thead" || name == "tfoot")
                for (xmlNode* r = n->children; r; r = r->next)
                    if (r->type == XML_ELEMENT_NODE && lower(reinterpret_cast<const char*>(r->name)) == "tr")
                        rows.push_back(r);
        }
        for (xmlNode* r : rows) {
            TableRow row;
            for (xmlNode* cellNode = r->children; cellNode; cellNode = cellNode->next) {
                if (cellNode->type != XML_ELEMENT_NODE) continue;
                const std::string name = lower(reinterpret_cast<const char*>(cellNode->name));
                if (name != "td" && name != "th") continue;
                TableCell cell;
                if (auto w = parseLength(xmlAttribute(cellNode, "width"), 12)) cell.widthTwips = static_cast<int32_t>(*w * 20);
                TableCell* outer = cell_;
                Paragraph outerParagraph = std::move(current_);
                current_ = Paragraph{};
                cell_ = &cell;
                atLineStart_ = true;
                pendingSpace_ = false;
                Style cellStyle = style;
                if (name == "th") cellStyle.chars.bold = true;
                applyCSS(xmlAttribute(cellNode, "style"), cellStyle);
                walk(cellNode->children, cellStyle, depth + 2);
                endParagraph();
                cell_ = outer;
                current_ = std::move(outerParagraph);
                row.cells.push_back(std::move(cell));
            }
            t.rows.push_back(std::move(row));
        }
        // A table inside a cell is flattened into that cell's paragraphs.
        if (cell_) {
            for (auto& row : t.rows)
                for (auto& cell : row.cells)
                    for (auto& p : cell.paragraphs)
                        cell_->paragraphs.push_back(std::move(p));
            return;
        }
        doc_.blocks().push_back(Block{true, {}, std::move(t)});
        atLineStart_ = true;
    }

    StyledText doc_;
    Paragraph current_;
    TableCell* cell_ = nullptr;
    bool atLineStart_ = true;
    bool pendingSpace_ = false;
};

}  // namespace

std::optional<StyledText> readHTML(std::string_view utf8Html) {
    if (utf8Html.size() > static_cast<size_t>(INT32_MAX)) return std::nullopt;
    initXmlParser();
    std::unique_ptr<xmlDoc, XmlDocDeleter> doc(htmlReadMemory(
        utf8Html.data(), static_cast<int>(utf8Html.size()), nullptr, "UTF-8",
        HTML_PARSE_RECOVER | HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING));
    if (!doc) return std::nullopt;
    xmlNode* root = xmlDocGetRootElement(doc.get());
    if (!root) return std::nullopt;
    return Reader().read(root);
}

}  // namespace qb
