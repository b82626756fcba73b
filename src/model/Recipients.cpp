#include "model/Recipients.h"

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"

namespace qb {

void addRecipient(const MAPIPropList& row, AddressList& to, AddressList& cc, AddressList& bcc) {
    auto address = std::make_shared<Address>(stringForProperty(&row, PR_DISPLAY_NAME),
                                             stringForProperty(&row, PR_EMAIL_ADDRESS),
                                             stringForProperty(&row, PR_ADDRTYPE));
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

}  // namespace qb
