#include "model/CompressedRTF.h"

#include <array>
#include <cstring>
#include <vector>

#include "platform/ByteReader.h"
#include "platform/Log.h"

namespace qb {

namespace {

constexpr char kInitialDictionary[] =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern "
    "\\fscript \\fdecor MS Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0"
    "\\green0\\blue0\r\n\\par \\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
constexpr size_t kDictionarySize = sizeof(kInitialDictionary) - 1;
static_assert(kDictionarySize == 207);

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
    out.insert(out.end(), kInitialDictionary, kInitialDictionary + kDictionarySize);

    size_t i = 0;
    uint8_t control = 0;
    for (uint64_t t = 0; out.size() < limit; ++t) {
        if (t % 8 == 0) {
            if (i >= in.size()) break;
            control = in[i++];
        } else {
            control >>= 1;
        }
        if ((control & 1) == 0) {
            if (i >= in.size()) break;
            out.push_back(in[i++]);
            continue;
        }
        if (in.size() - i < 2) break;
        const uint8_t b1 = in[i], b2 = in[i + 1];
        i += 2;
        const size_t offset = size_t(b1) * 16 + (b2 >> 4);
        const size_t length = (b2 & 15) + 2;
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

uint32_t calculateCRC32(const uint8_t* bytes, size_t length) {
    uint32_t crc = 0;
    for (size_t i = 0; i < length; ++i)
        crc = kCRCTable[(crc ^ bytes[i]) & 0xFF] ^ (crc >> 8);
    return crc;
}

std::optional<Bytes> decompressRTF(const Bytes& stream, bool ignoreChecksum) {
    if (stream.size() < 16) return std::nullopt;
    const uint32_t compSize = *ByteReader::u32le(stream, 0);
    const uint32_t rawSize = *ByteReader::u32le(stream, 4);
    const uint32_t compType = *ByteReader::u32le(stream, 8);
    const uint32_t crc = *ByteReader::u32le(stream, 12);
    if (uint64_t(compSize) != uint64_t(stream.size()) - 4) return std::nullopt;
    if (!ignoreChecksum && calculateCRC32(stream.data() + 16, stream.size() - 16) != crc)
        return std::nullopt;
    switch (compType) {
        case kCompressed:
            return expand(stream.slice(16), rawSize);
        case kUncompressed:
            return stream.slice(16, rawSize);
        default:
            logf("RTF unknown compression type (magic number {})", compType);
            return std::nullopt;
    }
}

}  // namespace qb
