// SPDX-License-Identifier: Apache-2.0
// The byte buffer every layer passes around: readers hand out windows onto their input
// (attributes, property values, attachment data) instead of copies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Export.h"

namespace qb {

/// Immutable, shared byte buffer with an offset and a length. Slicing never copies: an
/// attribute, a property value or an attachment is a window onto the message's own buffer.
class QB_API Bytes {
  public:
    Bytes() = default;

    static Bytes copy(const void* data, size_t size);
    static Bytes adopt(std::vector<uint8_t>&& buffer);
    /// Takes the string's buffer over, without copying it.
    static Bytes adoptString(std::string&& text);
    static Bytes fromString(std::string_view text) { return copy(text.data(), text.size()); }
    /// Wraps memory that `owner` keeps alive (a mapping, a foreign buffer).
    static Bytes wrap(std::shared_ptr<const void> owner, const uint8_t* data, size_t size);

    const uint8_t* data() const { return window_.data(); }
    size_t size() const { return window_.size(); }
    bool empty() const { return window_.empty(); }
    uint8_t operator[](size_t i) const { return window_[i]; }
    auto begin() const { return window_.begin(); }
    auto end() const { return window_.end(); }

    std::span<const uint8_t> span() const { return window_; }
    std::string_view view() const {
        return {reinterpret_cast<const char*>(window_.data()), window_.size()};
    }
    std::string str() const { return std::string(view()); }

    /// The window [offset, offset + length), or nothing when it does not lie inside.
    std::optional<Bytes> sub(size_t offset, size_t length) const;
    /// Like sub, but cut to what is there.
    Bytes slice(size_t offset, size_t length = SIZE_MAX) const;

    /// Without the NUL bytes at the end (an 8-bit string's terminator and padding).
    Bytes withoutTrailingNULs() const;
    /// Without the pairs of NUL bytes at the end (a UTF-16 string's terminator).
    Bytes withoutTrailingWideNULs() const;

    /// Whether both windows share the same underlying buffer.
    bool sharesBufferWith(const Bytes& other) const { return owner_ == other.owner_; }

    friend bool operator==(const Bytes& a, const Bytes& b);

  private:
    std::shared_ptr<const void> owner_;
    /// A span, not a pointer and a length: indexing and iterating a window need no pointer
    /// arithmetic of their own (scripts/unsafe-buffers.sh checks the readers for that).
    std::span<const uint8_t> window_;
};

}  // namespace qb
