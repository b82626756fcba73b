// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "platform/StringEncoding.h"

namespace qb {
namespace {

TEST(StringEncoding, WindowsCodePagesMapToKnownEncodingsWithIANANames) {
    const std::pair<uint32_t, const char*> expected[] = {
        {874, "windows-874"},    {932, "cp932"},         {936, "gbk"},
        {949, "ks_c_5601-1987"}, {950, "big5"},          {1250, "windows-1250"},
        {1251, "windows-1251"},  {1252, "windows-1252"}, {1253, "windows-1253"},
        {1254, "windows-1254"},  {1255, "windows-1255"}, {1256, "windows-1256"},
        {1257, "windows-1257"},  {1258, "windows-1258"}, {20866, "koi8-r"},
        {28591, "iso-8859-1"},   {28592, "iso-8859-2"},  {28605, "iso-8859-15"},
        {50220, "iso-2022-jp"},  {51932, "euc-jp"},      {51949, "euc-kr"},
        {54936, "gb18030"},      {10000, "macintosh"},   {65001, "utf-8"},
        {20127, "us-ascii"},     {1200, "utf-16le"},
    };
    for (auto [codePage, name] : expected) {
        const StringEncoding e = encodingForWindowsCodePage(codePage);
        ASSERT_NE(e, kInvalidEncoding) << codePage;
        EXPECT_EQ(ianaNameForEncoding(e), name) << codePage;
        EXPECT_EQ(encodingForIANAName(name), e) << name;
        EXPECT_EQ(windowsCodePageForEncoding(e), codePage) << name;
    }
    EXPECT_EQ(encodingForWindowsCodePage(1252), kWindowsCP1252Encoding);
    EXPECT_EQ(encodingForWindowsCodePage(28591), kISOLatin1Encoding);
    EXPECT_EQ(encodingForWindowsCodePage(65001), kUTF8Encoding);
    EXPECT_EQ(encodingForWindowsCodePage(0), kInvalidEncoding);
    EXPECT_EQ(encodingForWindowsCodePage(12345), kInvalidEncoding);
}

TEST(StringEncoding, IANAAliasesAreCaseInsensitive) {
    EXPECT_EQ(encodingForIANAName("ISO-8859-1"), kISOLatin1Encoding);
    EXPECT_EQ(encodingForIANAName("latin1"), kISOLatin1Encoding);
    EXPECT_EQ(encodingForIANAName("UTF8"), kUTF8Encoding);
    EXPECT_EQ(encodingForIANAName("SHIFT_JIS"), kShiftJISEncoding);
    EXPECT_EQ(encodingForIANAName("windows-31j"), encodingForWindowsCodePage(932));
    EXPECT_EQ(encodingForIANAName("csKOI8R"), encodingForWindowsCodePage(20866));
    EXPECT_EQ(encodingForIANAName("no-such-charset"), kInvalidEncoding);
    EXPECT_EQ(encodingForIANAName(""), kInvalidEncoding);
}

TEST(StringEncoding, DecodesEightBitAndMultiByteText) {
    struct Case {
        uint32_t codePage;
        std::string bytes;
        std::string text;
    };
    const Case cases[] = {
        {1252,
         "Gr\xFC\xDF"
         "e \x80",
         "Grüße €"},
        {1251, "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
        {20866, "\xF0\xD2\xC9\xD7\xC5\xD4", "Привет"},
        {1250, "\xB9\xE6", "ąć"},
        {932, "\x93\xFA\x96\x7B", "日本"},
        {51932, "\xC6\xFC\xCB\xDC", "日本"},
        {50220, "\x1B$BF|K\\\x1B(B", "日本"},
        {936, "\xD6\xD0\xCE\xC4", "中文"},
        {20936, "\xD6\xD0\xCE\xC4", "中文"},
        {950, "\xA4\xA4\xA4\xE5", "中文"},
        {949, "\xC7\xD1\xB1\xDB", "한글"},
        {874, "\xA1", "ก"},
        {10000, "\x8A", "ä"},
        {28592, "\xB1", "ą"},
    };
    for (const auto& c : cases) {
        auto text = decodeString(c.bytes, encodingForWindowsCodePage(c.codePage));
        ASSERT_TRUE(text) << c.codePage;
        EXPECT_EQ(*text, c.text) << c.codePage;
        EXPECT_EQ(encodeString(c.text, encodingForWindowsCodePage(c.codePage)), c.bytes)
            << c.codePage;
    }
}

TEST(StringEncoding, StrictDecodingRejectsWhatLossyDecodingReplaces) {
    const std::string bad =
        "a\xFF"
        "b";
    EXPECT_FALSE(decodeString(bad, kUTF8Encoding, false));
    EXPECT_EQ(decodeString(bad, kUTF8Encoding, true),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_FALSE(decodeString("x", 0x12345678, true));  // unknown encoding
}

TEST(StringEncoding, LosslessConversionTest) {
    EXPECT_TRUE(canConvertLosslessly("café", kISOLatin1Encoding));
    EXPECT_FALSE(canConvertLosslessly("Zürich – 5 €", kISOLatin1Encoding));
    EXPECT_TRUE(canConvertLosslessly("Zürich – 5 €", kWindowsCP1252Encoding));
    EXPECT_TRUE(canConvertLosslessly("Łódź", kISOLatin2Encoding));
    EXPECT_FALSE(canConvertLosslessly("日本", kASCIIEncoding));
    EXPECT_TRUE(canConvertLosslessly("日本 😀", kUTF8Encoding));
    EXPECT_FALSE(encodeString("\xC3", kUTF8Encoding));  // not UTF-8 to begin with
}

TEST(StringEncoding, UTF16RoundTripsIncludingSurrogatePairs) {
    const std::string text = "a€😀";
    const std::string le = utf8ToUTF16LE(text);
    EXPECT_EQ(le, std::string("a\0\xAC\x20\x3D\xD8\x00\xDE", 8));
    EXPECT_EQ(utf16leToUTF8({reinterpret_cast<const uint8_t*>(le.data()), le.size()}), text);
    // An unpaired surrogate becomes U+FFFD rather than bad UTF-8.
    const std::string lone("\x3D\xD8", 2);
    EXPECT_EQ(utf16leToUTF8({reinterpret_cast<const uint8_t*>(lone.data()), 2}), "\xEF\xBF\xBD");
    EXPECT_EQ(decodeString(std::string("\xFF\xFE"
                                       "a\0",
                                       4),
                           kUTF16Encoding),
              "a");
}

TEST(StringEncoding, UTF8Validation) {
    EXPECT_TRUE(isValidUTF8("plain ascii"));
    EXPECT_TRUE(isValidUTF8("Grüße 日本 😀"));
    EXPECT_FALSE(isValidUTF8("\xC0\xAF"));          // overlong
    EXPECT_FALSE(isValidUTF8("\xED\xA0\x80"));      // surrogate
    EXPECT_FALSE(isValidUTF8("\xF4\x90\x80\x80"));  // above U+10FFFF
    EXPECT_FALSE(isValidUTF8("\xE2\x82"));          // cut short
    EXPECT_EQ(codePointCount("Grüße 😀"), 7u);
}

}  // namespace
}  // namespace qb
