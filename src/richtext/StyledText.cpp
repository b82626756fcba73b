// SPDX-License-Identifier: Apache-2.0
// Styled text: the font-size step and the plain text of a document.
#include "richtext/StyledText.h"

namespace qb {

namespace {

void appendParagraphText(const Paragraph& p, std::string& out) {
    out += p.attributes.listMarker;
    for (const auto& run : p.runs)
        out += run.text;
}

size_t hashOf(const CharAttributes& a) {
    const std::hash<std::string_view> text;
    size_t h = text(a.fontFamily);
    auto mix = [&h](size_t v) { h ^= v + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2); };
    mix(text(a.genericFamily));
    mix(text(a.link));
    mix(a.pointSize ? std::hash<double>()(*a.pointSize) : 1);
    mix(size_t{a.bold} | size_t{a.italic} << 1 | size_t{a.underline} << 2 |
        size_t{a.strikethrough} << 3 | size_t(a.vertical) << 4);
    auto color = [](const std::optional<RGBColor>& c) {
        return c ? size_t{1} << 24 | size_t{c->red} << 16 | size_t{c->green} << 8 | c->blue : 0;
    };
    mix(color(a.foreground));
    mix(color(a.background));
    return h;
}

}  // namespace

StyledText::StyledText() : looks_(1) {
    lookIndex_.emplace(hashOf(looks_[0]), 0);
}

AttributesID StyledText::intern(const CharAttributes& look) {
    const size_t h = hashOf(look);
    for (auto [it, end] = lookIndex_.equal_range(h); it != end; ++it)
        if (looks_[it->second] == look) return it->second;
    const auto id = static_cast<AttributesID>(looks_.size());
    looks_.push_back(look);
    lookIndex_.emplace(h, id);
    return id;
}

StyledText& StyledText::changeFontByPointSize(double delta) {
    // Runs share their looks, so each look grows once.
    lookIndex_.clear();
    for (size_t id = 0; id < looks_.size(); ++id) {
        if (looks_[id].pointSize) *looks_[id].pointSize += delta;
        lookIndex_.emplace(hashOf(looks_[id]), static_cast<AttributesID>(id));
    }
    return *this;
}

std::string StyledText::plainText() const {
    std::string out;
    for (const auto& block : blocks_) {
        if (!block.isTable) {
            appendParagraphText(block.paragraph, out);
            out += '\n';
            continue;
        }
        for (const auto& row : block.table.rows) {
            for (const auto& cell : row.cells) {
                for (size_t i = 0; i < cell.paragraphs.size(); ++i) {
                    if (i) out += ' ';
                    appendParagraphText(cell.paragraphs[i], out);
                }
                out += '\t';
            }
            out += '\n';
        }
    }
    return out;
}

StyledText StyledText::fromPlainText(std::string_view text, double pointSize) {
    StyledText out;
    CharAttributes look;
    look.pointSize = pointSize;
    const AttributesID attributes = out.intern(look);
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = text.find_first_of("\r\n", start);
        if (end == std::string_view::npos) end = text.size();
        Paragraph p;
        p.markAttributes = attributes;
        if (end > start) p.runs.push_back(TextRun{std::string(text.substr(start, end - start)), nullptr, attributes});
        if (end == text.size() && p.runs.empty()) break;  // no empty paragraph after the last line end
        out.blocks_.push_back(Block{false, std::move(p), {}});
        if (end < text.size() && text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') ++end;
        start = end + 1;
    }
    return out;
}

}  // namespace qb
