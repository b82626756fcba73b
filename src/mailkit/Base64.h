// SPDX-License-Identifier: Apache-2.0
// Base64 for the mail toolkit and above: MIME bodies and encoded words, data: URIs in the
// HTML the rich-text layer writes, path-safe names.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

namespace qb {

// Standard Base64 (RFC 4648 alphabet, "=" padding). With `separateLines`, lines of 64
// characters (48 input bytes) each end with CR LF; otherwise one line.
std::string NewBase64Encode(std::string_view bytes, bool separateLines);
// Base64 in lines of `lineLength` characters (a multiple of 4, the last line shorter), lines
// joined by CR LF, and one more CR LF after the last when `breakAfterLast`. The one encoder
// behind every Base64 the library writes.
std::string base64Lines(std::string_view bytes, size_t lineLength, bool breakAfterLast);
// Tolerant decoding: every byte outside the alphabet ("=", white space, anything) is skipped;
// a final group of 2 or 3 characters gives 1 or 2 bytes, a lone one nothing. Never fails.
std::string NewBase64Decode(std::string_view text);

Bytes dataFromBase64String(std::string_view text);
// One line, no breaks.
std::string base64EncodedString(std::string_view bytes);
// The same, added to the end of `out` (no copy of the encoded text).
void appendBase64(std::string& out, std::string_view bytes);
// Base64 with "/" as "-" and "+" as "_" ("=" stays), for file names.
std::string pathSafeBase64EncodedString(std::string_view bytes);
// Base64 of text's UTF-8 bytes; and back, nothing when the bytes are not UTF-8.
std::string base64EncodedUTF8String(std::string_view utf8);
std::optional<std::string> base64DecodedString(std::string_view base64);

// Protocol text with counted literals "{n}\r\n<n bytes>": each literal is re-sent as
// "{m}\r\n<m Base64 characters>". Nothing for data shorter than 2 bytes, a "}\r\n" with no
// "{" before it, or a count running past the end.
std::optional<std::string> stringByConvertingLiteralsToBase64(std::string_view data);

}  // namespace qb
