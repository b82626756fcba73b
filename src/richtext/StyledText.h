// SPDX-License-Identifier: Apache-2.0
// Styled text: the document model between the rich-text readers (RTF, HTML) and writers
// (HTML, RTF). Paragraphs of runs with character attributes, tables of cells, and images.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/Bytes.h"

namespace qb {

struct RGBColor {
    uint8_t red = 0, green = 0, blue = 0;
    friend bool operator==(const RGBColor&, const RGBColor&) = default;
};

enum class VerticalPosition : uint8_t { Baseline, Superscript, Subscript };

// What a run of characters looks like. Absent values mean "as the reader's default".
struct CharAttributes {
    std::string fontFamily;
    // A generic family to fall back on ("serif", "sans-serif", "monospace"), when known.
    std::string genericFamily;
    std::optional<double> pointSize;
    bool bold = false, italic = false, underline = false, strikethrough = false;
    VerticalPosition vertical = VerticalPosition::Baseline;
    std::optional<RGBColor> foreground, background;
    // The target of the link the run belongs to.
    std::string link;
    friend bool operator==(const CharAttributes&, const CharAttributes&) = default;
};

enum class Alignment : uint8_t { Left, Right, Center, Justified };

// Indents and spacing are in twips (1/20 pt), as rich text counts them.
struct ParagraphAttributes {
    Alignment alignment = Alignment::Left;
    int32_t leftIndent = 0, rightIndent = 0, firstLineIndent = 0;
    int32_t spaceBefore = 0, spaceAfter = 0;
    // The text a list item shows before its content ("•", "1."), when it is one.
    std::string listMarker;
    friend bool operator==(const ParagraphAttributes&, const ParagraphAttributes&) = default;
};

// A picture inside the text. `name` is set when the picture is a file of a rich-text
// directory document (the writers then refer to it by name instead of carrying its bytes).
struct StyledImage {
    Bytes data;
    std::string mimeType;  // "image/png", "image/jpeg", "image/bmp", …; empty when unknown
    std::string name;
    std::optional<int32_t> widthTwips, heightTwips;
};

// Runs and paragraph marks name their look by a number in the document's table of looks:
// a document has many runs and few distinct looks. Equal looks have the same number; 0 is
// the default look (CharAttributes{}).
using AttributesID = uint32_t;

// Text ("\n" is a line break inside the paragraph, "\t" a tab) or one image.
struct TextRun {
    std::string text;
    std::shared_ptr<const StyledImage> image;
    AttributesID attributes = 0;
};

struct Paragraph {
    ParagraphAttributes attributes;
    std::vector<TextRun> runs;
    // How the paragraph mark itself looks: an empty paragraph is as tall as its mark.
    AttributesID markAttributes = 0;
};

struct TableCell {
    std::optional<int32_t> widthTwips;
    std::vector<Paragraph> paragraphs;
};

struct TableRow {
    std::vector<TableCell> cells;
};

struct Table {
    std::vector<TableRow> rows;
};

// A paragraph, or a table when `isTable` is set.
struct Block {
    bool isTable = false;
    Paragraph paragraph;
    Table table;
};

// A whole document: blocks in reading order.
class StyledText {
  public:
    StyledText();

    std::vector<Block>& blocks() { return blocks_; }
    const std::vector<Block>& blocks() const { return blocks_; }
    bool empty() const { return blocks_.empty(); }

    // The look numbered `id`; the default look for a number the table does not hold.
    const CharAttributes& attributes(AttributesID id) const {
        return id < looks_.size() ? looks_[id] : looks_[0];
    }
    // The number of `look`, added to the table when it is new.
    AttributesID intern(const CharAttributes& look);
    // How many distinct looks the table holds.
    size_t lookCount() const { return looks_.size(); }

    // Every run's point size grown by `delta`; runs without a size are left as they are.
    StyledText& changeFontByPointSize(double delta);

    // The text alone: paragraphs and table rows end with "\n", cells with "\t".
    std::string plainText() const;

    // Plain text as styled text: one paragraph per line (CR LF, CR or LF), in `pointSize`.
    static StyledText fromPlainText(std::string_view text, double pointSize);

  private:
    std::vector<Block> blocks_;
    std::vector<CharAttributes> looks_;
    // Look numbers by the hash of their look.
    std::unordered_multimap<size_t, AttributesID> lookIndex_;
};

}  // namespace qb
