// SPDX-License-Identifier: Apache-2.0
// Digests of strings as hex or path-safe text, and unique temporary files: part of the
// toolkit's public surface, built on platform digests.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qb {

// Digests of a string's UTF-8 bytes, two lower-case hex digits per byte.
std::string hexMD5String(std::string_view text);
// HMAC-MD5 of the text under `key`.
std::string hexMD5StringWithKey(std::string_view text, std::string_view key);
std::string sha256HashString(std::string_view text);
// The first 12 bytes of the SHA-256 in path-safe Base64: 16 characters fit for file names.
std::string shortSHAHashString(std::string_view text);

// Creates a new, uniquely named empty file "<prefix>.XXXXXX.<extension>" in the temporary
// directory (prefix "MailAttachment" and extension "eml" when not given); its path, or
// nothing when it cannot be created.
std::optional<std::string> qb_tmpFileWithPrefix(std::optional<std::string> prefix,
                                                std::optional<std::string> extension);

}  // namespace qb
