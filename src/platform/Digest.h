#pragma once

#include <string>

#include "platform/Bytes.h"

namespace qb {

// Lower-case hexadecimal digests.
std::string sha256Hex(const Bytes& data);
std::string md5Hex(const Bytes& data);

}  // namespace qb
