// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>

#include "model/MAPIArray.h"
#include "model/MAPIProp.h"
#include "model/PropertyTags.h"
#include "support/TNEFWriter.h"
#include "tnef/TNEFMessage.h"

namespace qb {
namespace {

using test::ByteWriter;
using test::PropsWriter;

const std::string kGUID("0123456789abcdef", 16);

// Reads a property list that starts at offset 0 of `bytes` with no owning message.
MAPIPropList read(const std::string& bytes, size_t* end = nullptr) {
    size_t location = 0;
    auto props = MAPIProp::propertiesOfMessage(nullptr, Bytes::fromString(bytes), location);
    if (end) *end = location;
    return props;
}

TEST(MAPIPropStream, EmptyAndShortLists) {
    EXPECT_TRUE(read(PropsWriter().str()).empty());
    EXPECT_TRUE(read("\x01\x00").empty());
    EXPECT_TRUE(read("").empty());
}

TEST(MAPIPropStream, VariableValuesArePaddedToFourBytes) {
    size_t end = 0;
    const std::string list = PropsWriter().string8(0x0037, "abcd", false).u32(0x0E08, 7).str();
    auto props = read(list, &end);
    ASSERT_EQ(props.size(), 2u);
    // count + (2 + 2 + 4 + 4 + 4 bytes, no padding) ...
    EXPECT_EQ(valueAs<std::string>(props[0]->value()->value())->size(), 4u);
    EXPECT_EQ(end, list.size());

    // ... and a 5-byte string takes 2 + 2 + 4 + 4 + 5 + 3.
    const std::string five = PropsWriter().string8(0x0037, "abcde", false).u32(0x0E08, 7).str();
    EXPECT_EQ(five.size(), 4u + (2 + 2 + 4 + 4 + 5 + 3) + (2 + 2 + 4));
    props = read(five, &end);
    ASSERT_EQ(props.size(), 2u);
    EXPECT_EQ(props[0]->value()->rawLocation(), 4u + 8u);
    EXPECT_EQ(props[1]->value()->rawLocation(), 4u + 20u + 4u);
    EXPECT_EQ(*valueAs<uint32_t>(props[1]->value()->value()), 7u);
    EXPECT_EQ(end, five.size());
}

TEST(MAPIPropStream, MultiValuedProperties) {
    const std::string list = PropsWriter().multiU32(0x0E09, {10, 20, 30}).u32(0x0E08, 1).str();
    EXPECT_EQ(list.size(), 4u + (2 + 2 + 4 + 12) + 8);
    auto props = read(list);
    ASSERT_EQ(props.size(), 2u);
    ASSERT_EQ(props[0]->values().size(), 3u);
    EXPECT_EQ(props[0]->type(), 0x0003u);
    EXPECT_EQ(props[0]->values()[2]->type(), 0x0003u);
    EXPECT_EQ(*valueAs<uint32_t>(props[0]->values()[2]->value()), 30u);
    // A multi-valued string: count 2, each value counted and padded.
    const std::string strings = PropsWriter()
                                    .prop(0x101E, 0x3A54,
                                          ByteWriter()
                                              .u32(2)
                                              .u32(3)
                                              .raw("ab")
                                              .u8(0)
                                              .pad4()
                                              .u32(2)
                                              .raw("c")
                                              .u8(0)
                                              .pad4()
                                              .str())
                                    .str();
    props = read(strings);
    ASSERT_EQ(props.size(), 1u);
    ASSERT_EQ(props[0]->values().size(), 2u);
    EXPECT_EQ(*valueAs<std::string>(props[0]->values()[1]->value()), "c");
}

TEST(MAPIPropStream, NamedPropertiesByNumberAndByName) {
    // A name of 10 bytes ("abcd" + NUL in UTF-16) is followed by 2 bytes of padding.
    const std::string list = PropsWriter()
                                 .namedString(PT_LONG, 0x8001, kGUID, "abcd", PropsWriter::le32(5))
                                 .namedNumber(PT_STRING8, 0x8002, kGUID, 0x8238,
                                              PropsWriter::counted(std::string("a; b") + '\0'))
                                 .str();
    EXPECT_EQ(list.size(), 4u + (4 + 16 + 4 + 4 + 10 + 2 + 4) + (4 + 16 + 4 + 4 + 16));
    auto props = read(list);
    ASSERT_EQ(props.size(), 2u);
    EXPECT_EQ(props[0]->name(), 0x8001u);
    ASSERT_TRUE(props[0]->propName());
    EXPECT_EQ(props[0]->propName()->name(), "abcd");
    EXPECT_EQ(props[0]->propName()->GUID()->view(), kGUID);
    EXPECT_EQ(*valueAs<uint32_t>(props[0]->value()->value()), 5u);
    // The number replaces the id, so the property is found by the number's tag.
    EXPECT_EQ(props[1]->name(), 0x8238u);
    EXPECT_EQ(props[1]->propName()->propID(), 0x8238u);
    EXPECT_FALSE(props[1]->propName()->name());
    EXPECT_EQ(stringForProperty(&props, 0x8238001E), "a; b");
}

TEST(MAPIPropStream, IdFFFFIsNotNamed) {
    auto props = read(PropsWriter().u32(0xFFFF, 9).str());
    ASSERT_EQ(props.size(), 1u);
    EXPECT_FALSE(props[0]->propName());
    EXPECT_EQ(*valueAs<uint32_t>(props[0]->value()->value()), 9u);
}

TEST(MAPIPropStream, UnknownTypeEndsTheList) {
    PropsWriter p;
    for (uint16_t id = 1; id <= 4; ++id)
        p.u32(id, id);
    p.prop(0x0009, 5, PropsWriter::le32(0)).u32(6, 6);
    auto props = read(p.str());
    ASSERT_EQ(props.size(), 4u);
    EXPECT_EQ(props.back()->name(), 4u);
}

TEST(MAPIPropStream, HostileCountsAreBoundedByTheStream) {
    using clock = std::chrono::steady_clock;
    const auto start = clock::now();
    // A list claiming 4 billion properties holding two.
    auto props = read(PropsWriter().u32(1, 1).u32(2, 2).count(0xFFFFFFFF).str());
    EXPECT_EQ(props.size(), 2u);
    // A billion zero-width values: kept as one value and the count, and what follows is
    // still read.
    props = read(
        PropsWriter().prop(0x1001, 0x0E0A, ByteWriter().u32(1'000'000'000).str()).u32(7, 7).str());
    ASSERT_EQ(props.size(), 2u);
    EXPECT_EQ(props[0]->values().size(), 1u);
    EXPECT_EQ(props[0]->valueCount(), 1'000'000'000u);
    EXPECT_TRUE(std::holds_alternative<NullValue>(props[0]->value()->value()));
    EXPECT_EQ(props[1]->name(), 7u);
    // A billion longs in 12 bytes.
    props =
        read(PropsWriter()
                 .prop(0x1003, 0x0E0B, ByteWriter().u32(1'000'000'000).u32(1).u32(2).u32(3).str())
                 .str());
    EXPECT_EQ(props[0]->values().size(), 3u);
    // A value claiming 4 GiB takes the rest of the stream with it.
    props = read(PropsWriter()
                     .prop(PT_BINARY, 0x0E0C, ByteWriter().u32(1).u32(0xFFFFFFFF).raw("xy").str())
                     .u32(1, 1)
                     .str());
    ASSERT_EQ(props.size(), 1u);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(props[0]->value()->value()));
    EXPECT_LT(clock::now() - start, std::chrono::seconds(2));
}

TEST(MAPIPropStream, TruncatedNamedHeadersStopCleanly) {
    // A named property whose GUID and name run off the end of the stream.
    std::string list = PropsWriter().namedString(PT_LONG, 0x8001, kGUID, "abcdefgh", "").str();
    for (size_t cut = 4; cut < list.size(); ++cut) {
        auto props = read(list.substr(0, cut));
        EXPECT_LE(props.size(), 1u);
    }
}

}  // namespace
}  // namespace qb
