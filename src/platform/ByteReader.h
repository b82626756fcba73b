#pragma once

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
