// SPDX-License-Identifier: Apache-2.0
// Small string helpers of the mail toolkit, chiefly the capitalised form header names are
// stored and written in.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qb {

// "content-type" and "CONTENT-TYPE" -> "Content-Type"; "message-id" -> "Message-Id".
std::string capitalizedHeaderKey(std::string_view name);
// The text in double quotes. The first form escapes nothing inside (the toolkit's own rule);
// the second is an RFC 5322 quoted-string, a backslash before each quote and backslash.
std::string quotedString(std::string_view text);
// The text without the spaces and tabs around it (folded header values keep inner ones).
std::string_view trimmedBlanks(std::string_view text);
std::string escapedQuotedString(std::string_view text);
// 64 characters of "0" and "1", most significant bit first.
std::string MKStringWithBits(uint64_t value);
// Decimal digits.
std::string MKStringWithUInteger(uint64_t value);

}  // namespace qb
