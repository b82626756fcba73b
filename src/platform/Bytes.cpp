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
    b.data_ = reinterpret_cast<const uint8_t*>(owner->data());
    b.size_ = owner->size();
    b.owner_ = std::move(owner);
    return b;
}

Bytes Bytes::adopt(std::vector<uint8_t>&& buffer) {
    auto owner = std::make_shared<const std::vector<uint8_t>>(std::move(buffer));
    Bytes b;
    b.data_ = owner->data();
    b.size_ = owner->size();
    b.owner_ = std::move(owner);
    return b;
}

Bytes Bytes::wrap(std::shared_ptr<const void> owner, const uint8_t* data, size_t size) {
    Bytes b;
    b.owner_ = std::move(owner);
    b.data_ = data;
    b.size_ = size;
    return b;
}

std::optional<Bytes> Bytes::sub(size_t offset, size_t length) const {
    if (offset > size_ || length > size_ - offset) return std::nullopt;
    Bytes b = *this;
    b.data_ = data_ + offset;
    b.size_ = length;
    return b;
}

Bytes Bytes::slice(size_t offset, size_t length) const {
    offset = std::min(offset, size_);
    length = std::min(length, size_ - offset);
    return *sub(offset, length);
}

bool operator==(const Bytes& a, const Bytes& b) {
    return a.size_ == b.size_ && (a.size_ == 0 || std::memcmp(a.data_, b.data_, a.size_) == 0);
}

}  // namespace qb
