// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <set>

#include "mailkit/Base64.h"
#include "mime/ContentCoders.h"
#include "mime/FieldCoders.h"
#include "mime/MimeTypes.h"
#include "mime/TransferEncoding.h"
#include "platform/Digest.h"
#include "support/EmlReport.h"
#include "support/FakeMessage.h"

namespace qb {
namespace {

std::vector<std::string> lines(const std::string& s) {
    std::vector<std::string> out;
    size_t start = 0;
    for (size_t pos; (pos = s.find("\r\n", start)) != std::string::npos; start = pos + 2)
        out.push_back(s.substr(start, pos - start));
    out.push_back(s.substr(start));
    return out;
}

TEST(TransferEncoding, LinesStayShortAndBytesSurvive) {
    std::string bytes;
    for (int i = 0; i < 1000; ++i)
        bytes += static_cast<char>(i * 7);
    const std::string b64 = base64Body(bytes);
    for (const auto& l : lines(b64))
        EXPECT_LE(l.size(), 76u);
    EXPECT_EQ(lines(b64).front().size(), 76u);
    EXPECT_EQ(NewBase64Decode(b64), bytes);

    // Soft breaks, escapes and white space at line ends.
    const std::string text = std::string(200, 'a') + " \r\n=tab\t\r\nend " + "\xC3\xA9";
    const std::string qp = quotedPrintableBody(text);
    for (const auto& l : lines(qp)) {
        EXPECT_LE(l.size(), 76u) << l;
        EXPECT_FALSE(!l.empty() && (l.back() == ' ' || l.back() == '\t')) << l;
    }
    EXPECT_NE(qp.find("=20\r\n=3Dtab=09\r\nend =C3=A9"), std::string::npos) << qp;

    EXPECT_EQ(canonicalLineEnds("a\nb\rc\r\nd"), "a\r\nb\r\nc\r\nd");
    EXPECT_TRUE(isSevenBitClean("ab\r\ncd"));
    EXPECT_FALSE(isSevenBitClean("ab\ncd"));
    EXPECT_FALSE(isSevenBitClean("caf\xC3\xA9"));
    EXPECT_TRUE(isEightBitClean("caf\xC3\xA9"));
    EXPECT_FALSE(isEightBitClean(std::string(999, 'x')));
    EXPECT_FALSE(isEightBitClean(std::string("a\0b", 3)));
}

TEST(ContentCoders, PartsCarryTypeNameAndEncoding) {
    auto ascii = EDPlainTextContentCoder("line one\nline two").messagePart();
    EXPECT_EQ(ascii->headers().firstHeaderForKey("Content-Type"), "text/plain; charset=us-ascii");
    EXPECT_EQ(ascii->headers().firstHeaderForKey("Content-Transfer-Encoding"), "7bit");
    EXPECT_EQ(ascii->contentData(), "line one\r\nline two");

    auto html = EDHTMLTextContentCoder("<p>caf\xC3\xA9</p>").messagePart();
    EXPECT_EQ(html->headers().firstHeaderForKey("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(html->headers().firstHeaderForKey("Content-Transfer-Encoding"), "quoted-printable");

    auto pdf = EDMultimediaContentCoder("%PDF-1.4", "Report.PDF").messagePart();
    EXPECT_EQ(pdf->contentType(), "application/pdf");
    EXPECT_EQ(pdf->headers().firstHeaderForKey("Content-Disposition"),
              "attachment; filename=\"Report.PDF\"");
    EXPECT_EQ(pdf->headers().firstHeaderForKey("Content-Transfer-Encoding"), "base64");
    auto inlined = EDMultimediaContentCoder("x", "a.png", true).messagePart();
    EXPECT_EQ(inlined->headers().firstHeaderForKey("Content-Disposition"),
              "inline; filename=\"a.png\"");
    EXPECT_EQ(EDMultimediaContentCoder("x", "noext").messagePart()->contentType(),
              "application/octet-stream");

    // A message travels unencoded; bytes that cannot are sent as plain data.
    auto eml7 = EDMultimediaContentCoder("Subject: x\r\n\r\nbody", "a.eml").messagePart();
    EXPECT_EQ(eml7->contentType(), "message/rfc822");
    EXPECT_EQ(eml7->headers().firstHeaderForKey("Content-Transfer-Encoding"), "7bit");
    auto eml8 = EDMultimediaContentCoder("Subject: \xC3\xA9\r\n\r\n", "a.eml").messagePart();
    EXPECT_EQ(eml8->headers().firstHeaderForKey("Content-Transfer-Encoding"), "8bit");
    auto emlBinary = EDMultimediaContentCoder(std::string("a\0b\n", 4), "a.eml").messagePart();
    EXPECT_EQ(emlBinary->contentType(), "application/octet-stream");
    EXPECT_EQ(emlBinary->headers().firstHeaderForKey("Content-Transfer-Encoding"), "base64");
}

TEST(ContentCoders, MultipartLayoutAndBoundaries) {
    auto a = EDPlainTextContentCoder("A").messagePart();
    auto b = EDPlainTextContentCoder("B").messagePart();
    auto mixed = EDCompositeContentCoder({a, b}).messagePartWithSubtype("alternative");
    const std::string type = *mixed->headers().firstHeaderForKey("Content-Type");
    const std::string boundary = type.substr(type.find('"') + 1, 47);
    EXPECT_EQ(type, "multipart/alternative; boundary=\"" + boundary + "\"");
    EXPECT_EQ(boundary.rfind("MKMimeKit=_", 0), 0u);
    const std::string part =
        "Content-Type: text/plain; charset=us-ascii\r\nContent-Transfer-Encoding: 7bit\r\n\r\n";
    EXPECT_EQ(mixed->contentData(), "--" + boundary + "\r\n" + part + "A\r\n--" + boundary +
                                        "\r\n" + part + "B\r\n--" + boundary + "--\r\n");

    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i)
        seen.insert(newBoundary());
    EXPECT_EQ(seen.size(), 100u);

    auto message = EDCompositeContentCoder({a}).message();
    EXPECT_EQ(message->headers().firstHeaderForKey("MIME-Version"), "1.0");
    EXPECT_EQ(message->contentType(), "multipart/mixed");
    // Nothing to carry: still a valid message.
    auto empty = EDCompositeContentCoder({}).message();
    EXPECT_EQ(empty->contentType(), "text/plain");
    EXPECT_EQ(empty->headers().firstHeaderForKey("MIME-Version"), "1.0");
}

TEST(FieldCoders, AddressesSubjectsDatesAndParameters) {
    using test::address;
    EXPECT_EQ(mailboxFieldBody(*address("Ann Lee", "ann@x.org")), "Ann Lee <ann@x.org>");
    EXPECT_EQ(mailboxFieldBody(*address("", "ann@x.org")), "ann@x.org");
    EXPECT_EQ(mailboxFieldBody(*address("Lee, Ann", "ann@x.org")), "\"Lee, Ann\" <ann@x.org>");
    EXPECT_EQ(mailboxFieldBody(*address("'a@b.c'", "a@b.c")), "\"'a@b.c'\" <a@b.c>");
    EXPECT_EQ(mailboxFieldBody(*address("Say \"hi\"", "a@b.c")), "\"Say \\\"hi\\\"\" <a@b.c>");
    EXPECT_EQ(mailboxFieldBody(*address("J\xC3\xB6rg", "j@x.de")), "=?utf-8?B?SsO2cmc=?= <j@x.de>");
    // No Internet address: the name as an empty group, the X.500 text in a comment.
    EXPECT_EQ(mailboxFieldBody(*address("alec", "/O=ARUP/CN=A (B)", "EX")),
              "alec (/O=ARUP/CN=A \\(B\\)):;");
    EXPECT_EQ(mailboxFieldBody(*address("New User", "", "")), "New User:;");
    EXPECT_EQ(mailboxFieldBody(*address("\xC3\xB6", "", "")), "=?utf-8?B?w7Y=?= :;");
    EXPECT_EQ(mailboxFieldBody(*address("", "", "")), std::nullopt);

    EXPECT_EQ(EDTextFieldCoder::encoderWithText("Re: a\r\nb").fieldBody(), "Re: a  b");
    EXPECT_EQ(EDTextFieldCoder::encoderWithText("=?x?= ok").fieldBody().rfind("=?utf-8?B?", 0), 0u);
    // Long non-ASCII text: several words, none longer than 75, no character cut.
    std::string longText;
    for (int i = 0; i < 40; ++i)
        longText += "\xE6\x97\xA5\xF0\x9F\x98\x80";
    const std::string words = encodedWords(longText);
    std::string decoded;
    size_t start = 0;
    while (start < words.size()) {
        size_t end = words.find(' ', start);
        if (end == std::string::npos) end = words.size();
        const std::string w = words.substr(start, end - start);
        EXPECT_LE(w.size(), 75u);
        const std::string payload = NewBase64Decode(w.substr(10, w.size() - 12));
        EXPECT_TRUE(isValidUTF8(payload));
        decoded += payload;
        start = end + 1;
    }
    EXPECT_EQ(decoded, longText);

    EXPECT_EQ(
        EDDateFieldCoder::encoderWithDate(dateFromComponents(2009, 4, 22, 14, 36, 33)).fieldBody(),
        "Wed, 22 Apr 2009 14:36:33 +0000");
    EXPECT_EQ(formatRFC2822(dateFromComponents(1601, 1, 1, 0, 0, 0)),
              "Mon, 01 Jan 1601 00:00:00 +0000");

    EXPECT_EQ(headerParameter("filename", "a b.txt"), "filename=\"a b.txt\"");
    EXPECT_EQ(headerParameter("filename", "\xC3\xA9t\xC3\xA9.txt"),
              "filename*0*=utf-8''%C3%A9t%C3%A9.txt");
    EXPECT_EQ(headerParameter("name", "a\"b"), "name*0*=utf-8''a%22b");
    EXPECT_EQ(headerParameter("name", std::string("a\0b", 3)), "name*0*=utf-8''a%00b");
    const std::string longName = headerParameter("filename", std::string(70, 'x') + ".txt");
    EXPECT_NE(longName.find("; filename*1*="), std::string::npos) << longName;

    EXPECT_EQ(mimeTypeForFilename("a.DOCX"),
              "application/vnd.openxmlformats-officedocument.wordprocessingml.document");
    EXPECT_EQ(pathExtension("dir.d/file"), "");
    EXPECT_EQ(pathExtension(".profile"), "");
    EXPECT_EQ(pathExtension("a.tar.gz"), "gz");
}

// Whatever goes in comes out of a standard parser: texts, file names and bytes.
TEST(ContentCoders, PythonReadsBackWhatWasBuilt) {
    if (!test::havePythonEmail()) GTEST_SKIP() << "no python3";
    std::string binary;
    for (int i = 0; i < 5000; ++i)
        binary += static_cast<char>((i * 31) ^ (i >> 3));
    const std::string plain =
        "caf\xC3\xA9 = 100%\n" + std::string(1200, 'w') + "\ntrailing space \n\xF0\x9F\x98\x80 end";
    const std::string html = "<p>\xE6\x97\xA5\xE6\x9C\xAC</p>";
    const std::vector<std::pair<std::string, std::string>> files = {
        {"plain.bin", binary},
        {"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E \xC3\xA9 " + std::string(80, 'n') + ".pdf", "%PDF"},
        {"quote\"and\\back.txt", "q"},
    };
    std::vector<EDMessagePartPtr> parts{
        EDCompositeContentCoder({EDPlainTextContentCoder(plain).messagePart(),
                                 EDHTMLTextContentCoder(html).messagePart()})
            .messagePartWithSubtype("alternative")};
    for (const auto& [name, data] : files)
        parts.push_back(EDMultimediaContentCoder(data, name).messagePart());
    auto inner =
        EDCompositeContentCoder({EDPlainTextContentCoder("inner").messagePart()}).message();
    inner->addToHeaderFields("Subject", "Inner");
    parts.push_back(EDMultimediaContentCoder(inner->transferData(), "Inner.eml").messagePart());
    auto message = EDCompositeContentCoder(parts).message();
    message->addToHeaderFields("Subject", EDTextFieldCoder::encoderWithText(
                                              "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 "
                                              "r\xC3\xA9sum\xC3\xA9")
                                              .fieldBody());

    auto report = test::pythonEmlReport({message->transferData()});
    ASSERT_TRUE(report);
    const Dictionary& r = (*report)[0];
    EXPECT_TRUE(r["defects"].empty()) << r["defects"].dump();
    EXPECT_TRUE(r["headerDefects"].empty()) << r["headerDefects"].dump();
    EXPECT_EQ(r["subject"],
              "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82 r\xC3\xA9sum\xC3\xA9");
    // Text comes back with CR LF line ends, which is how mail carries text.
    std::string expected = canonicalLineEnds(plain);
    EXPECT_EQ(r["texts"]["text/plain"].get<std::string>(), std::string(expected));
    EXPECT_EQ(r["texts"]["text/html"].get<std::string>().find(html), 0u);
    ASSERT_EQ(r["attachments"].size(), 4u);
    for (size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(r["attachments"][i]["filename"], files[i].first);
        EXPECT_EQ(r["attachments"][i]["sha256"], sha256Hex(Bytes::fromString(files[i].second)));
    }
    EXPECT_EQ(r["attachments"][3]["contentType"], "message/rfc822");
    EXPECT_EQ(r["attachments"][3]["message"]["subject"], "Inner");
}

}  // namespace
}  // namespace qb
