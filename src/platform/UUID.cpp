// SPDX-License-Identifier: Apache-2.0
// libuuid for random UUIDs; SHA-1 over a namespace of our own for the name-based ones, called
// directly rather than through EVP (which reads OpenSSL's configuration first).
#define OPENSSL_SUPPRESS_DEPRECATED
#include "platform/UUID.h"

#include <openssl/sha.h>
#include <uuid/uuid.h>

#include <cstring>

namespace qb {

std::string newUUIDString() {
    uuid_t id;
    uuid_generate_random(id);
    char text[37];
    uuid_unparse_upper(id, text);
    return std::string(text, 36);
}

namespace {

// The namespace of the names we hash: a fixed UUID of our own.
constexpr unsigned char kNamespace[16] = {0x9F, 0x3A, 0x6C, 0x1E, 0x2B, 0x7D, 0x4E, 0x58,
                                          0xA1, 0xC4, 0x5D, 0x8E, 0x7F, 0x60, 0xB2, 0xA3};

}  // namespace

struct NameBasedUUID::State {
    SHA_CTX context;
};

NameBasedUUID::NameBasedUUID() : state_(std::make_unique<State>()) {
    SHA1_Init(&state_->context);
    SHA1_Update(&state_->context, kNamespace, sizeof kNamespace);
}

NameBasedUUID::~NameBasedUUID() = default;

void NameBasedUUID::add(std::string_view piece) {
    SHA1_Update(&state_->context, piece.data(), piece.size());
}

std::string NameBasedUUID::finish() {
    unsigned char digest[SHA_DIGEST_LENGTH];
    SHA1_Final(digest, &state_->context);
    uuid_t id;
    std::memcpy(id, digest, sizeof id);
    id[6] = static_cast<unsigned char>((id[6] & 0x0F) | 0x50);  // version 5
    id[8] = static_cast<unsigned char>((id[8] & 0x3F) | 0x80);  // RFC 4122 variant
    char text[37];
    uuid_unparse_upper(id, text);
    return std::string(text, 36);
}

}  // namespace qb
