// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "richtext/RTFEncapsulation.h"

namespace qb {
namespace {

TEST(RTFEncapsulation, TheHeaderSaysWhatIsCarried) {
    EXPECT_EQ(encapsulationOfRTF("{\\rtf1\\ansi\\fromhtml1 \\deff0{\\fonttbl}}"), RTFEncapsulation::HTML);
    EXPECT_EQ(encapsulationOfRTF("{\\rtf1\\ansi\\fromtext \\deff0}"), RTFEncapsulation::Text);
    EXPECT_EQ(encapsulationOfRTF("{\\rtf1\\ansi\\deff0 hello}"), RTFEncapsulation::None);
    // Only the header counts: the word later in the document is text about it.
    EXPECT_EQ(encapsulationOfRTF("{\\rtf1{\\fonttbl}\\fromhtml1 x}"), RTFEncapsulation::None);
    EXPECT_EQ(encapsulationOfRTF("{\\rtf1\\fromhtml0 x}"), RTFEncapsulation::None);
    EXPECT_FALSE(decapsulateRTF("{\\rtf1 plain}"));
}

TEST(RTFEncapsulation, RecoversTheSendersHTML) {
    const std::string rtf =
        "{\\rtf1\\ansi\\ansicpg1252\\fromhtml1 \\deff0{\\fonttbl{\\f0\\fswiss Arial;}"
        "{\\f1\\fcharset204 Arial Cyr;}}{\\colortbl\\red0\\green0\\blue0;}"
        "{\\*\\htmltag19 <html>}{\\*\\htmltag34 <head>}"
        "{\\*\\htmltag241 <style>}{\\*\\htmltag241 <!--\\par p \\{margin:0\\}\\par -->}"
        "{\\*\\htmltag249 </style>}{\\*\\htmltag41 </head>}"
        "{\\*\\htmltag50 <body>}\\htmlrtf {\\fs24\\htmlrtf0 "
        "{\\*\\htmltag64 <p>}\\htmlrtf {\\htmlrtf0 caf\\'e9 \\u8364?\\htmlrtf\\par\\htmlrtf0}"
        "{\\*\\htmltag84 &nbsp;}\\htmlrtf \\'a0\\htmlrtf0 "
        "{\\f1 \\'cf\\'f0\\'e8}"
        "{\\*\\mhtmltag84 <img src=\"cid:image001.png@01D0\">}"
        "{\\*\\htmltag84 <img src=\"image001.png\">}"
        "{\\*\\htmltag84 <img src=\"kept.png\">}"
        "{\\*\\htmltag72 </p>}\\htmlrtf }\\htmlrtf0 "
        "{\\*\\htmltag58 </body>}{\\*\\htmltag27 </html>}}";
    const auto html = decapsulateRTF(rtf);
    ASSERT_TRUE(html);
    EXPECT_EQ(*html,
              "<html><head><style><!--\r\np {margin:0}\r\n--></style></head><body>"
              "<p>café €&nbsp;При<img src=\"cid:image001.png@01D0\"><img src=\"kept.png\"></p>"
              "</body></html>");
}

TEST(RTFEncapsulation, RecoversText) {
    const std::string rtf =
        "{\\rtf1\\ansi\\ansicpg1251\\fromtext \\deff0{\\fonttbl{\\f0\\fswiss\\fcharset204 Arial;}}"
        "\\uc1\\pard\\plain\\f0\\fs20 \\'cf\\'f0\\'e8\\'e2\\'e5\\'f2,\\par\\tab line {\\*\\ignored x}"
        "\\htmlrtf rtf only\\htmlrtf0 end\\par}";
    EXPECT_EQ(decapsulateRTF(rtf), "Привет,\r\n\tline end\r\n");
    // "\*" away from a group's start marks no destination.
    EXPECT_EQ(decapsulateRTF("{\\rtf1\\fromtext a\\*\\x b}\\*\\y c"), "ab");
}

TEST(RTFEncapsulation, JapaneseAndUTF8Tags) {
    EXPECT_EQ(decapsulateRTF("{\\rtf1\\ansi\\ansicpg932\\fromhtml1 {\\fonttbl{\\f0\\fcharset128 M;}}"
                             "\\f0{\\*\\htmltag64 <p>}\\'93\\'fa\\'96\\'7b{\\*\\htmltag72 </p>}}"),
              "<p>日本</p>");
    EXPECT_EQ(decapsulateRTF("{\\rtf1\\ansi\\ansicpg65001\\fromhtml1 {\\*\\htmltag64 <p>}"
                             "\\'e2\\'80\\'93{\\*\\htmltag72 </p>}}"),
              "<p>\u2013</p>");
}

}  // namespace
}  // namespace qb
