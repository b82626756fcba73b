// One OpenSSL call per digest, over the buffer where it lies.
#include "platform/Digest.h"

#include <openssl/evp.h>

namespace qb {

namespace {

std::string digestHex(const EVP_MD* md, const Bytes& data) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(data.data(), data.size(), digest, &length, md, nullptr);
    static const char hex[] = "0123456789abcdef";
    std::string out;
    out.reserve(length * 2);
    for (unsigned int i = 0; i < length; ++i) {
        out.push_back(hex[digest[i] >> 4]);
        out.push_back(hex[digest[i] & 15]);
    }
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
