#include "platform/ByteReader.h"

namespace qb {

namespace {

template <typename T>
std::optional<T> readLE(const Bytes& b, size_t offset) {
    if (offset > b.size() || sizeof(T) > b.size() - offset) return std::nullopt;
    T v = 0;
    for (size_t i = 0; i < sizeof(T); ++i)
        v |= static_cast<T>(T(b[offset + i]) << (8 * i));
    return v;
}

template <typename T>
std::optional<T> readBE(const Bytes& b, size_t offset) {
    if (offset > b.size() || sizeof(T) > b.size() - offset) return std::nullopt;
    T v = 0;
    for (size_t i = 0; i < sizeof(T); ++i)
        v = static_cast<T>((v << 8) | b[offset + i]);
    return v;
}

template <typename T>
std::optional<T> advance(std::optional<T> v, size_t& pos) {
    if (v) pos += sizeof(T);
    return v;
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

}  // namespace qb
