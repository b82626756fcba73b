#include "tnef/MacBinary.h"

#include <cstring>

#include "platform/ByteReader.h"
#include "tnef/TNEFChecksum.h"

namespace qb {

namespace {

constexpr size_t kHeaderSize = 128;
constexpr uint32_t kMaxResourceFork = 0x1000000;

// Without the MacBinary III signature a header is accepted when bytes 0, 74 and 82 are zero.
// (Old writers' header checks are not trusted: the check value is never compared.)
bool headerLooksValid(const Bytes& h) {
    if (std::memcmp(h.data() + 102, "mBIN", 4) == 0) return true;
    return h[0] == 0 && h[74] == 0 && h[82] == 0;
}

}  // namespace

std::optional<Bytes> CopyDataForkFromMacBinary(const Bytes& data) {
    if (data.size() < kHeaderSize || !headerLooksValid(data)) return std::nullopt;
    const uint8_t nameLength = data[1];
    const uint64_t dataFork = getU32(data[83], data[84], data[85], data[86]);
    const uint64_t resourceFork = getU32(data[87], data[88], data[89], data[90]);
    if (nameLength == 0 || nameLength > 31 || dataFork + resourceFork == 0 ||
        dataFork + resourceFork > data.size() || resourceFork > kMaxResourceFork)
        return std::nullopt;
    // The secondary header's length is stored little-endian; the fork starts at that length
    // rounded up to 128 (a 16-bit signed sum, as the format's writers compute it).
    const uint16_t secondary = *ByteReader::u16le(data, 120);
    int64_t start = kHeaderSize;
    if (secondary != 0) start = static_cast<int16_t>((secondary + 127) & ~127);
    if (start < 0 || uint64_t(start) + dataFork > data.size()) return std::nullopt;
    return data.sub(size_t(start), size_t(dataFork));
}

}  // namespace qb
