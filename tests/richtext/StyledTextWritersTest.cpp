// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "richtext/RTFReader.h"
#include "richtext/StyledTextHTMLWriter.h"
#include "richtext/StyledTextRTFWriter.h"

namespace qb {
namespace {

StyledText read(std::string_view rtf) {
    return readRTF(Bytes::fromString(rtf)).value_or(StyledText{});
}

bool contains(const std::string& haystack, std::string_view needle) {
    return haystack.find(needle) != std::string::npos;
}

TEST(StyledTextHTMLWriter, WritesACompleteEscapedDocument) {
    const auto html = htmlOfStyledText(read(
        "{\\rtf1{\\fonttbl{\\f0\\fswiss Ari'al;}}{\\colortbl;\\red255\\green0\\blue0;}"
        "\\qc\\li400\\fs20\\b <b>&\\b0\\line {\\cf1 red}"
        "{\\field{\\*\\fldinst HYPERLINK \"http://x/?a=1&b=\\\\\"q\\\\\"\"}{\\fldrslt go}}\\par\\par"
        "\\trowd\\cellx1000\\intbl c\\cell\\row}"));
    EXPECT_TRUE(html.starts_with("<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">"));
    EXPECT_TRUE(html.ends_with("</body>\n</html>\n"));
    EXPECT_TRUE(contains(html, "<p style=\"text-align: center; margin-left: 20pt;\">"));
    EXPECT_TRUE(contains(html, "font-family: 'Arial', sans-serif; font-size: 10pt; font-weight: bold;\">&lt;b&gt;&amp;"));
    EXPECT_TRUE(contains(html, "<br>"));
    EXPECT_TRUE(contains(html, "color: #ff0000;\">red</span>"));
    EXPECT_TRUE(contains(html, "<a href=\"http://x/?a=1&amp;b=\\\"><span"));
    // An empty paragraph stays a line as tall as its mark.
    EXPECT_TRUE(contains(html, "<p style=\"text-align: center; margin-left: 20pt; font-size: 10pt;\"><br></p>"));
    EXPECT_TRUE(contains(html, "<table>\n<tr><td style=\"width: 50pt\"><p style=\"text-align: center;"));
}

TEST(StyledTextHTMLWriter, PicturesOfADirectoryDocumentAreReferencedByName) {
    StyledText text;
    Paragraph p;
    StyledImage named;
    named.name = "IMG1.png";
    StyledImage inlined;
    inlined.data = Bytes::fromString("abc");
    inlined.mimeType = "image/png";
    inlined.widthTwips = 200;
    StyledImage unknown;
    unknown.data = Bytes::fromString("x");
    for (const auto& image : {named, inlined, unknown})
        p.runs.push_back(TextRun{{}, std::make_shared<const StyledImage>(image), {}});
    text.blocks().push_back(Block{false, p, {}});
    const auto html = htmlOfStyledText(text);
    EXPECT_TRUE(contains(html, "<p><img src=\"file:///IMG1.png\" alt=\"IMG1.png\">"
                               "<img src=\"data:image/png;base64,YWJj\" alt=\"\" style=\"width: 10pt;\"></p>"))
        << html;
}

TEST(StyledTextRTFWriter, WhatItWritesReadsBackTheSame) {
    const auto original = read(
        "{\\rtf1{\\fonttbl{\\f0 Arial;}{\\f1 Courier;}}{\\colortbl;\\red1\\green2\\blue3;}"
        "\\qr\\li100\\ri200\\fi-50\\sb10\\sa20 \\fs22 a{\\b\\i b}{\\f1\\cf1\\highlight1\\strike c}"
        "{\\super d}\\u1087?\\u-10179?\\u-8704? \\{\\}\\\\\\tab\\line"
        "{\\field{\\*\\fldinst HYPERLINK \"http://e.org\"}{\\fldrslt link}}\\par"
        "{\\listtext 1.\\tab}item\\par"
        "\\trowd\\cellx500\\cellx1500\\pard\\intbl x\\cell y\\cell\\row"
        "\\pard{\\pict\\pngblip\\picwgoal20\\pichgoal40 0a0b}\\par}");
    const std::string rtf = rtfOfStyledText(original);
    const auto again = read(rtf);
    EXPECT_EQ(again.plainText(), original.plainText());
    ASSERT_EQ(again.blocks().size(), original.blocks().size());
    for (size_t i = 0; i < original.blocks().size(); ++i) {
        const Block& a = original.blocks()[i];
        const Block& b = again.blocks()[i];
        ASSERT_EQ(a.isTable, b.isTable);
        if (a.isTable) {
            EXPECT_EQ(a.table.rows[0].cells[1].widthTwips, b.table.rows[0].cells[1].widthTwips);
            continue;
        }
        EXPECT_EQ(a.paragraph.attributes, b.paragraph.attributes) << i;
        ASSERT_EQ(a.paragraph.runs.size(), b.paragraph.runs.size()) << i;
        for (size_t r = 0; r < a.paragraph.runs.size(); ++r) {
            EXPECT_EQ(original.attributes(a.paragraph.runs[r].attributes),
                      again.attributes(b.paragraph.runs[r].attributes))
                << i << "/" << r;
            EXPECT_EQ(a.paragraph.runs[r].image != nullptr, b.paragraph.runs[r].image != nullptr);
        }
    }
    EXPECT_TRUE(contains(rtf, "\\u1087?"));
}

}  // namespace
}  // namespace qb
