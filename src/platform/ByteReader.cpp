// SPDX-License-Identifier: Apache-2.0
// The bounds-checked reads of ByteReader: the one place that turns file bytes into numbers.
#include "platform/ByteReader.h"

namespace qb {

namespace {

template <typename T>
std::optional<T> readLE(const Bytes& b, size_t offset, size_t size = sizeof(T)) {
    if (offset > b.size() || size > b.size() - offset) return std::nullopt;
    T v = 0;
    for (size_t i = 0; i < size; ++i)
        v |= static_cast<T>(T(b[offset + i]) << (8 * i));
    return v;
}

template <typename T>
std::optional<T> readBE(const Bytes& b, size_t offset, size_t size = sizeof(T)) {
    if (offset > b.size() || size > b.size() - offset) return std::nullopt;
    T v = 0;
    for (size_t i = 0; i < size; ++i)
        v = static_cast<T>((v << 8) | b[offset + i]);
    return v;
}

template <typename T>
std::optional<T> advance(std::optional<T> v, size_t& pos) {
    if (v) pos += sizeof(T);
    return v;
}

// Where a field of the structure at `base` starts, when that sum does not overflow.
std::optional<size_t> fieldStart(Field f, size_t base) {
    if (f.offset > SIZE_MAX - base) return std::nullopt;
    return base + f.offset;
}

}  // namespace

bool ByteReader::skip(size_t n) {
    if (!has(n)) return false;
    pos_ += n;
    return true;
}

std::optional<uint8_t> ByteReader::u8() {
    if (!has(1)) return std::nullopt;
    return bytes_[pos_++];
}
std::optional<uint16_t> ByteReader::u16le() {
    return advance(readLE<uint16_t>(bytes_, pos_), pos_);
}
std::optional<uint32_t> ByteReader::u32le() {
    return advance(readLE<uint32_t>(bytes_, pos_), pos_);
}
std::optional<uint64_t> ByteReader::u64le() {
    return advance(readLE<uint64_t>(bytes_, pos_), pos_);
}
std::optional<uint16_t> ByteReader::u16be() {
    return advance(readBE<uint16_t>(bytes_, pos_), pos_);
}
std::optional<uint32_t> ByteReader::u32be() {
    return advance(readBE<uint32_t>(bytes_, pos_), pos_);
}

std::optional<Bytes> ByteReader::take(size_t n) {
    auto b = bytes_.sub(pos_, n);
    if (b) pos_ += n;
    return b;
}

std::optional<Bytes> ByteReader::takeArray(uint64_t count, size_t elementSize) {
    // Divide instead of multiplying, so that no product can wrap.
    if (elementSize != 0 && count > remaining() / elementSize) return std::nullopt;
    return take(size_t(count) * elementSize);
}

std::optional<Bytes> ByteReader::cString(size_t maxLength) {
    const std::string_view text = rest().view().substr(0, maxLength);
    const size_t nul = text.find('\0');
    if (nul == std::string_view::npos) return std::nullopt;
    Bytes s = *bytes_.sub(pos_, nul);
    pos_ += nul + 1;
    return s;
}

std::optional<Bytes> ByteReader::wideString(size_t maxUnits) {
    const size_t units = std::min(remaining() / 2, maxUnits);
    for (size_t i = 0; i < units; ++i) {
        if (bytes_[pos_ + 2 * i] != 0 || bytes_[pos_ + 2 * i + 1] != 0) continue;
        Bytes s = *bytes_.sub(pos_, 2 * i);
        pos_ += 2 * i + 2;
        return s;
    }
    return std::nullopt;
}

std::optional<uint8_t> ByteReader::u8(const Bytes& b, size_t o) {
    return readLE<uint8_t>(b, o);
}
std::optional<uint16_t> ByteReader::u16le(const Bytes& b, size_t o) {
    return readLE<uint16_t>(b, o);
}
std::optional<uint32_t> ByteReader::u32le(const Bytes& b, size_t o) {
    return readLE<uint32_t>(b, o);
}
std::optional<uint64_t> ByteReader::u64le(const Bytes& b, size_t o) {
    return readLE<uint64_t>(b, o);
}
std::optional<uint16_t> ByteReader::u16be(const Bytes& b, size_t o) {
    return readBE<uint16_t>(b, o);
}
std::optional<uint32_t> ByteReader::u32be(const Bytes& b, size_t o) {
    return readBE<uint32_t>(b, o);
}

std::optional<uint64_t> ByteReader::uintLE(const Bytes& b, Field f, size_t base) {
    auto start = fieldStart(f, base);
    if (!start || f.size > sizeof(uint64_t)) return std::nullopt;
    return readLE<uint64_t>(b, *start, f.size);
}

std::optional<uint64_t> ByteReader::uintBE(const Bytes& b, Field f, size_t base) {
    auto start = fieldStart(f, base);
    if (!start || f.size > sizeof(uint64_t)) return std::nullopt;
    return readBE<uint64_t>(b, *start, f.size);
}

std::optional<Bytes> ByteReader::field(const Bytes& b, Field f, size_t base) {
    auto start = fieldStart(f, base);
    if (!start) return std::nullopt;
    return b.sub(*start, f.size);
}

}  // namespace qb
