// Styled text: the font-size step and the plain text of a document.
#include "richtext/StyledText.h"

namespace qb {

namespace {

template <typename F>
void forEachParagraph(std::vector<Block>& blocks, F&& f) {
    for (auto& block : blocks) {
        if (!block.isTable) {
            f(block.paragraph);
            continue;
        }
        for (auto& row : block.table.rows)
            for (auto& cell : row.cells)
                for (auto& p : cell.paragraphs)
                    f(p);
    }
}

void appendParagraphText(const Paragraph& p, std::string& out) {
    out += p.attributes.listMarker;
    for (const auto& run : p.runs)
        out += run.text;
}

}  // namespace

StyledText& StyledText::changeFontByPointSize(double delta) {
    forEachParagraph(blocks_, [delta](Paragraph& p) {
        for (auto& run : p.runs)
            if (run.attributes.pointSize) *run.attributes.pointSize += delta;
        if (p.markAttributes.pointSize) *p.markAttributes.pointSize += delta;
    });
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
    CharAttributes attributes;
    attributes.pointSize = pointSize;
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
