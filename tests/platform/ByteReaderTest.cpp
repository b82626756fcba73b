// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "platform/ByteReader.h"

namespace qb {
namespace {

Bytes bytesOf(std::string_view s) {
    return Bytes::fromString(s);
}

TEST(ByteReader, CountedArraysAreCheckedBeforeTheyAreMultiplied) {
    ByteReader in(bytesOf("abcdefgh"));
    ASSERT_TRUE(in.skip(1));
    EXPECT_EQ(in.takeArray(3, 2)->view(), "bcdefg");
    EXPECT_EQ(in.position(), 7u);
    EXPECT_FALSE(in.takeArray(1, 2));  // one byte left
    EXPECT_EQ(in.position(), 7u);
    // Products that wrap around to something small must not pass.
    EXPECT_FALSE(in.takeArray(uint64_t(1) << 63, 2));
    EXPECT_FALSE(in.takeArray(SIZE_MAX / 4 + 1, 4));
    EXPECT_FALSE(in.takeArray(UINT64_MAX, SIZE_MAX));
    EXPECT_EQ(in.position(), 7u);
    // Items of no size take nothing, however many.
    EXPECT_TRUE(in.takeArray(UINT64_MAX, 0)->empty());
    EXPECT_EQ(in.takeArray(1, 1)->view(), "h");
    EXPECT_TRUE(in.atEnd());
}

TEST(ByteReader, TerminatedStringsStopAtTheirNulOrFailWhole) {
    ByteReader in(bytesOf(std::string_view("ab\0\0c\0d", 7)));
    EXPECT_EQ(in.cString()->view(), "ab");
    EXPECT_EQ(in.position(), 3u);
    EXPECT_EQ(in.cString()->view(), "");
    EXPECT_FALSE(in.cString(1));  // "c" and its NUL need two bytes
    EXPECT_EQ(in.cString(2)->view(), "c");
    EXPECT_FALSE(in.cString());  // "d" has no NUL before the end
    EXPECT_EQ(in.position(), 6u);

    // A zero unit is an aligned pair: the zeros of the units "a\0" and "\0b" end nothing.
    ByteReader wide(bytesOf(std::string_view("a\0\0b\0\0x\0\0\0y", 11)));
    EXPECT_EQ(wide.wideString()->view(), std::string_view("a\0\0b", 4));
    EXPECT_EQ(wide.position(), 6u);
    EXPECT_FALSE(wide.wideString(1));
    EXPECT_EQ(wide.wideString(2)->view(), std::string_view("x\0", 2));
    EXPECT_FALSE(wide.wideString());  // a lone byte is no unit
    EXPECT_EQ(wide.position(), 10u);
}

TEST(ByteReader, FieldsOfAStructureAreReadInEitherByteOrder) {
    constexpr Field kWord{1, 2}, kLong{3, 4}, kOdd{0, 3}, kWide{0, 9}, kPastEnd{6, 4};
    const Bytes b = bytesOf("\x01\x02\x03\x04\x05\x06\x07\x08");
    EXPECT_EQ(ByteReader::uintLE(b, kWord), 0x0302u);
    EXPECT_EQ(ByteReader::uintBE(b, kWord), 0x0203u);
    EXPECT_EQ(ByteReader::uintLE(b, kLong), 0x07060504u);
    EXPECT_EQ(ByteReader::uintLE(b, kOdd), 0x030201u);
    EXPECT_EQ(ByteReader::uintLE(b, kWord, 4), 0x0706u);  // the structure starts at 4
    EXPECT_FALSE(ByteReader::uintLE(b, kWord, 6));
    EXPECT_FALSE(ByteReader::uintLE(b, kWide));
    EXPECT_FALSE(ByteReader::uintBE(b, kPastEnd));
    EXPECT_FALSE(ByteReader::uintLE(b, kWord, SIZE_MAX));  // offset + base wraps
    EXPECT_EQ(ByteReader::field(b, kOdd, 5)->view(), "\x06\x07\x08");
    EXPECT_FALSE(ByteReader::field(b, kOdd, 6));
    EXPECT_EQ(ByteReader::u8(b, 7), 8);
    EXPECT_FALSE(ByteReader::u8(b, 8));
}

TEST(ByteCursor, TheFirstFailedReadFailsEveryLaterOne) {
    ByteCursor whole(bytesOf("\x01\x02\x03\x04\x05\x06\x07"));
    EXPECT_EQ(whole.u8(), 1);
    EXPECT_EQ(whole.u16le(), 0x0302);
    EXPECT_EQ(whole.u32be(), 0x04050607u);
    EXPECT_TRUE(whole.ok());

    ByteCursor cut(bytesOf("\x01\x02\x03\x04\x05"));
    EXPECT_EQ(cut.u16le(), 0x0201);
    EXPECT_EQ(cut.u32le(), 0u);  // three bytes left
    EXPECT_FALSE(cut.ok());
    EXPECT_EQ(cut.position(), 2u);
    // A read that would fit on its own still fails, and nothing moves.
    EXPECT_EQ(cut.u8(), 0);
    EXPECT_TRUE(cut.take(1).empty());
    cut.skip(1);
    EXPECT_EQ(cut.position(), 2u);
    EXPECT_FALSE(cut.ok());

    ByteCursor array(bytesOf("abcd"));
    EXPECT_EQ(array.takeArray(2, 2).view(), "abcd");
    EXPECT_TRUE(array.ok());
    EXPECT_TRUE(array.takeArray(uint64_t(1) << 62, 8).empty());
    EXPECT_FALSE(array.ok());
}

}  // namespace
}  // namespace qb
