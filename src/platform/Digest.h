// SPDX-License-Identifier: Apache-2.0
// SHA-256 and MD5 of bytes: attachment hashes in `info` and the export manifest, and the
// string digests of mailkit.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

namespace qb {

// Lower-case hexadecimal digests.
std::string sha256Hex(const Bytes& data);
std::string md5Hex(const Bytes& data);

// SHA-256 of bytes that arrive in stretches (a file as it is written).
class SHA256Stream {
  public:
    SHA256Stream();
    ~SHA256Stream();
    SHA256Stream(const SHA256Stream&) = delete;
    SHA256Stream& operator=(const SHA256Stream&) = delete;
    void add(std::string_view bytes);
    // The digest of everything added, in lower-case hexadecimal; the stream is finished.
    std::string hex();

  private:
    struct Context;
    std::unique_ptr<Context> context_;
};

}  // namespace qb
