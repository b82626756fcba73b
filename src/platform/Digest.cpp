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

struct SHA256Stream::Context {
    SHA256_CTX sha;
};

SHA256Stream::SHA256Stream() : context_(std::make_unique<Context>()) {
    SHA256_Init(&context_->sha);
}
SHA256Stream::~SHA256Stream() = default;

void SHA256Stream::add(std::string_view bytes) {
    SHA256_Update(&context_->sha, bytes.data(), bytes.size());
}

std::string SHA256Stream::hex() {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256_Final(digest, &context_->sha);
    std::string out;
    out.reserve(2 * sizeof digest);
    appendHex(out, std::span<const uint8_t>(digest, sizeof digest));
    return out;
}

std::string sha256Hex(const Bytes& data) {
    SHA256Stream stream;
    stream.add(data.view());
    return stream.hex();
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
