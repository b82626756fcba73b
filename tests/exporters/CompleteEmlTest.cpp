// SPDX-License-Identifier: Apache-2.0
// The .eml of a .msg carries what the message knows: its date, its thread fields, SMTP
// addresses for Exchange senders and recipients, content ids with the body's pictures inline,
// and the same bytes on every run.
#include <gtest/gtest.h>

#include "OXMSG/OXMessage.h"
#include "exporters/ContentIDs.h"
#include "exporters/TNEFMessageExporter.h"
#include "support/EmlReport.h"
#include "support/MsgWriter.h"

namespace qb {
namespace {

using test::MsgFile;
using test::MsgProps;

const std::string kPNG("\x89PNG\r\n\x1A\n\0\0\0\rIHDR", 16);

std::string threadedMsg() {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note")
        .unicode(0x0037, "Re: plans")
        .unicode(0x0C1A, "Ann Lee")
        .string8(0x0C1E, "EX")
        .unicode(0x0C1F, "/o=ExchangeLabs/ou=Group/cn=Recipients/cn=ann")
        .unicode(0x5D01, "ann@example.org")
        .fixed(0x0040, 0x0039, 0x01DA5D858688D980ULL)  // submitted 2024-02-12T07:31:43Z
        .unicode(0x1035, "<m2@example.org>")
        .unicode(0x1042, "<m1@example.org>")
        .unicode(0x1039, "<m0@example.org> <m1@example.org>")
        .unicode(0x1000, "See the picture.")
        .binary(0x1013, "<html><body><img src=\"CID:Logo@Example\"></body></html>");
    MsgProps bo;
    bo.unicode(0x3001, "Bo").string8(0x3002, "EX").unicode(0x3003, "/o=x/cn=bo");
    bo.unicode(0x39FE, "bo@example.org").u32(0x0C15, 1);
    f.recipients = {bo};
    MsgProps logo, sheet;
    logo.unicode(0x3707, "logo.png").binary(0x3701, kPNG).unicode(0x3712, "<logo@example>");
    sheet.unicode(0x3707, "sheet.txt").binary(0x3701, "numbers").unicode(0x3712, "unused@x");
    sheet.unicode(0x3713, "http://example.org/sheet.txt");
    f.attachments = {{logo, {}}, {sheet, {}}};
    return f.write();
}

std::string emlOf(const std::string& msg) {
    auto m = OXMessage::create(Bytes::fromString(msg));
    return TNEFMessageExporter::create(m, nullptr, ExportMode::RFC822)->data()->str();
}

TEST(CompleteEml, DateThreadFieldsAndSmtpAddressesOfAMsg) {
    const std::string eml = emlOf(threadedMsg());
    // The same message always gives the same bytes: nothing random in the boundaries.
    EXPECT_EQ(eml, emlOf(threadedMsg()));
    EXPECT_NE(eml.find("boundary=\"MKMimeKit=_"), std::string::npos);

    auto m = OXMessage::create(Bytes::fromString(threadedMsg()));
    auto e = TNEFMessageExporter::create(m, nullptr, ExportMode::Files);
    EXPECT_EQ(e->metadataPlist()["Date"], "2024-02-12T07:31:43Z");
    // metadata.json keeps the addresses the message gives.
    EXPECT_EQ(e->metadataPlist()["ToRecipients"], Dictionary::parse(R"(["Bo <\/o=x\/cn=bo>"])"));

    if (!test::havePythonEmail()) GTEST_SKIP() << "no python3";
    auto report = test::pythonEmlReport({eml});
    ASSERT_TRUE(report);
    const Dictionary& r = (*report)[0];
    EXPECT_TRUE(r["defects"].empty()) << r["defects"];
    EXPECT_TRUE(r["headerDefects"].empty()) << r["headerDefects"];
    EXPECT_EQ(r["date"], "Mon, 12 Feb 2024 07:31:43 +0000");
    EXPECT_EQ(r["messageId"], "<m2@example.org>");
    EXPECT_EQ(r["inReplyTo"], "<m1@example.org>");
    EXPECT_EQ(r["references"], "<m0@example.org> <m1@example.org>");
    EXPECT_EQ(r["from"], Dictionary::parse(R"([["Ann Lee", "ann@example.org"]])"));
    EXPECT_EQ(r["to"], Dictionary::parse(R"([["Bo", "bo@example.org"]])"));

    ASSERT_EQ(r["attachments"].size(), 2u);
    // The picture the body shows is inline, found by its content id; the other stays an
    // attachment that still carries its id.
    EXPECT_EQ(r["attachments"][0]["filename"], "logo.png");
    EXPECT_EQ(r["attachments"][0]["disposition"], "inline");
    EXPECT_EQ(r["attachments"][0]["contentId"], "<logo@example>");
    EXPECT_EQ(r["attachments"][1]["disposition"], "attachment");
    EXPECT_EQ(r["attachments"][1]["contentId"], "<unused@x>");
    EXPECT_NE(eml.find("Content-Location: http://example.org/sheet.txt"), std::string::npos);
}

TEST(CompleteEml, ContentIdsAreFoundInTheBody) {
    EXPECT_EQ(contentIDsReferencedBy("<img src=\"cid:A@b\"><img src='CID:c'>url(cid:d) cid:"),
              (std::set<std::string>{"a@b", "c", "d"}));
    EXPECT_EQ(normalizedContentID(" <Logo@X> "), "logo@x");
    EXPECT_EQ(bareContentID("<Logo@X>"), "Logo@X");
}

}  // namespace
}  // namespace qb
