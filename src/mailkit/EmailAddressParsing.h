#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qb {

// Loose helpers for address strings found in message files ("Jane Doe jane@example.com",
// "Jane Doe <jane@example.com>"), as opposed to RFC 2822 header values.

// The last space-separated word trimmed of '"<>() when the text holds "@"; else nothing.
std::optional<std::string> emailAddress(std::string_view text);
// Every word but the last when the text holds "@"; else the text before "<"; trimmed of
// quotes, then of white space. Nothing when neither applies.
std::optional<std::string> emailFullName(std::string_view text);
// The full name when it is non-empty, else the address.
std::optional<std::string> emailFullNameOrAddress(std::string_view text);

}  // namespace qb
