// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "platform/ByteReader.h"
#include "platform/Bytes.h"

namespace qb {
namespace {

TEST(Bytes, SlicesShareTheBufferAndStayInBounds) {
    Bytes b = Bytes::fromString("abcdefgh");
    auto mid = b.sub(2, 3);
    ASSERT_TRUE(mid);
    EXPECT_EQ(mid->view(), "cde");
    EXPECT_TRUE(mid->sharesBufferWith(b));
    EXPECT_EQ(mid->data(), b.data() + 2);
    EXPECT_FALSE(b.sub(7, 2));
    EXPECT_FALSE(b.sub(9, 0));
    EXPECT_FALSE(b.sub(1, SIZE_MAX));
    EXPECT_TRUE(b.sub(8, 0));
    EXPECT_EQ(b.slice(6, 100).view(), "gh");
    EXPECT_EQ(b.slice(100, 1).size(), 0u);
}

TEST(ByteReader, ReadsWholeValuesOrNothing) {
    Bytes b = Bytes::fromString(std::string("\x01\x02\x03\x04\x05", 5));
    ByteReader r(b);
    EXPECT_EQ(r.u16le(), 0x0201);
    EXPECT_EQ(r.u16be(), 0x0304);
    EXPECT_FALSE(r.u16le());  // one byte left: nothing, and no move
    EXPECT_EQ(r.position(), 4u);
    EXPECT_EQ(r.u8(), 5);
    EXPECT_TRUE(r.atEnd());
    EXPECT_EQ(ByteReader::u32le(b, 1), 0x05040302u);
    EXPECT_EQ(ByteReader::u32be(b, 0), 0x01020304u);
    EXPECT_FALSE(ByteReader::u32le(b, 2));
    EXPECT_FALSE(ByteReader::u64le(b, SIZE_MAX - 2));
    r.seek(1000);
    EXPECT_EQ(r.position(), b.size());
    EXPECT_FALSE(r.take(1));
}

}  // namespace
}  // namespace qb
