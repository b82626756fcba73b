#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "platform/Bytes.h"

namespace qb {

// Bounds-checked cursor over a byte window. Every read either succeeds whole or returns
// nothing and leaves the position where it was.
class ByteReader {
  public:
    explicit ByteReader(Bytes bytes, size_t position = 0) : bytes_(std::move(bytes)) {
        seek(position);
    }

    const Bytes& bytes() const { return bytes_; }
    size_t position() const { return pos_; }
    size_t size() const { return bytes_.size(); }
    size_t remaining() const { return bytes_.size() - pos_; }
    bool atEnd() const { return pos_ >= bytes_.size(); }
    bool has(size_t n) const { return n <= remaining(); }

    // Moves to `position`, clamped to the end.
    void seek(size_t position) { pos_ = position < bytes_.size() ? position : bytes_.size(); }
    bool skip(size_t n);

    std::optional<uint8_t> u8();
    std::optional<uint16_t> u16le();
    std::optional<uint32_t> u32le();
    std::optional<uint64_t> u64le();
    std::optional<uint16_t> u16be();
    std::optional<uint32_t> u32be();
    std::optional<Bytes> take(size_t n);

    // How many of `count` items, each at least `minSize` bytes long, the rest of the window
    // can hold. Every count read from a file goes through this before it sizes any work; a
    // `minSize` of 0 (items that take no bytes) leaves the count as it is, so such items must
    // never be made one by one.
    uint64_t fitCount(uint64_t count, size_t minSize) const {
        return fitCount(count, remaining(), minSize);
    }
    static uint64_t fitCount(uint64_t count, size_t bytesLeft, size_t minSize) {
        return minSize == 0 ? count : std::min<uint64_t>(count, bytesLeft / minSize);
    }

    // Reads at an absolute offset without moving.
    static std::optional<uint16_t> u16le(const Bytes& b, size_t offset);
    static std::optional<uint32_t> u32le(const Bytes& b, size_t offset);
    static std::optional<uint64_t> u64le(const Bytes& b, size_t offset);
    static std::optional<uint16_t> u16be(const Bytes& b, size_t offset);
    static std::optional<uint32_t> u32be(const Bytes& b, size_t offset);

  private:
    Bytes bytes_;
    size_t pos_ = 0;
};

}  // namespace qb
