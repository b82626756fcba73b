// SPDX-License-Identifier: Apache-2.0
// A mail that carries a winmail.dat: its outer headers as the TNEF reader takes them, the
// front door opening the TNEF inside it, and a mail without one.
#include "api/TNEFInMail.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/MailDate.h"
#include "api/OpenMessage.h"
#include "mailkit/Base64.h"
#include "model/Address.h"
#include "support/TNEFWriter.h"

namespace qb {
namespace {

using test::PropsWriter;
using test::TNEFWriter;
using testing::HasSubstr;

// A TNEF stream with its own subject, one To recipient and the given correlation key.
std::string tnefWithCorrelator(const std::string& correlator) {
    PropsWriter props;
    props.string8(0x0037, "inner subject").binary(0x007F, correlator + '\0');
    return TNEFWriter().messageClass("IPM.Note").mapiProps(props).str();
}

std::string base64Lines(const std::string& bytes) {
    const std::string flat = base64EncodedString(bytes);
    std::string out;
    for (size_t i = 0; i < flat.size(); i += 76)
        out += flat.substr(i, 76) + "\r\n";
    return out;
}

// A multipart mail: the outer `headers`, a text part, and `tnef` as a Base64 winmail.dat.
std::string mailAround(const std::string& headers, const std::string& tnef,
                       const std::string& tnefType = "application/ms-tnef") {
    return headers +
           "MIME-Version: 1.0\r\n"
           "Content-Type: multipart/mixed; boundary=\"b1\"\r\n\r\n"
           "--b1\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nouter text\r\n"
           "--b1\r\nContent-Type: " +
           tnefType +
           "; name=\"winmail.dat\"\r\n"
           "Content-Transfer-Encoding: base64\r\n"
           "Content-Disposition: attachment; filename=\"winmail.dat\"\r\n\r\n" +
           base64Lines(tnef) + "--b1--\r\n";
}

const char* kOuterHeaders =
    "From: =?ISO-8859-1?Q?J=F6rg_Outer?= <joerg@example.org>\r\n"
    "To: \"Ann Example\" <ann@example.com>,\r\n"
    " Bob <bob@example.net>\r\n"
    "Cc: carol@example.com\r\n"
    "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\r\n"
    " =?UTF-8?Q?_aus_K=C3=B6ln?=\r\n"
    "Date: Tue, 3 Mar 2020 10:20:30 +0100\r\n"
    "Message-ID: <m1@example.org>\r\n";

MimePartPtr mailTree(const std::string& text) {
    registerBuiltinMimeParts();
    return MimePart::mimePartForData(Bytes::fromString(text));
}

TEST(TNEFInMail, HeaderDictionaryDecodesWordsFoldsAndMailboxes) {
    const auto d = tnefHeaderDictionary(mailTree(
        std::string(kOuterHeaders) + "X-MS-TNEF-Correlator: c-1\r\n" + mailAround("", "x")));
    EXPECT_EQ(d["X-MS-TNEF-Correlator"], "c-1");
    EXPECT_EQ(d["messageID"], "<m1@example.org>");
    EXPECT_EQ(d["subject"], "Grüße aus Köln");
    EXPECT_EQ(d["date"], "2020-03-03T09:20:30Z");
    EXPECT_EQ(d["sender"]["displayName"], "Jörg Outer");
    EXPECT_EQ(d["sender"]["address"], "joerg@example.org");
    ASSERT_EQ(d["to"].size(), 2u);
    EXPECT_EQ(d["to"][0]["displayName"], "Ann Example");
    EXPECT_EQ(d["to"][1]["address"], "bob@example.net");
    ASSERT_EQ(d["cc"].size(), 1u);
    EXPECT_EQ(d["cc"][0]["address"], "carol@example.com");
    EXPECT_FALSE(d.contains("bcc"));
    // The text part is the mail's body; the winmail.dat attachment is not.
    EXPECT_EQ(d["mimeBodyContent"], "outer text");
    EXPECT_FALSE(d.contains("mimeHtmlBodyContent"));
}

TEST(TNEFInMail, MailDatesInTheirWrittenForms) {
    EXPECT_EQ(parseMailDate("Tue, 3 Mar 2020 10:20:30 +0100"),
              parseRFC3339("2020-03-03T09:20:30Z"));
    EXPECT_EQ(parseMailDate("3 Mar 2020 10:20 -0130"), parseRFC3339("2020-03-03T11:50:00Z"));
    EXPECT_EQ(parseMailDate("Wed, 1 Jan 97 23:00:00 EST (Eastern)"),
              parseRFC3339("1997-01-02T04:00:00Z"));
    EXPECT_EQ(parseMailDate("1 jan 2001 00:00:00 GMT"), parseRFC3339("2001-01-01T00:00:00Z"));
    for (const char* bad : {"", "Tue,", "3 Foo 2020 10:20:30 +0100", "32 Mar 2020 10:20:30",
                            "3 Mar 2020 24:00:00", "3 Mar 2020 10", "3 Mar 2020 10:20 +01"})
        EXPECT_FALSE(parseMailDate(bad)) << bad;
}

TEST(TNEFInMail, FindsTNEFByTypeOrByNameAndTellsMailsApart) {
    auto root = mailTree(mailAround("From: a@b.c\r\n", "x"));
    ASSERT_EQ(tnefPartsOfMail(root).size(), 1u);
    EXPECT_EQ(tnefPartsOfMail(root)[0]->decodedContent()->str(), "x");
    // A generic type still counts when the part is named winmail.dat.
    EXPECT_EQ(tnefPartsOfMail(mailTree(mailAround("", "x", "application/octet-stream"))).size(),
              1u);
    EXPECT_TRUE(tnefPartsOfMail(mailTree("Content-Type: text/plain\r\n\r\nhi")).empty());

    EXPECT_TRUE(looksLikeMail(Bytes::fromString("From: a@b.c\n\nbody")));
    EXPECT_FALSE(looksLikeMail(Bytes::fromString("From: a@b.c\r\nno blank line")));
    EXPECT_FALSE(looksLikeMail(Bytes::fromString(" indented: x\r\n\r\n")));
    EXPECT_FALSE(looksLikeMail(Bytes::fromString(tnefWithCorrelator("c"))));
    EXPECT_EQ(withMailLineEnds(Bytes::fromString("A: b\n\nc\r\nd")).str(), "A: b\r\n\r\nc\r\nd");
}

TEST(TNEFInMail, FrontDoorOpensTheTNEFWithTheOuterHeadersWhenTheCorrelatorMatches) {
    const std::string tnef = tnefWithCorrelator("c-1");
    auto matching = openMessage(Bytes::fromString(
        mailAround(std::string(kOuterHeaders) + "X-MS-TNEF-Correlator: c-1\r\n", tnef)));
    ASSERT_TRUE(matching);
    EXPECT_EQ(matching->format, MessageFormat::TNEF);
    EXPECT_EQ(matching->message->subject(), "Grüße aus Köln");
    ASSERT_TRUE(matching->message->sender());
    EXPECT_EQ(matching->message->sender()->address(), "joerg@example.org");
    EXPECT_EQ(matching->message->toRecipients().size(), 2u);
    EXPECT_EQ(matching->message->mimeBodyContent().value_or(""), "outer text");

    auto other = openMessage(Bytes::fromString(
        mailAround(std::string(kOuterHeaders) + "X-MS-TNEF-Correlator: c-2\r\n", tnef)));
    ASSERT_TRUE(other);
    EXPECT_EQ(other->message->subject(), "inner subject");
    EXPECT_TRUE(other->message->toRecipients().empty());

    // Without a correlator header the Message-ID decides.
    auto byId = openMessage(
        Bytes::fromString(mailAround(kOuterHeaders, tnefWithCorrelator("<m1@example.org>"))));
    ASSERT_TRUE(byId);
    EXPECT_EQ(byId->message->subject(), "Grüße aus Köln");
    auto idDiffers = openMessage(Bytes::fromString(mailAround(kOuterHeaders, tnef)));
    ASSERT_TRUE(idDiffers);
    EXPECT_EQ(idDiffers->message->subject(), "inner subject");
}

TEST(TNEFInMail, SecondTNEFPartIsAWarningAndLineEndsMayBeBare) {
    std::string mail = mailAround("From: a@b.c\r\n", tnefWithCorrelator("c"));
    const std::string second =
        "--b1\r\nContent-Type: application/ms-tnef\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\n" +
        base64Lines(tnefWithCorrelator("d")) + "--b1--\r\n";
    mail.replace(mail.rfind("--b1--\r\n"), 8, second);
    auto opened = openMessage(Bytes::fromString(mail));
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->message->tnefCorrelator(), "c");
    ASSERT_EQ(opened->message->report()->warnings().size(), 1u);
    EXPECT_THAT(opened->message->report()->warnings()[0].text, HasSubstr("TNEF part"));

    std::string bare;
    for (char c : mailAround("From: a@b.c\r\n", tnefWithCorrelator("c")))
        if (c != '\r') bare += c;
    auto fromBare = openMessage(Bytes::fromString(bare));
    ASSERT_TRUE(fromBare);
    EXPECT_EQ(fromBare->message->subject(), "inner subject");
}

TEST(TNEFInMail, MailWithoutTNEFPointsToTheMimeCommand) {
    auto opened = openMessage(Bytes::fromString(
        "From: a@b.c\r\nSubject: hi\r\nContent-Type: text/plain\r\n\r\nJust text.\r\n"));
    ASSERT_FALSE(opened);
    EXPECT_THAT(opened.error().withFilename("m.eml"), HasSubstr("without a TNEF part"));
    EXPECT_THAT(opened.error().withFilename("m.eml"), HasSubstr("quillbox mime"));
    // A TNEF part that holds no stream fails as TNEF does.
    EXPECT_FALSE(openMessage(Bytes::fromString(mailAround("From: a@b.c\r\n", "not tnef"))));
}

}  // namespace
}  // namespace qb
