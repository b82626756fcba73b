// SPDX-License-Identifier: Apache-2.0
// Bounds-checked reading of file bytes: every reader of the project reads its input through
// ByteReader (value by value) or ByteCursor (a whole record, checked once at its end).
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "platform/Bytes.h"

namespace qb {

// Where one field of an on-disk structure lies: its offset from the structure's start and its
// size in bytes. Readers name the fields of each structure with these instead of writing bare
// offsets at the places they read them.
struct Field {
    size_t offset;
    size_t size;

    constexpr size_t end() const { return offset + size; }
};

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
    // The bytes from the position to the end.
    Bytes rest() const { return bytes_.slice(pos_); }

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
    // `count` items of `elementSize` bytes as one window. Nothing when count * elementSize
    // overflows or passes the end: the product is checked before it is formed.
    std::optional<Bytes> takeArray(uint64_t count, size_t elementSize);

    // An 8-bit string ended by a NUL: the bytes before the NUL, the reader moved past it.
    // Nothing when no NUL lies within the next `maxLength` bytes (the NUL included).
    std::optional<Bytes> cString(size_t maxLength = SIZE_MAX);
    // A UTF-16LE string ended by a zero code unit: the units before it (as bytes), the reader
    // moved past it. Nothing when no zero unit lies within the next `maxUnits` units.
    std::optional<Bytes> wideString(size_t maxUnits = SIZE_MAX);

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
    static std::optional<uint8_t> u8(const Bytes& b, size_t offset);
    static std::optional<uint16_t> u16le(const Bytes& b, size_t offset);
    static std::optional<uint32_t> u32le(const Bytes& b, size_t offset);
    static std::optional<uint64_t> u64le(const Bytes& b, size_t offset);
    static std::optional<uint16_t> u16be(const Bytes& b, size_t offset);
    static std::optional<uint32_t> u32be(const Bytes& b, size_t offset);

    // A field of the structure that starts at `base`: an unsigned number of 1 to 8 bytes in
    // either byte order, or its bytes. Nothing when the field does not lie inside `b` (or, for
    // the numbers, is wider than 8 bytes).
    static std::optional<uint64_t> uintLE(const Bytes& b, Field f, size_t base = 0);
    static std::optional<uint64_t> uintBE(const Bytes& b, Field f, size_t base = 0);
    static std::optional<Bytes> field(const Bytes& b, Field f, size_t base = 0);

  private:
    Bytes bytes_;
    size_t pos_ = 0;
};

// Reads a record field by field and is checked once, at the end, with ok(). The first read
// that does not fit fails the cursor: it and every later read return 0 (or empty bytes) and
// leave the position where the failed read began, so a record read to its end is either
// whole or known to be broken.
class ByteCursor {
  public:
    explicit ByteCursor(Bytes bytes, size_t position = 0) : in_(std::move(bytes), position) {}

    bool ok() const { return ok_; }
    size_t position() const { return in_.position(); }
    size_t remaining() const { return in_.remaining(); }

    uint8_t u8() { return read(&ByteReader::u8); }
    uint16_t u16le() { return read(&ByteReader::u16le); }
    uint32_t u32le() { return read(&ByteReader::u32le); }
    uint64_t u64le() { return read(&ByteReader::u64le); }
    uint16_t u16be() { return read(&ByteReader::u16be); }
    uint32_t u32be() { return read(&ByteReader::u32be); }
    Bytes take(size_t n) { return ok_ ? settle(in_.take(n)) : Bytes(); }
    Bytes takeArray(uint64_t count, size_t elementSize) {
        return ok_ ? settle(in_.takeArray(count, elementSize)) : Bytes();
    }
    void skip(size_t n) { ok_ = ok_ && in_.skip(n); }

  private:
    template <typename T>
    T read(std::optional<T> (ByteReader::*next)()) {
        return ok_ ? settle((in_.*next)()) : T{};
    }
    template <typename T>
    T settle(std::optional<T> v) {
        ok_ = v.has_value();
        return v ? std::move(*v) : T{};
    }

    ByteReader in_;
    bool ok_ = true;
};

}  // namespace qb
