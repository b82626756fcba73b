// SPDX-License-Identifier: Apache-2.0
// The RTF writer of styled text.
#include "richtext/StyledTextRTFWriter.h"

#include <fmt/format.h>

#include <cmath>
#include <map>

#include "mailkit/Unicode.h"

namespace qb {

namespace {

class Writer {
  public:
    explicit Writer(const StyledText& text) : text_(text) {}

    std::string write() {
        const StyledText& text = text_;
        collect(text);
        out_ = "{\\rtf1\\ansi\\ansicpg1252\\deff0\\uc1\n{\\fonttbl";
        for (size_t i = 0; i < fontNames_.size(); ++i) {
            out_ += fmt::format("{{\\f{}\\fnil ", i);
            escaped(fontNames_[i]);
            out_ += ";}";
        }
        out_ += "}\n{\\colortbl;";
        for (const auto& c : colorList_)
            out_ += fmt::format("\\red{}\\green{}\\blue{};", c.red, c.green, c.blue);
        out_ += "}\n";
        for (const auto& block : text.blocks()) {
            if (block.isTable)
                writeTable(block.table);
            else {
                writeParagraph(block.paragraph, false);
                out_ += "\\par\n";
            }
        }
        out_ += "}\n";
        return std::move(out_);
    }

  private:
    void collectParagraph(const Paragraph& p) {
        for (const auto& run : p.runs) {
            const CharAttributes& a = text_.attributes(run.attributes);
            fontIndex(a.fontFamily);
            if (a.foreground) colorIndex(*a.foreground);
            if (a.background) colorIndex(*a.background);
        }
    }

    void collect(const StyledText& text) {
        fontIndex("");
        for (const auto& block : text.blocks()) {
            if (!block.isTable) {
                collectParagraph(block.paragraph);
                continue;
            }
            for (const auto& row : block.table.rows)
                for (const auto& cell : row.cells)
                    for (const auto& p : cell.paragraphs)
                        collectParagraph(p);
        }
    }

    size_t fontIndex(const std::string& name) {
        auto [it, added] = fonts_.try_emplace(name, fontNames_.size());
        if (added) fontNames_.push_back(name);
        return it->second;
    }

    size_t colorIndex(const RGBColor& c) {
        const uint32_t key = (uint32_t{c.red} << 16) | (uint32_t{c.green} << 8) | c.blue;
        auto [it, added] = colors_.try_emplace(key, colorList_.size() + 1);
        if (added) colorList_.push_back(c);
        return it->second;
    }

    void escaped(std::string_view s) {
        for (size_t i = 0; i < s.size();) {
            const char32_t cp = nextCodePoint(s, i);
            if (cp == '\\' || cp == '{' || cp == '}') {
                out_ += '\\';
                out_ += static_cast<char>(cp);
            } else if (cp == '\n') {
                out_ += "\\line ";
            } else if (cp == '\t') {
                out_ += "\\tab ";
            } else if (cp < 0x20) {
                continue;
            } else if (cp < 0x80) {
                out_ += static_cast<char>(cp);
            } else if (cp < 0x10000) {
                out_ += fmt::format("\\u{}?", static_cast<int16_t>(static_cast<uint16_t>(cp)));
            } else {
                const char32_t v = cp - 0x10000;
                out_ += fmt::format("\\u{}?\\u{}?", static_cast<int16_t>(0xD800 + (v >> 10)),
                                    static_cast<int16_t>(0xDC00 + (v & 0x3FF)));
            }
        }
    }

    void writeRun(const TextRun& run) {
        const CharAttributes& a = text_.attributes(run.attributes);
        const bool linked = !a.link.empty();
        if (linked) {
            out_ += "{\\field{\\*\\fldinst HYPERLINK \"";
            escaped(a.link);
            out_ += "\"}{\\fldrslt ";
        }
        out_ += fmt::format("{{\\f{}", fontIndex(a.fontFamily));
        if (a.pointSize) out_ += fmt::format("\\fs{}", std::lround(*a.pointSize * 2));
        if (a.bold) out_ += "\\b";
        if (a.italic) out_ += "\\i";
        if (a.underline) out_ += "\\ul";
        if (a.strikethrough) out_ += "\\strike";
        if (a.vertical == VerticalPosition::Superscript) out_ += "\\super";
        if (a.vertical == VerticalPosition::Subscript) out_ += "\\sub";
        if (a.foreground) out_ += fmt::format("\\cf{}", colorIndex(*a.foreground));
        if (a.background) out_ += fmt::format("\\highlight{}", colorIndex(*a.background));
        out_ += ' ';
        if (run.image) {
            writeImage(*run.image);
        } else {
            escaped(run.text);
        }
        out_ += '}';
        if (linked) out_ += "}}";
    }

    void writeImage(const StyledImage& image) {
        const char* kind = image.mimeType == "image/png"    ? "\\pngblip"
                           : image.mimeType == "image/jpeg" ? "\\jpegblip"
                                                            : nullptr;
        if (!kind || image.data.empty()) return;
        out_ += "{\\pict";
        out_ += kind;
        if (image.widthTwips) out_ += fmt::format("\\picwgoal{}", *image.widthTwips);
        if (image.heightTwips) out_ += fmt::format("\\pichgoal{}", *image.heightTwips);
        out_ += '\n';
        static constexpr char kHex[] = "0123456789abcdef";
        size_t column = 0;
        for (uint8_t b : image.data) {
            out_ += kHex[b >> 4];
            out_ += kHex[b & 15];
            if (++column == 64) {
                out_ += '\n';
                column = 0;
            }
        }
        out_ += '}';
    }

    void writeParagraph(const Paragraph& p, bool inTable) {
        const ParagraphAttributes& a = p.attributes;
        out_ += "\\pard";
        if (inTable) out_ += "\\intbl";
        switch (a.alignment) {
            case Alignment::Right: out_ += "\\qr"; break;
            case Alignment::Center: out_ += "\\qc"; break;
            case Alignment::Justified: out_ += "\\qj"; break;
            case Alignment::Left: break;
        }
        if (a.leftIndent) out_ += fmt::format("\\li{}", a.leftIndent);
        if (a.rightIndent) out_ += fmt::format("\\ri{}", a.rightIndent);
        if (a.firstLineIndent) out_ += fmt::format("\\fi{}", a.firstLineIndent);
        if (a.spaceBefore) out_ += fmt::format("\\sb{}", a.spaceBefore);
        if (a.spaceAfter) out_ += fmt::format("\\sa{}", a.spaceAfter);
        out_ += ' ';
        if (!a.listMarker.empty()) {
            out_ += "{\\listtext ";
            escaped(a.listMarker);
            out_ += "\\tab}";
        }
        for (const auto& run : p.runs)
            writeRun(run);
    }

    void writeTable(const Table& t) {
        for (const auto& row : t.rows) {
            out_ += "\\trowd";
            int64_t right = 0;
            for (const auto& cell : row.cells) {
                right += cell.widthTwips.value_or(1440);
                out_ += fmt::format("\\cellx{}", right);
            }
            out_ += '\n';
            for (const auto& cell : row.cells) {
                for (size_t i = 0; i < cell.paragraphs.size(); ++i) {
                    writeParagraph(cell.paragraphs[i], true);
                    if (i + 1 < cell.paragraphs.size()) out_ += "\\par\n";
                }
                if (cell.paragraphs.empty()) out_ += "\\pard\\intbl ";
                out_ += "\\cell\n";
            }
            out_ += "\\row\n";
        }
        out_ += "\\pard\n";
    }

    const StyledText& text_;
    std::string out_;
    std::map<std::string, size_t> fonts_;
    std::vector<std::string> fontNames_;
    std::map<uint32_t, size_t> colors_;
    std::vector<RGBColor> colorList_;
};

}  // namespace

std::string rtfOfStyledText(const StyledText& text) {
    return Writer(text).write();
}

}  // namespace qb
