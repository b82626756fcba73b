// SPDX-License-Identifier: Apache-2.0
// One OpenSSL call per digest, over the buffer where it lies.
#include "platform/Digest.h"
#include "platform/HexDigits.h"

#include <openssl/evp.h>

namespace qb {

namespace {

std::string digestHex(const EVP_MD* md, const Bytes& data) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(data.data(), data.size(), digest, &length, md, nullptr);
    std::string out;
    appendHex(out, std::span<const uint8_t>(digest, length));
    return out;
}

}  // namespace

std::string sha256Hex(const Bytes& data) {
    return digestHex(EVP_sha256(), data);
}
std::string md5Hex(const Bytes& data) {
    return digestHex(EVP_md5(), data);
}

}  // namespace qb
