// SPDX-License-Identifier: Apache-2.0
// OpenSSL for the HMAC and the short hash; mkstemps for a temporary file that keeps its
// extension.
#include "mailkit/StringDigests.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "mailkit/Base64.h"
#include "platform/Digest.h"
#include "platform/HexDigits.h"

namespace qb {

std::string hexMD5String(std::string_view text) { return md5Hex(Bytes::fromString(text)); }

std::string hexMD5StringWithKey(std::string_view text, std::string_view key) {
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    HMAC(EVP_md5(), key.data(), static_cast<int>(key.size()),
         reinterpret_cast<const unsigned char*>(text.data()), text.size(), out, &length);
    std::string digest;
    appendHex(digest, std::span<const uint8_t>(out, length));
    return digest;
}

std::string sha256HashString(std::string_view text) { return sha256Hex(Bytes::fromString(text)); }

std::string shortSHAHashString(std::string_view text) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    EVP_Digest(text.data(), text.size(), digest, &length, EVP_sha256(), nullptr);
    return pathSafeBase64EncodedString(
        std::string_view(reinterpret_cast<const char*>(digest), 12));
}

std::optional<std::string> qb_tmpFileWithPrefix(std::optional<std::string> prefix,
                                                std::optional<std::string> extension) {
    const std::string ext = extension.value_or("eml");
    std::error_code ec;
    const auto dir = std::filesystem::temp_directory_path(ec);
    if (ec) return std::nullopt;
    std::string path =
        (dir / (prefix.value_or("MailAttachment") + ".XXXXXX." + ext)).string();
    std::vector<char> buffer(path.begin(), path.end());
    buffer.push_back('\0');
    const int fd = mkstemps(buffer.data(), static_cast<int>(ext.size() + 1));
    if (fd < 0) return std::nullopt;
    ::close(fd);
    return std::string(buffer.data());
}

}  // namespace qb
