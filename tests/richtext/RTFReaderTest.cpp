// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "richtext/RTFReader.h"
#include "richtext/RTFTokenizer.h"

namespace qb {
namespace {

StyledText read(std::string_view rtf) {
    auto doc = readRTF(Bytes::fromString(rtf));
    EXPECT_TRUE(doc) << rtf;
    return doc ? std::move(*doc) : StyledText{};
}

const Paragraph& paragraph(const StyledText& doc, size_t i) {
    return doc.blocks().at(i).paragraph;
}

TEST(RTFTokenizer, WordsSymbolsHexAndBinaryData) {
    RTFTokenizer t("{\\b1\\fs-24 x\\'e9\\{\\bin3 {}\\\\ y}");
    std::vector<std::string> seen;
    for (RTFToken k = t.next(); k.kind != RTFToken::Kind::End; k = t.next()) {
        switch (k.kind) {
            case RTFToken::Kind::ControlWord:
                seen.push_back("w:" + std::string(k.word) + (k.param ? std::to_string(*k.param) : ""));
                break;
            case RTFToken::Kind::ControlSymbol: seen.push_back("s:" + std::string(k.word)); break;
            case RTFToken::Kind::HexByte: seen.push_back("h:" + std::to_string(k.byte)); break;
            case RTFToken::Kind::Text: seen.push_back("t:" + std::string(k.text)); break;
            case RTFToken::Kind::Binary: seen.push_back("b:" + std::string(k.text)); break;
            case RTFToken::Kind::GroupStart: seen.push_back("{"); break;
            case RTFToken::Kind::GroupEnd: seen.push_back("}"); break;
            case RTFToken::Kind::End: break;
        }
    }
    // The data after \bin is taken whole, braces and backslashes included.
    EXPECT_EQ(seen, (std::vector<std::string>{"{", "w:b1", "w:fs-24", "t:x", "h:233", "s:{",
                                              "b:{}\\", "s: ", "t:y", "}"}));
    // A parameter ends after ten digits and is clamped to 32 bits; a count beyond the input
    // takes what is there.
    RTFTokenizer big("\\fs99999999999\\bin999999 ab");
    EXPECT_EQ(big.next().param, 2147483647);
    EXPECT_EQ(big.next().text, "9");
    EXPECT_EQ(big.next().text, "ab");
}

TEST(RTFReader, CharacterAndParagraphFormatting) {
    const auto doc = read(
        "{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0\\fswiss Arial;}{\\f1\\froman Times New Roman;}}"
        "{\\colortbl;\\red255\\green0\\blue0;\\red0\\green0\\blue255;}"
        "\\pard\\qc\\li720\\fi-360\\sb120\\sa240\\fs28 plain {\\b bold}{\\i\\ul it}"
        "{\\strike s}{\\super 2}{\\sub x}{\\cf1\\highlight2 red}{\\f1 serif}\\par"
        "\\pard\\qr right\\par}");
    ASSERT_EQ(doc.blocks().size(), 2u);
    const Paragraph& p = paragraph(doc, 0);
    EXPECT_EQ(p.attributes.alignment, Alignment::Center);
    EXPECT_EQ(p.attributes.leftIndent, 720);
    EXPECT_EQ(p.attributes.firstLineIndent, -360);
    EXPECT_EQ(p.attributes.spaceBefore, 120);
    EXPECT_EQ(p.attributes.spaceAfter, 240);
    ASSERT_EQ(p.runs.size(), 8u);
    EXPECT_EQ(p.runs[0].text, "plain ");
    EXPECT_EQ(doc.attributes(p.runs[0].attributes).fontFamily, "Arial");
    EXPECT_EQ(doc.attributes(p.runs[0].attributes).genericFamily, "sans-serif");
    EXPECT_EQ(doc.attributes(p.runs[0].attributes).pointSize, 14.0);
    EXPECT_TRUE(doc.attributes(p.runs[1].attributes).bold);
    EXPECT_FALSE(doc.attributes(p.runs[2].attributes).bold);  // the group ended
    EXPECT_TRUE(doc.attributes(p.runs[2].attributes).italic &&
                doc.attributes(p.runs[2].attributes).underline);
    EXPECT_TRUE(doc.attributes(p.runs[3].attributes).strikethrough);
    EXPECT_EQ(doc.attributes(p.runs[4].attributes).vertical, VerticalPosition::Superscript);
    EXPECT_EQ(doc.attributes(p.runs[5].attributes).vertical, VerticalPosition::Subscript);
    EXPECT_EQ(doc.attributes(p.runs[6].attributes).foreground, (RGBColor{255, 0, 0}));
    EXPECT_EQ(doc.attributes(p.runs[6].attributes).background, (RGBColor{0, 0, 255}));
    EXPECT_EQ(doc.attributes(p.runs[7].attributes).fontFamily, "Times New Roman");
    EXPECT_EQ(paragraph(doc, 1).attributes.alignment, Alignment::Right);
    EXPECT_EQ(paragraph(doc, 1).attributes.leftIndent, 0);  // \pard resets
    EXPECT_EQ(doc.plainText(), "plain boldits2xredserif\nright\n");
}

TEST(RTFReader, SpecialCharactersHiddenTextAndSkippedDestinations) {
    const auto doc = read(
        "{\\rtf1{\\info{\\title secret}}{\\*\\unknown gone}{\\stylesheet{\\s0 Normal;}}"
        "a\\tab b\\line c\\emdash\\endash\\bullet\\lquote\\rquote\\ldblquote\\rdblquote"
        "\\~\\{\\}\\\\{\\v hidden}\\-d\\par}");
    EXPECT_EQ(doc.plainText(), "a\tb\nc\u2014\u2013\u2022\u2018\u2019\u201C\u201D\u00A0{}\\d\n");
}

TEST(RTFReader, CodePagesOfFontsAndDocument) {
    // Japanese in Shift-JIS: lead and trail bytes, hex or literal, make one character.
    const auto ja = read(
        "{\\rtf1\\ansi\\ansicpg932{\\fonttbl{\\f0\\fnil\\fcharset128 \\'82\\'6c\\'82\\'72 "
        "Gothic;}}\\f0 \\'93\\'fa\\'96\\'7b\\'8c\\'ea\\'83e\\par}");
    EXPECT_EQ(ja.plainText(), "日本語テ\n");
    EXPECT_EQ(ja.attributes(paragraph(ja, 0).runs[0].attributes).fontFamily, "ＭＳ Gothic");
    // Simplified Chinese (GBK), Korean, Traditional Chinese (Big5) by charset.
    EXPECT_EQ(read("{\\rtf1{\\fonttbl{\\f1\\fcharset134 SimSun;}}\\f1 \\'d6\\'d0\\'ce\\'c4}").plainText(),
              "中文\n");
    EXPECT_EQ(read("{\\rtf1{\\fonttbl{\\f1\\fcharset129 Gulim;}}\\f1 \\'c7\\'d1\\'b1\\'db}").plainText(),
              "한글\n");
    EXPECT_EQ(read("{\\rtf1{\\fonttbl{\\f1\\fcharset136 MingLiU;}}\\f1 \\'a4\\'a4\\'a4\\'e5}").plainText(),
              "中文\n");
    // Cyrillic by charset, and by the document's code page for a font that names none.
    EXPECT_EQ(read("{\\rtf1{\\fonttbl{\\f0\\fcharset204 Arial;}}\\f0 \\'cf\\'f0\\'e8\\'e2\\'e5\\'f2}")
                  .plainText(),
              "Привет\n");
    EXPECT_EQ(read("{\\rtf1\\ansicpg1251{\\fonttbl{\\f0 Arial;}}\\f0 \\'cc\\'e8\\'f0}").plainText(),
              "Мир\n");
    // A Western font in a Cyrillic document: the document's code page made the bytes.
    EXPECT_EQ(read("{\\rtf1\\ansicpg1251{\\fonttbl{\\f0\\fcharset0 Arial;}}\\f0 \\'cc\\'e8\\'f0}")
                  .plainText(),
              "Мир\n");
    // Code pages switch with the font, mid-paragraph.
    EXPECT_EQ(read("{\\rtf1{\\fonttbl{\\f0\\fcharset0 A;}{\\f1\\fcharset161 G;}}"
                   "\\f0 caf\\'e9 {\\f1 \\'e1\\'e2}}")
                  .plainText(),
              "café αβ\n");
    // UTF-8 documents, and those that say so without being it.
    EXPECT_EQ(read("{\\rtf1\\ansicpg65001 \\'c3\\'a9t\\'c3\\'a9}").plainText(), "été\n");
    EXPECT_EQ(read("{\\rtf1\\ansicpg65001 caf\\'e9}").plainText(), "café\n");
}

TEST(RTFReader, UnicodeValuesSkipTheirSubstitutes) {
    EXPECT_EQ(read("{\\rtf1 \\u1055?\\u1088?\\uc2\\u1080\\'3f\\'3fx}").plainText(), "Приx\n");
    // Negative values count from 65536; surrogate halves join.
    EXPECT_EQ(read("{\\rtf1 \\u-3913?\\u-10179?\\u-8704?}").plainText(), "\uF0B7😀\n");
    // \uc0 skips nothing; the count is scoped to its group.
    EXPECT_EQ(read("{\\rtf1 {\\uc0\\u233 a}\\u233 b}").plainText(), "éa\u00e9\n");
    // A lone half is no character.
    EXPECT_EQ(read("{\\rtf1 \\u-10179 x}").plainText(), "\uFFFD\n");
}

TEST(RTFReader, TablesWithCellWidths) {
    const auto doc = read(
        "{\\rtf1 before\\par\\trowd\\cellx1440\\cellx4320"
        "\\pard\\intbl A1\\cell\\pard\\intbl B1\\par B1b\\cell\\row"
        "\\trowd\\cellx2000\\pard\\intbl A2\\cell\\row\\pard after\\par}");
    ASSERT_EQ(doc.blocks().size(), 3u);
    ASSERT_TRUE(doc.blocks()[1].isTable);
    const Table& t = doc.blocks()[1].table;
    ASSERT_EQ(t.rows.size(), 2u);
    ASSERT_EQ(t.rows[0].cells.size(), 2u);
    EXPECT_EQ(t.rows[0].cells[0].widthTwips, 1440);
    EXPECT_EQ(t.rows[0].cells[1].widthTwips, 2880);
    EXPECT_EQ(t.rows[0].cells[1].paragraphs.size(), 2u);
    EXPECT_EQ(t.rows[1].cells[0].widthTwips, 2000);
    EXPECT_EQ(doc.plainText(), "before\nA1\tB1 B1b\t\nA2\t\nafter\n");
}

TEST(RTFReader, FieldsBecomeLinksAndListsKeepTheirMarkers) {
    const auto doc = read(
        "{\\rtf1{\\fonttbl{\\f0 Arial;}{\\f2\\fcharset2 Symbol;}}"
        "see {\\field{\\*\\fldinst{HYPERLINK \"http://example.org/a b\"}}{\\fldrslt{\\ul here}}}"
        " and {\\field{\\*\\fldinst HYPERLINK \\\\l \"top\"}{\\fldrslt top}}"
        " {\\field{\\*\\fldinst PAGE}{\\fldrslt 3}}\\par"
        "{\\pntext\\f2\\'b7\\tab}{\\*\\pn\\pnlvlblt{\\pntxtb\\'b7}}item\\par"
        "{\\listtext 2.\\tab}second\\par}");
    const Paragraph& p = paragraph(doc, 0);
    ASSERT_GE(p.runs.size(), 4u);
    EXPECT_EQ(p.runs[1].text, "here");
    EXPECT_EQ(doc.attributes(p.runs[1].attributes).link, "http://example.org/a b");
    EXPECT_EQ(p.runs[3].text, "top");
    EXPECT_EQ(doc.attributes(p.runs[3].attributes).link, "#top");
    EXPECT_EQ(doc.attributes(p.runs.back().attributes).link, "");  // a page number is no link
    EXPECT_EQ(paragraph(doc, 1).attributes.listMarker, "•");
    EXPECT_EQ(paragraph(doc, 2).attributes.listMarker, "2.");
    EXPECT_EQ(doc.plainText(), "see here and top 3\n•item\n2.second\n");
    EXPECT_EQ(hyperlinkOfFieldInstruction(" HYPERLINK  mailto:a@b.c \\o \"tip\""), "mailto:a@b.c");
    EXPECT_FALSE(hyperlinkOfFieldInstruction("INCLUDEPICTURE \"x.png\""));
}

TEST(RTFReader, PicturesInHexAndBinaryForm) {
    // The shape picture wins; its plain rendition for older readers is skipped.
    const auto doc = read(
        "{\\rtf1 a{\\*\\shppict{\\pict\\pngblip\\picw10\\pich20\\picwgoal150\\pichgoal300 "
        "89504e47\n0d0a1a0a}}{\\nonshppict{\\pict\\wmetafile8 0102}}"
        "b{\\pict\\jpegblip\\bin4 \xff\xd8\xff\xe0}c{\\pict\\wmetafile8 0102}d}");
    const auto& runs = paragraph(doc, 0).runs;
    ASSERT_EQ(runs.size(), 5u);
    ASSERT_TRUE(runs[1].image);
    EXPECT_EQ(runs[1].image->mimeType, "image/png");
    EXPECT_EQ(runs[1].image->data.view(), std::string_view("\x89PNG\r\n\x1a\n", 8));
    EXPECT_EQ(runs[1].image->widthTwips, 150);
    EXPECT_EQ(runs[1].image->heightTwips, 300);
    ASSERT_TRUE(runs[3].image);
    EXPECT_EQ(runs[3].image->mimeType, "image/jpeg");
    EXPECT_EQ(runs[3].image->data.size(), 4u);
    EXPECT_EQ(runs[4].text, "cd");  // the metafile is no picture a page can show
    EXPECT_EQ(doc.plainText(), "abcd\n");

    // A device-independent bitmap becomes a BMP file whose pixels start after the palette.
    std::string dib(40, '\0');
    dib[0] = 40;
    dib[4] = 1;
    dib[8] = 1;
    dib[12] = 1;
    dib[14] = 8;  // 8 bits: a 256-colour palette
    dib += std::string(1024 + 4, '\x11');
    std::string hex;
    for (unsigned char c : dib) hex += fmt::format("{:02x}", c);
    const auto bmp = read("{\\rtf1{\\pict\\dibitmap0 " + hex + "}}");
    const auto& image = paragraph(bmp, 0).runs.at(0).image;
    ASSERT_TRUE(image);
    EXPECT_EQ(image->mimeType, "image/bmp");
    EXPECT_EQ(image->data.view().substr(0, 2), "BM");
    EXPECT_EQ(image->data.size(), 14 + dib.size());
    EXPECT_EQ(uint8_t(image->data[10]) | (uint8_t(image->data[11]) << 8), 14 + 40 + 1024);
}

TEST(RTFReader, DamagedInputEndsWithWhatWasRead) {
    EXPECT_FALSE(readRTF(Bytes::fromString("plain text")));
    EXPECT_EQ(read("{\\rtf1 cut off {\\b in a group").plainText(), "cut off in a group\n");
    EXPECT_EQ(read("{\\rtf1 a}}}} trailing").plainText(), "a\n");
    EXPECT_EQ(read("{\\rtf1 x\\").plainText(), "x\n");
    EXPECT_EQ(read("{\\rtf1 \\'4").plainText(), "4\n");
    // Nesting deeper than the limit is skipped, and costs nothing.
    std::string deep = "{\\rtf1 top";
    for (int i = 0; i < 100000; ++i) deep += "{x";
    EXPECT_EQ(read(deep).plainText().substr(0, 3), "top");
    // "\*" away from a group's start marks no destination (a fuzz finding: the group
    // around it was left as if it had been the one starred).
    EXPECT_EQ(read("{\\rtf1 a{\\b0;}s\\*\\generator x;}\\*\\g y\\*\\h").plainText(), "a;sx;\n");
    EXPECT_EQ(read("{\\rtf1 {x\\fonttbl y}z}").plainText(), "xyz\n");
    // A table never closed still shows its cells.
    EXPECT_EQ(read("{\\rtf1\\trowd\\cellx100\\intbl A\\cell B").plainText(), "A\tB\t\n");
}

TEST(StyledText, FontStepGrowsEveryRunWithASize) {
    auto doc = read("{\\rtf1\\fs20 a{\\fs30 b}\\par}");
    doc.changeFontByPointSize(2.0);
    const auto& p = paragraph(doc, 0);
    EXPECT_EQ(doc.attributes(p.runs[0].attributes).pointSize, 12.0);
    EXPECT_EQ(doc.attributes(p.runs[1].attributes).pointSize, 17.0);
    EXPECT_EQ(doc.attributes(p.markAttributes).pointSize, 12.0);
    StyledText empty;
    EXPECT_TRUE(empty.changeFontByPointSize(2.0).empty());
    auto text = StyledText::fromPlainText("one\r\ntwo\n\nthree\n", 14.0);
    EXPECT_EQ(text.plainText(), "one\ntwo\n\nthree\n");
}

}  // namespace
}  // namespace qb
