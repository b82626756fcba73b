// SPDX-License-Identifier: Apache-2.0
// The one-off entry id (MS-OXCDATA 2.2.5.1): an address written out in full inside an entry
// id, as messages store recipients and senders that are not in an address book.
#pragma once

#include <optional>
#include <string>

#include "platform/Bytes.h"
#include "platform/StringEncoding.h"

namespace qb {

struct OneOffEntryID {
    std::string displayName;
    std::string addressType;  // "SMTP", "EX", …
    std::string emailAddress;
};

// Reads a one-off entry id; nothing for any other entry id or one cut short. Names without
// the Unicode flag are 8-bit text in `encoding`.
std::optional<OneOffEntryID> readOneOffEntryID(const Bytes& entryID, StringEncoding encoding);

// The SMTP address a one-off entry id names; nothing when it names another kind.
std::optional<std::string> smtpAddressOfEntryID(const Bytes& entryID, StringEncoding encoding);

// One NUL-terminated string at the start of `buffer` (whose size is what remains of the entry
// id): UTF-16LE when `unicode`, else 8-bit text in `encoding`, of which only the first half of
// the bytes before the terminator is read. That halving is how distribution-list members have
// always been read, and their cards keep it. Sets `output` (nothing when the 8-bit text does
// not decode) and returns the bytes consumed, the terminator included; 0 when there is no
// terminator, and then `output` is left alone.
size_t bin_decode_string(const Bytes& buffer, std::optional<std::string>& output, bool unicode,
                         StringEncoding encoding);

// A distribution list's one-off member, read more strictly than readOneOffEntryID: flags and
// version must be 0 and the strings are read with bin_decode_string. Nothing for any other
// entry id, one cut short, or one whose name, type or address has no terminator. A field whose
// 8-bit text did not decode is left absent.
struct OneOffMember {
    std::optional<std::string> displayName, addressType, emailAddress;
};
std::optional<OneOffMember> readOneOffMember(const Bytes& entryID, StringEncoding encoding);

}  // namespace qb
