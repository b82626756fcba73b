// SPDX-License-Identifier: Apache-2.0
// Building the sender and recipient lists from property rows; the readers call these after
// reading a message's recipient table.
#pragma once

#include <initializer_list>

#include "model/Address.h"
#include "model/MAPIProp.h"

namespace qb {

// Adds the recipient of one recipient-table row to the list its PR_RECIPIENT_TYPE names:
// 0 (missing) and 1 To, 2 Cc, 3 Bcc; any other type is dropped.
void addRecipient(const MAPIPropList& row, AddressList& to, AddressList& cc, AddressList& bcc);

// Gives `address` the SMTP address a property list holds for it, when it has none yet: the
// first of the string properties `smtpTags`, then the one-off entry id `entryIdTag` when it
// names an SMTP address.
void fillSmtpAddress(Address& address, const MAPIPropList* props,
                     std::initializer_list<uint32_t> smtpTags, uint32_t entryIdTag);

// Gives `person` the SMTP address of a recipient with the same address (X.500 names compared
// without regard to case), when nothing else named one: a sender who is also a recipient.
void fillSmtpAddressFromRecipients(Address& person,
                                   std::initializer_list<const AddressList*> recipients);

}  // namespace qb
