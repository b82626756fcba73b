// SPDX-License-Identifier: Apache-2.0
// Where an SMTP address can come from when the address is an Exchange name: SMTP properties,
// a one-off entry id, or a recipient with the same address.
#include "model/Recipients.h"

#include <algorithm>
#include <cctype>

#include "model/MAPIArray.h"
#include "model/OneOffEntryID.h"
#include "model/OutlookMessage.h"
#include "model/PropertyTags.h"
#include "platform/AsciiCase.h"

namespace qb {

void addRecipient(const MAPIPropList& row, AddressList& to, AddressList& cc, AddressList& bcc) {
    auto address = std::make_shared<Address>(stringForProperty(&row, PR_DISPLAY_NAME),
                                             stringForProperty(&row, PR_EMAIL_ADDRESS),
                                             stringForProperty(&row, PR_ADDRTYPE));
    fillSmtpAddress(*address, &row, {PR_SMTP_ADDRESS}, PR_ENTRYID);
    switch (uint32ForProperty(&row, PR_RECIPIENT_TYPE).value_or(0)) {
        case 0:
        case 1:
            to.push_back(std::move(address));
            break;
        case 2:
            cc.push_back(std::move(address));
            break;
        case 3:
            bcc.push_back(std::move(address));
            break;
        default:
            break;
    }
}

void fillSmtpAddress(Address& address, const MAPIPropList* props,
                     std::initializer_list<uint32_t> smtpTags, uint32_t entryIdTag) {
    if (address.smtpAddress() || !props) return;
    for (uint32_t tag : smtpTags) {
        if (auto smtp = stringForProperty(props, tag); smtp && !smtp->empty()) {
            address.setSmtpAddress(std::move(smtp));
            return;
        }
    }
    auto prop = findPropID(*props, propId(entryIdTag), propType(entryIdTag));
    if (!prop || !prop->value()) return;
    auto entryID = valueAs<Bytes>(prop->value()->value());
    if (!entryID) return;
    auto message = prop->value()->message();
    if (auto smtp =
            smtpAddressOfEntryID(*entryID, message ? message->encoding() : kWindowsCP1252Encoding))
        address.setSmtpAddress(std::move(smtp));
}

void fillSmtpAddressFromRecipients(Address& person,
                                   std::initializer_list<const AddressList*> recipients) {
    auto own = person.address();
    if (person.smtpAddress() || !own || own->empty()) return;
    auto same = [&](const std::string& other) {
        return equalsIgnoringASCIICase(other, *own);
    };
    for (const AddressList* list : recipients) {
        for (const auto& r : *list) {
            auto address = r->address();
            auto smtp = r->smtpAddress();
            if (address && smtp && !smtp->empty() && same(*address)) {
                person.setSmtpAddress(std::move(smtp));
                return;
            }
        }
    }
}

}  // namespace qb
