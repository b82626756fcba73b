// SPDX-License-Identifier: Apache-2.0
// Loose address helpers for the name-and-address strings message files carry; the model's
// Address reads a sender or recipient with them when no header syntax applies.
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

namespace qb {

// Whether the whole text is a bare address: a dot-atom or quoted local part, "@", and a dotted
// domain of letters, digits and inner hyphens or a bracketed IPv4 literal (any case).
bool emailAddressValidate(std::string_view text);
// "Re: <subject>" unless "Re:" occurs in it already (case-sensitive); likewise "Fwd:".
std::string emailSubjectReply(std::string_view subject);
std::string emailSubjectForward(std::string_view subject);
// data: URIs of image bytes, Base64-encoded.
std::string qbPngDataURIWithContent(std::string_view bytes);
std::string qbJpgDataURIWithContent(std::string_view bytes);

}  // namespace qb
