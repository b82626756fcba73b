// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "model/PropertyTags.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::PropsWriter;
using test::TNEFWriter;

const std::string kPSETIDAppointment(
    "\x02\x20\x06\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);

PropsWriter recipient(std::string_view name, std::string_view address,
                      std::optional<uint32_t> type) {
    PropsWriter row;
    row.string8(0x3001, name).string8(0x3002, "SMTP").string8(0x3003, address);
    if (type) row.u32(0x0C15, *type);
    return row;
}

TEST(TNEFMessageFields, SubjectFallsBackFromPropertyToAttributeToTopic) {
    PropsWriter empty;
    empty.string8(0x0037, "").string8(0x0070, "topic");
    auto m = test::readTNEF(TNEFWriter().subject("from attribute").mapiProps(empty).str());
    EXPECT_EQ(m->subject(), "from attribute");
    m = test::readTNEF(TNEFWriter().subject("").mapiProps(empty).str());
    EXPECT_EQ(m->subject(), "topic");
    PropsWriter prop;
    prop.unicode(0x0037, "from property");
    m = test::readTNEF(TNEFWriter().subject("from attribute").mapiProps(prop).str());
    EXPECT_EQ(m->subject(), "from property");
    EXPECT_FALSE(test::readTNEF(TNEFWriter().str())->subject());
}

TEST(TNEFMessageFields, DateFromSubmitTimeElseDateSent) {
    PropsWriter prop;
    prop.systime(0x0039, 0x01DA5D858688D980ULL);
    auto m = test::readTNEF(TNEFWriter().date(0x8005, 2001, 2, 3, 4, 5, 6).mapiProps(prop).str());
    EXPECT_EQ(formatRFC3339(*m->date()), "2024-02-12T07:31:43Z");
    m = test::readTNEF(TNEFWriter().date(0x8005, 2001, 2, 3, 4, 5, 6).str());
    EXPECT_EQ(formatRFC3339(*m->date()), "2001-02-03T04:05:06Z");
}

TEST(TNEFMessageFields, SenderFromPropertiesAttributeOrSendingAccount) {
    PropsWriter full;
    full.string8(0x0C1A, "")
        .unicode(0x4031, "Simple Name")
        .string8(0x0C1E, "EX")
        .string8(0x0C1F, "/o=org/cn=x");
    auto m = test::messageWithProps(full);
    EXPECT_EQ(m->sender()->displayName(), "Simple Name");
    EXPECT_EQ(m->sender()->type(), "EX");

    const std::string triple = ByteWriter()
                                   .u16(1)
                                   .u16(0)
                                   .u16(4)
                                   .u16(20)
                                   .raw("Ann")
                                   .u8(0)
                                   .raw("SMTP:ann@example.com")
                                   .str();
    PropsWriter nameOnly;
    nameOnly.string8(0x0C1A, "Ignored");
    m = test::readTNEF(TNEFWriter().attr(1, 0x8000, 0, triple).mapiProps(nameOnly).str());
    EXPECT_EQ(m->sender()->email(), "Ann <ann@example.com>");

    PropsWriter account;
    account.string8(0x0C1A, "Cy")
        .string8(0x0E28,
                 "00000002\x01"
                 "cy@example.com\x01"
                 "cy@example.com");
    m = test::messageWithProps(account);
    EXPECT_EQ(m->sender()->email(), "Cy <cy@example.com>");
    EXPECT_EQ(m->sender()->type(), "SMTP");

    PropsWriter noSeparator;
    noSeparator.string8(0x0E28, "just one piece");
    EXPECT_FALSE(test::messageWithProps(noSeparator)->sender());
}

TEST(TNEFMessageFields, RecipientsByType) {
    auto m = test::readTNEF(
        TNEFWriter()
            .recipients({recipient("To0", "a@x", 0), recipient("To1", "b@x", 1),
                         recipient("Cc", "c@x", 2), recipient("Bcc", "d@x", 3),
                         recipient("Dropped", "e@x", 4), recipient("NoType", "f@x", std::nullopt)})
            .str());
    ASSERT_EQ(m->toRecipients().size(), 3u);
    EXPECT_EQ(m->toRecipients()[2]->displayName(), "NoType");
    ASSERT_EQ(m->ccRecipients().size(), 1u);
    EXPECT_EQ(m->ccRecipients()[0]->email(), "Cc <c@x>");
    ASSERT_EQ(m->bccRecipients().size(), 1u);
    EXPECT_EQ(m->bccRecipients()[0]->type(), "SMTP");
}

TEST(TNEFMessageFields, AttendeeStringWhenThereAreNoRecipientRows) {
    PropsWriter props;
    props.namedNumber(0x001E, 0x8001, kPSETIDAppointment, 0x8238,
                      PropsWriter::counted(std::string("Ann Lee <ann@x.org>; bob@y.org") + '\0'));
    auto m = test::messageWithProps(props);
    ASSERT_EQ(m->toRecipients().size(), 2u);
    EXPECT_EQ(m->toRecipients()[0]->displayName(), "Ann Lee");
    EXPECT_EQ(m->toRecipients()[0]->address(), "ann@x.org");
    EXPECT_EQ(m->toRecipients()[1]->address(), "bob@y.org");
    EXPECT_TRUE(m->ccRecipients().empty());
}

TEST(TNEFMessageFields, ClassAndCorrelator) {
    PropsWriter props;
    props.string8(0x001A, "IPM.Appointment").binary(0x007F, std::string("corr-1") + '\0' + '\0');
    auto m = test::readTNEF(TNEFWriter().messageClass("IPM.Note").mapiProps(props).str());
    EXPECT_EQ(m->messageClass(), "IPM.Note");
    EXPECT_EQ(m->tnefCorrelator(), "corr-1");
    m = test::messageWithProps(props);
    EXPECT_EQ(m->messageClass(), "IPM.Appointment");
    EXPECT_FALSE(m->isTnefCorrelatorMatchingMimeHeader());
}

TEST(TNEFMessageFields, MatchingMimeHeadersOverrideTheStream) {
    PropsWriter props;
    props.string8(0x0037, "tnef subject").binary(0x007F, "corr-1");
    const std::string stream =
        TNEFWriter().mapiProps(props).recipients({recipient("Cc", "c@x", 2)}).str();
    Dictionary headers = {
        {"X-MS-TNEF-Correlator", "corr-1"},
        {"sender", {{"displayName", "Mime Sender"}, {"address", "ms@x"}}},
        {"to", {{{"displayName", "T"}, {"address", "t@x"}}}},
        {"subject", "mime subject"},
        {"date", "2020-01-02T03:04:05Z"},
        {"mimeBodyContent", "plain body"},
    };
    auto m = TNEFMessage::create(Bytes::fromString(stream), &headers);
    ASSERT_TRUE(m->isTnefCorrelatorMatchingMimeHeader());
    EXPECT_EQ(m->sender()->email(), "Mime Sender <ms@x>");
    EXPECT_FALSE(m->sender()->type());
    ASSERT_EQ(m->toRecipients().size(), 1u);
    EXPECT_TRUE(m->ccRecipients().empty());  // no "cc" key: the list is emptied
    EXPECT_EQ(m->subject(), "mime subject");
    EXPECT_EQ(formatRFC3339(*m->date()), "2020-01-02T03:04:05Z");
    EXPECT_EQ(m->mimeBodyContent(), "plain body");
    EXPECT_FALSE(m->mimeHtmlBodyContent());

    // The message id stands in for a missing correlator header; any difference means no
    // override at all.
    Dictionary byId = {{"messageID", "corr-1"}, {"subject", "by id"}};
    EXPECT_EQ(TNEFMessage::create(Bytes::fromString(stream), &byId)->subject(), "by id");
    Dictionary other = {{"X-MS-TNEF-Correlator", "CORR-1"}, {"subject", "ignored"}};
    m = TNEFMessage::create(Bytes::fromString(stream), &other);
    EXPECT_FALSE(m->isTnefCorrelatorMatchingMimeHeader());
    EXPECT_EQ(m->subject(), "tnef subject");
    EXPECT_EQ(m->ccRecipients().size(), 1u);
}

}  // namespace
}  // namespace qb
