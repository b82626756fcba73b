// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "mailkit/MKMimeHeaders.h"
#include "mailkit/MKMimeHeadersParser.h"
#include "mailkit/MailKitStrings.h"
#include "mailkit/MimeEncoding.h"
#include "mailkit/StringDigests.h"

namespace qb {
namespace {

std::vector<std::string> lines(const std::string& block) {
    std::vector<std::string> out;
    size_t start = 0;
    for (;;) {
        const size_t end = block.find("\r\n", start);
        out.push_back(block.substr(start, end - start));
        if (end == std::string::npos) break;
        start = end + 2;
    }
    return out;
}

TEST(MKMimeHeaders, FieldOrderAndFirstValues) {
    MKMimeHeaders h;
    h.setHeader("<id@x>", "message-id");
    h.setHeader("Hello", "subject");
    h.setHeader("a@x", "from");
    h.setHeader("QB", "x-mailer");
    h.setHeader("Replaced", "SUBJECT");
    EXPECT_EQ(h.foldedHeaderString(),
              "From: a@x\r\nSubject: Replaced\r\nMessage-Id: <id@x>\r\nX-Mailer: QB");
    MKMimeHeaders two({{"Subject", {"first", "second"}}, {"x-raw", {"a\r\nb"}}});
    EXPECT_EQ(two.foldedHeaderString(), "Subject: first\r\nX-Raw: ab");
    EXPECT_EQ(two.firstHeaderForKey("SUBJECT"), "first");
    EXPECT_FALSE(two.firstHeaderForKey("To"));
    EXPECT_EQ(MKMimeHeaders().foldedHeaderString(), "");
}

TEST(MKMimeHeaders, EncodedWordFields) {
    MKMimeHeaders h;
    h.setHeader("Grüße aus Wien", "Subject");
    EXPECT_EQ(h.foldedHeaderString(), "Subject: =?iso-8859-1?Q?Gr=FC=DFe_aus_Wien?=");

    std::string longValue;
    for (int i = 0; i < 10; ++i)
        longValue += "Ärger überall ";
    MKMimeHeaders l;
    l.setHeader(longValue, "Subject");
    auto out = lines(l.foldedHeaderString());
    ASSERT_GT(out.size(), 2u);
    EXPECT_THAT(out[0], testing::StartsWith("Subject: =?iso-8859-1?Q?"));
    std::string rejoined;
    for (size_t i = 0; i < out.size(); ++i) {
        EXPECT_LE(out[i].size(), 75u) << out[i];
        EXPECT_THAT(out[i], testing::EndsWith("?="));
        if (i > 0) {
            EXPECT_THAT(out[i], testing::StartsWith(" =?iso-8859-1?Q?"));
        }
        rejoined += (i ? " " : "") + out[i].substr(i == 0 ? 9 : 1);
    }
    EXPECT_EQ(decodedMimeEncodedString(rejoined), longValue);

    // Multi-byte characters may be split across words of one charset; decoding joins them.
    std::string cjk;
    for (int i = 0; i < 40; ++i)
        cjk += "日本";
    auto field = MKMimeHeaders::mimeEncodedHeaderForKey(std::nullopt, cjk, 0);
    ASSERT_TRUE(field);
    for (const auto& line : lines(*field))
        EXPECT_LE(line.size(), 75u);
    EXPECT_EQ(decodedMimeEncodedString(*field), cjk);
    EXPECT_EQ(MKMimeHeaders::mimeEncodedHeaderForKey("X", "", kISOLatin1Encoding),
              "X: =?iso-8859-1?Q?"
              "?=");
    // A field name too long for any payload still makes progress.
    auto huge =
        MKMimeHeaders::mimeEncodedHeaderForKey(std::string(100, 'k'), "éé", kISOLatin1Encoding);
    ASSERT_TRUE(huge);
    EXPECT_EQ(decodedMimeEncodedString(huge->substr(huge->find("=?"))), "éé");
}

TEST(MKMimeHeaders, FoldingAtWhiteSpace) {
    const std::string seventyEight = "Subject: " + std::string(69, 'a');
    ASSERT_EQ(seventyEight.size(), 78u);
    EXPECT_EQ(foldHeaderLine(seventyEight), seventyEight);
    const std::string seventyNine = "Subject: " + std::string(30, 'a') + " " + std::string(39, 'b');
    ASSERT_EQ(seventyNine.size(), 79u);
    EXPECT_EQ(foldHeaderLine(seventyNine),
              "Subject: " + std::string(30, 'a') + "\r\n " + std::string(39, 'b'));
    // A word longer than a line stands whole on its own line.
    const std::string longWord(100, 'w');
    EXPECT_EQ(foldHeaderLine("X-Long: " + longWord + " tail"),
              "X-Long:\r\n " + longWord + "\r\n tail");
    // Many words: every line under 79, nothing added or removed but CR LF.
    std::string text = "To:";
    for (int i = 0; i < 40; ++i)
        text += " person" + std::to_string(i) + "@example.com,";
    const std::string folded = foldHeaderLine(text);
    for (const auto& line : lines(folded))
        EXPECT_LT(line.size(), 79u);
    std::string unfolded = folded;
    for (size_t p; (p = unfolded.find("\r\n")) != std::string::npos;)
        unfolded.erase(p, 2);
    EXPECT_EQ(unfolded, text);
}

TEST(MailKitStrings, SmallHelpers) {
    EXPECT_EQ(capitalizedHeaderKey("content-type"), "Content-Type");
    EXPECT_EQ(capitalizedHeaderKey("CONTENT-TYPE"), "Content-Type");
    EXPECT_EQ(capitalizedHeaderKey("message-id"), "Message-Id");
    EXPECT_EQ(capitalizedHeaderKey("MIME-Version"), "Mime-Version");
    EXPECT_EQ(quotedString("a \"b\""), "\"a \"b\"\"");
    EXPECT_EQ(MKStringWithBits(5), std::string(61, '0') + "101");
    EXPECT_EQ(MKStringWithUInteger(18446744073709551615ull), "18446744073709551615");
    EXPECT_EQ(hexMD5String("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(sha256HashString(""),
              "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(hexMD5StringWithKey("The quick brown fox jumps over the lazy dog", "key"),
              "80070713463e7749b90c2dc24911e275");
    EXPECT_EQ(shortSHAHashString("abc").size(), 16u);
    auto tmp = qb_tmpFileWithPrefix(std::nullopt, std::nullopt);
    ASSERT_TRUE(tmp);
    EXPECT_THAT(*tmp, testing::MatchesRegex(".*/MailAttachment\\.[A-Za-z0-9]{6}\\.eml"));
    std::remove(tmp->c_str());
}

TEST(MKMimeHeadersParser, UnfoldsAndTolerates) {
    const std::string block =
        "--boundary-line\r\n"
        "From: \"Ann\" <ann@x.org>\r\n"
        "To: bob@y.org,\r\n"
        "\tcarol@z.org\n"
        "Subject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\r\n"
        "  continued\r\n"
        "X-Latin: caf\xE9\r\n"
        "to: dave@w.org\r\n"
        "\r\n"
        "Body: not a header\r\n";
    MKMessageHeaders h(block);
    // The toolkit's decoder holds words back until the end, after the plain text.
    EXPECT_EQ(h.headerForKey("subject"), "  continuedGrüße");
    EXPECT_EQ(h.headerForKey("X-Latin"), "café");
    EXPECT_FALSE(h.headerForKey("Body"));
    auto to = h.addressListForKey("TO");
    ASSERT_TRUE(to);
    ASSERT_EQ(to->size(), 3u);
    EXPECT_EQ((*to)[1].userAtDomain(), "carol@z.org");
    EXPECT_EQ((*to)[2].userAtDomain(), "dave@w.org");
    EXPECT_EQ((*h.addressListForKey("from"))[0].addressComment(), "Ann");
    EXPECT_FALSE(h.addressListForKey("Cc"));
}

}  // namespace
}  // namespace qb
