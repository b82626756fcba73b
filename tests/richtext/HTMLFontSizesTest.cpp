// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "richtext/HTMLFontSizes.h"

namespace qb {
namespace {

TEST(HTMLFontSizes, AbsoluteSizesGrowRelativeOnesStay) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"font-size:11.0pt", "font-size:13pt"},
        {"FONT-SIZE: 16px; color: red", "FONT-SIZE: 14pt; color: red"},
        {"font: bold 12pt/14pt Arial", "font: bold 14pt/14pt Arial"},
        {"p.MsoNormal {font-size:10pt; font-family:x} h1 {font-size:.5pt}",
         "p.MsoNormal {font-size:12pt; font-family:x} h1 {font-size:2.5pt}"},
        {"font-size: small; font-size: 120%; font-size: 1.2em",
         "font-size: small; font-size: 120%; font-size: 1.2em"},
        {"font-family: Font12pt; font-weight: 700; myfont: 3pt",
         "font-family: Font12pt; font-weight: 700; myfont: 3pt"},
        {"font-size:", "font-size:"},
        {"", ""},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(cssWithFontSizesEnlarged(in, 2.0), out) << in;
}

TEST(HTMLFontSizes, DocumentsAreReadTolerantly) {
    auto html = htmlWithFontsEnlarged(
        "<style>td{font-size:9pt}</style><table><tr><td><font size=+2>big</font><p>unclosed", 2.0);
    ASSERT_TRUE(html);
    EXPECT_NE(html->find("td{font-size:11pt}"), std::string::npos) << *html;
    EXPECT_NE(html->find("font-size: 20pt"), std::string::npos) << *html;
    EXPECT_NE(html->find("unclosed"), std::string::npos);
    // Sizes out of range land on the largest or smallest; no overflow on the way.
    auto huge = htmlWithFontsEnlarged(
        "<font size='+9223372036854775807'>a</font>"
        "<font size='-99999999999999999999'>b</font>",
        2.0);
    ASSERT_TRUE(huge);
    EXPECT_NE(huge->find("font-size: 38pt"), std::string::npos) << *huge;
    EXPECT_NE(huge->find("font-size: 9.5pt"), std::string::npos) << *huge;
    // Deep nesting and binary junk come back as some document, never a crash.
    std::string deep;
    for (int i = 0; i < 5000; ++i)
        deep += "<div style='font-size:1pt'>";
    EXPECT_TRUE(htmlWithFontsEnlarged(deep, 2.0));
    (void)htmlWithFontsEnlarged(std::string("\0\xFF<\x01>", 5), 2.0);
}

}  // namespace
}  // namespace qb
