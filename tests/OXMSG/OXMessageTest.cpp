// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <chrono>

#include "OXMSG/OXMessage.h"
#include "OXMSG/cfb/CFBEntry.h"
#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "support/LogCapture.h"
#include "support/MsgWriter.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::CFNode;
using test::MsgFile;
using test::MsgProps;

const std::string kGUID("0123456789ABCDEF", 16);

MsgProps recipient(const std::string& name, const std::string& address, uint32_t type) {
    MsgProps r;
    r.unicode(0x3001, name).string8(0x3002, "SMTP").unicode(0x3003, address).u32(0x0C15, type);
    return r;
}

MsgFile sampleMsg() {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note")
        .unicode(0x0037, "Quarterly numbers")
        .unicode(0x0C1A, "Ann Lee")
        .string8(0x0C1E, "SMTP")
        .unicode(0x0C1F, "ann@example.org")
        .unicode(0x1000, "Body text")
        .fixed(0x0040, 0x0039, 0x01DA5D858688D980ULL)
        .fixed(0x000B, 0x0E1B, 1)
        .u32(0x8001, 42)
        .unicode(0x8002, "named by string");
    f.recipients = {recipient("Bo", "bo@example.org", 1), recipient("Cy", "cy@example.org", 2),
                    recipient("Di", "di@example.org", 3), recipient("Ed", "ed@example.org", 0),
                    recipient("Fay", "fay@example.org", 0x10)};
    MsgProps file;
    file.unicode(0x3707, "report.pdf")
        .string8(0x370E, "application/pdf")
        .binary(0x3701, "%PDF-1.4 ...")
        .u32(0x3705, 1);
    MsgFile inner;
    inner.root.unicode(0x0037, "Inner message").u32(0x8001, 7);
    MsgProps innerAttachment;
    innerAttachment.unicode(0x3707, "inner.txt").binary(0x3701, "inner bytes");
    inner.attachments.push_back({innerAttachment, {}});
    MsgProps embedded;
    embedded.unicode(0x3001, "Inner message").u32(0x3705, 5);
    f.attachments.push_back({file, {}});
    f.attachments.push_back({embedded, inner.tree(MsgProps::Kind::Embedded).children});
    f.guids = {kGUID};
    f.named = {{1, 3, 0x8238, ""}, {2, 1, 0, "Keywords"}};
    return f;
}

TEST(OXMessage, ReadsFieldsRecipientsAttachmentsAndNames) {
    for (unsigned shift : {9u, 12u}) {
        auto m = OXMessage::create(Bytes::fromString(sampleMsg().write(shift)));
        ASSERT_TRUE(m);
        EXPECT_EQ(m->messageClass(), "IPM.Note");
        EXPECT_EQ(m->subject(), "Quarterly numbers");
        EXPECT_EQ(m->sender()->email(), "Ann Lee <ann@example.org>");
        EXPECT_EQ(m->sender()->type(), "SMTP");
        EXPECT_FALSE(m->date());  // left to the exporters, which read the properties
        EXPECT_TRUE(m->attributes().empty());
        EXPECT_FALSE(m->tnefCorrelator());
        const MAPIPropList* props = m->mapiprops();
        EXPECT_EQ(formatRFC3339(*dateForProperty(props, PR_CLIENT_SUBMIT_TIME)),
                  "2024-02-12T07:31:43Z");
        EXPECT_TRUE(std::get<bool>(valueForProperty(props, 0x0E1B000B)));
        EXPECT_EQ(stringForProperty(props, PR_BODY), "Body text");

        ASSERT_EQ(m->toRecipients().size(), 2u);
        EXPECT_EQ(m->toRecipients()[0]->email(), "Bo <bo@example.org>");
        EXPECT_EQ(m->toRecipients()[1]->displayName(), "Ed");
        ASSERT_EQ(m->ccRecipients().size(), 1u);
        ASSERT_EQ(m->bccRecipients().size(), 1u);  // Fay (type 0x10) is in no list

        // Named properties keep their id and get their name.
        auto numbered = findPropID(*props, 0x8001, PT_LONG);
        ASSERT_TRUE(numbered && numbered->propName());
        EXPECT_EQ(numbered->propName()->propID(), 0x8238u);
        EXPECT_EQ(numbered->propName()->GUID()->view(), kGUID);
        auto named = findPropID(*props, 0x8002, PT_UNICODE);
        ASSERT_TRUE(named && named->propName());
        EXPECT_EQ(named->propName()->name(), "Keywords");
        EXPECT_EQ(
            named->propName()->GUID()->view(),
            std::string("\x00\x02\x03\x29\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16));

        ASSERT_EQ(m->attachments().size(), 2u);
        const auto& pdf = *m->attachments()[0];
        EXPECT_EQ(pdf.filename(), "report.pdf");
        EXPECT_EQ(pdf.mimeType(), "application/pdf");
        EXPECT_EQ(pdf.rawData()->view(), "%PDF-1.4 ...");
        EXPECT_FALSE(pdf.nestedMessage());
        auto inner = m->attachments()[1]->nestedMessage();
        ASSERT_TRUE(inner);
        EXPECT_EQ(inner->subject(), "Inner message");
        ASSERT_EQ(inner->attachments().size(), 1u);
        EXPECT_EQ(inner->attachments()[0]->rawData()->view(), "inner bytes");
        // An embedded message's named properties stay untranslated.
        EXPECT_FALSE(findPropID(*inner->mapiprops(), 0x8001, PT_LONG)->propName());
    }
}

TEST(OXMessage, HeaderCheckOnlyWhenAsked) {
    MsgFile f = sampleMsg();
    f.countsMatch = false;
    const Bytes data = Bytes::fromString(f.write());
    EXPECT_TRUE(OXMessage::create(data));
    test::LogCapture log;
    EXPECT_FALSE(OXMessage::create(data, false));
    EXPECT_THAT(log.lines, testing::ElementsAre("header check failed"));
    EXPECT_TRUE(OXMessage::create(Bytes::fromString(sampleMsg().write()), false));
}

TEST(OXMessage, PropertyStreamHeaderForms) {
    auto message = [](const std::string& propertiesStream) {
        CFNode root =
            CFNode::dir("R", {CFNode::stream("__properties_version1.0", propertiesStream),
                              CFNode::stream("__substg1.0_0037001F", test::utf16le("s", false))});
        return OXMessage::create(Bytes::fromString(test::CompoundFileWriter().write(root)));
    };
    const std::string entry = test::ByteWriter().u16(3).u16(0x0E08).u32(6).u64(77).str();
    struct Case {
        size_t zeros;
        const char* log;
    };
    for (const Case& c :
         {Case{0, nullptr}, Case{4, "Unknown header format (headerSize < 8)"}, Case{8, nullptr},
          Case{16, "Unknown header format (headerSize < 24)"}, Case{24, nullptr},
          Case{28, "Unknown header format (headerSize < 32)"}, Case{32, nullptr}}) {
        test::LogCapture log;
        auto m = message(std::string(c.zeros, '\0') + entry);
        if (c.log) {
            EXPECT_FALSE(m) << c.zeros;
            EXPECT_THAT(log.lines, testing::ElementsAre(c.log));
        } else {
            ASSERT_TRUE(m) << c.zeros;
            EXPECT_EQ(uint32ForProperty(m->mapiprops(), 0x0E080003), 77u) << c.zeros;
            EXPECT_EQ(m->subject(), "s");
        }
    }
    test::LogCapture log;
    EXPECT_FALSE(
        message(std::string(8, '\0').replace(0, 1, "\x01") + std::string(8, '\0') + entry));
    EXPECT_THAT(log.lines, testing::ElementsAre("Unknown header format "));
    // A null entry takes 8 bytes, not 16: the next entry starts where its value would be.
    auto withNull =
        message(std::string(32, '\0') + test::ByteWriter().u16(1).u16(0x0E1C).u32(6).str() + entry);
    ASSERT_TRUE(withNull);
    EXPECT_EQ(uint32ForProperty(withNull->mapiprops(), 0x0E080003), 77u);
}

TEST(OXMessage, UnknownFixedTypesAreLoggedAndSkipped) {
    MsgFile f;
    f.root.fixed(0x0009, 0x0E01, 0).u32(0x0E02, 5);
    test::LogCapture log;
    auto m = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(m);
    EXPECT_THAT(log.lines, testing::Contains("Unknown MAPI type: 0x9"));
}

TEST(OXMessage, EightBitStringsUseTheMessageCodePage) {
    struct Case {
        uint16_t tag;
        uint32_t codePage;
        std::string bytes, text;
    };
    for (const Case& c : {Case{0x3FFD, 1251, "\xCF\xF0\xE8\xE2\xE5\xF2", "Привет"},
                          Case{0x3FDE, 932, "\x93\xFA\x96\x7B\x8C\xEA", "日本語"},
                          Case{0x3FFD, 936, "\xD6\xD0\xCE\xC4", "中文"},
                          // Declared UTF-8, written in Windows-1252: read as what was meant.
                          Case{0x3FDE, 65001, "\xF6\xE4\xFC", "öäü"}}) {
        MsgFile f;
        f.root.u32(c.tag, c.codePage).string8(0x0037, c.bytes);
        f.recipients.push_back(MsgProps().string8(0x3001, c.bytes));
        auto m = OXMessage::create(Bytes::fromString(f.write()));
        ASSERT_TRUE(m);
        EXPECT_EQ(m->subject(), c.text) << c.codePage;
        EXPECT_EQ(m->toRecipients()[0]->displayName(), c.text) << c.codePage;
    }
}

TEST(OXMessage, TransportHeadersReplaceSenderAndRecipients) {
    MsgFile f = sampleMsg();
    f.root.string8(0x007D,
                   "Received: from x\r\nFrom: =?utf-8?Q?J=C3=B6rg?= <joerg@example.de>\r\n"
                   "To: \"Lee, Ann\" <ann@example.org>, bo@example.org\r\nSubject: hi\r\n\r\n");
    auto m = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(m);
    EXPECT_EQ(m->sender()->email(), "Jörg <joerg@example.de>");
    EXPECT_EQ(m->sender()->type(), "SMTP");
    ASSERT_EQ(m->toRecipients().size(), 2u);
    EXPECT_EQ(m->toRecipients()[0]->email(), "Lee, Ann <ann@example.org>");
    // A bare address keeps the name its recipient row gives it.
    EXPECT_EQ(m->toRecipients()[1]->email(), "Bo <bo@example.org>");
    EXPECT_EQ(m->ccRecipients().size(), 1u);  // no Cc line: the properties' list stays

    // A From line without an address leaves the sender from the properties.
    MsgFile nameOnly = sampleMsg();
    nameOnly.root.string8(0x007D, "From: \"alec milton\"\r\n\r\n");
    EXPECT_EQ(OXMessage::create(Bytes::fromString(nameOnly.write()))->sender()->address(),
              "ann@example.org");
}

TEST(OXMessage, NotACompoundFileOrNoMessage) {
    EXPECT_FALSE(OXMessage::create(Bytes::fromString("plain text")));
    EXPECT_FALSE(OXMessage::create(Bytes()));
    // A compound file without any property stream is another kind of document.
    EXPECT_FALSE(
        OXMessage::create(Bytes::fromString(test::CompoundFileWriter().write(CFNode::dir("R")))));
    EXPECT_FALSE(OXMessage::create(Bytes::fromString(test::CompoundFileWriter().write(
        CFNode::dir("R", {CFNode::stream("WordDocument", std::string(600, 'w'))})))));
    // A message that lost its fixed-size property stream is still one.
    auto damaged = OXMessage::create(Bytes::fromString(test::CompoundFileWriter().write(
        CFNode::dir("R", {CFNode::stream("__substg1.0_0037001F", test::utf16le("kept", false))}))));
    ASSERT_TRUE(damaged);
    EXPECT_EQ(damaged->subject(), "kept");
}

TEST(OXMessage, SmtpAddressesBesideExchangeNames) {
    const std::string x500 =
        "/o=ExchangeLabs/ou=Exchange Administrative Group/cn=Recipients/cn=ann";
    // A one-off entry id for Bo (Unicode) naming an SMTP address.
    const std::string oneOff = test::ByteWriter()
                                   .u32(0)
                                   .raw(std::string("\x81\x2B\x1F\xA4\xBE\xA3\x10\x19\x9D\x6E"
                                                    "\x00\xDD\x01\x0F\x54\x02",
                                                    16))
                                   .u16(0)
                                   .u16(0x8001)
                                   .raw(test::utf16le("Bo"))
                                   .raw(test::utf16le("SMTP"))
                                   .raw(test::utf16le("bo@example.org"))
                                   .str();
    MsgFile f;
    f.root.unicode(0x0C1A, "Ann Lee")
        .string8(0x0C1E, "EX")
        .unicode(0x0C1F, x500)
        .unicode(0x5D01, "ann@example.org");
    MsgProps ann, bo, cy;
    ann.unicode(0x3001, "Ann Lee").string8(0x3002, "EX").unicode(0x3003, x500);
    ann.unicode(0x39FE, "ann@example.org").u32(0x0C15, 1);
    bo.unicode(0x3001, "Bo").string8(0x3002, "EX").unicode(0x3003, "/o=x/cn=bo").u32(0x0C15, 2);
    bo.binary(0x0FFF, oneOff);
    cy.unicode(0x3001, "Cy").string8(0x3002, "SMTP").unicode(0x3003, "cy@example.org");
    f.recipients = {ann, bo, cy};
    auto m = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(m);
    EXPECT_EQ(m->sender()->smtpAddress(), "ann@example.org");
    EXPECT_EQ(m->sender()->address(), x500);  // the address itself stays as stored
    ASSERT_EQ(m->toRecipients().size(), 2u);
    EXPECT_EQ(m->toRecipients()[0]->smtpAddress(), "ann@example.org");
    EXPECT_EQ(m->toRecipients()[1]->smtpAddress(), "cy@example.org");  // its own, type SMTP
    EXPECT_EQ(m->ccRecipients()[0]->smtpAddress(), "bo@example.org");
    EXPECT_EQ(internetAddress(*m->ccRecipients()[0]), "bo@example.org");

    // A sender who is also a recipient: the row's SMTP address, the X.500 name compared
    // without regard to case.
    MsgFile self;
    self.root.unicode(0x0C1A, "Ann Lee").string8(0x0C1E, "EX").unicode(0x0C1F, x500);
    std::string shouted = x500;
    for (char& c : shouted)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    MsgProps upper;
    upper.unicode(0x3001, "Ann").string8(0x3002, "EX").unicode(0x3003, shouted);
    upper.unicode(0x39FE, "ann@example.org");
    self.recipients = {upper};
    EXPECT_EQ(OXMessage::create(Bytes::fromString(self.write()))->sender()->smtpAddress(),
              "ann@example.org");

    // The sender's one-off entry id, when nothing else names the address.
    MsgFile g;
    g.root.unicode(0x0C1A, "Bo").string8(0x0C1E, "EX").unicode(0x0C1F, "/o=x/cn=bo");
    g.root.binary(0x0C19, oneOff);
    EXPECT_EQ(OXMessage::create(Bytes::fromString(g.write()))->sender()->smtpAddress(),
              "bo@example.org");
}

TEST(OXMessage, EmbeddedStorageThatIsNoMessageIsTheAttachmentsObject) {
    MsgFile f;
    f.attachments.push_back(
        {MsgProps().u32(0x3705, 6), {CFNode::stream("Package", "packed bytes")}});
    auto m = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(m);
    ASSERT_EQ(m->attachments().size(), 1u);
    EXPECT_FALSE(m->attachments()[0]->nestedMessage());
    auto object = valueForProperty(m->attachments()[0]->mapiprops(), PR_ATTACH_DATA_OBJ);
    auto storage = std::get_if<std::shared_ptr<CFBEntry>>(&object);
    ASSERT_TRUE(storage && *storage);
    EXPECT_EQ((*storage)->entry("Package")->data()->str(), "packed bytes");
}

TEST(OXMessage, EmbeddedMessagesNestToTheDepthLimit) {
    MsgFile innermost;
    innermost.root.unicode(0x0037, "bottom");
    CFNode node = innermost.tree(MsgProps::Kind::Embedded);
    for (int i = 0; i < 80; ++i) {
        MsgFile level;
        level.attachments.push_back({MsgProps().u32(0x3705, 5), node.children});
        node = level.tree(MsgProps::Kind::Embedded);
    }
    test::LogCapture quiet;
    std::shared_ptr<OutlookMessage> m =
        OXMessage::create(Bytes::fromString(test::CompoundFileWriter().write(node)));
    ASSERT_TRUE(m);
    int depth = 0;
    while (!m->attachments().empty() && m->attachments()[0]->nestedMessage()) {
        m = m->attachments()[0]->nestedMessage();
        ++depth;
    }
    EXPECT_EQ(depth, OXMessage::kMaxDepth);
}

TEST(OXMessage, TNEFOleObjectsTakeTheirContentsStream) {
    const std::string storage = test::CompoundFileWriter().write(CFNode::dir(
        "R", {CFNode::stream("CONTENTS", "the embedded object's bytes"), CFNode::stream("\x01"
                                                                                        "CompObj",
                                                                                        "x")}));
    const std::string iid("\x0B\x00\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);
    test::PropsWriter props;
    props.binary(0x3701, iid + storage, 0x000D);
    for (uint16_t rendering : {uint16_t(3), uint16_t(2)}) {
        const std::string rend =
            test::ByteWriter().u16(rendering).u32(0).u16(0).u16(0).u32(0).str();
        auto m = test::readTNEF(
            test::TNEFWriter().attr(2, 0x9002, 6, rend).attr(2, 0x9005, 6, props.str()).str());
        auto data = m->attachments()[0]->rawData();
        if (rendering == 3) {
            ASSERT_TRUE(data);
            EXPECT_EQ(data->view(), "the embedded object's bytes");
        } else {
            EXPECT_FALSE(data);
        }
    }
}

TEST(OXMessage, StoragesThatLeadBackAreOpenedOnce) {
    // Two attachments whose embedded-message storages lead back to the root's own children:
    // without a guard every level would open both again, 2^64 times over.
    MsgFile f;
    f.root.unicode(0x0037, "loop");
    MsgFile inner;
    inner.root.unicode(0x0037, "inner");
    for (int i = 0; i < 2; ++i)
        f.attachments.push_back(
            {MsgProps().u32(0x3705, 5), inner.tree(MsgProps::Kind::Embedded).children});
    test::CompoundFileWriter writer;
    std::string file = writer.write(f.tree());
    const size_t dir = test::sectorOffset(writer.layout().firstDirectorySector, 512);
    const std::string name = test::utf16le("__substg1.0_3701000D");
    const std::string rootChild = file.substr(dir + 0x4C, 4);
    int patched = 0;
    for (size_t e = dir; e + 128 <= file.size(); e += 128) {
        if (file.compare(e, name.size(), name) == 0) {
            file.replace(e + 0x4C, 4, rootChild);
            ++patched;
        }
        if (e > dir + 128 * 64) break;
    }
    ASSERT_EQ(patched, 2);
    test::LogCapture quiet;
    const auto start = std::chrono::steady_clock::now();
    auto m = OXMessage::create(Bytes::fromString(file));
    ASSERT_TRUE(m);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    size_t messages = 0;
    std::vector<std::shared_ptr<OutlookMessage>> todo{m};
    for (size_t i = 0; i < todo.size(); ++i, ++messages)
        for (const auto& a : todo[i]->attachments())
            if (auto n = a->nestedMessage()) todo.push_back(n);
    EXPECT_LE(messages, 3u);
}

TEST(OXMessage, RandomDamageNeverCrashes) {
    test::LogCapture quiet;
    const std::string file = sampleMsg().write();
    uint32_t seed = 4242;
    auto rnd = [&] { return seed = seed * 1664525 + 1013904223; };
    for (int round = 0; round < 1500; ++round) {
        std::string f = file;
        for (int k = 0; k < 8; ++k)
            f[rnd() % f.size()] = static_cast<char>(rnd() >> 24);
        if (round % 4 == 0) f.resize(rnd() % f.size());
        std::shared_ptr<OutlookMessage> m = OXMessage::create(Bytes::fromString(f));
        for (int depth = 0; m && depth < 4; ++depth) {
            (void)m->subject();
            (void)m->sender();
            for (const auto& p : *m->mapiprops())
                (void)p->description();
            std::shared_ptr<OutlookMessage> next;
            for (const auto& a : m->attachments()) {
                (void)a->filename();
                (void)a->rawData();
                if (auto n = a->nestedMessage()) next = n;
            }
            m = next;
        }
    }
}

TEST(OXMessage, APropertyStoredUnderTwoTypesIsKeptAndReported) {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note").unicode(0x0070, "Topic").binary(0x0070, "\x01\x02");
    auto m = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(m);
    EXPECT_EQ(stringForProperty(m->mapiprops(), PR_CONVERSATION_TOPIC), "Topic");
    EXPECT_TRUE(findPropID(*m->mapiprops(), 0x0070, PT_BINARY));
    const auto warnings = m->report()->warnings();
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].text, "property 0x0070 is stored twice, as PT_UNICODE and as PT_BINARY");
    EXPECT_TRUE(warnings[0].offset);

    // Each property once: nothing to report.
    MsgFile same;
    same.root.string8(0x001A, "IPM.Note").unicode(0x0037, "a");
    auto plain = OXMessage::create(Bytes::fromString(same.write()));
    ASSERT_TRUE(plain);
    EXPECT_TRUE(plain->report()->warnings().empty());
}

TEST(OXMessage, AnEntryOfUnknownTypeIsLeftOutWithAWarning) {
    MsgFile f;
    f.root.string8(0x001A, "IPM.Note").fixed(0x0036, 0x0E07, 9).u32(0x0E08, 7);
    test::LogCapture log;
    auto m = OXMessage::create(Bytes::fromString(f.write()));
    ASSERT_TRUE(m);
    EXPECT_FALSE(findPropID(*m->mapiprops(), 0x0E07, 0x0036));
    const auto warnings = m->report()->warnings();
    ASSERT_FALSE(warnings.empty());
    EXPECT_THAT(warnings[0].text, testing::HasSubstr("unknown type 0x36"));
    EXPECT_TRUE(warnings[0].offset);
    EXPECT_THAT(log.lines, testing::Contains("Unknown MAPI type: 0x36"));
}

}  // namespace
}  // namespace qb
