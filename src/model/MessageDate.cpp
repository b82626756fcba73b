// SPDX-License-Identifier: Apache-2.0
// The reader's own date first, then the submit and delivery time properties.
#include "model/MessageDate.h"

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"

namespace qb {

std::optional<Date> messageDate(const OutlookMessage& message) {
    if (auto d = message.date()) return d;
    if (auto d = dateForProperty(message.mapiprops(), PR_CLIENT_SUBMIT_TIME)) return d;
    return dateForProperty(message.mapiprops(), PR_MESSAGE_DELIVERY_TIME);
}

}  // namespace qb
