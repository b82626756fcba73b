// SPDX-License-Identifier: Apache-2.0
// The HTML writer of styled text.
#include "richtext/StyledTextHTMLWriter.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "mailkit/Base64.h"
#include "platform/HugePages.h"
#include "richtext/ByteScan.h"

namespace qb {

namespace {

constexpr std::string_view kHead =
    "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n"
    "<style>\np { margin: 0; white-space: pre-wrap; }\n"
    "table { border-collapse: collapse; }\n"
    "td { border: 1px solid #a0a0a0; padding: 2pt 4pt; vertical-align: top; }\n"
    "img { max-width: 100%; }\n</style>\n</head>\n<body>\n";

std::string pointsOfTwips(int32_t twips) {
    return fmt::format("{:g}pt", twips / 20.0);
}

std::string colorCSS(const RGBColor& c) {
    return fmt::format("#{:02x}{:02x}{:02x}", c.red, c.green, c.blue);
}

// The bytes of text that a page does not take as they are: markup characters, line breaks
// and the other control characters (which have no place in a page).
constexpr std::array<bool, 256> kChanged = [] {
    std::array<bool, 256> t{};
    for (int c = 0; c < 0x20; ++c)
        t[size_t(c)] = c != '\t';
    for (unsigned char c : {'&', '<', '>', '"'})
        t[c] = true;
    return t;
}();

// Where the next byte from `i` on that may need a change is (a tab may be named too).
size_t nextCandidate(std::string_view s, size_t i) {
    return bytescan::findFirst(s, i, "&<>\"", 0x20);
}

// Text is copied in stretches between the bytes that need a change.
void appendEscaped(std::string& out, std::string_view s, bool attribute) {
    size_t start = 0;
    for (size_t i = nextCandidate(s, 0); i < s.size(); i = nextCandidate(s, i)) {
        const char c = s[i];
        if (!kChanged[static_cast<unsigned char>(c)]) {
            ++i;
            continue;
        }
        out.append(s.data() + start, i - start);
        start = i + 1;
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += attribute ? "&quot;" : "\"";
                break;
            case '\n':
                out += attribute ? " " : "<br>";
                break;
            default:
                break;
        }
        ++i;
    }
    out.append(s.data() + start, s.size() - start);
}

class Writer {
  public:
    explicit Writer(const StyledText& text) : text_(text), looks_(text.lookCount()) {}

    std::string write(size_t sizeHint) {
        const StyledText& text = text_;
        out_.reserve(std::max(sizeHint, kHead.size()));
        adviseHugePages(out_.data(), out_.capacity());
        out_ = kHead;
        for (const auto& block : text.blocks()) {
            if (block.isTable)
                writeTable(block.table);
            else
                writeParagraph(block.paragraph);
        }
        out_ += "</body>\n</html>\n";
        return std::move(out_);
    }

  private:
    void escaped(std::string_view s, bool attribute = false) { appendEscaped(out_, s, attribute); }

    static std::string runStyle(const CharAttributes& a) {
        std::string s;
        if (!a.fontFamily.empty() || !a.genericFamily.empty()) {
            s += "font-family: ";
            if (!a.fontFamily.empty()) {
                std::string family;
                for (char c : a.fontFamily)
                    if (c != '\'' && c != '"' && c != ';' && c != '\\' && c != '<' && c != '>')
                        family += c;
                s += "'" + family + "'";
                if (!a.genericFamily.empty()) s += ", ";
            }
            s += a.genericFamily;
            s += "; ";
        }
        if (a.pointSize) s += fmt::format("font-size: {:g}pt; ", *a.pointSize);
        if (a.bold) s += "font-weight: bold; ";
        if (a.italic) s += "font-style: italic; ";
        if (a.underline || a.strikethrough) {
            s += "text-decoration:";
            if (a.underline) s += " underline";
            if (a.strikethrough) s += " line-through";
            s += "; ";
        }
        if (a.vertical == VerticalPosition::Superscript)
            s += "vertical-align: super; font-size: smaller; ";
        if (a.vertical == VerticalPosition::Subscript)
            s += "vertical-align: sub; font-size: smaller; ";
        if (a.foreground) s += "color: " + colorCSS(*a.foreground) + "; ";
        if (a.background) s += "background-color: " + colorCSS(*a.background) + "; ";
        if (!s.empty()) s.pop_back();
        return s;
    }

    void writeImage(const StyledImage& image) {
        if (!image.name.empty()) {
            // The exact form the directory document's step replaces.
            out_ += "<img src=\"file:///";
            escaped(image.name, true);
            out_ += "\" alt=\"";
            escaped(image.name, true);
            out_ += "\">";
            return;
        }
        if (image.mimeType.empty() || image.data.empty()) return;
        out_ += "<img src=\"data:";
        out_ += image.mimeType;
        out_ += ";base64,";
        appendBase64(out_, image.data.view());
        out_ += "\" alt=\"\"";
        std::string style;
        if (image.widthTwips) style += "width: " + pointsOfTwips(*image.widthTwips) + "; ";
        if (image.heightTwips) style += "height: " + pointsOfTwips(*image.heightTwips) + "; ";
        if (!style.empty()) {
            style.pop_back();
            out_ += " style=\"" + style + "\"";
        }
        out_ += ">";
    }

    // The tags of a look, made the first time a run has it.
    struct LookTags {
        bool ready = false;
        std::string link;  // <a href="…">, or empty
        std::string span;  // <span style="…">, or empty
    };

    const LookTags& tagsOf(AttributesID id) {
        if (id >= looks_.size()) looks_.resize(size_t{id} + 1);
        LookTags& tags = looks_[id];
        if (tags.ready) return tags;
        const CharAttributes& a = text_.attributes(id);
        if (!a.link.empty()) {
            tags.link = "<a href=\"";
            appendEscaped(tags.link, a.link, true);
            tags.link += "\">";
        }
        if (const std::string style = runStyle(a); !style.empty())
            tags.span = "<span style=\"" + style + "\">";
        tags.ready = true;
        return tags;
    }

    void writeRun(const TextRun& run) {
        const LookTags& tags = tagsOf(run.attributes);
        out_ += tags.link;
        if (run.image) {
            writeImage(*run.image);
        } else {
            out_ += tags.span;
            escaped(run.text);
            if (!tags.span.empty()) out_ += "</span>";
        }
        if (!tags.link.empty()) out_ += "</a>";
    }

    // What a paragraph's opening tag depends on. Paragraphs mostly look like the one before,
    // so the last tag is kept.
    struct ParagraphKey {
        Alignment alignment;
        int32_t leftIndent, rightIndent, firstLineIndent, spaceBefore, spaceAfter;
        bool marked, empty;
        std::optional<double> markPoints;
        friend bool operator==(const ParagraphKey&, const ParagraphKey&) = default;
    };

    const std::string& paragraphTag(const Paragraph& p, const CharAttributes& mark) {
        const ParagraphAttributes& a = p.attributes;
        const bool empty = p.runs.empty() && a.listMarker.empty();
        const ParagraphKey key{
            a.alignment,           a.leftIndent,  a.rightIndent,
            a.firstLineIndent,     a.spaceBefore, a.spaceAfter,
            !a.listMarker.empty(), empty,         empty ? mark.pointSize : std::nullopt};
        if (lastParagraph_ && *lastParagraph_ == key) return lastParagraphTag_;
        lastParagraph_ = key;
        std::string style;
        switch (a.alignment) {
            case Alignment::Right:
                style += "text-align: right; ";
                break;
            case Alignment::Center:
                style += "text-align: center; ";
                break;
            case Alignment::Justified:
                style += "text-align: justify; ";
                break;
            case Alignment::Left:
                break;
        }
        if (a.leftIndent > 0) style += "margin-left: " + pointsOfTwips(a.leftIndent) + "; ";
        if (a.rightIndent > 0) style += "margin-right: " + pointsOfTwips(a.rightIndent) + "; ";
        if (a.firstLineIndent != 0 && a.listMarker.empty())
            style += "text-indent: " + pointsOfTwips(a.firstLineIndent) + "; ";
        if (a.spaceBefore > 0) style += "margin-top: " + pointsOfTwips(a.spaceBefore) + "; ";
        if (a.spaceAfter > 0) style += "margin-bottom: " + pointsOfTwips(a.spaceAfter) + "; ";
        // An empty paragraph is a blank line as tall as its mark.
        if (empty && mark.pointSize) style += fmt::format("font-size: {:g}pt; ", *mark.pointSize);
        if (!style.empty()) style.pop_back();
        lastParagraphTag_ = style.empty() ? "<p>" : "<p style=\"" + style + "\">";
        return lastParagraphTag_;
    }

    void writeParagraph(const Paragraph& p) {
        const ParagraphAttributes& a = p.attributes;
        const bool empty = p.runs.empty() && a.listMarker.empty();
        out_ += paragraphTag(p, text_.attributes(p.markAttributes));
        if (!a.listMarker.empty()) {
            const std::string& markerSpan = tagsOf(p.markAttributes).span;
            out_ += markerSpan.empty() ? "<span>" : markerSpan;
            escaped(a.listMarker);
            out_ += " </span>";
        }
        for (const auto& run : p.runs)
            writeRun(run);
        if (empty) out_ += "<br>";
        out_ += "</p>\n";
    }

    void writeTable(const Table& t) {
        out_ += "<table>\n";
        for (const auto& row : t.rows) {
            out_ += "<tr>";
            for (const auto& cell : row.cells) {
                if (cell.widthTwips != lastCellWidth_) {
                    lastCellWidth_ = cell.widthTwips;
                    lastCellTag_ =
                        cell.widthTwips
                            ? "<td style=\"width: " + pointsOfTwips(*cell.widthTwips) + "\">"
                            : "<td>";
                }
                out_ += lastCellTag_;
                for (const auto& p : cell.paragraphs)
                    writeParagraph(p);
                out_ += "</td>";
            }
            out_ += "</tr>\n";
        }
        out_ += "</table>\n";
    }

    const StyledText& text_;
    std::vector<LookTags> looks_;
    std::optional<ParagraphKey> lastParagraph_;
    std::string lastParagraphTag_;
    std::optional<int32_t> lastCellWidth_;
    std::string lastCellTag_ = "<td>";
    std::string out_;
};

}  // namespace

std::string htmlOfStyledText(const StyledText& text, size_t sizeHint) {
    return Writer(text).write(sizeHint);
}

}  // namespace qb
