// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"
#include "support/LogCapture.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::PropsWriter;

const std::string kIIDMessage("\x07\x03\x02\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46",
                              16);
const std::string kPSETIDAppointment(
    "\x02\x20\x06\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46", 16);
const std::string kIIDStorage("\x0B\x00\x00\x00\x00\x00\x00\x00\xC0\x00\x00\x00\x00\x00\x00\x46",
                              16);

TEST(MAPIValue, DecodesEveryFixedSizeType) {
    PropsWriter p;
    p.prop(PT_SHORT, 0x0001, ByteWriter().u16(0xFFFF).u16(0).str())
        .u32(0x0002, 0xFFFFFFFF)
        .prop(PT_FLOAT, 0x0003, ByteWriter().u32(std::bit_cast<uint32_t>(1.5f)).str())
        .prop(PT_DOUBLE, 0x0004, ByteWriter().u64(std::bit_cast<uint64_t>(-2.25)).str())
        .prop(PT_CURRENCY, 0x0005, ByteWriter().u64(uint64_t(-123456)).str())
        .prop(PT_APPTIME, 0x0006, ByteWriter().u64(0x019DB1DED53E8000ULL + 10'000'000).str())
        .prop(PT_ERROR, 0x0007, ByteWriter().u32(0x80004005).str())
        .prop(PT_BOOLEAN, 0x0008, std::string("\x00\x01\x00\x00", 4))
        .prop(PT_BOOLEAN, 0x0009, std::string(4, '\0'))
        .prop(PT_LONGLONG, 0x000A, ByteWriter().u64(uint64_t(-1)).str())
        .systime(0x000B, 0x019DB1DED53E8000ULL + 15'000'000)
        .prop(PT_CLSID, 0x000C, std::string("0123456789abcdef"))
        .prop(PT_NULL, 0x000D, "")
        .prop(PT_UNSPECIFIED, 0x000E, "");
    auto m = test::messageWithProps(p);
    ASSERT_TRUE(m);
    const MAPIPropList* props = m->mapiprops();
    ASSERT_TRUE(props);
    ASSERT_EQ(props->size(), 14u);

    auto v = [&](uint32_t id, uint32_t type) { return valueForPropID(props, id, type); };
    EXPECT_EQ(std::get<uint16_t>(v(1, PT_SHORT)), 65535);  // unsigned, deliberately
    EXPECT_EQ(std::get<uint32_t>(v(2, PT_LONG)), 0xFFFFFFFFu);
    EXPECT_EQ(std::get<float>(v(3, PT_FLOAT)), 1.5f);
    EXPECT_EQ(std::get<double>(v(4, PT_DOUBLE)), -2.25);
    EXPECT_EQ(std::get<int64_t>(v(5, PT_CURRENCY)), -123456);
    EXPECT_EQ(formatRFC3339(std::get<Date>(v(6, PT_APPTIME))), "1970-01-01T00:00:01Z");
    EXPECT_EQ(std::get<uint32_t>(v(7, PT_ERROR)), 0x80004005u);
    EXPECT_TRUE(std::get<bool>(v(8, PT_BOOLEAN)));
    EXPECT_FALSE(std::get<bool>(v(9, PT_BOOLEAN)));
    EXPECT_EQ(std::get<int64_t>(v(0x0A, PT_LONGLONG)), -1);
    EXPECT_EQ(formatRFC3339(std::get<Date>(v(0x0B, PT_SYSTIME))), "1970-01-01T00:00:01Z");
    EXPECT_EQ(std::get<Bytes>(v(0x0C, PT_CLSID)).view(), "0123456789abcdef");
    EXPECT_TRUE(std::holds_alternative<NullValue>(v(0x0D, PT_NULL)));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(v(0x0E, PT_UNSPECIFIED)));
}

TEST(MAPIValue, StringsUseTheMessageEncodingAndLoseTrailingZeros) {
    PropsWriter p;
    p.u32(0x3FFD, 1251)
        .binary(0x0037, std::string("\xCF\xF0\xE8\xE2\xE5\xF2\0\0", 8), PT_STRING8)
        .unicode(0x0070, "Grüße 😀")
        .binary(0x1000, std::string("a\0b\0\0\0\0\0", 8), PT_UNICODE)
        .binary(0x0E1D, std::string("with\0inner", 10), PT_STRING8);
    auto m = test::messageWithProps(p);
    const MAPIPropList* props = m->mapiprops();
    EXPECT_EQ(stringForProperty(props, PR_SUBJECT), "Привет");
    EXPECT_EQ(stringForProperty(props, PR_CONVERSATION_TOPIC), "Grüße 😀");
    EXPECT_EQ(stringForProperty(props, PR_BODY), "ab");
    EXPECT_EQ(stringForProperty(props, 0x0E1D001E), std::string("with\0inner", 10));
}

TEST(MAPIValue, VariableLengthValuesRunningPastTheBufferHaveNoValue) {
    // A binary property claiming 1000 bytes in a stream that holds 3.
    const std::string list =
        PropsWriter().prop(PT_BINARY, 0x0FFF, ByteWriter().u32(1).u32(1000).raw("abc").str()).str();
    auto m = test::readTNEF(test::TNEFWriter()
                                .raw(ByteWriter()
                                         .u8(1)
                                         .u16(0x9003)
                                         .u16(6)
                                         .u32(uint32_t(list.size()))
                                         .raw(list)
                                         .u16(0)
                                         .str())
                                .str());
    ASSERT_TRUE(m);
    ASSERT_EQ(m->mapiprops()->size(), 1u);
    EXPECT_TRUE(
        std::holds_alternative<std::monostate>(valueForProperty(m->mapiprops(), 0x0FFF0102)));
}

TEST(MAPIValue, ObjectsOfSixteenBytesOrLessAreByteData) {
    PropsWriter p;
    p.binary(0x3701, kIIDMessage, PT_OBJECT);
    auto m = test::messageWithProps(p);
    EXPECT_EQ(std::get<Bytes>(valueForProperty(m->mapiprops(), PR_ATTACH_DATA_OBJ)).view(),
              kIIDMessage);
}

TEST(MAPIValue, EmbeddedMessagesAreOpenedEvenWhenDamaged) {
    const std::string inner = test::TNEFWriter().subject("inner").str();
    PropsWriter good, damaged, storage, other;
    good.binary(0x3701, kIIDMessage + inner, PT_OBJECT);
    // A stream that breaks off inside its second record still yields a message.
    damaged.binary(0x3701, kIIDMessage + inner + std::string("\x01\x04\x80", 3), PT_OBJECT);
    storage.binary(0x3701, kIIDStorage + "not a compound file", PT_OBJECT);
    other.binary(0x3701, std::string(16, '\x42') + "payload", PT_OBJECT);

    for (const auto* props : {&good, &damaged}) {
        auto m = test::messageWithProps(*props);
        auto value = valueForProperty(m->mapiprops(), PR_ATTACH_DATA_OBJ);
        auto nested = std::get_if<std::shared_ptr<OutlookMessage>>(&value);
        ASSERT_TRUE(nested && *nested);
        EXPECT_EQ((*nested)->subject(), "inner");
    }
    // Not a TNEF stream at all: no message, and no value.
    PropsWriter garbage;
    garbage.binary(0x3701, kIIDMessage + "garbage", PT_OBJECT);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(
        valueForProperty(test::messageWithProps(garbage)->mapiprops(), PR_ATTACH_DATA_OBJ)));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(
        valueForProperty(test::messageWithProps(other)->mapiprops(), PR_ATTACH_DATA_OBJ)));
}

TEST(MAPIValue, EmbeddedMessagesStopNestingAtTheDepthLimit) {
    std::string stream = test::TNEFWriter().subject("deepest").str();
    for (int i = 0; i < 100; ++i) {
        PropsWriter p;
        p.binary(0x3701, kIIDMessage + stream, PT_OBJECT);
        stream = test::TNEFWriter().mapiProps(p).str();
    }
    test::LogCapture log;
    std::shared_ptr<OutlookMessage> m = test::readTNEF(stream);
    int depth = 0;
    for (;;) {
        auto value = valueForProperty(m->mapiprops(), PR_ATTACH_DATA_OBJ);
        auto nested = std::get_if<std::shared_ptr<OutlookMessage>>(&value);
        if (!nested || !*nested) break;
        m = *nested;
        ++depth;
    }
    EXPECT_EQ(depth, TNEFMessage::kMaxDepth);
    EXPECT_THAT(log.lines, testing::Contains(testing::HasSubstr("nested deeper than 64")));
}

TEST(MAPIValue, DecodesOnceAndKeepsTheResult) {
    PropsWriter p;
    p.string8(0x0037, "first");
    auto m = test::messageWithProps(p);
    auto prop = findPropID(*m->mapiprops(), 0x0037, PT_STRING8);
    const MAPIData& a = prop->value()->value();
    const MAPIData& b = prop->value()->value();
    EXPECT_EQ(&a, &b);
    // A value once decoded stays; one given before decoding replaces the decoding.
    prop->value()->presetValue(std::string("replaced"));
    EXPECT_EQ(stringForProperty(m->mapiprops(), PR_SUBJECT), "first");
    auto fresh = MAPIValue::create(Bytes::fromString("raw"), PT_STRING8, 0x0037, nullptr);
    fresh->presetValue(std::string("given"));
    EXPECT_EQ(*valueAs<std::string>(fresh->value()), "given");
}

TEST(MAPIProp, DescriptionsUseTheNameTable) {
    PropsWriter p;
    p.string8(0x0037, "Hi")
        .namedNumber(PT_STRING8, 0x8001, kPSETIDAppointment, 0x8238, PropsWriter::counted("x"))
        .multiU32(0x0E07, {1, 2});
    auto m = test::messageWithProps(p);
    const auto& props = *m->mapiprops();
    EXPECT_THAT(props[0]->description(),
                testing::EndsWith("{tag = PR_SUBJECT, value = <MAPIValue: " +
                                  fmt::format("{}", fmt::ptr(props[0]->value().get())) +
                                  ">{type = PT_STRING8, value = Hi}}"));
    EXPECT_THAT(props[1]->description(),
                testing::HasSubstr(">{id = 0x8238, propName = {GUID = "
                                   "{00062002-0000-0000-C000-000000000046}, propID = 0x8238}, "));
    EXPECT_THAT(props[2]->description(), testing::HasSubstr("values = ("));
    EXPECT_THAT(props[2]->values()[1]->description(),
                testing::EndsWith("{type = PT_LONG, value = 2}"));
}

TEST(MAPIArray, StringLookupsAcceptUnicodeAndOtherTypesMustMatch) {
    PropsWriter p;
    p.unicode(0x0037, "unicode subject").u32(0x0E08, 42);
    auto m = test::messageWithProps(p);
    const MAPIPropList* props = m->mapiprops();
    EXPECT_EQ(stringForProperty(props, 0x0037001E), "unicode subject");
    EXPECT_EQ(uint32ForProperty(props, 0x0E080003), 42u);
    EXPECT_FALSE(findPropID(*props, 0x0E08, PT_SHORT));
    EXPECT_FALSE(findPropID(*props, 0x0037, PT_BINARY));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(valueForProperty(nullptr, PR_SUBJECT)));
}

TEST(MAPIProp, PropertyWithNoValuesHasNoValue) {
    PropsWriter p;
    p.prop(0x1003, 0x0E09, ByteWriter().u32(0).str());
    auto m = test::messageWithProps(p);
    auto prop = m->mapiprops()->front();
    EXPECT_TRUE(prop->isMultiValued());
    EXPECT_TRUE(prop->values().empty());
    EXPECT_EQ(prop->value(), nullptr);
}

}  // namespace
}  // namespace qb
