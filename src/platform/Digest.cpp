// SPDX-License-Identifier: Apache-2.0
// OpenSSL's digests over the buffer where it lies, called directly: EVP (and the one-call
// SHA256(), which goes through it) makes OpenSSL read its configuration and build its table
// of algorithm names first, a good part of a small file's whole run.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "platform/Digest.h"
#include "platform/HexDigits.h"

#include <openssl/md5.h>
#include <openssl/sha.h>

namespace qb {

std::string sha256Hex(const Bytes& data) {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256_CTX context;
    SHA256_Init(&context);
    SHA256_Update(&context, data.data(), data.size());
    SHA256_Final(digest, &context);
    std::string out;
    appendHex(out, std::span<const uint8_t>(digest, sizeof digest));
    return out;
}
std::string md5Hex(const Bytes& data) {
    unsigned char digest[MD5_DIGEST_LENGTH];
    MD5_CTX context;
    MD5_Init(&context);
    MD5_Update(&context, data.data(), data.size());
    MD5_Final(digest, &context);
    std::string out;
    appendHex(out, std::span<const uint8_t>(digest, sizeof digest));
    return out;
}

}  // namespace qb
