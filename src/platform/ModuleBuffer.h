// Takes a buffer a drawing module returned into Bytes, handing it back to the module when the
// last window onto it goes.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/Bytes.h"

namespace qb {

inline Bytes adoptModuleBuffer(uint8_t* buffer, size_t length, void (*release)(uint8_t*)) {
    std::shared_ptr<const void> owner(
        buffer, [release](const void* p) { release(static_cast<uint8_t*>(const_cast<void*>(p))); });
    return Bytes::wrap(std::move(owner), buffer, length);
}

}  // namespace qb
