// SPDX-License-Identifier: Apache-2.0
// Making buffers without copying (adopting a vector or a string) and cutting checked windows.
#include "platform/Bytes.h"

#include <algorithm>
#include <cstring>

namespace qb {

Bytes Bytes::copy(const void* data, size_t size) {
    std::vector<uint8_t> buffer(size);
    if (size) std::memcpy(buffer.data(), data, size);
    return adopt(std::move(buffer));
}

Bytes Bytes::adoptString(std::string&& text) {
    auto owner = std::make_shared<const std::string>(std::move(text));
    Bytes b;
    b.window_ = {reinterpret_cast<const uint8_t*>(owner->data()), owner->size()};
    b.owner_ = std::move(owner);
    return b;
}

Bytes Bytes::adopt(std::vector<uint8_t>&& buffer) {
    auto owner = std::make_shared<const std::vector<uint8_t>>(std::move(buffer));
    Bytes b;
    b.window_ = {owner->data(), owner->size()};
    b.owner_ = std::move(owner);
    return b;
}

Bytes Bytes::wrap(std::shared_ptr<const void> owner, const uint8_t* data, size_t size) {
    Bytes b;
    b.owner_ = std::move(owner);
    b.window_ = {data, size};
    return b;
}

std::optional<Bytes> Bytes::sub(size_t offset, size_t length) const {
    if (offset > size() || length > size() - offset) return std::nullopt;
    Bytes b = *this;
    b.window_ = window_.subspan(offset, length);
    return b;
}

Bytes Bytes::slice(size_t offset, size_t length) const {
    offset = std::min(offset, size());
    length = std::min(length, size() - offset);
    return *sub(offset, length);
}

Bytes Bytes::withoutTrailingNULs() const {
    size_t n = size();
    while (n > 0 && window_[n - 1] == 0)
        --n;
    return slice(0, n);
}

Bytes Bytes::withoutTrailingWideNULs() const {
    size_t n = size();
    while (n >= 2 && window_[n - 1] == 0 && window_[n - 2] == 0)
        n -= 2;
    return slice(0, n);
}

bool operator==(const Bytes& a, const Bytes& b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

}  // namespace qb
