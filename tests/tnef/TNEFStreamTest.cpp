// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "platform/StringEncoding.h"
#include "support/LogCapture.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFArray.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::PropsWriter;
using test::TNEFWriter;

TEST(TNEFStream, EmptyAndUnrecognisedDataGiveErrors) {
    TNEFError error;
    EXPECT_FALSE(test::readTNEF("", true, &error));
    EXPECT_EQ(error.domain, "TNEFErrorDomain");
    EXPECT_EQ(error.code, 3);
    EXPECT_EQ(error.description, "The file \"%@\" could not be opened because it is empty.");

    for (const std::string& data :
         {std::string("hello"), std::string(100, 'x'), std::string("\x78\x9f\x3e", 3)}) {
        error = {};
        EXPECT_FALSE(test::readTNEF(data, true, &error));
        EXPECT_EQ(error.code, 2);
        EXPECT_EQ(error.description,
                  "It may be damaged or use a file format that Quillbox doesn't recognize.");
    }
}

TEST(TNEFStream, SignatureAloneIsAnEmptyMessage) {
    TNEFError error;
    auto m = test::readTNEF(TNEFWriter().str(), true, &error);
    ASSERT_TRUE(m);
    EXPECT_EQ(error.code, 0);
    EXPECT_TRUE(m->attributes().empty());
    EXPECT_TRUE(m->attachments().empty());
    EXPECT_EQ(m->encoding(), kWindowsCP1252Encoding);
    EXPECT_FALSE(m->mapiprops());
}

TEST(TNEFStream, FindsAStreamInsideOtherBytes) {
    const std::string stream =
        TNEFWriter().version().subject("found").messageClass("IPM.Note").str();
    ASSERT_GT(stream.size(), 44u);
    auto m = test::readTNEF("MIME junk before the stream\r\n" + stream);
    ASSERT_TRUE(m);
    EXPECT_EQ(m->subject(), "found");
    ASSERT_EQ(m->attributes().size(), 3u);
    EXPECT_EQ(m->attributes()[0]->nameString(), "attTnefVersion");

    // Exactly 44 bytes after the signature's offset is not enough.
    const std::string shortStream = stream.substr(0, 44);
    TNEFError error;
    EXPECT_FALSE(test::readTNEF("x" + shortStream, true, &error));
    EXPECT_EQ(error.code, 2);
    EXPECT_TRUE(test::readTNEF("x" + stream.substr(0, 45)));
    // Without the version record right after it, a signature inside the data is not taken.
    EXPECT_FALSE(test::readTNEF("x" + TNEFWriter().subject("no version record here").str()));
}

TEST(TNEFStream, TruncatedRecordKeepsWhatWasRead) {
    std::string data = TNEFWriter().version().subject("kept").subject("lost").str();
    data.resize(data.size() - 4);  // the last record's data runs past the end
    TNEFError error;
    auto m = test::readTNEF(data, true, &error);
    ASSERT_TRUE(m);
    EXPECT_EQ(error.code, 4);
    EXPECT_EQ(error.description, "The file ended unexpectedly.");
    EXPECT_EQ(m->attributes().size(), 2u);
    EXPECT_EQ(m->subject(), "kept");
}

TEST(TNEFStream, ChecksumsAreCheckedOnlyWhenAsked) {
    const std::string data = TNEFWriter()
                                 .version()
                                 .subject("first")
                                 .corruptAttr(1, 0x8008, 7, std::string("IPM.Note") + '\0')
                                 .subject("fourth")
                                 .str();
    TNEFError error;
    auto checked = test::readTNEF(data, false, &error);
    ASSERT_TRUE(checked);
    EXPECT_EQ(error.code, 0);
    EXPECT_EQ(checked->attributes().size(), 2u);
    auto lenient = test::readTNEF(data);
    EXPECT_EQ(lenient->attributes().size(), 4u);

    // A checksum cut off by the end of the data is a mismatch, and is never read past.
    std::string cut = TNEFWriter().version().subject("x").str();
    cut.pop_back();
    EXPECT_EQ(test::readTNEF(cut, false)->attributes().size(), 1u);
    EXPECT_EQ(test::readTNEF(cut, true)->attributes().size(), 2u);
}

TEST(TNEFStream, InvalidLevelEndsReadingWithALogLine) {
    for (char level : {'\0', '\x03'}) {
        test::LogCapture log;
        TNEFError error;
        auto m = test::readTNEF(TNEFWriter().subject("a").raw(std::string(1, level) + "rest").str(),
                                true, &error);
        ASSERT_TRUE(m);
        EXPECT_EQ(error.code, 0);
        EXPECT_EQ(m->attributes().size(), 1u);
        EXPECT_THAT(log.lines,
                    testing::ElementsAre(std::string("Invalid TNEF level type: ") + level));
    }
}

TEST(TNEFStream, AttachmentRecordsAreGroupedByRenderingData) {
    const std::string rend = ByteWriter().u16(1).u32(0xFFFFFFFF).u16(0).u16(0).u32(0).str();
    auto m = test::readTNEF(TNEFWriter()
                                .attr(2, 0x8010, 1, "orphan")  // before any group: dropped
                                .attr(2, 0x9002, 6, rend)
                                .attr(2, 0x8010, 1, "one")
                                .subject("message level in between")
                                .attr(2, 0x800F, 6, "data one")
                                .attr(2, 0x9002, 6, "short")  // opens a group, no rendering data
                                .attr(2, 0x8010, 1, "two")
                                .str());
    ASSERT_EQ(m->attachments().size(), 2u);
    const auto& first = *m->attachments()[0];
    ASSERT_EQ(first.attributes().size(), 3u);
    EXPECT_EQ(first.attributes()[0]->name(), 0x9002u);
    ASSERT_TRUE(first.rendData());
    EXPECT_EQ(first.rendData()->type, 1);
    EXPECT_EQ(first.rendData()->position, 0xFFFFFFFF);
    EXPECT_EQ(first.filename(), "one");
    const auto& second = *m->attachments()[1];
    EXPECT_FALSE(second.rendData());
    EXPECT_EQ(second.attributes().size(), 2u);
    EXPECT_EQ(second.filename(), "two");
    EXPECT_EQ(m->attributes().size(), 1u);
}

TEST(TNEFStream, CodePageAppliesToRecordsReadAfterIt) {
    const std::string latin =
        "Gr\xFC\xDF"
        "e \x80";  // "Grüße €" in windows-1252
    auto before = test::readTNEF(TNEFWriter().oemCodepage(1252).subject(latin).str());
    EXPECT_EQ(before->encoding(), kWindowsCP1252Encoding);
    EXPECT_EQ(std::get<std::string>(before->attributes()[1]->value()), "Grüße €");

    // Records read before the code page are decoded again once it is known.
    auto after = test::readTNEF(TNEFWriter().subject("\xCF\xF0\xE8").oemCodepage(1251).str());
    EXPECT_EQ(after->encoding(), kWindowsCP1251Encoding);
    EXPECT_EQ(std::get<std::string>(after->attributes()[0]->value()), "При");
    // ISO 8859-1 is read as Windows-1252, where 0x80 is the euro sign, not a C1 control.
    auto iso = test::readTNEF(TNEFWriter().oemCodepage(28591).subject(latin).str());
    EXPECT_EQ(iso->encoding(), kWindowsCP1252Encoding);
    EXPECT_EQ(iso->subject(), "Grüße €");

    // An unknown code page changes nothing; the message code page property wins at the end,
    // for the values decoded later.
    PropsWriter props;
    props.u32(0x3FFD, 1251).binary(0x0037, "\xCF\xF0\xE8\xE2\xE5\xF2", PT_STRING8);
    auto both = test::readTNEF(TNEFWriter().oemCodepage(99999).mapiProps(props).str());
    EXPECT_EQ(both->encoding(), encodingForWindowsCodePage(1251));
    EXPECT_EQ(both->subject(), "Привет");
}

TEST(TNEFStream, DecodesAttributeValuesByIdAndType) {
    const std::string triple = ByteWriter()
                                   .u16(7)
                                   .u16(0)
                                   .u16(4)
                                   .u16(20)
                                   .raw("Ann")
                                   .u8(0)
                                   .raw("SMTP:ann@example.com")
                                   .str();
    const std::string owner =
        ByteWriter().u16(4).raw("Bob").u8(0).u16(20).raw("SMTP:bob@example.com").str();
    auto m = test::readTNEF(
        TNEFWriter()
            .attr(1, 0x8000, 0, triple)
            .attr(1, 0x0000, 6, owner)
            .attr(1, 0x0001, 6, ByteWriter().u16(3).raw("Bob").u16(5).raw("nocolon").str())
            .date(0x8005, 2023, 12, 31, 23, 59, 58)
            .attr(1, 0x8006, 3, std::string(12, '\0'))
            .attr(1, 0x800D, 4, ByteWriter().u16(0xFFFF).str())
            .attr(1, 0x8007, 5, ByteWriter().u32(0xFFFFFFFF).str())
            .attr(1, 0x8009, 7, "word as text")
            .attr(1, 0x8003, 9, "max")
            .attr(1, 0x8002, 42, "unknown type")
            .str());
    const auto& a = m->attributes();
    ASSERT_EQ(a.size(), 10u);
    auto from = std::get<std::shared_ptr<Address>>(a[0]->value());
    EXPECT_EQ(from->displayName(), "Ann");
    EXPECT_EQ(from->address(), "ann@example.com");
    EXPECT_EQ(from->type(), "SMTP");
    EXPECT_EQ(from->trpId(), 7);
    auto ownerAddress = std::get<std::shared_ptr<Address>>(a[1]->value());
    EXPECT_EQ(ownerAddress->email(), "Bob <bob@example.com>");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(a[2]->value()));
    EXPECT_EQ(formatRFC3339(std::get<Date>(a[3]->value())), "2023-12-31T23:59:58Z");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(a[4]->value()));  // 12-byte date
    EXPECT_EQ(std::get<uint16_t>(a[5]->value()), 65535);
    EXPECT_EQ(std::get<uint32_t>(a[6]->value()), 0xFFFFFFFFu);
    EXPECT_EQ(std::get<std::string>(a[7]->value()), "word as text");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(a[8]->value()));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(a[9]->value()));
    EXPECT_EQ(a[9]->typeString(), "unknow");
    EXPECT_EQ(a[8]->nameString(), "0x8003");
    EXPECT_EQ(m->sender()->email(), "Ann <ann@example.com>");
}

TEST(TNEFStream, AttributeNames) {
    EXPECT_EQ(tnefAttrName(0x0000, 0), "attNull");
    EXPECT_EQ(tnefAttrName(0x0000, 6), "attOwner");
    EXPECT_EQ(tnefAttrName(0x0000, 1), "unknown");
    EXPECT_EQ(tnefAttrName(0x0006, 7), "attOriginalMessageClass");
    EXPECT_EQ(tnefAttrName(0x0006, 3), "attDateStart");
    EXPECT_EQ(tnefAttrName(0x0006, 1), "unknown");
    EXPECT_EQ(tnefAttrName(0x0004, 1), "0x0004");
    EXPECT_EQ(tnefAttrName(0x800E, 1), "0x800E");
    EXPECT_EQ(tnefAttrName(0x9007, 6), "attOemCodepage");
    EXPECT_EQ(tnefAttrName(0xABCD, 6), "0xABCD");
    EXPECT_STREQ(tnefAttrTypeName(7), "atpWord");
    EXPECT_STREQ(tnefAttrTypeName(9), "atpMax");
    EXPECT_STREQ(tnefAttrTypeName(10), "unknow");
}

TEST(TNEFStream, DescriptionShowsByteDataByLength) {
    auto m = test::readTNEF(TNEFWriter().attr(1, 0x9007, 6, "abcdefgh").subject("Hi").str());
    EXPECT_THAT(
        m->attributes()[0]->description(),
        testing::EndsWith("{name = attOemCodepage, type = atpByte, value = <NSData>{length = 8}}"));
    EXPECT_THAT(m->attributes()[1]->description(),
                testing::EndsWith("{name = attSubject, type = atpString, value = Hi}"));
}

TEST(TNEFStream, ArrayLookupsMatchIdAndType) {
    auto m = test::readTNEF(TNEFWriter().subject("s").messageClass("IPM.Note").str());
    EXPECT_TRUE(findTNEFAttr(m->attributes(), 0x8004, 1));
    EXPECT_FALSE(findTNEFAttr(m->attributes(), 0x8004, 2));
    EXPECT_EQ(std::get<std::string>(valueForTNEFName(m->attributes(), 0x8008, 7)), "IPM.Note");
    EXPECT_TRUE(
        std::holds_alternative<std::monostate>(valueForTNEFName(m->attributes(), 0x8008, 1)));
}

TEST(TNEFStream, RecipientTableRowsAndHostileCounts) {
    PropsWriter row;
    row.string8(0x3001, "Ann").string8(0x3003, "ann@example.com");
    auto m = test::readTNEF(TNEFWriter().recipients({row, row}).str());
    auto rows = std::get<RecipientRows>(m->attributes()[0]->value());
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(stringForProperty(&rows[1], 0x3001001E), "Ann");

    // A billion rows claimed by a 4-byte table ends at the stream's end.
    auto hostile = test::readTNEF(
        TNEFWriter().attr(1, 0x9004, 6, ByteWriter().u32(1'000'000'000).str()).str());
    EXPECT_LE(std::get<RecipientRows>(hostile->attributes()[0]->value()).size(), 1u);
}

TEST(TNEFStream, PropertyListsReadOnPastTheirRecord) {
    // The list's count is too large for the record: the second property's header ends the
    // record, and its value is read from the checksum and the bytes after it.
    PropsWriter props;
    props.u32(0x0E08, 1).rawRecord(ByteWriter().u16(0x0003).u16(0x0E09).str());
    test::LogCapture log;
    auto m = test::readTNEF(TNEFWriter().mapiProps(props).raw("\x01\x02").str());
    ASSERT_TRUE(m->mapiprops());
    ASSERT_EQ(m->mapiprops()->size(), 2u);
    EXPECT_TRUE(uint32ForProperty(m->mapiprops(), 0x0E090003));
}

}  // namespace
}  // namespace qb
