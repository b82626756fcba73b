// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/CompressedRTF.h"
#include "platform/ByteReader.h"
#include "support/LogCapture.h"
#include "support/SampleMessages.h"
#include "support/TNEFWriter.h"

namespace qb {
namespace {

using test::ByteWriter;

// A stream with a correct header around `body`.
Bytes stream(uint32_t rawSize, uint32_t type, std::string_view body, bool goodCRC = true) {
    const auto* p = reinterpret_cast<const uint8_t*>(body.data());
    const uint32_t crc = goodCRC ? calculateCRC32({p, body.size()}) : 0;
    return ByteWriter()
        .u32(uint32_t(body.size() + 12))
        .u32(rawSize)
        .u32(type)
        .u32(crc)
        .raw(body)
        .bytes();
}

constexpr uint32_t LZFu = 0x75465A4C;
constexpr uint32_t MELA = 0x414C454D;

TEST(CompressedRTF, ExpandsTheDocumentedExamples) {
    auto hello = decompressRTF(Bytes::fromString(test::helloWorldCompressedRTF()), false);
    ASSERT_TRUE(hello);
    EXPECT_EQ(hello->view(), "{\\rtf1\\ansi\\ansicpg1252\\pard hello world}\r\n");

    // A run that overlaps its own output repeats "WXYZ".
    const std::string wxyz(
        "\x1a\x00\x00\x00\x1c\x00\x00\x00\x4c\x5a\x46\x75\xe2\xd4\x4b\x51"
        "\x41\x00\x04\x20\x57\x58\x59\x5a\x0d\x6e\x7d\x01\x0e\xb0",
        30);
    auto repeated = decompressRTF(Bytes::fromString(wxyz), false);
    ASSERT_TRUE(repeated);
    EXPECT_EQ(repeated->view(), "{\\rtf1 WXYZWXYZWXYZWXYZWXYZ}");
}

TEST(CompressedRTF, CRCIsTheFormatsOwn) {
    EXPECT_EQ(calculateCRC32({}), 0u);
    const Bytes hello = Bytes::fromString(test::helloWorldCompressedRTF());
    EXPECT_EQ(calculateCRC32(hello.slice(16).span()), *ByteReader::u32le(hello, 12));
    EXPECT_TRUE(compressedRTFCRCMatches(hello));
    EXPECT_FALSE(compressedRTFCRCMatches(hello.slice(0, 15)));
}

TEST(CompressedRTF, ChecksumsAndHeaderGuardTheValue) {
    std::string bad = test::helloWorldCompressedRTF();
    bad[12] ^= 1;
    EXPECT_FALSE(decompressRTF(Bytes::fromString(bad), false));
    EXPECT_TRUE(decompressRTF(Bytes::fromString(bad), true));

    // Stored streams carry a zero CRC, so they only pass when checksums are ignored.
    const Bytes stored = stream(5, MELA, "{\\rtf}trailing", false);
    EXPECT_FALSE(decompressRTF(stored, false));
    auto plain = decompressRTF(stored, true);
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->view(), "{\\rtf");

    EXPECT_FALSE(decompressRTF(Bytes::fromString(std::string(15, '\0')), true));
    std::string wrongSize = test::helloWorldCompressedRTF();
    wrongSize[0] += 1;
    EXPECT_FALSE(decompressRTF(Bytes::fromString(wrongSize), true));
}

TEST(CompressedRTF, UnknownTypeIsLogged) {
    test::LogCapture log;
    EXPECT_FALSE(decompressRTF(stream(1, 0x12345678, "x"), true));
    EXPECT_THAT(log.lines,
                testing::ElementsAre("RTF unknown compression type (magic number 305419896)"));
}

TEST(CompressedRTF, EmptyOutputAndCutRuns) {
    auto empty = decompressRTF(stream(0, LZFu, "\xff\xff\xff"), false);
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->size(), 0u);

    // A reference to "{\rtf1" (dictionary offset 0, length 6) cut to a RawSize of 4.
    auto cut = decompressRTF(stream(4, LZFu, std::string("\x01\x00\x04", 3)), false);
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->view(), "{\\rt");
}

TEST(CompressedRTF, InputEndingEarlyStopsTheOutput) {
    // Two literals, then the input ends although 100 bytes were promised.
    auto partial = decompressRTF(stream(100, LZFu,
                                        std::string("\x00"
                                                    "ab",
                                                    3)),
                                 false);
    ASSERT_TRUE(partial);
    EXPECT_EQ(partial->view(), "ab");
    // A reference cut in half is ignored too.
    auto half = decompressRTF(stream(100, LZFu,
                                     std::string("\x02"
                                                 "a\x00",
                                                 3)),
                              false);
    ASSERT_TRUE(half);
    EXPECT_EQ(half->view(), "a");
}

TEST(CompressedRTF, HugeRawSizeDoesNotSizeTheBuffer) {
    // 4 GiB promised by 6 bytes of input: only what the input can make is produced.
    auto out = decompressRTF(stream(0xFFFFFFFF, LZFu,
                                    std::string("\x00"
                                                "abcde",
                                                6)),
                             false);
    ASSERT_TRUE(out);
    EXPECT_EQ(out->view(), "abcde");
}

TEST(CompressedRTF, ReferencesBeforeTheBufferAreMalformed) {
    // At write position 207 an offset of 300 lies ahead, so the window wraps to before the
    // start of the buffer.
    EXPECT_FALSE(decompressRTF(stream(10, LZFu, std::string("\x01\x12\xC0", 3)), false));
}

TEST(CompressedRTF, ReferenceAtTheWritePositionCopiesFromOneWindowBack) {
    // Fill the output up to write position 4096 with literal 'a's (3889 of them), then one
    // reference whose offset equals the write position's place in its window (0): it reads
    // 4096 bytes back, at position 0, the dictionary's "{\rtf1".
    ByteWriter body;
    const size_t literals = 4096 - 207;
    size_t written = 0;
    while (written < literals) {
        const size_t n = std::min<size_t>(8, literals - written);
        if (n == 8) {
            body.u8(0x00).raw(std::string(8, 'a'));
        } else {
            // The last group: n literals, then the reference.
            body.u8(static_cast<uint8_t>(1u << n)).raw(std::string(n, 'a')).u8(0x00).u8(0x04);
        }
        written += n;
    }
    ASSERT_EQ(literals % 8, 1u);  // the reference lands in the last, partial group
    auto out = decompressRTF(stream(uint32_t(literals + 6), LZFu, body.str()), false);
    ASSERT_TRUE(out);
    ASSERT_EQ(out->size(), literals + 6);
    EXPECT_EQ(out->view().substr(literals), "{\\rtf1");
}

}  // namespace
}  // namespace qb
