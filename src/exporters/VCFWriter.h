// SPDX-License-Identifier: Apache-2.0
// Contact cards as vCard text: the 2.1 form (LF line ends, CHARSET=UTF-8 on text lines, the
// address in six parts) that Quillbox has always written, and the 4.0 form of RFC 6350 (CRLF,
// lines folded at 75 octets, telephone numbers as tel: URIs where they can be).
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exporters/VCFCard.h"

namespace qb {

enum class VCardVersion { V21, V40 };

// The card of one contact.
std::string contactCardText(const ContactCard& card, VCardVersion version);

// One card per member (a name and an address), concatenated; "" for no members.
std::string memberCardsText(const std::vector<DistListMember>& members, VCardVersion version);

// A telephone number as an RFC 3966 URI ("tel:+1-555-0100") when it is a global number written
// with digits and separators only; nothing otherwise, since a local number needs a context the
// item does not give.
std::optional<std::string> telURI(std::string_view number);

// Content lines folded for RFC 6350: at most 75 octets a line, continuation lines starting
// with one space, never inside a UTF-8 sequence, each line ended by CR LF.
std::string foldedContentLine(std::string_view line);

}  // namespace qb
