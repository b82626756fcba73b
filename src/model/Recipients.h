#pragma once

#include "model/Address.h"
#include "model/MAPIProp.h"

namespace qb {

// Adds the recipient of one recipient-table row to the list its PR_RECIPIENT_TYPE names:
// 0 (missing) and 1 To, 2 Cc, 3 Bcc; any other type is dropped.
void addRecipient(const MAPIPropList& row, AddressList& to, AddressList& cc, AddressList& bcc);

}  // namespace qb
