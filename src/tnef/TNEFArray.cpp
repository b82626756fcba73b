// SPDX-License-Identifier: Apache-2.0
// A linear search by id and type; the first match wins.
#include "tnef/TNEFArray.h"

namespace qb {

std::shared_ptr<TNEFAttr> findTNEFAttr(const TNEFAttrList& attrs, uint32_t id, uint32_t type) {
    for (const auto& a : attrs)
        if (a->name() == id && a->type() == type) return a;
    return nullptr;
}

TNEFAttrValue valueForTNEFName(const TNEFAttrList& attrs, uint32_t id, uint32_t type) {
    auto a = findTNEFAttr(attrs, id, type);
    return a ? a->value() : TNEFAttrValue{};
}

}  // namespace qb
