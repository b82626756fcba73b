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

}  // namespace qb
