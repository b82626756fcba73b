// The HTML writer of styled text.
#include "richtext/StyledTextHTMLWriter.h"

#include <fmt/format.h>

#include "mailkit/Base64.h"

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

class Writer {
  public:
    std::string write(const StyledText& text, size_t sizeHint) {
        out_.reserve(sizeHint);
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
    void escaped(std::string_view s, bool attribute = false) {
        for (char c : s) {
            switch (c) {
                case '&': out_ += "&amp;"; break;
                case '<': out_ += "&lt;"; break;
                case '>': out_ += "&gt;"; break;
                case '"':
                    if (attribute)
                        out_ += "&quot;";
                    else
                        out_ += c;
                    break;
                case '\n':
                    if (attribute)
                        out_ += ' ';
                    else
                        out_ += "<br>";
                    break;
                default:
                    // Other control characters have no place in a page.
                    if (static_cast<unsigned char>(c) >= 0x20 || c == '\t') out_ += c;
            }
        }
    }

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
        if (a.vertical == VerticalPosition::Superscript) s += "vertical-align: super; font-size: smaller; ";
        if (a.vertical == VerticalPosition::Subscript) s += "vertical-align: sub; font-size: smaller; ";
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
        out_ += "<img src=\"data:" + image.mimeType + ";base64,";
        out_ += base64EncodedString(image.data.view());
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

    void writeRun(const TextRun& run) {
        const bool linked = !run.attributes.link.empty();
        if (linked) {
            out_ += "<a href=\"";
            escaped(run.attributes.link, true);
            out_ += "\">";
        }
        if (run.image) {
            writeImage(*run.image);
        } else {
            const std::string style = runStyle(run.attributes);
            if (!style.empty()) out_ += "<span style=\"" + style + "\">";
            escaped(run.text);
            if (!style.empty()) out_ += "</span>";
        }
        if (linked) out_ += "</a>";
    }

    void writeParagraph(const Paragraph& p) {
        const ParagraphAttributes& a = p.attributes;
        std::string style;
        switch (a.alignment) {
            case Alignment::Right: style += "text-align: right; "; break;
            case Alignment::Center: style += "text-align: center; "; break;
            case Alignment::Justified: style += "text-align: justify; "; break;
            case Alignment::Left: break;
        }
        if (a.leftIndent > 0) style += "margin-left: " + pointsOfTwips(a.leftIndent) + "; ";
        if (a.rightIndent > 0) style += "margin-right: " + pointsOfTwips(a.rightIndent) + "; ";
        if (a.firstLineIndent != 0 && a.listMarker.empty())
            style += "text-indent: " + pointsOfTwips(a.firstLineIndent) + "; ";
        if (a.spaceBefore > 0) style += "margin-top: " + pointsOfTwips(a.spaceBefore) + "; ";
        if (a.spaceAfter > 0) style += "margin-bottom: " + pointsOfTwips(a.spaceAfter) + "; ";
        const bool empty = p.runs.empty() && a.listMarker.empty();
        // An empty paragraph is a blank line as tall as its mark.
        if (empty && p.markAttributes.pointSize)
            style += fmt::format("font-size: {:g}pt; ", *p.markAttributes.pointSize);
        if (!style.empty()) style.pop_back();
        out_ += style.empty() ? "<p>" : "<p style=\"" + style + "\">";
        if (!a.listMarker.empty()) {
            const std::string markerStyle = runStyle(p.markAttributes);
            out_ += markerStyle.empty() ? "<span>" : "<span style=\"" + markerStyle + "\">";
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
                if (cell.widthTwips)
                    out_ += "<td style=\"width: " + pointsOfTwips(*cell.widthTwips) + "\">";
                else
                    out_ += "<td>";
                for (const auto& p : cell.paragraphs)
                    writeParagraph(p);
                out_ += "</td>";
            }
            out_ += "</tr>\n";
        }
        out_ += "</table>\n";
    }

    std::string out_;
};

}  // namespace

std::string htmlOfStyledText(const StyledText& text, size_t sizeHint) {
    return Writer().write(text, sizeHint);
}

}  // namespace qb
