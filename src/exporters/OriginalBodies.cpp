// SPDX-License-Identifier: Apache-2.0
// The HTML body from its binary or 8-bit property as stored, and the RTF body as the model
// decompressed it.
#include "exporters/OriginalBodies.h"

#include "model/MAPIArray.h"
#include "model/PropertyTags.h"

namespace qb {

std::vector<OriginalBody> originalBodies(const OutlookMessage& message) {
    std::vector<OriginalBody> bodies;
    const MAPIPropList* props = message.mapiprops();
    if (!props) return bodies;
    if (auto html = bytesForProperty(props, PR_BODY_HTML)) {
        bodies.push_back({"Message.original.html", *html});
    } else if (auto prop = findPropID(*props, propId(PR_BODY_HTML), PT_STRING8);
               prop && prop->value()) {
        // An 8-bit string's own bytes; a Unicode one has no bytes but its text, in UTF-8.
        const MAPIValue& value = *prop->value();
        auto bytes = value.variableBytes();
        if (prop->type() == PT_STRING8 && bytes) {
            bodies.push_back({"Message.original.html", bytes->withoutTrailingNULs()});
        } else if (auto text = valueAs<std::string>(value.value())) {
            bodies.push_back({"Message.original.html", Bytes::fromString(*text)});
        }
    }
    if (auto rtf = bytesForProperty(props, PR_RTF_COMPRESSED))
        bodies.push_back({"Message.rtf", *rtf});
    return bodies;
}

}  // namespace qb
