// SPDX-License-Identifier: Apache-2.0
// Header checks loose enough for old writers (no CRC compared), fork lengths checked against
// the data before the window is cut.
#include "tnef/MacBinary.h"

#include "platform/ByteReader.h"

namespace qb {

namespace {

// The MacBinary header: the first 128 bytes. Its numbers are big-endian, except one.
constexpr size_t kHeaderSize = 128;
constexpr Field kOldVersion{0, 1};  // zero
constexpr Field kNameLength{1, 1};
constexpr Field kZeroFill{74, 1};
constexpr Field kZeroFill2{82, 1};
constexpr Field kDataForkLength{83, 4};
constexpr Field kResourceForkLength{87, 4};
constexpr Field kSignature{102, 4};              // "mBIN" from MacBinary III on
constexpr Field kSecondaryHeaderLength{120, 2};  // little-endian, as writers store it

constexpr uint32_t kMaxResourceFork = 0x1000000;

// Without the MacBinary III signature a header is accepted when bytes 0, 74 and 82 are zero.
// (Old writers' header checks are not trusted: the check value is never compared.)
bool headerLooksValid(const Bytes& h) {
    if (auto signature = ByteReader::field(h, kSignature); signature && signature->view() == "mBIN")
        return true;
    return ByteReader::uintBE(h, kOldVersion) == 0u && ByteReader::uintBE(h, kZeroFill) == 0u &&
           ByteReader::uintBE(h, kZeroFill2) == 0u;
}

}  // namespace

std::optional<Bytes> CopyDataForkFromMacBinary(const Bytes& data) {
    if (data.size() < kHeaderSize || !headerLooksValid(data)) return std::nullopt;
    const uint64_t nameLength = *ByteReader::uintBE(data, kNameLength);
    const uint64_t dataFork = *ByteReader::uintBE(data, kDataForkLength);
    const uint64_t resourceFork = *ByteReader::uintBE(data, kResourceForkLength);
    if (nameLength == 0 || nameLength > 31 || dataFork + resourceFork == 0 ||
        dataFork + resourceFork > data.size() || resourceFork > kMaxResourceFork)
        return std::nullopt;
    // The fork starts at the secondary header's length rounded up to 128 (a 16-bit signed
    // sum, as the format's writers compute it).
    const auto secondary = uint16_t(*ByteReader::uintLE(data, kSecondaryHeaderLength));
    int64_t start = kHeaderSize;
    if (secondary != 0) start = static_cast<int16_t>((secondary + 127) & ~127);
    if (start < 0 || uint64_t(start) + dataFork > data.size()) return std::nullopt;
    return data.sub(size_t(start), size_t(dataFork));
}

}  // namespace qb
