// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "richtext/HTMLStyledTextReader.h"

namespace qb {
namespace {

TEST(HTMLStyledTextReader, ElementsAndStylesBecomeAttributes) {
    const auto doc = readHTML(
        "<html><head><style>p{color:red}</style><title>t</title></head><body>"
        "<p style=\"text-align:center; font-size:16px\">Hello <b>bold</b> <i>it</i> "
        "<span style=\"font-family:'Segoe UI',sans-serif;color:#00f;background-color:rgb(1,2,3)\">x</span>"
        "<a href=\"http://e.org\">link</a><sup>2</sup></p>"
        "<font face=\"Courier\" size=\"5\" color=\"green\">f</font>   spaced\n  out<br>next"
        "<ul><li>one</li></ul><table><tr><th>h</th><td width=\"100\">c</td></tr></table>"
        "<img src=\"data:image/png;base64,YWJj\" width=\"20\"><img src=\"cid:x@y\"></body></html>");
    ASSERT_TRUE(doc);
    ASSERT_GE(doc->blocks().size(), 4u);
    const Paragraph& p = doc->blocks()[0].paragraph;
    EXPECT_EQ(p.attributes.alignment, Alignment::Center);
    EXPECT_EQ(p.runs[0].text, "Hello ");
    EXPECT_EQ(doc->attributes(p.runs[0].attributes).pointSize, 12.0);
    EXPECT_TRUE(doc->attributes(p.runs[1].attributes).bold);
    EXPECT_TRUE(doc->attributes(p.runs[2].attributes).italic);
    EXPECT_EQ(doc->attributes(p.runs[3].attributes).fontFamily, "Segoe UI");
    EXPECT_EQ(doc->attributes(p.runs[3].attributes).foreground, (RGBColor{0, 0, 255}));
    EXPECT_EQ(doc->attributes(p.runs[3].attributes).background, (RGBColor{1, 2, 3}));
    EXPECT_EQ(doc->attributes(p.runs[4].attributes).link, "http://e.org");
    EXPECT_EQ(doc->attributes(p.runs[5].attributes).vertical, VerticalPosition::Superscript);
    const Paragraph& f = doc->blocks()[1].paragraph;
    EXPECT_EQ(doc->attributes(f.runs[0].attributes).fontFamily, "Courier");
    EXPECT_EQ(doc->attributes(f.runs[0].attributes).pointSize, 18.0);
    EXPECT_EQ(doc->attributes(f.runs[0].attributes).foreground, (RGBColor{0, 128, 0}));
    EXPECT_EQ(doc->plainText(), "Hello bold it xlink2\nf spaced out\nnext\n•one\nh\tc\t\n\n");
    const Table& t = doc->blocks()[3].table;
    EXPECT_TRUE(doc->blocks()[3].isTable);
    EXPECT_TRUE(doc->attributes(t.rows[0].cells[0].paragraphs[0].runs[0].attributes).bold);
    EXPECT_EQ(t.rows[0].cells[1].widthTwips, 1500);
    const auto& images = doc->blocks()[4].paragraph.runs;
    ASSERT_EQ(images.size(), 2u);
    EXPECT_EQ(images[0].image->data.view(), "abc");
    EXPECT_EQ(images[0].image->mimeType, "image/png");
    EXPECT_EQ(images[1].image->name, "cid:x@y");
}

TEST(HTMLStyledTextReader, HostileNestingIsBounded) {
    std::string deep;
    for (int i = 0; i < 5000; ++i) deep += "<div><table><tr><td>";
    deep += "x";
    EXPECT_TRUE(readHTML(deep));
    EXPECT_TRUE(readHTML("<p style=\"font-size:1e308px;color:#zzz;font-size:-3pt\">y</p>"));
}

}  // namespace
}  // namespace qb
