// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "mailkit/Base64.h"
#include "mailkit/MailKitStrings.h"
#include "mailkit/MimeEncoding.h"

namespace qb {
namespace {

TEST(MimeWord, ChoosesTheEncodingAndTheForm) {
    StringEncoding used = 99;
    EXPECT_EQ(mimeWordWithString("Grüße", 0, &used), "=?iso-8859-2?Q?Gr=FC=DFe?=");
    EXPECT_EQ(used, kISOLatin2Encoding);
    EXPECT_EQ(mimeWordWithString("Grüße €", 0, &used), "=?utf-8?Q?Gr=C3=BC=C3=9Fe=20=E2=82=AC?=");
    EXPECT_EQ(used, kUTF8Encoding);
    EXPECT_EQ(mimeWordWithString("a b", kISOLatin1Encoding, &used), "=?iso-8859-1?Q?a=20b?=");
    EXPECT_EQ(mimeWordWithString("a b", kASCIIEncoding, &used), "=?utf-8?B?YSBi?=");
    EXPECT_EQ(used, kUTF8Encoding);
    // Windows-1252 holds it but has no label: the UTF-8 B-word.
    EXPECT_EQ(mimeWordWithString("ä", kWindowsCP1252Encoding), "=?utf-8?B?w6Q=?=");
    // URL punctuation passes into the word as it is; "%" is escaped.
    EXPECT_EQ(mimeWordWithString("a?b=c_d&e+f 100%", kISOLatin1Encoding),
              "=?iso-8859-1?Q?a?b=c_d&e+f=20100=25?=");
    EXPECT_EQ(mimeWordWithString("Jörg", kISOLatin1Encoding), "=?iso-8859-1?Q?J=F6rg?=");
}

TEST(MimeWord, QPayload) {
    StringEncoding used = 0;
    EXPECT_EQ(qEncodedStringWithString("a b_c=d?", kISOLatin1Encoding, &used), "a_b=5Fc=3Dd=3F");
    EXPECT_EQ(used, kISOLatin1Encoding);
    EXPECT_EQ(qEncodedStringWithString("Ünïcode ✓", 0, &used), "=C3=9Cn=C3=AFcode_=E2=9C=93");
    EXPECT_EQ(used, kUTF8Encoding);
    EXPECT_FALSE(qEncodedStringWithString("\xFF not UTF-8", 0, &used));
    EXPECT_EQ(used, 0u);
}

TEST(MimeWord, DecodesSingleWords) {
    EXPECT_EQ(stringWithMimeEncodedWord("=?ISO-8859-1?q?caf=E9?="), "café");
    EXPECT_EQ(stringWithMimeEncodedWord("=?utf-8?B?R3LDvMOfZQ==?="), "Grüße");
    EXPECT_EQ(stringWithMimeEncodedWord("=?utf-8?Q?a_b=3Dc?="), "a b=c");
    EXPECT_EQ(stringWithMimeEncodedWord("=?utf-8?Q?cut=00here?="), "cut");
    EXPECT_EQ(stringWithMimeEncodedWord("=?iso-8859-1?Q?é?="), "é");  // U+00E9 taken as its code
    EXPECT_FALSE(stringWithMimeEncodedWord("=?unknown-cs?Q?x?="));
    EXPECT_FALSE(stringWithMimeEncodedWord("=?utf-8?X?abc?="));
    EXPECT_FALSE(stringWithMimeEncodedWord("=?utf-8?Q?bad=G1?="));
    EXPECT_FALSE(stringWithMimeEncodedWord("=?utf-8?Q?cut=4?="));
    EXPECT_FALSE(stringWithMimeEncodedWord("=?utf-8?Q?€?="));
    EXPECT_FALSE(stringWithMimeEncodedWord("=?utf-8?Q?=FF?="));  // not UTF-8
    EXPECT_FALSE(stringWithMimeEncodedWord("?utf-8?Q?x?="));
    EXPECT_FALSE(stringWithMimeEncodedWord("=?utf-8?Q?="));
    StringEncoding used = 0;
    EXPECT_FALSE(dataForMimeEncodedWord("=?koi8-r?Z?x?=", &used));
    EXPECT_EQ(used, encodingForWindowsCodePage(20866));  // known before the failure
}

TEST(MimeWord, DecodesHeaderValues) {
    EXPECT_EQ(decodedMimeEncodedString("=?utf-8?Q?=C3?= =?utf-8?Q?=A9?="), "é");
    EXPECT_EQ(decodedMimeEncodedString("=?utf-8?Q?a?= b =?utf-8?Q?c?="), " b ac");
    // Words wait for a change of charset or the end, so text after a word comes first.
    EXPECT_EQ(decodedMimeEncodedString("Re: =?iso-8859-1?q?caf=E9?= ok"), "Re:  okcafé");
    EXPECT_EQ(decodedMimeEncodedString("Re: =?iso-8859-1?q?caf=E9?="), "Re: café");
    EXPECT_EQ(decodedMimeEncodedString("=?unknown-cs?Q?x?= after"), " after");
    EXPECT_EQ(decodedMimeEncodedString("plain text only"), "plain text only");
    EXPECT_EQ(decodedMimeEncodedString("=?iso-8859-1?Q?a?= =?utf-8?Q?=C3=A9?="), "aé");
    EXPECT_EQ(decodedMimeEncodedString("broken =?utf-8?Q"), "broken ");
    EXPECT_EQ(decodedMimeEncodedString("=?utf-8?B?SGVs?=\r\n =?utf-8?B?bG8=?="), "Hello");
}

TEST(MimeWord, RoundTripsAnyText) {
    const char* samples[] = {"plain",
                             "Grüße aus Köln",
                             "Привет, мир",
                             "日本語のテキスト",
                             "emoji 😀 and more",
                             "mixed: é, ß, Ł, €, 中"};
    for (const char* s : samples) {
        for (StringEncoding preferred :
             {StringEncoding(0), kISOLatin1Encoding, kASCIIEncoding, kUTF8Encoding}) {
            EXPECT_EQ(stringWithMimeEncodedWord(mimeWordWithString(s, preferred)), s) << s;
            StringEncoding used = 0;
            auto q = qEncodedStringWithString(s, preferred, &used);
            ASSERT_TRUE(q) << s;
            EXPECT_EQ(decodedMimeEncodedString("=?" + *MKcharSetNameForEncoding(used) + "?Q?" + *q +
                                               "?="),
                      s)
                << s;
        }
    }
}

TEST(QuotedPrintable, LineCutting) {
    StringEncoding used = 0;
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(std::string(80, 'x'), kASCIIEncoding, &used),
              std::string(75, 'x') + "=\r\n" + std::string(5, 'x'));
    EXPECT_EQ(used, kASCIIEncoding);
    EXPECT_EQ(quotedPrintableStringForPlainTextBody("ab\r\ncd", kASCIIEncoding), "a\r\ncd");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody("x ", kASCIIEncoding), "x =");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody("\r\nstarts with a break", kASCIIEncoding),
              "\r\nstarts with a break");
    // An escape is never split: at 72 characters an "=" starts the next line.
    const std::string body = std::string(72, 'y') + "é";
    EXPECT_EQ(quotedPrintableStringForPlainTextBody(body, kISOLatin1Encoding),
              std::string(72, 'y') + "=\r\n=E9");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody("tab\there {x}", kASCIIEncoding),
              "tab=09here =7Bx=7D");
    EXPECT_EQ(quotedPrintableStringForPlainTextBody("ü", 0, &used), "=FC");
    EXPECT_EQ(used, kISOLatin2Encoding);
}

TEST(QuotedPrintable, Decoders) {
    EXPECT_EQ(stringFromQuotedPrintableString("caf=E9 =\r\nau lait 100%", kISOLatin1Encoding),
              "café au lait 100%");
    EXPECT_EQ(stringFromQuotedPrintableString("=C3=A9 &amp; co", kUTF8Encoding), "é & co");
    EXPECT_FALSE(stringFromQuotedPrintableString("bad =ZZ escape", kUTF8Encoding));
    EXPECT_EQ(htmlEncodedStringFromQuotedPrintableString("<b>=E9</b> \"q\"", kISOLatin1Encoding),
              "<b>&#233;</b> \"q\"");
    EXPECT_EQ(decodedQuotedPrintableString("<b>=E9</b> \"q\" =80", kWindowsCP1252Encoding),
              "&lt;b&gt;&eacute;&lt;/b&gt; \"q\" &euro;");
    // A bare "=\n" is not a soft break.
    EXPECT_FALSE(stringFromQuotedPrintableString("a=\nb", kUTF8Encoding));
}

TEST(QuotedPrintable, RoundTripsAtEveryLineLength) {
    const std::string pieces[] = {"a", "é", "Ж", "日", "😀", " ", "="};
    std::mt19937 rng(7);
    for (size_t length = 60; length < 170; ++length) {
        std::string text;
        while (text.size() < length)
            text += pieces[rng() % std::size(pieces)];
        text += ".";  // a trailing space would end in a lone "=", which the decoder rejects
        StringEncoding used = 0;
        auto qp = quotedPrintableStringForPlainTextBody(text, 0, &used);
        ASSERT_TRUE(qp);
        std::istringstream lines(*qp);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), 77u);  // 76 + CR
        EXPECT_EQ(stringFromQuotedPrintableString(*qp, used), text) << length;
    }
}

TEST(Base64, EncodesAndDecodesTolerantly) {
    EXPECT_EQ(NewBase64Decode("Zm9v\r\nYmFy"), "foobar");
    EXPECT_EQ(NewBase64Decode("Zg"), "f");
    EXPECT_EQ(NewBase64Decode("Z"), "");
    EXPECT_EQ(NewBase64Decode("Zm9=v!!YmFy"), "foobar");
    EXPECT_EQ(base64EncodedString("foobar"), "Zm9vYmFy");
    EXPECT_EQ(base64EncodedString("fo"), "Zm8=");
    EXPECT_EQ(pathSafeBase64EncodedString("\xFB\xFF"), "_-8=");
    EXPECT_EQ(base64EncodedString("\xFB\xFF"), "+/8=");
    const std::string block(100, 'q');
    const std::string lines = NewBase64Encode(block, true);
    EXPECT_EQ(lines.substr(64, 2), "\r\n");
    EXPECT_EQ(lines.size(), 136u + 3 * 2);
    EXPECT_EQ(NewBase64Decode(lines), block);
    EXPECT_EQ(base64DecodedString(base64EncodedUTF8String("Grüße")), "Grüße");
    EXPECT_FALSE(base64DecodedString("/w=="));
    std::mt19937 rng(3);
    for (size_t n = 0; n < 200; ++n) {
        std::string bytes(n, '\0');
        for (auto& c : bytes)
            c = static_cast<char>(rng());
        EXPECT_EQ(NewBase64Decode(NewBase64Encode(bytes, n % 2)), bytes);
    }
}

TEST(Base64, CountedLiterals) {
    EXPECT_EQ(stringByConvertingLiteralsToBase64("A1 APPEND {3}\r\nabc rest"),
              "A1 APPEND {4}\r\nYWJj rest");
    EXPECT_EQ(stringByConvertingLiteralsToBase64("no literals\r\nhere"), "no literals\r\nhere");
    EXPECT_FALSE(stringByConvertingLiteralsToBase64("x"));
    EXPECT_FALSE(stringByConvertingLiteralsToBase64("oops}\r\nabc"));
    EXPECT_FALSE(stringByConvertingLiteralsToBase64("{10}\r\nabc"));
}

}  // namespace
}  // namespace qb

namespace qb {
namespace {

// The one encoder of each coding, with the line rules its callers ask for.
TEST(SharedCoders, LineRulesAsEachCallerAsks) {
    const std::string bytes(100, '\xAB');
    const std::string mail = base64Lines(bytes, 76, false);
    const std::string toolkit = NewBase64Encode(bytes, true);
    EXPECT_EQ(mail.find("\r\n"), 76u);
    EXPECT_FALSE(mail.ends_with("\r\n"));
    EXPECT_EQ(toolkit.find("\r\n"), 64u);
    EXPECT_TRUE(toolkit.ends_with("\r\n"));
    EXPECT_EQ(NewBase64Decode(mail), bytes);
    EXPECT_EQ(NewBase64Decode(toolkit), bytes);
    EXPECT_EQ(base64Lines("", 76, true), "");

    // An escape is never cut, and each rule set places its soft break where it says.
    auto everyByteEscaped = [](unsigned char) { return false; };
    const std::string escapes(30, '\x01');
    const QuotedPrintableRules early{everyByteEscaped, 72, false, false, false};
    const QuotedPrintableRules late{everyByteEscaped, 73, false, false, false};
    EXPECT_EQ(encodeQuotedPrintable(escapes, early).find("=\r\n"), 72u);  // 24 escapes
    EXPECT_EQ(encodeQuotedPrintable(escapes, late).find("=\r\n"), 75u);   // 25 escapes

    EXPECT_EQ(encodedWord("iso-8859-1", 'Q', "caf=E9"), "=?iso-8859-1?Q?caf=E9?=");
    // Whole characters only: two-byte characters split into words of at most 5 bytes.
    EXPECT_EQ(base64EncodedWords("\xC3\xA9\xC3\xA9\xC3\xA9", 5),
              "=?utf-8?B?w6nDqQ==?= =?utf-8?B?w6k=?=");
    EXPECT_EQ(quotedString("a\"b\\"), "\"a\"b\\\"");
    EXPECT_EQ(escapedQuotedString("a\"b\\"), "\"a\\\"b\\\\\"");
}

}  // namespace
}  // namespace qb
