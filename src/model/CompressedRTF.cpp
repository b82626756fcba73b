// SPDX-License-Identifier: Apache-2.0
// LZFu expansion over a 4096-byte window seeded with the fixed dictionary; output is capped
// by what the input can produce, so a forged raw size allocates nothing extra.
#include "model/CompressedRTF.h"

#include <array>
#include <string_view>
#include <vector>

#include "platform/ByteReader.h"
#include "platform/Log.h"

namespace qb {

namespace {

constexpr std::string_view kInitialDictionary =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern "
    "\\fscript \\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0"
    "\\green0\\blue0\r\n\\par \\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
constexpr size_t kDictionarySize = kInitialDictionary.size();
static_assert(kDictionarySize == 207);

// The stream header.
constexpr size_t kHeaderSize = kCompressedRTFHeaderSize;
constexpr Field kCompressedSize{0, 4};  // what follows this field
constexpr Field kRawSize{4, 4};
constexpr Field kCompressionType{8, 4};
constexpr Field kCRC{12, 4};  // of the data after the header

constexpr uint32_t kCompressed = 0x75465A4C;    // "LZFu"
constexpr uint32_t kUncompressed = 0x414C454D;  // "MELA"

constexpr std::array<uint32_t, 256> makeTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t c = i;
        for (int k = 0; k < 8; ++k)
            c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[i] = c;
    }
    return table;
}
constexpr auto kCRCTable = makeTable();
static_assert(kCRCTable[1] == 0x77073096);

// Expands LZFu data. Output stops at rawSize, or earlier when the input runs out.
std::optional<Bytes> expand(const Bytes& in, uint32_t rawSize) {
    // Every two input bytes make at most 17 output bytes, so a huge RawSize cannot make us
    // allocate more than the input can fill.
    const uint64_t producible = (uint64_t(in.size()) / 2 + 1) * 17;
    const size_t limit =
        kDictionarySize + static_cast<size_t>(std::min<uint64_t>(rawSize, producible));
    std::vector<uint8_t> out;
    out.reserve(limit);
    out.insert(out.end(), kInitialDictionary.begin(), kInitialDictionary.end());

    ByteReader input(in);
    uint8_t control = 0;
    for (uint64_t t = 0; out.size() < limit; ++t) {
        if (t % 8 == 0) {
            auto next = input.u8();
            if (!next) break;
            control = *next;
        } else {
            control >>= 1;
        }
        if ((control & 1) == 0) {
            auto literal = input.u8();
            if (!literal) break;
            out.push_back(*literal);
            continue;
        }
        // A reference: 12 bits of offset into the 4096-byte window, 4 bits of length - 2.
        auto reference = input.u16be();
        if (!reference) break;
        const size_t offset = *reference >> 4;
        const size_t length = (*reference & 15) + 2;
        const size_t p = out.size();
        int64_t source = int64_t(p & ~size_t(4095)) + int64_t(offset);
        if (source >= int64_t(p)) source -= 4096;
        if (source < 0) return std::nullopt;
        for (size_t k = 0; k < length && out.size() < limit; ++k)
            out.push_back(out[static_cast<size_t>(source) + k]);
    }
    // The result is a window past the dictionary prefix; nothing is moved.
    return Bytes::adopt(std::move(out)).slice(kDictionarySize);
}

}  // namespace

uint32_t calculateCRC32(std::span<const uint8_t> bytes) {
    uint32_t crc = 0;
    for (uint8_t b : bytes)
        crc = kCRCTable[(crc ^ b) & 0xFF] ^ (crc >> 8);
    return crc;
}

bool compressedRTFCRCMatches(const Bytes& stream) {
    auto crc = ByteReader::uintLE(stream, kCRC);
    return crc && stream.size() >= kHeaderSize &&
           calculateCRC32(stream.slice(kHeaderSize).span()) == *crc;
}

std::optional<Bytes> decompressRTF(const Bytes& stream, bool ignoreChecksum) {
    if (stream.size() < kHeaderSize) return std::nullopt;
    const uint64_t compSize = *ByteReader::uintLE(stream, kCompressedSize);
    const uint64_t rawSize = *ByteReader::uintLE(stream, kRawSize);
    const uint64_t compType = *ByteReader::uintLE(stream, kCompressionType);
    if (compSize != uint64_t(stream.size()) - kCompressedSize.end()) return std::nullopt;
    if (!ignoreChecksum && !compressedRTFCRCMatches(stream)) return std::nullopt;
    switch (compType) {
        case kCompressed:
            return expand(stream.slice(kHeaderSize), uint32_t(rawSize));
        case kUncompressed:
            return stream.slice(kHeaderSize, size_t(rawSize));
        default:
            logf("RTF unknown compression type (magic number {})", compType);
            return std::nullopt;
    }
}

}  // namespace qb
